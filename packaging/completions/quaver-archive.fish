# SPDX-License-Identifier: MIT
# fish completion for quaver-archive: options, wave formats, hosts, directories, recordings.

source (status dirname)/quaver.fish  # for the recordings

complete -c quaver-archive -f
complete -c quaver-archive -s F -x -a 'pcm alaw ulaw adpcm gsm' -d 'Format of the WAV files'
complete -c quaver-archive -s f -d 'Convert anew and replace'
complete -c quaver-archive -s j -x -d 'Recordings at a time'
complete -c quaver-archive -s n -d 'Only list what would be done'
complete -c quaver-archive -s o -x -a '(__fish_complete_directories)' -d 'Directory of the outputs'
complete -c quaver-archive -s r -r -F -d 'Table of the results'
complete -c quaver-archive -s S -x -a '(__fish_print_hostnames)' -d 'Machines to convert on'
complete -c quaver-archive -a '(__quaver_recordings)'
