#!/bin/bash
# SPDX-License-Identifier: MIT
# Plays a recording in real time to a PulseAudio server without hardware, as an ordinary user, and records what is heard:
# a greeting of 6.7 s takes 6.7 s, what is heard is what was decoded, and the space bar ends it soon.
#
#   real_time_check.sh <program> <directory of the software dongle> <comparing program> <sample recording>
#
# Needs pulseaudio, pulseaudio-utils and libasound2-plugins.
set -u
shopt -s inherit_errexit
if [ "$(id -u)" -eq 0 ] && [ -z "${QUAVER_TEST_USER-}" ]; then
    # A directory that the user can read and write, with all that is needed in it.
    directory=$(mktemp -d)
    trap 'rm -rf "$directory"' EXIT
    script=$(readlink -f "$0")
    mkdir "$directory/dongle"
    cp "$script" "$1" "$3" "$4" "$directory" && cp "$2"/libdongle-x86-64.so "$directory/dongle" || exit 1
    chown -R nobody "$directory"
    QUAVER_TEST_USER=nobody setpriv --reuid=nobody --regid=nogroup --clear-groups bash "$directory/${script##*/}" \
        "$directory/${1##*/}" "$directory/dongle" "$directory/${3##*/}" "$directory/${4##*/}"
    exit
fi

program=$1 dongle=$2 compare=$3
recording=$4
home=$(mktemp -d)
server='' recorder=''
finish() {
    [ -z "$recorder" ] || kill "$recorder"
    [ -z "$server" ] || kill "$server"
    wait
    rm -rf "$home"
} 2>/dev/null
trap finish EXIT
failures=0
fail() { printf '%s\n' "$*"; failures=$((failures + 1)); }

# Nothing of the user's own: neither server nor configuration.
unset DISPLAY DBUS_SESSION_BUS_ADDRESS ALSA_CONFIG_PATH SOUNDCARD DONGLE
export HOME=$home XDG_RUNTIME_DIR=$home XDG_CONFIG_HOME=$home PULSE_SERVER=unix:$home/server LD_LIBRARY_PATH=$dongle

pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no --log-target="file:$home/pulseaudio.log" \
    --load="module-native-protocol-unix socket=$home/server" \
    --load="module-null-sink sink_name=ear rate=8000 channels=1 format=s16le" >"$home/pulseaudio.out" 2>&1 &
server=$!
disown "$server"  # its end is no news
for _ in $(seq 200); do
    pactl info >/dev/null 2>&1 && break
    sleep 0.05
done
pactl info >/dev/null || { cat "$home"/pulseaudio.*; exit 1; }

parec --device=ear.monitor --format=s16le --rate=8000 --channels=1 --raw --latency-msec=20 >"$home/heard" 2>/dev/null &
recorder=$!
sleep 3  # a sink without hardware sleeps up to two seconds before it follows its first listener

# milliseconds <command...>: how long it takes.
milliseconds() {
    local start=${EPOCHREALTIME//[!0-9]/}
    "$@"
    printf '%d\n' $(((${EPOCHREALTIME//[!0-9]/} - start) / 1000))
}

play() { "$program" -v -D 1 "$recording" </dev/null >"$home/out" 2>"$home/err" || printf 'status %d\n' $?; }

cp "$recording" "$home/converted.${recording##*.}"
"$program" -W "$home/converted.${recording##*.}" </dev/null >"$home/out" 2>&1 || fail "the conversion failed"
length=$((($(stat -c %s "$home/converted.wav") - 44) / 16))  # ms: 8000 samples of two bytes a second

taken=$(milliseconds play)
printf '%d ms of samples took %s ms\n' "$length" "$taken"
if [ "$taken" -lt $((length * 95 / 100)) ] || [ "$taken" -gt $((length * 105 / 100)) ]; then fail "not within 5 %"; fi
grep -q '^MCI' "$home/err" && fail "not heard: $(grep '^MCI' "$home/err")"
sleep 0.5
"$compare" "$home/heard" "$home/converted.wav" || fail "what was heard is not what was decoded"

# The space bar after two seconds: from there to the end of the program.
press_space() { sleep 2; printf ' '; printf '%s\n' "${EPOCHREALTIME//[!0-9]/}" >"$home/pressed"; sleep 2; }
press_space | { "$program" -D 1 "$recording" >"$home/out" 2>"$home/err"
                printf '%s\n' "${EPOCHREALTIME//[!0-9]/}" >"$home/ended"; }
grep -q STOPPED "$home/out" || fail "the space bar did not stop it"
stopped=$((($(<"$home/ended") - $(<"$home/pressed")) / 1000))
printf 'stopped %d ms after the space bar\n' "$stopped"
[ "$stopped" -le 350 ] || fail "a queue lasts 240 ms, and a sound server adds some tens"

# The server goes away in the middle: the rest of the run is silent, the status as ever.
(sleep 2; kill -9 "$server") &
"$program" -v -D 1 "$recording" </dev/null >"$home/out" 2>"$home/err" || fail "status $? without the server"
server=''
grep -q DONE "$home/out" || fail "without the server the run did not end"
[ "$(grep -c '^MCI: no sound on .default.' "$home/err")" -eq 1 ] || fail "not one line on the lost server"
[ "$(grep -vc '^MCI\|^> ' "$home/err")" -eq 0 ] || fail "somebody else printed: $(cat "$home/err")"

[ "$failures" -eq 0 ]
