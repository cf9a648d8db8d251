#!/bin/bash
# SPDX-License-Identifier: MIT
# quaver-archive on 300 recordings with every trap: twice, ended by signals, on a full disk, without rights, and over two
# ssh servers. Nothing may be lost, nothing half; the table is exact, the status right. Takes some minutes.
#
#   archive_check.sh <cmake> <build directory> <source directory>
#
# As root it mounts a small file system; without that right it says so, and as root that is a failure. Everybody else's
# rights are those of an ordinary user.
cmake=$1 build=$2 source=$3
here=$(cd "$(dirname "$0")" && pwd)
directory=$(mktemp -d)
disk=$directory/disk
servers=()
clean_up() {
    [[ ${#servers[@]} -eq 0 ]] || kill "${servers[@]}" 2>/dev/null
    ! mountpoint -q "$disk" || umount "$disk"
    rm -rf "$directory"
}
trap clean_up EXIT
# shellcheck source=tests/archive/archive_tree.sh
source "$here/archive_tree.sh"

install_program "$cmake" "$build"
make_kinds "$source/samples"
make_tree "$directory/tree" 10
mkdir -m 777 "$directory/reports"
report=$directory/reports/table
expect_equal "recordings in the tree" "$(wc -l <"$tree.expected")" 300
runner=("${ordinary_user[@]}" env "TMPDIR=$directory/reports" "HOME=$directory/reports")
step() { printf '  %s (%d s so far)\n' "$*" $SECONDS; }

step "300 recordings, -j 4"
"${runner[@]}" quaver-archive -j 4 -r "$report" "$tree" >"$directory/out" 2>"$directory/err"
expect_equal "first run: status" $? 1
expect_equal "first run: table" "$(table_of "$report")" "$(cat "$tree.expected")"
expect_equal "first run: columns" "$(head -n 1 "$report")" "$names_of_columns"
expect_equal "first run: counts" "$(cat "$directory/out")" \
    "300 recordings: 200 ok, 10 mirrored, 10 damaged, 30 in the way, 30 empty, 20 not a recording"
expect_equal "first run: lines of shared outputs" "$(grep -c 'would share' "$directory/err")" 30
expect_equal "first run: lines of failures" "$(grep -cE ': (in the way|empty|not a recording): ' "$directory/err")" 80
expect_nothing_lost "first run"
expect_nothing_half "first run"
expect_equal "first run: outputs" "$(wc -l <"$directory/outputs")" 220

step "again"
find "$tree" ! -type d -printf '%p %i %T@ %C@\n' | sort >"$directory/before"
"${runner[@]}" quaver-archive -j 4 -r "$report" "$tree" >"$directory/out" 2>&1
expect_equal "second run: status" $? 1
expect_equal "second run: table" "$(table_of "$report")" "$(cat "$tree.expected")"
find "$tree" ! -type d -printf '%p %i %T@ %C@\n' | sort >"$directory/after"
expect_equal "second run: files written anew" "$(comm -13 "$directory/before" "$directory/after")" ""
expect_nothing_lost "second run"

# ended <signal> <to the group or the process> <report>: runs and sends the signal at a random instant, which is soon
# after a random number of lines has been written, so that it is in the middle on a busy machine too. Sets $status.
ended() {
    local pid lines=$((RANDOM % 250 + 1))
    "${launcher[@]}" "${runner[@]}" quaver-archive -j 4 -r "$3" "$tree" >"$directory/out" 2>"$directory/err" &
    pid=$!
    [[ ! -e $3 ]] || lines=$((lines + $(wc -l <"$3")))
    while kill -0 "$pid" 2>/dev/null && [[ ! -e $3 || $(wc -l <"$3") -lt $lines ]]; do sleep 0.02; done
    sleep "0.0$((RANDOM % 100))"
    if [[ $2 == group ]]; then kill "-$1" "-$pid"; else kill "-$1" "$pid"; fi 2>/dev/null
    wait "$pid"
    status=$?
}

RANDOM=${QUAVER_ARCHIVE_SEED:-$$}
step "ended 20 times, seed ${QUAVER_ARCHIVE_SEED:-$$}"
remove_outputs
rm "$report"
for ((turn = 1; turn <= 20; turn++)); do
    [[ $((turn % 4)) -ne 0 ]] || remove_outputs
    case $((turn % 4)) in
    0 | 1) ended INT group "$report"; expected=130 ;;   # as Ctrl-C does
    2) ended TERM process "$report"; expected=143 ;;
    3) ended HUP process "$report"; expected=129 ;;
    esac
    # It may have been too quick for the signal, or the signal for it.
    [[ $status -eq $expected || $status -eq 1 ]] || fail "turn $turn: status $status"
    expect_nothing_lost "turn $turn"
    expect_nothing_half "turn $turn"
    # The counts say that it came to its end, where the table is settled.
    [[ ! -s $directory/out ]] || expect_table_tells_outputs "turn $turn" "$report"
    echo "    turn $turn: status $status, $(wc -l <"$directory/outputs") outputs"
