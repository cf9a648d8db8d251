# SPDX-License-Identifier: MIT
# fish completion for quaver: options, wave formats, serial ports, line speeds, recordings.

# Directories and recordings; when there are none, every file.
function __quaver_recordings
    set -l files (complete -C '__fish_command_without_completions '(commandline -ct))
    set -l recordings (string match --regex --ignore-case '^.*(?:/|\.dvtool|\.ambe)$' -- $files)
    or set recordings $files
    printf '%s\n' $recordings
end

# Silence, ALSA's default, then the sound cards of the machine.
function __quaver_devices
    printf '%s\t%s\n' 0 silent 1 "ALSA's default"
    set -l cards /proc/asound/card*
    for number in (string match --regex --groups-only '/card(\d+)$' -- $cards)
        printf '%s\tsound card %s\n' (math $number + 2) $number
    end
end

complete -c quaver -f
complete -c quaver -s d -d 'Have the vocoder library say more'
complete -c quaver -s v -d 'Say why nothing is heard'
complete -c quaver -s D -x -a '(__quaver_devices)' -d 'Number of the audio device'
complete -c quaver -s R -d 'Reverse the bits of each byte'
complete -c quaver -s W -d 'Convert to WAV files'
complete -c quaver -s F -x -a 'pcm ulaw alaw adpcm gsm' -d 'Format of the WAV files'
complete -c quaver -s p -x -a '(path filter /dev/ttyUSB* /dev/ttyACM*)' -d 'Serial device of the dongle'
complete -c quaver -s s -x -a '9600 19200 38400 57600 115200 230400' -d 'Speed of the serial line'
complete -c quaver -a '(__quaver_recordings)'
