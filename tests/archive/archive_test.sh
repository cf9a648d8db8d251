#!/bin/bash
# SPDX-License-Identifier: MIT
# quaver-archive in small: names, results, options, refusals, an end by a signal. archive_check.sh does it at length.
#
#   archive_test.sh <cmake> <build directory> <source directory>
cmake=$1 build=$2 source=$3
here=$(cd "$(dirname "$0")" && pwd)
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
# shellcheck source=tests/archive/archive_tree.sh
source "$here/archive_tree.sh"
install_program "$cmake" "$build"
make_kinds "$source/samples"
export TMPDIR=$directory/scratch HOME=$directory/scratch
mkdir "$TMPDIR"
mkdir "$directory/work"
cd "$directory/work" || exit 1
kinds=$directory/kinds report=$directory/report

# run <argument...>: with its output in $out, $err and $status.
run() {
    quaver-archive "$@" >"$directory/out" 2>"$directory/err"
    status=$?
    out=$(cat "$directory/out") err=$(cat "$directory/err")
}
# fresh <kind=name>...: an empty directory with these recordings, which becomes the current one.
fresh() {
    local pair
    rm -rf "$directory/work/"* "$report"
    for pair; do
        mkdir -p "$(dirname "$directory/work/${pair#*=}")"
        cp -p "$kinds/${pair%%=*}" "$directory/work/${pair#*=}"
    done
}
results() { tail -n +2 "$report" | cut -f 1; }
files() { find . -type f | sort | tr '\n' ' '; }

# A tree with every trap: listed, converted, and found done.
make_tree "$directory/tree" 1
chmod 755 "$directory"
run -n "$tree"
expect_equal "-n: status" "$status" 0
expect_equal "-n: list" "$(cut -f 1 <<<"$out" | sort | uniq -c | tr -s ' \n' ' ')" " 27 convert 3 in the way "
expect_nothing_lost "-n"
expect_nothing_half "-n"
expect_equal "-n: outputs" "$(wc -l <"$directory/outputs")" 0
run -j 4 -r "$report" "$tree"
expect_equal "tree: status" "$status" 1
expect_equal "tree: table" "$(table_of "$report")" "$(cat "$tree.expected")"
expect_equal "tree: columns" "$(head -n 1 "$report")" "$names_of_columns"
expect_equal "tree: figures of the sample" "$(grep -F "$tree/folder0/plain.dvtool" "$report" | cut -f 1-6)" \
    $'ok\t6.656\t336\t0\t0\t0'
expect_nothing_lost "tree"
expect_nothing_half "tree"
find "$tree" -printf '%p %i %C@\n' >"$directory/before"
run -j 4 -r "$report" "$tree"
expect_equal "again: table" "$(table_of "$report")" "$(cat "$tree.expected")"
find "$tree" ! -type d -printf '%p %i %C@\n' >"$directory/after"
expect_equal "again: written anew" "$(sort "$directory/before" | comm -13 - <(sort "$directory/after"))" ""
run "$tree"
expect_equal "without a report: counts" "$out" \
    "30 recordings: 22 there, 3 in the way, 3 empty, 2 not a recording"

# Usage.
for arguments in '' '-x a' '-o' '-F mp3 a' '-j 0 a' '-j two a' '-n'; do
    # shellcheck disable=SC2086  # several words
    run $arguments
    expect_equal "'$arguments': status" "$status" 2
    [[ $err == *'Usage: quaver-archive [-o DIR]'* && -z $out ]] || fail "'$arguments': no usage line: $err"
done

# Formats.
for format in pcm alaw ulaw adpcm gsm; do
    fresh greeting.dvtool=a.dvtool greeting.dvtool=b.dvtool
    quaver -W -F "$format" b.dvtool </dev/null >/dev/null 2>&1
    run -F "$format" -r "$report" a.dvtool
    cmp -s a.wav b.wav || fail "-F $format: not what quaver writes"
    run -F "$format" a.dvtool
    expect_equal "-F $format: again" "$out" "1 recordings: 1 there"
done
expect_equal "gsm: seconds" "$(tail -n 1 "$report" | cut -f 2)" 6.680  # 167 blocks of 320 samples
run -F pcm a.dvtool
expect_equal "another format than asked for: counts" "$out" "1 recordings: 1 in the way"

# Named files: what stands beside one counts for its name; what is no recording is said.
fresh raw.ambe=a.ambe greeting.dvtool=a.dvtool greeting.dvtool=b.dvtool greeting.dvtool=-f.dvtool raw.ambe=text.txt
ln -s a.ambe link.ambe
run -r "$report" a.ambe
expect_equal "a named file: files" "$(files)" "./-f.dvtool ./a.ambe ./a.ambe.wav ./a.dvtool ./b.dvtool ./text.txt "
run -r "$report" -- -f.dvtool b.dvtool b.dvtool ./b.dvtool text.txt link.ambe nothing.ambe
expect_equal "named files: status" "$status" 1
expect_equal "named files: results" "$(results | sort | tr '\n' ,)" \
    "not a recording,not a recording,ok,ok,ok,unreadable,"
expect_equal "named files: counts" "$out" "5 recordings: 2 ok, 2 not a recording, 1 unreadable"
run -j 2 ./*
[[ ! -e a.ambe.wav.wav && ! -e b.wav.wav ]] || fail "results converted"

# -o: the same tree below DIR, and three names for what two trees have in common.
fresh raw.ambe=one/x/a.ambe greeting.dvtool=two/x/a.dvtool raw.ambe=two/x/a.ambe raw.ambe=two/b.ambe
run -o out -r "$report" one two
expect_equal "-o: status" "$status" 0
here_now=$(pwd -P)
expect_equal "-o: files" "$(cd out && find . -type f -name '*.wav' -printf '%P\n' | sort | tr '\n' ' ')" \
    "b.wav ${here_now#/}/one/x/a.ambe.wav ${here_now#/}/two/x/a.ambe.wav x/a.dvtool.wav "
expect_equal "-o: beside the recordings" "$(find one two -name '*.wav')" ""
cmp -s out/x/a.dvtool.wav "$kinds/greeting.wav" || fail "-o: a.dvtool.wav is another recording's"
fresh raw.ambe=tree/sub/a.ambe raw.ambe=tree/b.ambe
mkdir out elsewhere
ln -s ../elsewhere out/sub
run -o out -r "$report" tree
expect_equal "-o through a link: results" "$(results | tr '\n' ,)" "ok,unwritable,"
expect_equal "-o through a link: written there" "$(ls -A elsewhere)" ""

# What is above a PATH is the user's: it may be a link. A PATH that is one is not followed.
fresh raw.ambe=real/sub/a.ambe
ln -s real alias
run -r "$report" alias/sub
expect_equal "below a link: results" "$(results)" ok
expect_equal "below a link: files" "$(files)" "./real/sub/a.ambe ./real/sub/a.wav "
run -r "$report" alias
expect_equal "a link: counts" "$out" "1 recordings: 1 not a recording"
rm alias
mkdir store
ln -s store alias
run -o alias/new real
cmp -s store/new/sub/a.wav "$kinds/raw.wav" || fail "-o below a link: not converted"
rm alias

# -f replaces: a file, a link (not what it leads to); never a directory.
fresh raw.ambe=a.ambe raw.ambe=b.ambe raw.ambe=c.ambe
echo "somebody's" >a.wav
echo "somebody's" >victim
ln -s victim b.wav
mkdir c.wav
run -f -r "$report" .
expect_equal "-f: results" "$(results | tr '\n' ,)" "ok,ok,in the way,"
cmp -s a.wav "$kinds/raw.wav" || fail "-f: a file was not replaced"
[[ ! -L b.wav && $(<victim) == "somebody's" ]] || fail "-f: a link was written through"
expect_equal "-f: in a directory in the way" "$(ls -A c.wav)" ""

# Time stamps: the recording's; a recording that has changed since is said, what a file system rounds off is not.
fresh raw.ambe=a.ambe
run .
expect_equal "time stamp" "$(stat -c %Y a.wav)" "$recorded"
touch -d "@$((recorded + 2))" a.ambe
run .
expect_equal "two seconds newer" "$out" "1 recordings: 1 there"
touch -d "@$((recorded + 3))" a.ambe
run .
expect_equal "three seconds newer: counts" "$out" "1 recordings: 1 outdated"
expect_equal "three seconds newer: status" "$status" 1
touch -d '+1 year' a.ambe
run -f .
expect_equal "a recording of the future" "$out" "1 recordings: 1 ok"

# The report: no other file is written to; one of before is kept for what this run does not meet.
fresh raw.ambe=a.ambe raw.ambe=b.ambe
for name in a.ambe link . nowhere/report; do
    ln -sf a.ambe link
    run -r "$name" b.ambe
    expect_equal "-r $name: status" "$status" 2
done
cmp -s a.ambe "$kinds/raw.ambe" || fail "-r has written into a recording"
[[ ! -e b.wav ]] || fail "-r: converted all the same"
run -r "$report" a.ambe
rm a.ambe a.wav
printf 'half a li' >>"$report"
run -r "$report" b.ambe
expect_equal "two runs: results" "$(results | tr '\n' ,)" "ok,ok,"
run -r - b.ambe
expect_equal "-r -" "$out" "$names_of_columns"$'\n'$'there\t\t\t\t\t\t'"$here_now/b.ambe"$'\t'"$here_now/b.wav
1 recordings: 1 there"

# stand_in <shell commands>: a quaver that does them; $1 is then the recording, r.wav the output.
stand_in() {
    mkdir -p "$directory/stand_in"
    # shellcheck disable=SC2016  # for the stand-in
    printf '#!/bin/bash\nshift $(($# - 1))\n%s\n' "$1" >"$directory/stand_in/quaver"
    chmod 755 "$directory/stand_in/quaver"
}
with_stand_in() {
    PATH=$directory/stand_in:$PATH run "$@"
}
# A hardware dongle reports no figures; one that stops answering, a program that dies, a recording that changes.
# shellcheck disable=SC2016  # for the stand-in
while IFS='|' read -r result commands; do
    fresh raw.ambe=a.ambe
    stand_in "$commands"
    with_stand_in -r "$report" .
    expect_equal "stand-in, $result: table" "$(tail -n 1 "$report" | cut -f 1-6)" "$result"
    case $result in
    ok*) cmp -s a.wav "$kinds/raw.wav" || fail "stand-in, $result: output" ;;
    *) expect_equal "stand-in, $result: files" "$(files)" "./a.ambe " ;;
    esac
done <<CASES
ok	6.656				|cp '$kinds/raw.wav' r.wav; echo DONE
stopped					|cp '$kinds/raw.wav' r.wav; echo TIMEOUT
stopped					|cp '$kinds/raw.wav' r.wav; kill -SEGV \$\$
stopped					|exit 1
no space					|head -c 24576 '$kinds/raw.wav' >r.wav; echo DONE
no space					|: >r.wav; echo DONE
no space					|head -c 36 /dev/zero | cat - '$kinds/raw.wav' >r.wav; echo DONE
no space					|echo "to 'r.wav': CANNOT CREATE"
empty					|head -c 36 '$kinds/raw.wav' | perl -0777 -pe 'substr(\$_, 4, 4) = pack "V", 36' >r.wav; echo DONE
unreadable					|echo "file 'r.d': NOT FOUND"
changed					|cp '$kinds/raw.wav' r.wav; sleep 0.1; echo more >>'$here_now/a.ambe'; echo DONE
CASES
fresh raw.ambe=a.ambe
stand_in "cp '$kinds/raw.wav' r.wav; rm '$here_now/a.ambe'; echo DONE"
with_stand_in -r "$report" .
expect_equal "a recording that vanishes: result" "$(results)" changed
fresh raw.ambe=a.ambe
stand_in "cp '$kinds/raw.wav' r.wav; echo mine >'$here_now/a.wav'; echo DONE"
with_stand_in -r "$report" .
expect_equal "an output that appears meanwhile: result" "$(results)" 'in the way'
expect_equal "an output that appears meanwhile" "$(cat a.wav)" mine

# A batch that GNU parallel hands out again, as when a machine was lost: what the first worker found stands.
fresh raw.ambe=a.ambe
rm "$directory/stand_in/quaver"
cat >"$directory/stand_in/parallel" <<'TOOL'
#!/bin/bash
[ "$1" != --version ] || { echo "GNU parallel"; exit; }
while [ $# -gt 1 ]; do
    [ "$1" != -a ] || mapfile -t pairs <"$2"
    shift
done
eval "$1" '"${pairs[@]}"; ' "$1" '"${pairs[@]}"'
TOOL
chmod 755 "$directory/stand_in/parallel"
with_stand_in -r "$report" .
expect_equal "a batch twice: table" "$(tail -n +2 "$report" | cut -f 1-6)" $'ok\t6.656\t335\t0\t0\t0'
rm "$directory/stand_in/parallel"

# Ended in the middle: at once, with nothing left and the table settled.
for signal in INT TERM HUP QUIT; do
    fresh raw.ambe=a.ambe raw.ambe=b.ambe raw.ambe=c.ambe
    stand_in "echo >>'$directory/started'; sleep 1000"
    : >"$directory/started"
    PATH=$directory/stand_in:$PATH "${launcher[@]}" quaver-archive -j 2 -r "$report" . >"$directory/out" 2>&1 &
    while kill -0 $! 2>/dev/null && [[ $(wc -l <"$directory/started") -lt 2 ]]; do sleep 0.05; done
    kill "-$signal" $!
    wait $! 2>/dev/null
    expect_equal "SIG$signal: status" $? $((128 + $(kill -l "$signal")))
    expect_equal "SIG$signal: files" "$(files)" "./a.ambe ./b.ambe ./c.ambe "
    expect_equal "SIG$signal: results" "$(results | tr '\n' ,)" "stopped,stopped,stopped,"
done
[[ -z $(ls -A "$TMPDIR") ]] || fail "left in TMPDIR: $(ls -A "$TMPDIR")"

# On a terminal: a bar with what is left, and nobody is asked to cite anything.
fresh raw.ambe=a.ambe raw.ambe=b.ambe
script -qec "quaver-archive -j 1 ." /dev/null </dev/null >"$directory/out" 2>&1
grep -q '100% 2:0=' "$directory/out" || fail "no bar: $(cat -v "$directory/out")"
! grep -qi 'cit' "$directory/out" || fail "a notice: $(cat -v "$directory/out")"

# Tools that are not there.
mkdir "$directory/bare"
for tool in bash realpath sort find mkdir rm; do ln -s "$(type -P "$tool")" "$directory/bare/$tool"; done
"$directory/bare/bash" -c "PATH='$directory/bare' exec '$directory/usr/bin/quaver-archive' ." 2>"$directory/err"
expect_equal "without GNU parallel: status" $? 1
expect_equal "without GNU parallel" "$(cat "$directory/err")" \
    "quaver-archive: there is no GNU parallel (package parallel)"

[[ $failures -eq 0 ]]