done
"${runner[@]}" quaver-archive -j 4 -r "$report" "$tree" >/dev/null 2>&1
expect_equal "after 20 ends: status" $? 1
expect_equal "after 20 ends: table" "$(table_of "$report")" "$(cat "$tree.expected")"
expect_nothing_lost "after 20 ends"
expect_nothing_half "after 20 ends"
left=$(find "$directory/reports" -mindepth 1 ! -name table)
[[ -z $left ]] || fail "left in TMPDIR: $left"

step "a directory that cannot be written, one that cannot be read, a recording that cannot"
chmod 555 "$tree/folder1"
chmod 000 "$tree/folder2"
chmod 000 "$tree/folder3/plain.dvtool"
rm "$report"
"${runner[@]}" quaver-archive -j 4 -f -r "$report" "$tree" >"$directory/out" 2>&1
expect_equal "rights: status" $? 1
chmod 755 "$tree/folder1" "$tree/folder2"
chmod 644 "$tree/folder3/plain.dvtool"
expect_equal "rights: unwritable" "$(grep -c $'^unwritable\t.*\t'"$tree/folder1/"$'[^\t]*\t$' "$report")" 29
expect_equal "rights: the folder below it" "$(grep -c $'^ok\t.*\t'"$tree/folder1/sub.dir/" "$report")" 1
expect_equal "rights: unreadable" "$(grep $'^unreadable\t' "$report" | cut -f 7)" \
    "$tree/folder2"$'\n'"$tree/folder3/plain.dvtool"
expect_equal "rights: lines" "$(wc -l <"$report")" $((1 + 270 + 1))
expect_nothing_half "rights"
expect_equal "-f: links replaced, not written through" "$(cat "$tree/folder0/victim")" "somebody's file"
expect_equal "-f: what was in the way is replaced" "$(stat -c '%F %s' "$tree/folder0/link.wav")" \
    "regular file $(stat -c %s "$directory/kinds/raw.wav")"

# full_disk: 4 MB hold some forty of the 250 outputs; the others are told, and come when there is room.
full_disk() {
    local full=$directory/reports/full
    export room=$disk/out
    make_tree "$directory/fresh" 10
    "${runner[@]}" quaver-archive -j 4 -o "$room" -r "$full" "$tree" >"$directory/out" 2>&1
    expect_equal "full disk: status" $? 1
    expect_nothing_half "full disk" "$room"
    [[ $(wc -l <"$directory/outputs") -ge 20 ]] || fail "full disk: only $(wc -l <"$directory/outputs") outputs"
    expect_table_tells_outputs "full disk" "$full"
    # Also what turns out to be no recording, or empty, may have found no room to be tried.
    expect_equal "full disk: results" "$(awk -F '\t' '
        NR == FNR { expected[$4] = $1; next }
        FNR > 1 && $1 != expected[$7] && $1 != "no space"' <(expected_below "$room") "$full")" ""
    expect_equal "full disk: told" "$(grep -cE $'^(ok|mirrored|damaged|no space|empty|not a recording)\t' "$full")" 300
    [[ -z $(find "$disk" -name '.quaver*') ]] || fail "full disk: something is left"
    mount -o remount,size=100m "$disk"
    "${runner[@]}" quaver-archive -j 4 -o "$room" -r "$full" "$tree" >"$directory/out" 2>&1
    expect_equal "with room again: table" "$(table_of "$full")" "$(expected_below "$room")"
    expect_nothing_half "with room again" "$room"
    expect_nothing_lost "full disk"
}

mkdir "$disk"
if [[ $(id -u) -ne 0 ]]; then
    echo "NOT TESTED: a full disk (only root can mount a small one)"
