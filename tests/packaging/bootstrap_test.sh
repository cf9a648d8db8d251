#!/bin/bash
# SPDX-License-Identifier: MIT
# scripts/bootstrap on stand-in package tools: what it asks for when something is missing, nothing is, or there is no apt.
set -u
bootstrap=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
tools=$directory/tools
mkdir "$tools"
failures=0

fail() { echo "$*"; failures=$((failures + 1)); }

# A PATH with what the script itself needs and nothing else.
for tool in bash cat sort id; do
    ln -s "$(type -P "$tool")" "$tools/$tool"
done
run() { PATH=$tools "$tools/bash" "$bootstrap" "$@" >"$directory/out" 2>"$directory/err"; }

# Without apt: the list, status 1.
run run
[ $? -eq 1 ] || fail "no apt: status is not 1"
for package in cmake g++ make libgsm1-dev; do
    grep -qx "  $package" "$directory/err" || fail "no apt: $package is not listed"
done
[ ! -s "$directory/out" ] || fail "no apt: something on standard output"

# QUAVER_BOOTSTRAP=no: silence, status 0.
QUAVER_BOOTSTRAP=no run run || fail "told not to install: status is not 0"
[ ! -s "$directory/err" ] || fail "told not to install: it speaks"

# With apt, every package but libgsm1-dev installed; apt-get and sudo write down what they are asked.
cat >"$tools/dpkg-query" <<'TOOL'
#!/bin/bash
for last; do :; done
[ "$last" = libgsm1-dev ] && [ ! -e "$0.all" ] && exit 1
echo -n installed
TOOL
cat >"$tools/apt-get" <<'TOOL'
#!/bin/bash
echo "$*" >>"$0.log"
TOOL
cat >"$tools/sudo" <<'TOOL'
#!/bin/bash
[ "$1" = -- ] && shift
exec "$@"
TOOL
chmod +x "$tools/dpkg-query" "$tools/apt-get" "$tools/sudo"

run run || fail "one missing: status is not 0: $(cat "$directory/err")"
grep -qx 'bootstrap: installing libgsm1-dev' "$directory/err" || fail "one missing: not announced"
grep -q 'update$' "$tools/apt-get.log" || fail "one missing: no update first"
grep -q 'install -y --no-install-recommends libgsm1-dev$' "$tools/apt-get.log" || fail "one missing: not exactly that one"

# Nothing missing: silence, and apt-get is not called.
touch "$tools/dpkg-query.all"
rm "$tools/apt-get.log"
run run || fail "nothing missing: status is not 0"
[ ! -s "$directory/err" ] || fail "nothing missing: it speaks"
[ ! -e "$tools/apt-get.log" ] || fail "nothing missing: apt-get was called"

run nonsense
[ $? -eq 2 ] || fail "unknown group: status is not 2"

[ "$failures" -eq 0 ]
