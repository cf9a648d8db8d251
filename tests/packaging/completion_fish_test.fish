#!/usr/bin/env fish
# SPDX-License-Identifier: MIT
# What Tab offers in fish.
#
#   fish --no-config completion_fish_test.fish <directory of the completions>
set -g failures 0
set completions (realpath $argv[1])
set directory (mktemp -d)
mkdir $directory/evenings
cd $directory
touch 'evening news.dvtool' evening.AMBE evening.txt other.txt
for file in $completions/*.fish
    source $file
end

# offers <expected> <command line>: the words before the descriptions, sorted.
function offers
    set offered (complete --do-complete $argv[2] | string replace --regex '\t.*' '' | sort | string join ,)
    if test "$offered" != $argv[1]
        echo "after '$argv[2]': offered '$offered', expected '$argv[1]'"
        set failures (math $failures + 1)
    end
end

set --export LC_ALL C
offers '-D,-F,-R,-W,-d,-p,-s,-v' 'quaver -'
offers 'adpcm,alaw,gsm,pcm,ulaw' 'quaver -W -F '
offers 'adpcm,alaw' 'quaver -W -F a'
offers 1 'quaver -D 1'
offers '115200,19200' 'quaver -s 1'
offers '-F,-S,-f,-j,-n,-o,-r' 'quaver-archive -'
offers 'gsm' 'quaver-archive -F g'
offers 'evenings/' 'quaver-archive -o ev'

offers 'evening news.dvtool,evening.AMBE,evenings/' 'quaver -W ev'
offers 'other.txt' 'quaver -W oth'
offers 'evening news.dvtool,evening.AMBE,evenings/' 'quaver-archive -n ev'

cd /
rm -r $directory
test $failures -eq 0
