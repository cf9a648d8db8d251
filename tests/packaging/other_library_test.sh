#!/bin/bash
# SPDX-License-Identifier: MIT
# Built with QUAVER_DONGLE_LIBRARY, the program loads that library and the software dongle is left out; a file that the
# program would not find at its start is refused when it is configured.
#
#   other_library_test.sh <cmake> <C compiler> <source directory> <library's name>
set -u
cmake=$1 compiler=$2 source=$3 name=$4
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
library=$directory/else/$name
failures=0

fail() { echo "$*"; failures=$((failures + 1)); }
configure() {
    "$cmake" -S "$source" -B "$directory/build" -DBUILD_TESTING=OFF -DQUAVER_DONGLE_LIBRARY="$1" >"$directory/out" 2>&1
}

# refuses <path> <part of the message>
refuses() {
    if configure "$1"; then fail "$1: configured all the same"; fi
    tr -s ' \n' ' ' <"$directory/out" | grep -qF "$2" || { fail "$1: does not say '$2'"; cat "$directory/out"; }
    rm -rf "$directory/build"
}

# Somebody's library without a soname: it speaks up, then its line cannot be opened.
mkdir "$directory/else"
cat >"$directory/other.c" <<'C'
#include <stdio.h>
void dongle_debug(int level) { (void)level; }
int dongle_init(const char* port, long speed) { return (void)port, (void)speed, puts("the other library"), -1; }
void dongle_hello(void) {}
void dongle_run(int running) { (void)running; }
int dongle_send(int type, const void* packet, int length) { return (void)type, (void)packet, (void)length, -1; }
int dongle_recv(int* type, void* buffer, int capacity) { return (void)type, (void)buffer, (void)capacity, -1; }
void dongle_close(int mode) { (void)mode; }
void ambe_init(void* packet, int mode) { (void)packet, (void)mode; }
void ambe_send(void* packet, const void* frame) { (void)packet, (void)frame; }
C
"$compiler" -shared -fPIC -o "$library" "$directory/other.c" || exit 1

refuses "$directory/else/nowhere/$name" "there is no $directory/else/nowhere/$name"
cp "$library" "$directory/else/vocoder.so"
refuses "$directory/else/vocoder.so" "must name a file called $name"

if ! { configure "$library" && "$cmake" --build "$directory/build" --target quaver >>"$directory/out" 2>&1; }; then
    cat "$directory/out"
    exit 1
fi
program=$directory/build/bin/quaver
readelf -d "$program" | grep -qF "[$name]" || fail "the library is not needed by its name"
[ -z "$(find "$directory/build" -name 'libdongle*')" ] || fail "the software dongle was built all the same"
LD_LIBRARY_PATH='' "$program" nothing.dvtool </dev/null >"$directory/out" 2>&1
status=$?
[ "$status" -eq 1 ] || fail "status $status"
grep -qx '.*the other library' "$directory/out" || { fail "the other library was not loaded"; cat "$directory/out"; }

# Installed it finds the library where it stands; nothing of ours is beside it.
if ! { "$cmake" --build "$directory/build" && "$cmake" --install "$directory/build" --prefix "$directory/usr"; } \
    >>"$directory/out" 2>&1; then
    fail "it cannot be installed"
    cat "$directory/out"
fi
[ -z "$(find "$directory/usr" -name 'libdongle*')" ] || fail "a vocoder library was installed"
LD_LIBRARY_PATH='' "$directory/usr/bin/quaver" nothing.dvtool </dev/null 2>&1 | grep -qx '.*the other library' ||
    fail "installed, the other library is not loaded"

# The package is ours alone.
QUAVER_DONGLE_LIBRARY=$library make -f "$source/debian/rules" -n build >"$directory/out" 2>&1 &&
    fail "the package takes the other library"
grep -qF "to install a build against $library use cmake --install" "$directory/out" ||
    { fail "the package does not say how to install it"; cat "$directory/out"; }

[ "$failures" -eq 0 ]
