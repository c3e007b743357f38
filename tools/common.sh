# shellcheck shell=bash
# Sourced by the project's scripts: where things are, how they speak, how many jobs they start.

root=$(CDPATH='' cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
python=$root/.venv/bin/python

# The caller's settings for other interpreters must not reach ours.
unset PYTHONHOME PYTHONPATH PYTHONPLATLIBDIR VIRTUAL_ENV
export PYTHONNOUSERSITE=1

# One short line on standard error; standard output belongs to the program that was asked for.
say() {
    printf '%s: %s\n' "${spoken_name:-${0##*/}}" "$*" >&2
}

die() {
    say "$@"
    exit 1
}

# logged LOG COMMAND...: runs the command with its output in LOG, whose end is shown on failure.
logged() {
    local log=$1 status=0
    shift
    mkdir -p "${log%/*}"
    "$@" >>"$log" 2>&1 </dev/null || status=$?
    if ((status)); then
        tail -n 40 "$log" | sed 's/^/    /' >&2
        say "failed; the whole log is in ${log#"$root"/}"
    fi
    return "$status"
}

# True where the environment was made from the private copy of Debian's packages: no package index
# has been asked then, and none need be in reach.
from_private_copy() {
    local usr=$root/.toolchain/usr
    [[ -x $usr/bin/python3.14 && $("$python" -c 'import sys; print(sys.base_prefix)') == "$usr" ]]
}

# Lets CMake see the packages of the private copy. Its programs come last on the path: those of the
# machine win.
use_toolchain() {
    local usr=$root/.toolchain/usr
    if from_private_copy; then
        export CMAKE_PREFIX_PATH=$usr${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}
        export PATH=$PATH:$usr/tools
        # Its pip reads the machine's certificates at every start, and a small machine has none. It
        # fetches nothing.
        export PIP_USE_DEPRECATED=legacy-certs
    fi
    if [[ -z ${CMAKE_GENERATOR:-} ]] && command -v ninja >/dev/null; then
        export CMAKE_GENERATOR=Ninja
    fi
    if [[ -z ${CMAKE_BUILD_PARALLEL_LEVEL:-} ]]; then
        CMAKE_BUILD_PARALLEL_LEVEL=$(getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2)
        export CMAKE_BUILD_PARALLEL_LEVEL
    fi
}

# Ninja and make go by time: what is dated in the future would be made at every call, or stop the
# build. It gets the time of now.
settle_times() {
    local now=$root/build/now
    : >"$now"
    (cd "$root" && find . \( -path ./build -o -path './.*' -o -name __pycache__ \) -prune \
        -o -newer "$now" -exec touch {} +)
}

# configure PRESET: a build folder remembers its place, so one from a moved checkout starts afresh.
configure() {
    local folder=$root/build/$1
    if [[ -f $folder/CMakeCache.txt ]] &&
        ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$folder/CMakeCache.txt"; then
        rm -rf "$folder"
    fi
    mkdir -p "$root/build"
    settle_times
    (cd "$root" && logged "$root/build/$1.log" cmake --preset "$1")
}
