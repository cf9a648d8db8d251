# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# What the scripts share: steps that say how they fare, and build directories that mend themselves. A script sources it
# after going to the top of the tree.

# Tests wait for half of their time: for time-outs, terminals, processes.
# shellcheck disable=SC2034  # for who sources this
suite_jobs=$((2 * $(nproc)))
# Shell and builds of their own: nothing in them for a sanitizer, and no line that others do not reach.
# shellcheck disable=SC2034
tests_of_scripts='^(archive|packaging)\.'

# Steps --------------------------------------------------------------------------------------------------------------

failed_steps=()
ticker=

stop_ticker() {
    [ -z "$ticker" ] || kill "$ticker" 2>/dev/null
    ticker=
}
trap stop_ticker EXIT

# Prints a line every 20 seconds, the last line of the log with it, so that nobody takes a long step for a dead one.
start_ticker() {
    local what=$1 log=$2 start=$SECONDS never
    (
        trap - EXIT
        exec {never}<> <(:)
        while ! read -r -t 20 -u "$never"; do
            printf '   %s: %d s so far  %s\n' "$what" $((SECONDS - start)) \
                "$(tail -n 1 "$log" 2>/dev/null | cut -c 1-90)"
        done
    ) &
    ticker=$!
}

# Runs a command; says how long it took; remembers a failure. `how` is what becomes of its output.
run_step() {
    local how=$1 what=$2 start=$SECONDS status=0 log
    shift 2
    mkdir -p build/log
    log=build/log/${what//[^A-Za-z0-9]/-}.log
    : >"$log"
    if [ "$how" = shown ]; then
        printf '\n== %s\n' "$what"
        start_ticker "$what" /dev/null
        "$@" || status=$?
    else
        printf '\n== %s (log: %s)\n' "$what" "$log"
        start_ticker "$what" "$log"
        "$@" >"$log" 2>&1 || status=$?
    fi
    stop_ticker
    if [ "$status" -eq 0 ]; then
        printf '== %s: ok, %d s\n' "$what" $((SECONDS - start))
        return 0
    fi
    [ "$how" = shown ] || cat "$log"
    printf '== %s: FAILED, %d s\n' "$what" $((SECONDS - start))
    failed_steps+=("$what")
    return 1
}

# step <what> <command...>: its output goes to a log, which is shown when the command fails.
step() { run_step logged "$@"; }

# shown_step <what> <command...>: its output is shown.
shown_step() { run_step shown "$@"; }

# Builds -------------------------------------------------------------------------------------------------------------

# Empties a build directory that cannot be gone on with: made by another tree (this one was copied or moved; building
# there would build the other one), or left by a configuration that failed.
mend_build_directory() {
    local directory=$1 home
    [ -e "$directory/CMakeCache.txt" ] || return 0
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$directory/CMakeCache.txt")
    if [ ! "$home" -ef . ]; then
        rm -rf "$directory"
    elif [ ! -e "$directory/Makefile" ] && [ ! -e "$directory/build.ninja" ]; then
        rm -rf "$directory/CMakeCache.txt" "$directory/CMakeFiles"
    fi
}

# Says so when there can be no build directory here.
need_writable_tree() {
    if mkdir -p build 2>/dev/null && [ -w build ]; then return 0; fi
    echo "$PWD cannot be written to: copy the tree to where you may write, and run the copy" >&2
    return 1
}

# Keeps the build directory to this script; says so when it has to wait for another build.
lock_build_directory() {
    local directory=$1
    exec {build_lock}>>"$directory.lock" || return 1
    if ! flock -n "$build_lock"; then
        echo "waiting for another build in $directory" >&2
        flock "$build_lock"
    fi
}

unlock_build_directory() { exec {build_lock}>&-; }

# configure <preset> <directory> [cmake option...]
configure() {
    local preset=$1 directory=$2
    shift 2
    mend_build_directory "$directory"
    cmake --preset "$preset" -B "$directory" "$@"
}

# build_in <directory> <preset> [cmake option...]: all of it.
build_in() {
    local directory=$1 preset=$2 status=0
    shift 2
    lock_build_directory "$directory" || return 1
    configure "$preset" "$directory" "$@" && cmake --build "$directory" -j "$(nproc)" || status=$?
    unlock_build_directory
    return "$status"
}

# build_preset <preset> [cmake option...]: the same in build/<preset>.
build_preset() { build_in "build/$1" "$@"; }
