#!/usr/bin/env bash
# Builds the library and runs the example programs. Installs what is missing first.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_missing "${build_packages[@]}"

headline "Build (build/release)"
cmake --preset release
cmake --build --preset release --parallel "$jobs"

headline "examples/turntable"
build/release/examples/turntable

headline "examples/scatter"
build/release/examples/scatter
