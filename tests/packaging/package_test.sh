#!/bin/bash
# SPDX-License-Identifier: MIT
# Builds the Debian package twice, the second time as another user, elsewhere, under another umask, locale and time
# zone, and compares every byte; then looks at what the package installs. Run by scripts/check.
#
#   package_test.sh <source directory>
set -u
source=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failures=0

fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

"$source/scripts/package" || exit 1
built=$source/build/package

# Again from what went into the first one. The path has no space in it: dpkg-buildflags would then leave out the option
# that keeps paths out of what is compiled.
other=$directory/elsewhere/under-a-longer-name
mkdir -p "$other"
tar -C "$other" -xf "$built"/quaver_*.orig.tar.xz
tar -C "$other"/quaver-* -xf "$built"/quaver_*.debian.tar.xz
chmod 755 "$directory" "$directory/elsewhere"
as_other=()
if [ "$(id -u)" -eq 0 ]; then
    as_other=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    chown -R 65534:65534 "$other"
fi
(umask 077 && cd "$other"/quaver-* && env HOME="$other" LC_ALL=C TZ=Asia/Kathmandu "${as_other[@]}" scripts/package) ||
    exit 1
for file in "$built"/*.deb "$built"/*.tar.xz "$built"/*.dsc; do
    cmp "$file" "$other"/quaver-*/build/package/"${file##*/}" || fail "${file##*/} differs"
done

lintian --allow-root --profile debian --pedantic --display-info --fail-on error,warning,info,pedantic \
    "$built"/*.changes || fail "lintian"
blhc --all "$source/build/package.log" || fail "blhc"

# What is installed.
dpkg-deb -x "$(find "$built" -name 'quaver_*.deb')" "$directory/root"
odd=$(find "$directory/root" -mindepth 1 -type d ! -perm 755 -o -type f ! -perm 644 ! -perm 755)
[ -z "$odd" ] || fail "modes: $odd"
library=$(find "$directory/root/usr/lib" -path '*/quaver/libdongle-*.so')
for binary in "$directory/root/usr/bin/quaver" "$library"; do
    name=${binary##*/}
    readelf -lW "$binary" | grep -q GNU_RELRO || fail "$name: no RELRO"
    readelf -dW "$binary" | grep -qE 'BIND_NOW|FLAGS_1.*NOW' || fail "$name: not bound at start"
    readelf -hW "$binary" | grep -q 'Type: *DYN' || fail "$name: not position independent"
    readelf -sW --dyn-syms "$binary" | grep -q __stack_chk_fail || fail "$name: no stack protector"
    ! readelf -lW "$binary" | grep -qE 'GNU_STACK.*E' || fail "$name: executable stack"
    case $(dpkg --print-architecture) in
    amd64 | i386) readelf -nW "$binary" | grep -q SHSTK || fail "$name: no note on the shadow stack" ;;
    arm64) readelf -nW "$binary" | grep -q PAC || fail "$name: no note on branch protection" ;;
    esac
done
readelf -sW --dyn-syms "$directory/root/usr/bin/quaver" | grep -q '_chk@' || fail "no fortified calls"
! readelf -dW "$directory/root/usr/bin/quaver" "$library" | grep -q "$source" || fail "remembers where it was built"

# The links of the installed documents.
documents=$directory/root/usr/share/doc/quaver
while IFS=: read -r document link; do
    [ -e "$(dirname "$document")/$link" ] || fail "$document links to $link"
done < <(grep -roP --include='*.md' '\]\(\K[^)#:]+(?=[)#])' "$documents")

# Used as installed, by its own tests; only sox is asked for besides.
mkdir "$directory/work"
(cd "$directory/work" && cp "$documents/samples/greeting.dvtool" . &&
    "$directory/root/usr/bin/quaver" -W greeting.dvtool </dev/null >/dev/null 2>&1)
[ "$(soxi -D "$directory/work/greeting.wav")" = 6.656000 ] || fail "does not convert a sample"

[ "$failures" -eq 0 ]
