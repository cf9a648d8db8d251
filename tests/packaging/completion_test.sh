#!/bin/bash
# SPDX-License-Identifier: MIT
# What Tab offers in bash after a few beginnings of a command line.
#
#   completion_test.sh <directory of the completions>
set -u
# shellcheck source=/dev/null
source "$1/quaver"
# shellcheck source=/dev/null
source "$1/quaver-archive"
failures=0

# offers <expected words> <word>...: completes the last of the words.
offers() {
    local expected=$1
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    COMPREPLY=()
    "_${1//-/_}"
    if [ "${COMPREPLY[*]}" != "$expected" ]; then
        echo "after '$*': offered '${COMPREPLY[*]}', expected '$expected'"
        failures=$((failures + 1))
    fi
}

directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
cd "$directory" || exit 1
touch 'evening news.dvtool' evening.ambe evening.txt other
mkdir evenings

# Two numbers, and two more than each card of this machine has.
devices="0 1"
for card in $(compgen -G '/proc/asound/card[0-9]*'); do devices+=" $((${card##*card} + 2))"; done

offers "-d -v -D -R -W -F -p -s" quaver -
offers "pcm ulaw alaw adpcm gsm" quaver -W -F ""
offers "alaw adpcm" quaver -W -F a
offers "-Fgsm" quaver -W -Fg
offers "-WFulaw" quaver -WFu
offers "pcm" quaver -dRWF p
offers "$devices" quaver -D ""
offers "1" quaver -vD 1
offers "230400" quaver -s 23
offers "-s115200" quaver -s11
offers "evening news.dvtool evening.ambe evenings" quaver -W even
offers "other" quaver -W ot
offers "" quaver -W nothing-like-it
offers "-o -F -j -S -f -n -r" quaver-archive -
offers "alaw adpcm" quaver-archive -F a
offers "-fFgsm" quaver-archive -fFg
offers "evenings" quaver-archive -o even
offers "evening news.dvtool evening.ambe evenings" quaver-archive -n even
offers "" quaver-archive other

[ "$failures" -eq 0 ]
