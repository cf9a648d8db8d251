#!/usr/bin/env zsh
# SPDX-License-Identifier: MIT
# What Tab offers in zsh: an interactive shell on a pseudo-terminal completes, and writes down its matches.
#
#   zsh -f completion_zsh_test.zsh <directory of the completions>
zmodload zsh/zpty
export LC_ALL=C
completions=${1:A}
directory=$(mktemp -d)
trap 'zpty -d shell 2>/dev/null; rm -rf $directory' EXIT
log=$directory/log
failures=0

mkdir $directory/work $directory/work/evenings
cd $directory/work
touch 'evening news.dvtool' evening.AMBE evening.txt other.wav

cat >$directory/setup <<SETUP
PROMPT= RPS1=
fpath=($completions \$fpath)
autoload -Uz compinit && compinit -u -D
# Stands in for the builtin: writes the matches that are to be offered.
compadd() {
    local -a offered
    if [[ " \${@[1,(i)(-|--)]} " != *' -'[OAD]' '* ]]; then
        builtin compadd -A offered "\$@"
        [[ \$#offered -eq 0 ]] || print -rl -- \$offered >>$log
    fi
    builtin compadd "\$@"
}
complete_and_tell() { zle complete-word; print END >>$log; zle kill-buffer }
zle -N complete_and_tell
bindkey '^I' complete_and_tell
print READY >>$log
SETUP

# told <word>: waits until the shell has written it.
told() {
    local attempt
    for attempt in {1..600}; do
        grep -qx $1 $log 2>/dev/null && return 0
        zpty -r -t shell >/dev/null
        sleep 0.05
    done
    return 1
}

zpty shell env ZDOTDIR=$directory zsh -f -i
zpty -w shell "source $directory/setup"
told READY || { print "zsh does not start"; exit 1 }

# offers <expected, sorted> <command line>
offers() {
    : >$log
    zpty -w -n shell "$2"$'\t'
    told END || { print "'$2': no answer"; (( ++failures )); return }
    local offered=${(j:,:)${(f)"$(grep -vx END $log | sort -u)"}}
    if [[ $offered != $1 ]]; then
        print -r "after '$2': offered '$offered', expected '$1'"
        (( ++failures ))
    fi
}

offers '-D,-F,-R,-W,-d,-p,-s,-v' 'quaver -'
offers 'adpcm,alaw,gsm,pcm,ulaw' 'quaver -W -F '
offers 'adpcm,alaw' 'quaver -W -F a'
offers '0' 'quaver -D 0'
offers '115200,19200' 'quaver -s 1'
offers 'evening.AMBE,evening\ news.dvtool,evenings' 'quaver -W even'
offers '-F,-S,-f,-j,-n,-o,-r' 'quaver-archive -'
offers 'gsm' 'quaver-archive -F g'
offers 'evenings' 'quaver-archive -o '
offers 'evening.AMBE,evening\ news.dvtool,evenings' 'quaver-archive -n even'

(( failures == 0 ))
