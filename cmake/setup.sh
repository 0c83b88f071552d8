# Shared by ./demo and ./check: installs what is missing and names the build's tools. Sourced, not run.
#
# need PURPOSE...   installs the Debian packages that cmake/packages.txt lists for these purposes. Root installs
#                   directly, others through sudo; with neither it prints the one line to run, and stops.

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)
export CCACHE_NOHASHDIR=1 CCACHE_BASEDIR="$repo" CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-8G}

say() { printf '\n== %s\n' "$*"; }

need() {
    local purpose missing=() package
    for purpose in "$@"; do
        for package in $(awk -v p="$purpose" '$1 == p {print $2}' "$repo/cmake/packages.txt"); do
            dpkg-query -W -f='${db:Status-Abbrev}' "$package" 2>/dev/null | grep -q '^ii' || missing+=("$package")
        done
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    say "Installing: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "These packages are missing, and installing them needs root. Please run:" >&2
            echo "  apt-get update && apt-get install -y --no-install-recommends ${missing[*]}" >&2
            exit 1
        fi
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    (cd "$repo" && cmake --preset "$preset" >"$repo/build/$preset.configure.log" 2>&1) ||
        { cat "$repo/build/$preset.configure.log"; return 1; }
    cmake --build "$repo/build/$preset" -j "$jobs" ${1:+--target "$@"}
}
