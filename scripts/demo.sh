#!/usr/bin/env bash
# Builds the library, runs the example programs and shows the tool. Installs what is missing first.
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

zel=build/release/tools/zel/zel
streams=$(mktemp -d)
trap 'rm -rf "$streams"' EXIT

# shown COMMAND...: says the call and makes it.
shown() {
    printf '$ zel %s\n' "$*"
    "$zel" "$@"
}

headline "zel check: parse dialog scripts"
shown check examples/*.ds

headline "zel show: the interface that a script describes"
shown show examples/scatter.ds

headline "zel eval: a table over frames, on all cores"
shown eval examples/transform.ds t ry --channels examples/transform.chan --frames 1:49:12 --threads 0

headline "zel convert and diff: to binary and back, and what differs from another stream"
shown convert examples/light.ds examples/light.parms "$streams/light.bparms" --to binary
shown convert examples/light.ds "$streams/light.bparms" "$streams/light.parms" --to text
shown diff examples/light.ds examples/light.parms "$streams/light.parms" && say "(no difference)"
shown diff examples/light.ds examples/light.parms examples/light_night.parms || true

headline "zel scene: a scene file, what it holds, and to binary"
sed -n 1,40p examples/studio.scene
shown scene examples/studio.scene
shown scene examples/studio.scene --convert "$streams/studio.bscene" --binary
wc -c examples/studio.scene "$streams/studio.bscene"

headline "zel rewrite: a script as the library writes it; 1, since it leaves out the comments"
(shown rewrite examples/ramps.ds || true) | sed -n 1,20p

headline "zel command: a command line as values, and back"
shown command examples/commands/image.cmd 'resize -v -q 80 in.pic out.pic'

headline "examples/migration: a stream of an older version of a node"
build/release/examples/migration
