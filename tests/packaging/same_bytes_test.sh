#!/bin/bash
# SPDX-License-Identifier: MIT
# Converts every recording of the tree in every format, its bits in both orders, with two builds of the program, and
# compares the files and what was printed. Run by scripts/check with builds for other processors.
#
#   same_bytes_test.sh <source directory> <quaver> <other quaver and what runs it...>
set -u
source=$1 quaver=$2
shift 2
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
compared=0 failures=0

# converted <directory> <command...>: the recordings there, by name, in the directory.
convert_in() {
    local where=$1
    shift
    (cd "$where" && "$@" </dev/null >out 2>err)
}

for recording in "$source"/samples/*.dvtool "$source"/samples/*.ambe "$source"/tests/data/recordings/*.{dvtool,ambe}; do
    for format in pcm alaw ulaw adpcm gsm; do
        for order in "" R; do
            rm -rf "${directory:?}"/*
            mkdir "$directory/here" "$directory/there"
            cp "$recording" "$directory/here"
            cp "$recording" "$directory/there"
            convert_in "$directory/here" "$quaver" "-ddW$order" -F "$format" "${recording##*/}"
            convert_in "$directory/there" "$@" "-ddW$order" -F "$format" "${recording##*/}"
            if ! diff -rq "$directory/here" "$directory/there"; then
                echo "different: ${recording##*/} -F $format ${order:+-R}"
                failures=$((failures + 1))
            fi
            [ "$(find "$directory/here" -name '*.wav' -size +1k | wc -l)" -eq 1 ] || {
                echo "no audio: ${recording##*/} -F $format ${order:+-R}"
                failures=$((failures + 1))
            }
            compared=$((compared + 1))
        done
    done
done

echo "$compared conversions compared, $failures different"
[ "$failures" -eq 0 ] && [ "$compared" -gt 0 ]
