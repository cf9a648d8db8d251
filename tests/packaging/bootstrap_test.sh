#!/bin/bash
# SPDX-License-Identifier: MIT
# scripts/bootstrap on stand-in package tools: what it asks for when something is missing, nothing is, or there is
# no apt.
# shellcheck disable=SC2016  # what stands in single quotes is written into the stand-in tools
set -u
bootstrap=$1
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
tools=$directory/tools
mkdir "$tools"
failures=0

fail() { echo "$*"; failures=$((failures + 1)); }

# A PATH with what the script itself needs and nothing else.
for tool in bash cat grep sort mktemp rm; do
    ln -s "$(type -P "$tool")" "$tools/$tool"
done
printf '#!/bin/bash\necho "$user_id"\n' >"$tools/id"
chmod +x "$tools/id"
export user_id=0
run() { PATH=$tools "$tools/bash" "$bootstrap" "$@" >"$directory/out" 2>"$directory/err"; }

# Without apt: the list, status 1.
run run
[ $? -eq 1 ] || fail "no apt: status is not 1"
for package in cmake g++ make libgsm1-dev libasound2-dev; do
    grep -qx "  $package" "$directory/err" || fail "no apt: $package is not listed"
done
[ ! -s "$directory/out" ] || fail "no apt: something on standard output"

# QUAVER_BOOTSTRAP=no: silence, status 0.
QUAVER_BOOTSTRAP=no run run || fail "told not to install: status is not 0"
[ ! -s "$directory/err" ] || fail "told not to install: it speaks"

# With apt, every package but libgsm1-dev installed, and that one for another processor only; apt-get and sudo write down what they are asked.
cat >"$tools/dpkg-query" <<'TOOL'
#!/bin/bash
for last; do :; done
[ "$last" = libgsm1-dev ] && [ ! -e "$0.all" ] && { echo "installed arm64"; exit; }
echo "installed amd64"
TOOL
printf '#!/bin/bash\necho amd64\n' >"$tools/dpkg"
cat >"$tools/apt-get" <<'TOOL'
#!/bin/bash
echo "$*" >>"$0.log"
TOOL
cat >"$tools/sudo" <<'TOOL'
#!/bin/bash
echo "$*" >>"$0.log"
TOOL
chmod +x "$tools/dpkg" "$tools/dpkg-query" "$tools/apt-get" "$tools/sudo"

run run || fail "one missing: status is not 0: $(cat "$directory/err")"
grep -qx 'bootstrap: installing libgsm1-dev' "$directory/err" || fail "one missing: not announced"
grep -q 'update$' "$tools/apt-get.log" || fail "one missing: no update first"
grep -q 'install -y --no-install-recommends libgsm1-dev$' "$tools/apt-get.log" || fail "one missing: not exactly that one"

[ ! -e "$tools/sudo.log" ] || fail "root: sudo was called"

# Not root: the same through sudo, which must not ask anything by way of debconf.
rm "$tools/apt-get.log"
user_id=1000 run run || fail "not root: status is not 0"
grep -q '^DEBIAN_FRONTEND=noninteractive apt-get .*install .* libgsm1-dev$' "$tools/sudo.log" || fail "not root: not through sudo"
[ ! -e "$tools/apt-get.log" ] || fail "not root: apt-get was called without sudo"

# Not root and no sudo: says what to run, status 1.
mv "$tools/sudo" "$tools/sudo.away"
user_id=1000 run run
[ $? -eq 1 ] || fail "no sudo: status is not 1"
grep -q 'As root: apt-get install libgsm1-dev$' "$directory/err" || fail "no sudo: does not say what to run"

# A failing apt-get: its words, status 1.
printf '#!/bin/bash\necho "the mirror is gone" >&2\nexit 100\n' >"$tools/apt-get"
run run
[ $? -eq 1 ] || fail "apt-get fails: status is not 1"
grep -q 'the mirror is gone' "$directory/err" || fail "apt-get fails: its words are lost"

# No network: apt-get update ends well, apt-get install does not; one line says what is missing, without apt's words.
cat >"$tools/apt-get" <<'TOOL'
#!/bin/bash
case "$*" in
*update) echo "W: Failed to fetch http://deb.example/InRelease  Temporary failure resolving 'deb.example'" >&2 ;;
*)       echo "E: Unable to locate package libgsm1-dev" >&2; exit 100 ;;
esac
TOOL
run run
[ $? -eq 1 ] || fail "no network: status is not 1"
tail -n 1 "$directory/err" | grep -qx 'bootstrap: no network, these packages are missing: libgsm1-dev' ||
    fail "no network: it says $(cat "$directory/err")"
[ "$(wc -l <"$directory/err")" -eq 2 ] || fail "no network: more than the announcement and one line"

# Nothing missing: silence, and apt-get is not called.
touch "$tools/dpkg-query.all"
printf '#!/bin/bash\necho "$*" >>"$0.log"\n' >"$tools/apt-get"
rm -f "$tools/apt-get.log"
run run || fail "nothing missing: status is not 0"
[ ! -s "$directory/err" ] || fail "nothing missing: it speaks"
[ ! -e "$tools/apt-get.log" ] || fail "nothing missing: apt-get was called"

run nonsense
[ $? -eq 2 ] || fail "unknown group: status is not 2"

[ "$failures" -eq 0 ]
