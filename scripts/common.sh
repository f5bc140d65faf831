# Sourced by the scripts beside it: the top folder, and the one way to build a preset.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Two compilers need some 2 GB; more than one job for each core gains nothing.
jobs=${CORVY_JOBS:-$(nproc)}

# build PRESET [CMAKE-OPTION...] [-- TARGET...]
build() {
    local preset=$1 options=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do options+=("$1"); shift; done
    [ $# -eq 0 ] || shift
    cmake --preset "$preset" "${options[@]}" >"/tmp/corvystack-cmake.$$" 2>&1 || {
        cat "/tmp/corvystack-cmake.$$" >&2
        rm -f "/tmp/corvystack-cmake.$$"
        return 1
    }
    rm -f "/tmp/corvystack-cmake.$$"
    cmake --build --preset "$preset" -j "$jobs" ${1+--target "$@"}
}
