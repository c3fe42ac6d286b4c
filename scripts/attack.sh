#!/usr/bin/env bash
# The tool on inputs that ask for more than they are worth: attack.py has the table. Prints each call that
# takes over 2 s or 500 MB, or crashes, and ends with 1 if there is one.
#
#     scripts/attack.sh                   all of them, three minutes at most
#     scripts/attack.sh NAME...           these rows
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_missing "${build_packages[@]}" python3

headline "Build (build/release)"
cmake --preset release
cmake --build --preset release --parallel "$jobs" --target zel

headline "Attack"
python3 -B scripts/attack.py build/release/tools/zel/zel "$@"
