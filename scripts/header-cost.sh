#!/usr/bin/env bash
# What it costs to include the public headers that a client meets first: lines after preprocessing, and
# the seconds that a compiler needs to check them (the best of five).
#
#     scripts/header-cost.sh [HEADER...]
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

headers=("$@")
if [ "${#headers[@]}" -eq 0 ]; then
    headers=(ZEL/ZEL_Instance.h ZEL/ZEL_Parm.h ZEL/ZEL_ParmList.h ZEL/ZEL_Float.h
             TRK/TRK_Channel.h LNK/LNK_MicroNode.h)
fi
compiler=(${CXX:-c++} -std=c++17 -I. -Ihost -x c++)

# seconds HEADER: of one check.
seconds() {
    local TIMEFORMAT=%U
    { time "${compiler[@]}" -fsyntax-only -include "$1" /dev/null; } 2>&1
}

printf '%-24s %8s %8s\n' header lines seconds
for header in "${headers[@]}"; do
    lines=$("${compiler[@]}" -E -P -include "$header" /dev/null | wc -l)
    best=$(for _ in 1 2 3 4 5; do seconds "$header"; done | sort -n | head -n 1)
    printf '%-24s %8s %8s\n' "$header" "$lines" "$best"
done
