# What the scripts share: the source root, the packages, the build. Sourced, not run.
# shellcheck shell=bash disable=SC2034

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root" || exit 1

# Debian and Ubuntu package names.
build_packages=(g++ cmake ninja-build libtbb-dev libfmt-dev libre2-dev python3-dev pybind11-dev
                libcli11-dev libedit-dev nlohmann-json3-dev)
test_packages=(libgtest-dev libbenchmark-dev clang clang-format libclang-rt-14-dev pkg-config ccache
               python3-jsonschema python3-pytest python3-numpy python3-matplotlib mypy
               python3-pip python3-setuptools python3-wheel git graphviz)

jobs=$(nproc 2>/dev/null || echo 2)

# Sanitizers of these compilers can't place their shadow where the kernel scatters addresses widely.
fixed_addresses=()
if setarch -R true 2>/dev/null; then fixed_addresses=(setarch -R); fi
export UBSAN_OPTIONS=print_stacktrace=1

say() { printf '%s\n' "$*"; }
headline() { printf '\n== %s\n' "$*"; }

# names_of PREFIX: what follows PREFIX in the names of the sources PREFIX*.cpp, one a line.
names_of() {
    local source
    for source in "$1"*.cpp; do
        source=${source#"$1"}
        say "${source%.cpp}"
    done
}

package_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_missing PACKAGE...: installs those that are not there, and says which.
install_missing() {
    if ! command -v dpkg-query >/dev/null 2>&1; then
        say "This is no Debian or Ubuntu; the counterparts of these packages must be there: $*"
        return 0
    fi
    local missing=() package
    for package in "$@"; do
        package_installed "$package" || missing+=("$package")
    done
    if [ "${#missing[@]}" -eq 0 ]; then
        say "All packages are there; nothing to install."
        return 0
    fi
    say "Installing: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null 2>&1; then
            say "Neither root nor sudo; as root, run: apt-get install ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}
