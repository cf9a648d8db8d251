#!/bin/bash
# SPDX-License-Identifier: MIT
# scripts/quaver with a stand-in for cmake: when it builds, when it does not, and what the program is given.
#
#   run_script_test.sh <source directory>
set -u
source=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failures=0

fail() { echo "$*"; failures=$((failures + 1)); }

mkdir -p "$directory/tree/src" "$directory/tree/dongle" "$directory/tree/cmake" "$directory/tools" "$directory/else where"
cp -r "$source/scripts" "$directory/tree/"
touch "$directory/tree/"{CMakeLists.txt,CMakePresets.json,src/a.cpp,src/a.h}

# Stands in for cmake: writes down its arguments; configures the tree that it is run in, once, as cmake remembers it;
# "builds" a program that shows its directory and its arguments.
cat >"$directory/tools/cmake" <<'TOOL'
#!/bin/bash
echo "chatter of the build"
echo "$*" >>"$(dirname "$0")/cmake.log"
if [ "$1" != --build ]; then
    mkdir -p build/release
    [ -e build/release/CMakeCache.txt ] || echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >build/release/CMakeCache.txt
    [ ! -e "$(dirname "$0")/unconfigurable" ] || exit 1
    touch build/release/Makefile
    exit 0
fi
[ -e "$2/Makefile" ] || exit 1
[ ! -e "$(dirname "$0")/broken" ] || exit 1
[ ! -e "$(dirname "$0")/slow" ] || sleep 0.5
mkdir -p "$2/bin"
printf '#!/bin/bash\necho "in $PWD:"; printf "<%%s>" "$@"; exit 7\n' >"$2/bin/quaver"
chmod +x "$2/bin/quaver"
TOOL
chmod +x "$directory/tools/cmake"
export PATH=$directory/tools:$PATH QUAVER_BOOTSTRAP=no

# Runs it from another directory; an argument with a space in it must arrive whole.
run() {
    rm -f "$directory/tools/cmake.log"
    (cd "$directory/else where" && "$directory/tree/scripts/quaver" -W 'a b.dvtool' >"$directory/out" 2>"$directory/err")
}
built() { [ -e "$directory/tools/cmake.log" ]; }
expected="in $directory/else where:"$'\n'"<-W><a b.dvtool>"

run
[ $? -eq 7 ] || fail "first run: the program's status is lost"
built || fail "first run: nothing was built"
[ "$(cat "$directory/out")" = "$expected" ] || fail "first run: standard output is not the program's alone: $(cat "$directory/out")"

run
[ $? -eq 7 ] || fail "second run: the program's status is lost"
! built || fail "second run: built again"
[ "$(cat "$directory/out")" = "$expected" ] || fail "second run: standard output is not the program's alone"
[ ! -s "$directory/err" ] || fail "second run: something on standard error"

sleep 0.01
touch "$directory/tree/src/a.cpp"
run
built || fail "a changed source: not built again"

sleep 0.01
rm "$directory/tree/src/a.h"
run
built || fail "a removed header: not built again"

touch "$directory/tools/broken"
sleep 0.01
touch "$directory/tree/src/a.cpp"
run
[ $? -eq 1 ] || fail "a failed build: the old program was run"
rm "$directory/tools/broken"
run
built || fail "after a failed build: not built again"

# Two at once: one builds, the other waits for it, and both run the program.
touch "$directory/tools/slow"
sleep 0.01
touch "$directory/tree/src/a.cpp"
rm -f "$directory/tools/cmake.log"
for name in one two; do
    "$directory/tree/scripts/quaver" "$name" >"$directory/$name" 2>&1 &
done
wait
[ "$(grep -c -e '^--build' "$directory/tools/cmake.log")" -eq 1 ] || fail "two at once: not built once"
for name in one two; do
    tail -n 1 "$directory/$name" | grep -qFx "<$name>" || fail "two at once: $name did not run: $(cat "$directory/$name")"
done

[ "$(grep -hx 'waiting for another build in build/release' "$directory/one" "$directory/two" | grep -c .)" -eq 1 ] ||
    fail "two at once: the one that waits does not say so: $(cat "$directory/one" "$directory/two")"
rm "$directory/tools/slow"

# The first configuration fails, then what it missed is there.
rm -r "$directory/tree/build"
touch "$directory/tools/unconfigurable"
run
[ $? -eq 1 ] || fail "a failed configuration: status is not 1"
rm "$directory/tools/unconfigurable"
run
[ $? -eq 7 ] || fail "after a failed configuration: $(cat "$directory/err")"
grep -q BUILD_TESTING "$directory/tools/cmake.log" && fail "after a failed configuration: tests are asked for or forbidden"

# A copy of the tree, and a tree that was moved, build a program of their own.
cp -a "$directory/tree" "$directory/copy"
(cd "$directory/else where" && "$directory/copy/scripts/quaver" -W 'a b.dvtool' >"$directory/out" 2>"$directory/err")
grep -qx "CMAKE_HOME_DIRECTORY:INTERNAL=$directory/copy" "$directory/copy/build/release/CMakeCache.txt" ||
    fail "a copy: it builds the tree that it was copied from"
[ "$(cat "$directory/out")" = "$expected" ] || fail "a copy: $(cat "$directory/out")"
mv "$directory/copy" "$directory/moved"
rm -f "$directory/tools/cmake.log"
"$directory/moved/scripts/quaver" >"$directory/out" 2>"$directory/err"
built || fail "a moved tree: not built again"
run
! built || fail "a copy was built: this tree is built again too"

# A tree that cannot be written to says so; one that is built already runs. Root may write anywhere: become nobody.
rm -r "$directory/moved/build"
chmod -R a+rX "$directory"
as_nobody=()
[ "$(id -u)" -ne 0 ] || as_nobody=(setpriv --reuid=65534 --regid=65534 --clear-groups)
chmod a-w "$directory/moved" "$directory/tree" "$directory/tree/build"
"${as_nobody[@]}" "$directory/moved/scripts/quaver" >"$directory/out" 2>"$directory/err"
[ $? -eq 1 ] || fail "a read-only tree: status is not 1"
[ "$(cat "$directory/err")" = \
    "$directory/moved cannot be written to: copy the tree to where you may write, and run the copy" ] ||
    fail "a read-only tree: it says $(cat "$directory/err")"
(cd "$directory/else where" &&
    "${as_nobody[@]}" "$directory/tree/scripts/quaver" -W 'a b.dvtool' >"$directory/out" 2>&1)
[ "$(cat "$directory/out")" = "$expected" ] || fail "a read-only tree that is built: $(cat "$directory/out")"
chmod u+w "$directory/moved" "$directory/tree" "$directory/tree/build"

# By way of a link, as somebody has it in ~/bin.
ln -s "$directory/tree/scripts/quaver" "$directory/tools/quaver-link"
(cd "$directory/else where" && "$directory/tools/quaver-link" -W 'a b.dvtool' >"$directory/out" 2>&1)
[ "$(cat "$directory/out")" = "$expected" ] || fail "through a link: $(cat "$directory/out")"

[ "$failures" -eq 0 ]