elif mount -t tmpfs -o size=4m,mode=777 none "$disk"; then
    step "a full disk"
    full_disk
else
    fail "a full disk: cannot mount a small file system here"
fi

# start_host <address>: an ssh server with keys of its own, where "quaver" is in the PATH and counts its runs.
start_host() {
    local host=$directory/hosts/$1
    mkdir -p "$host/bin"
    ssh-keygen -q -t ed25519 -N '' -f "$host/host_key"
    printf '#!/bin/sh\necho run >>"%s/runs"\nexec "%s" "$@"\n' "$host" "$directory/usr/bin/quaver" >"$host/bin/quaver"
    chmod 755 "$host/bin/quaver"
    : >"$host/runs"
    cat >"$host/sshd_config" <<CONFIG
ListenAddress $1:$port
HostKey $host/host_key
AuthorizedKeysFile $directory/hosts/key.pub
PidFile none
StrictModes no
UsePAM no
PermitRootLogin yes
PasswordAuthentication no
SetEnv PATH=$host/bin:$PATH
CONFIG
    printf '[%s]:%s %s\n' "$1" "$port" "$(cut -d ' ' -f 1,2 "$host/host_key.pub")" >>"$directory/hosts/known_hosts"
    "$(type -P sshd)" -D -f "$host/sshd_config" -E "$host/log" &
    servers+=($!)
}

# The same on two other machines, which are two ssh servers on the loopback interface; then ended in the middle.
two_hosts() {
    local host n
    export room=$directory/hosts/out PARALLEL_SSH="ssh -F $directory/hosts/config"
    mkdir -p "$directory/hosts" /run/sshd
    ssh-keygen -q -t ed25519 -N '' -f "$directory/hosts/key"
    port=$((20000 + RANDOM % 10000))
    start_host 127.0.0.2
    start_host 127.0.0.3
    cat >"$directory/hosts/config" <<CONFIG
Port $port
IdentityFile $directory/hosts/key
IdentitiesOnly yes
UserKnownHostsFile $directory/hosts/known_hosts
BatchMode yes
CONFIG
    for host in 127.0.0.2 127.0.0.3; do
        for n in {1..50}; do
            ssh -F "$directory/hosts/config" "$host" true 2>/dev/null && break
            sleep 0.1
        done
    done
    make_tree "$directory/shared" 10
    quaver-archive -S 127.0.0.2,127.0.0.3 -j 2 -o "$room" -r "$report.hosts" "$tree" >"$directory/out" 2>"$directory/err"
    expect_equal "two hosts: status" $? 1
    expect_equal "two hosts: table" "$(table_of "$report.hosts")" "$(expected_below "$room")"
    expect_nothing_half "two hosts" "$room"
    for host in 127.0.0.2 127.0.0.3; do
        n=$(wc -l <"$directory/hosts/$host/runs")
        [[ $n -gt 20 ]] || fail "two hosts: $host had only $n runs"
        echo "    $host: $n runs"
    done
    rm -rf "$room" "$report.hosts"
    "${launcher[@]}" quaver-archive -S 127.0.0.2,127.0.0.3 -j 2 -o "$room" -r "$report.hosts" "$tree" \
        >"$directory/out" 2>"$directory/err" &
    host=$!
    for n in {1..200}; do
        [[ $(find "$room" -name '*.wav' 2>/dev/null | wc -l) -lt 30 ]] || break
        sleep 0.1
    done
    kill -INT "-$host"
    wait "$host"
    expect_equal "two hosts, ended: status" $? 130
    sleep 1.5
    expect_nothing_half "two hosts, ended" "$room"
    expect_table_tells_outputs "two hosts, ended" "$report.hosts"
    [[ -z $(find "$room" -name '.quaver*') ]] || fail "two hosts, ended: something is left"
    quaver-archive -S 127.0.0.2,127.0.0.3 -j 2 -o "$room" -r "$report.hosts" "$tree" >"$directory/out" 2>&1
    expect_nothing_half "two hosts, again" "$room"
    expect_equal "two hosts, again: outputs" "$(wc -l <"$directory/outputs")" 250
    expect_nothing_lost "two hosts"
}
step "two hosts"
two_hosts

[[ $failures -eq 0 ]] && echo "quaver-archive: all held"
