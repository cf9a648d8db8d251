#!/bin/bash
# SPDX-License-Identifier: MIT
# Installs the built tree below a temporary directory and converts a sample with what was installed there: the program
# must find its library by the relative RUNPATH, wherever the tree stands.
#
#   install_test.sh <cmake> <build directory> <source directory> <library's name>
set -eu
cmake=$1 build=$2 source=$3 name=$4
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT

umask 077
"$cmake" --install "$build" --prefix "$directory/usr" >/dev/null
closed=$(find "$directory/usr" -type d ! -perm 755 -o -type f ! -perm 644 ! -perm 755)
[ -z "$closed" ] || { echo "under umask 077 others cannot use: $closed"; exit 1; }
cd "$directory"

check() {
    "$@" || { echo "failed: $*"; exit 1; }
}

for file in bin/quaver share/man/man1/quaver.1 share/bash-completion/completions/quaver \
    lib/udev/rules.d/60-quaver.rules share/doc/quaver/README.md share/doc/quaver/LICENSE \
    share/doc/quaver/docs/software-dongle.md share/doc/quaver/samples/greeting.dvtool \
    share/doc/quaver/samples/greeting_source.wav share/doc/quaver/docs/pictures/greeting.png; do
    check test -s "usr/$file"
done
check test "$(find usr -name "$name" -path '*/quaver/*' | wc -l)" -eq 1

runpath=$(readelf -d usr/bin/quaver | grep -E 'RUNPATH|RPATH')
# shellcheck disable=SC2016  # $ORIGIN stands there to the letter
case $runpath in
*RUNPATH*'[$ORIGIN/../lib'*'/quaver]'*) ;;
*) echo "not a relative RUNPATH: $runpath"; exit 1 ;;
esac
check cmp -s "$source/docs/quaver.1" usr/share/man/man1/quaver.1

# Every link of the installed documents leads to a file, or to a heading of the same document.
while IFS= read -r page; do
    while IFS= read -r link; do
        target=${link%%#*} heading=${link#*#}
        case $link in
        http*) ;;
        \#*) sed -n 's/^##* //p' "$page" | tr 'A-Z ' 'a-z-' | tr -cd 'a-z0-9\n-' | grep -qx -e "$heading" ||
            { echo "$page: no heading for $link"; exit 1; } ;;
        *) check test -e "$(dirname "$page")/$target" ;;
        esac
    done < <(grep -oE '\]\([^)]+\)' "$page" | sed 's/^](//; s/)$//')
done < <(find usr/share/doc/quaver -name '*.md')

# The tree is moved: nothing in it may remember where it was installed or built.
mv usr elsewhere
cp elsewhere/share/doc/quaver/samples/greeting.dvtool voice.dvtool
LD_LIBRARY_PATH='' elsewhere/bin/quaver -W voice.dvtool </dev/null >out 2>err || { cat out err; exit 1; }
check grep -q 'DONE$' out
# 336 frames, the closing one not answered in time, in blocks of 1024 bytes of which the last stays behind.
check test "$(stat -c %s voice.wav)" -eq $((44 + (335 * 320 - 1) / 1024 * 1024))
