# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# shellcheck disable=SC2034,SC2154,SC2016  # for those that read it
# What the tests of quaver-archive share (sourced): a program installed below a directory that everybody may read, trees
# of recordings with every trap, and what must hold of tree and table whatever happened.
#
# A tree has its expectation beside it, in <tree>.expected: a line a recording, as the table must have it at the end,
# columns result, seconds, frames, path, output. In <tree>.sums are the check sums of all that a run must not touch.
set -u -o pipefail
export LC_ALL=C
failures=0
readonly names_of_columns=$'result\tseconds\tframes\tbits corrected\trepeated\tmuted\tpath\toutput'

fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# expect_equal <what> <got> <expected>: shows the lines that differ.
expect_equal() {
    [[ $2 == "$3" ]] || fail "$1: got <, expected >"$'\n'"$(diff <(printf '%s\n' "$2") <(printf '%s\n' "$3"))"
}

# install_program <cmake> <build directory>: below $directory, which everybody may read.
install_program() {
    "$1" --install "$2" --prefix "$directory/usr" >/dev/null || exit 1
    chmod 755 "$directory"
    PATH=$directory/usr/bin:$PATH
}

# An ordinary user's rights, also when the tests run as root, who may read and write everything.
ordinary_user=()
if [[ $(id -u) -eq 0 ]]; then
    ordinary_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi
# In a process group of its own that a signal can be sent to, with no signal ignored.
launcher=(perl -e 'setpgrp; $SIG{$_} = "DEFAULT" for qw(INT QUIT HUP TERM); exec @ARGV or die $!')

# seconds_of <frames>: the last frame's audio is not waited for, 320 bytes come of each other, 1024 make a block, 16000 a
# second.
seconds_of() {
    local bytes=$((($1 - 1) * 320 / 1024 * 1024))
    printf '%d.%03d' $((bytes / 16000)) $((bytes % 16000 * 1000 / 16000))
}

# expect_line <result> <frames or nothing> <path> <output or nothing>: paths as the table writes them, below the tree.
expect_line() {
    local seconds='' output=''
    case $1 in ok | mirrored | damaged) seconds=$(seconds_of "$2") ;; esac
    [[ -z $4 ]] || output=$tree/$4
    printf '%s\t%s\t%s\t%s\t%s\n' "$1" "$seconds" "$2" "$tree/$3" "$output" >>"$tree.expected"
}

readonly recorded=1580000000  # when all recordings were made, in seconds since 1970

