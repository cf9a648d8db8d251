#!/bin/bash
# SPDX-License-Identifier: MIT
# A missing dependency ends the configuration with the name of the Debian package that has it.
#
#   configure_test.sh <cmake> <source directory> <name of the vocoder library>
set -u
cmake=$1 source=$2 name=$3
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failures=0

# names <packages> <cmake option>...: the options hide one dependency; the error must say "apt install <packages>".
names() {
    local packages=$1
    shift
    if "$cmake" -S "$source" -B "$directory/build" "$@" >"$directory/out" 2>&1; then
        echo "$*: configured all the same"
        failures=$((failures + 1))
    elif ! tr -s ' \n' ' ' <"$directory/out" | grep -qF "apt install $packages (or run scripts/bootstrap)"; then
        echo "$*: does not name $packages"
        cat "$directory/out"
        failures=$((failures + 1))
    fi
    rm -f "$directory/build/CMakeCache.txt"
}

names "libgsm1-dev" -Dgsm_LIBRARY= -DBUILD_TESTING=OFF
names "libasound2-dev" -Dasound_INCLUDE_DIR= -DBUILD_TESTING=OFF
names "libgtest-dev libgmock-dev" -DBUILD_TESTING=ON -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON
names "libsndfile1-dev" -DBUILD_TESTING=ON -Dsndfile_INCLUDE_DIR=
names "libbenchmark-dev" -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON -DQUAVER_BENCH=ON -DBUILD_TESTING=OFF

# Tests that nobody asked for need nothing: neither as the documents configure, nor with somebody's own library.
touch "$directory/$name"
for options in "" "-DQUAVER_DONGLE_LIBRARY=$directory/$name"; do
    # shellcheck disable=SC2086  # no option, or one
    if ! "$cmake" --preset release -S "$source" -B "$directory/plain" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON \
        -Dsndfile_LIBRARY= $options >"$directory/out" 2>&1; then
        echo "without the tests' libraries, $options: does not configure"
        cat "$directory/out"
        failures=$((failures + 1))
    fi
    rm -rf "$directory/plain"
done

[ "$failures" -eq 0 ]
