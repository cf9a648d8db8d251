#!/bin/bash
# SPDX-License-Identifier: MIT
# What quaver-archive costs beside the plainest way to convert many recordings, xargs: processor time of all processes.
#
#   archive_bench.sh <directory of quaver> <source directory> [recordings]
#
# Both convert the same recordings, 100 in each directory, two at a time, in turns of xargs, quaver-archive, and
# quaver-archive again on what is done.
set -eu
export PATH=$1:$2/archive:$PATH
source=$2 count=${3:-2000}
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

for ((i = 0; i < count; i += 100)); do
    mkdir "$directory/$i"
    for ((n = i; n < i + 100 && n < count; n++)); do cp "$source/samples/greeting.dvtool" "$directory/$i/$n.dvtool"; done
done

# measured <what> <command...>: runs it and prints processor and wall time for a recording.
measured() {
    local what=$1 times
    shift
    TIMEFORMAT='%U %S %R'
    times=$({ time "$@" >"$directory/out" 2>&1 || { cat "$directory/out" >&2; exit 1; }; } 2>&1)
    awk -v what="$what" -v count="$count" '{
        printf "%-32s %6.2f ms of processor, %6.2f ms in all, a recording\n", what, ($1 + $2) * 1000 / count,
            $3 * 1000 / count }' <<<"$times"
}

with_xargs() {
    find "$directory" -name '*.dvtool' -print0 | xargs -0 -n1 -P2 quaver -W
}

echo "$count recordings of 6.7 s, two at a time"
measured "xargs -P2 -n1 quaver -W" with_xargs
find "$directory" -name '*.wav' -delete
measured "quaver-archive -j 2" quaver-archive -j 2 "$directory"
measured "quaver-archive -j 2, all there" quaver-archive -j 2 "$directory"