# make_kinds <samples>: one recording of each kind in $directory/kinds, with its WAV file as quaver writes it.
make_kinds() {
    local kinds=$directory/kinds name
    mkdir "$kinds"
    cp "$1/greeting.dvtool" "$1/greeting.ambe" "$1/counting.dvtool" "$kinds"
    mv "$kinds/greeting.ambe" "$kinds/raw.ambe"
    # Each byte's bits the other way round.
    perl -0777 -pe '$_ = pack "b*", unpack "B*"' <"$kinds/raw.ambe" >"$kinds/mirrored.ambe"
    # One frame in three is noise: of such frames some hundred, more than the twentieth of 335, cannot be corrected.
    perl -0777 -ne 'srand 1; for $n (0 .. length() / 12 - 1) {
        print $n % 3 ? substr($_, 12 * $n, 12) : pack("C*", map { int rand 256 } 1 .. 12) }' \
        <"$kinds/raw.ambe" >"$kinds/damaged.ambe"
    perl -e 'srand 2; print pack "C*", map { int rand 256 } 1 .. 12000' >"$kinds/noise.ambe"
    : >"$kinds/nothing.ambe"
    printf '12345' >"$kinds/five_bytes.ambe"
    head -c 12 "$kinds/greeting.dvtool" >"$kinds/head_alone.dvtool"
    head -c 36 "$kinds/raw.ambe" >"$kinds/three_frames.ambe"
    for name in greeting.dvtool raw.ambe counting.dvtool damaged.ambe; do
        (cd "$kinds" && quaver -W "$name" </dev/null >/dev/null 2>&1) || exit 1
    done
    (cd "$kinds" && quaver -W -R mirrored.ambe </dev/null >/dev/null 2>&1) || exit 1
    touch -d "@$recorded" "$kinds"/*
    # What quaver-archive must find out by itself is at least so by quaver's own count.
    cmp -s "$kinds/mirrored.wav" "$kinds/raw.wav" || fail "the mirrored recording is not the raw one mirrored"
}

# recording <kind> <name> <name in the table> <result> <frames or nothing> <output in the table or nothing>
recording() {
    mkdir -p "$tree/${2%/*}"
    cp -p "$directory/kinds/$1" "$tree/$2"
    expect_line "$4" "$5" "$3" "$6"
    case $4 in
    'in the way') printf '%s\t%s\n' "$tree/$6" "${1%.*}.wav" >>"$tree.taken" ;;
    ok | mirrored | damaged) printf '%s\t%s\n' "$tree/$6" "${1%.*}.wav" >>"$tree.content" ;;
    esac
}

# make_tree <directory> <number of folders>: 30 recordings a folder, and what is none.
make_tree() {
    local n d=folder0
    tree=$1
    mkdir -p "$tree"
    : >"$tree.expected"
    : >"$tree.content"
    : >"$tree.taken"
    recording greeting.dvtool "$d/plain.dvtool" "$d/plain.dvtool" ok 336 "$d/plain.wav"
    recording raw.ambe "$d/raw.ambe" "$d/raw.ambe" ok 335 "$d/raw.wav"
    recording counting.dvtool "$d/counting.dvtool" "$d/counting.dvtool" ok 470 "$d/counting.wav"
    recording greeting.dvtool "$d/CAPITALS.DVTOOL" "$d/CAPITALS.DVTOOL" ok 336 "$d/CAPITALS.wav"
    recording raw.ambe "$d/mixed.AmBe" "$d/mixed.AmBe" ok 335 "$d/mixed.wav"
    recording greeting.dvtool "$d/two words.dvtool" "$d/two words.dvtool" ok 336 "$d/two words.wav"
    recording raw.ambe "$d/  spaces .ambe" "$d/  spaces .ambe" ok 335 "$d/  spaces .wav"
    recording raw.ambe "$d/"$'new\nline.ambe' "$d/new\\nline.ambe" ok 335 "$d/new\\nline.wav"
    recording greeting.dvtool "$d/"$'\nfirst\n.dvtool' "$d/\\nfirst\\n.dvtool" ok 336 "$d/\\nfirst\\n.wav"
    recording raw.ambe "$d/"$'tab\there.ambe' "$d/tab\\there.ambe" ok 335 "$d/tab\\there.wav"
    recording raw.ambe "$d/"$'\033[2J.ambe' "$d/\\x1b[2J.ambe" ok 335 "$d/\\x1b[2J.wav"
    recording greeting.dvtool "$d/-R.dvtool" "$d/-R.dvtool" ok 336 "$d/-R.wav"
    recording raw.ambe "$d/"$'\xff\xfe\x80.ambe' "$d/"$'\xff\xfe\x80.ambe' ok 335 "$d/"$'\xff\xfe\x80.wav'
    recording raw.ambe "$d/back\\slash.ambe" "$d/back\\\\slash.ambe" ok 335 "$d/back\\\\slash.wav"
    recording raw.ambe "$d/%s\$(touch \`x\`)'\"*?[.ambe" "$d/%s\$(touch \`x\`)'\"*?[.ambe" ok 335 \
        "$d/%s\$(touch \`x\`)'\"*?[.wav"
    recording raw.ambe "$d/.ambe" "$d/.ambe" ok 335 "$d/.wav"
    recording raw.ambe "$d/sub.dir/a.b.ambe" "$d/sub.dir/a.b.ambe" ok 335 "$d/sub.dir/a.b.wav"
    # Outputs that would be shared: a pair, and one whose name is the other's long one.
    recording raw.ambe "$d/pair.ambe" "$d/pair.ambe" ok 335 "$d/pair.ambe.wav"
    recording counting.dvtool "$d/pair.dvtool" "$d/pair.dvtool" ok 470 "$d/pair.dvtool.wav"
    recording greeting.dvtool "$d/pair.ambe.dvtool" "$d/pair.ambe.dvtool" ok 336 "$d/pair.ambe.dvtool.wav"
    recording mirrored.ambe "$d/mirrored.ambe" "$d/mirrored.ambe" mirrored 335 "$d/mirrored.wav"
    recording damaged.ambe "$d/damaged.ambe" "$d/damaged.ambe" damaged 335 "$d/damaged.wav"
    recording nothing.ambe "$d/nothing.ambe" "$d/nothing.ambe" empty '' ''
    recording head_alone.dvtool "$d/head_alone.dvtool" "$d/head_alone.dvtool" empty 0 ''
    recording three_frames.ambe "$d/three_frames.ambe" "$d/three_frames.ambe" empty 3 ''
    recording five_bytes.ambe "$d/five_bytes.ambe" "$d/five_bytes.ambe" 'not a recording' '' ''
    recording noise.ambe "$d/noise.ambe" "$d/noise.ambe" 'not a recording' 1000 ''
    # What is in an output's place and is not the recording's: a file, a link that must not be written through.
    recording raw.ambe "$d/taken.ambe" "$d/taken.ambe" 'in the way' '' "$d/taken.wav"
    echo "somebody's text" >"$tree/$d/taken.wav"
    recording raw.ambe "$d/link.ambe" "$d/link.ambe" 'in the way' '' "$d/link.wav"
    echo "somebody's file" >"$tree/$d/victim"
    ln -s victim "$tree/$d/link.wav"
    recording raw.ambe "$d/dangling.ambe" "$d/dangling.ambe" 'in the way' '' "$d/dangling.wav"
    ln -s created_by_mistake "$tree/$d/dangling.wav"
    # No recordings, whatever their names say.
    mkfifo "$tree/$d/pipe.ambe"
    ln -s plain.dvtool "$tree/$d/alias.dvtool"
    mkdir "$tree/$d/folder.ambe"
    ln -s . "$tree/$d/loop"
    echo "a text" >"$tree/$d/text.txt"
    for ((n = 1; n < $2; n++)); do
        cp -a "$tree/$d" "$tree/folder$n"
        sed "s|/$d/|/folder$n/|g" "$tree.expected" >>"$tree.expected.all"
        sed "s|/$d/|/folder$n/|g" "$tree.content" >>"$tree.content.all"
        sed "s|/$d/|/folder$n/|g" "$tree.taken" >>"$tree.taken.all"
    done
    for n in expected content taken; do
        [[ ! -e $tree.$n.all ]] || cat "$tree.$n.all" >>"$tree.$n"
    done
    sort -t $'\t' -k 4,4 -o "$tree.expected" "$tree.expected"
    (cd "$tree" && find . ! -type d -printf '%p %y %l %T@\n' -type f -exec sha256sum {} +) >"$tree.sums"
    [[ $(id -u) -ne 0 ]] || chown -hR 65534:65534 "$tree"
}

# table_of <report>: the columns that the expectation has.
table_of() { tail -n +2 "$1" | cut -f 1-3,7,8; }

# expect_nothing_lost <when>: what was there before the run is there as it was.
expect_nothing_lost() {
    local now=$directory/now
    # Only what stood there at first: outputs have come since.
    (cd "$tree" && find . ! -type d -printf '%p %y %l %T@\n' -type f -exec sha256sum {} +) >"$now"
    [[ -z $(sort "$now" | comm -13 - <(sort "$tree.sums")) ]] ||
        fail "$1: changed or lost: $(sort "$now" | comm -13 - <(sort "$tree.sums") | head -n 3)"
    [[ -z $(find "$tree" -name '.quaver-archive*') ]] || fail "$1: something is left: $(find "$tree" -name '.quaver*')"
    [[ -z $(find "$tree" -name created_by_mistake -o -name x) ]] || fail "$1: a link was written through or a name run"
}

# expect_nothing_half <when> [directory of -o]: every output is the whole WAV file of its recording, with the recording's
# time. Writes the outputs that are there to $directory/outputs.
expect_nothing_half() {
    local path wav name contents=("$tree.content")
    local -A sum_of=()
    # Nothing is in the way in a new place.
    [[ -z ${2-} ]] || contents+=("$tree.taken")
    while read -r -d '' wav name; do
        sum_of[x$name]=$wav
    done < <(find "${2-$tree}" "$directory/kinds" -type f -name '*.wav' -exec sha256sum -z {} +)
    : >"$directory/outputs"
    while IFS=$'\t' read -r path wav; do
        path=${2-$tree}${path#"$tree"}
        printf -v name '%b' "$path"
        [[ -n ${sum_of[x$name]-} ]] || continue
        printf '%s\n' "$path" >>"$directory/outputs"
        [[ ${sum_of[x$name]} == "${sum_of[x$directory/kinds/$wav]}" ]] || fail "$1: $path is not the whole $wav"
    done < <(cat "${contents[@]}")
    # What is in the way was not made by a run.
    [[ -z $(find "${2-$tree}" -name '*.wav' -size +10k -newermt "@$((recorded + 1))") ]] ||
        fail "$1: an output has not its recording's time"
}

# expected_below <directory of -o>: the table when the outputs go there.
expected_below() {
    awk -F '\t' -v OFS='\t' -v seconds="$(seconds_of 335)" -v below=$((${#tree} + 1)) '
        $1 == "in the way" { $1 = "ok"; $2 = seconds; $3 = 335 }
        $5 != "" { $5 = ENVIRON["room"] substr($5, below) }
        { print }' "$tree.expected"
}

# expect_table_tells_outputs <when> <report>: a line a recording; one with an output says so, one without does not.
expect_table_tells_outputs() {
    expect_equal "$1: paths in the table" "$(tail -n +2 "$2" | cut -f 7 | sort)" "$(cut -f 4 "$tree.expected" | sort)"
    expect_equal "$1: outputs in the table" \
        "$(grep -E $'^(ok|mirrored|damaged|there)\t' "$2" | cut -f 8 | sort)" "$(sort "$directory/outputs")"
}

# remove_outputs: so that everything is to be done again.
remove_outputs() {
    local path wav name
    while IFS=$'\t' read -r path wav; do
        printf -v name '%b' "$path"
        rm -f -- "$name"
    done <"$tree.content"
}
