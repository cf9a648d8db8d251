#!/bin/bash
# SPDX-License-Identifier: MIT
# What the udev rules do to devices of several kinds, by a reader of such rules as small as they are: conditions joined
# by commas, patterns joined by bars, assignments, jumps.
#
#   udev_rules_test.sh <rules>
set -u
rules=$1
failures=0

# matches <value> <patterns joined by bars>
matches() {
    local pattern
    IFS='|' read -ra patterns <<<"$2"
    for pattern in "${patterns[@]}"; do
        # shellcheck disable=SC2053  # a pattern, as udev has them
        [[ $1 == $pattern ]] && return 0
    done
    return 1
}

# Prints the assignments that the rules make for the device in the array `device`, in order, sorted out by a bar each.
apply() {
    local line term key operator value label='' holds jump assigned
    local -a done_so_far=()
    while IFS= read -r line; do
        [[ $line =~ ^(#|$) ]] && continue
        if [ -n "$label" ]; then
            [ "$line" = "LABEL=\"$label\"" ] && label=
            continue
        fi
        holds=yes jump='' assigned=()
        IFS=',' read -ra terms <<<"$line"
        for term in "${terms[@]}"; do
            if ! [[ $term =~ ^\ *([A-Z]+(\{[A-Za-z_]+\})?)(==|!=|\+=|=)\"(.*)\"$ ]]; then
                echo "cannot be read: $line"
                return
            fi
            key=${BASH_REMATCH[1]} operator=${BASH_REMATCH[3]} value=${BASH_REMATCH[4]}
            case $key$operator in
            GOTO=) jump=$value ;;
            LABEL=) ;;
            TEST==) key="TEST{$value}"; [ -n "${device[$key]-}" ] || holds=no ;;
            *==) matches "${device[$key]-}" "$value" || holds=no ;;
            *!=) ! matches "${device[$key]-}" "$value" || holds=no ;;
            *) assigned+=("$key$operator$value") ;;
            esac
        done
        [ "$holds" = yes ] || continue
        done_so_far+=("${assigned[@]}")
        label=$jump
    done <"$rules"
    [ -z "$label" ] || echo "no label $label"
    (IFS='|'; echo "${done_so_far[*]}")
}

# gets <what> <expected assignments>: the device is in the array `device`.
gets() {
    local actual
    actual=$(apply)
    [ "$actual" = "$2" ] || { echo "$1: '$actual', expected '$2'"; failures=$((failures + 1)); }
}

declare -A device
port='GROUP=dialout|MODE=0660|TAG+=uaccess|ENV{ID_MM_PORT_IGNORE}=1'

# The usual chips of serial adapters, as the USB device and as the port.
for chip in 0403:6001 0403:6010 0403:6011 0403:6014 0403:6015 10c4:ea60 10c4:ea70 10c4:ea71 067b:2303 067b:23a3 \
    1a86:5523 1a86:55d4 1a86:7523; do
    vendor=${chip%:*} product=${chip#*:}
    device=([ACTION]=add [SUBSYSTEM]=usb ["ENV{DEVTYPE}"]=usb_device ["ATTR{idVendor}"]=$vendor ["ATTR{idProduct}"]=$product)
    gets "adapter $chip" 'ENV{ID_MM_DEVICE_IGNORE}=1'
    for kernel in ttyUSB0 ttyUSB17 ttyACM0; do
        device=([ACTION]=add [SUBSYSTEM]=tty [SUBSYSTEMS]=usb [KERNEL]=$kernel ["ATTRS{idVendor}"]=$vendor
            ["ATTRS{idProduct}"]=$product)
        gets "port $kernel of $chip" "$port"
    done
    device[ACTION]=remove
    gets "port of $chip, unplugged" ''
done

# The timer, where the driver has one.
device=([ACTION]=bind [SUBSYSTEM]=usb-serial [DRIVERS]=ftdi_sio ["ATTRS{idVendor}"]=0403 ["ATTRS{idProduct}"]=6001
    ["TEST{latency_timer}"]=yes)
gets "latency" 'ATTR{latency_timer}=1'
unset 'device[TEST{latency_timer}]'
gets "no timer" ''
device=([ACTION]=bind [SUBSYSTEM]=usb-serial [DRIVERS]=cp210x ["ATTRS{idVendor}"]=10c4 ["ATTRS{idProduct}"]=ea60)
gets "another driver" ''

# Everything else keeps its own rules: a modem, a GPS receiver, an FTDI chip that is no serial adapter, a built-in port.
for chip in 12d1:1506 1546:01a7 0403:8372 ea60:10c4; do
    device=([ACTION]=add [SUBSYSTEM]=tty [SUBSYSTEMS]=usb [KERNEL]=ttyUSB0 ["ATTRS{idVendor}"]=${chip%:*}
        ["ATTRS{idProduct}"]=${chip#*:})
    gets "port of $chip" ''
    device=([ACTION]=add [SUBSYSTEM]=usb ["ENV{DEVTYPE}"]=usb_device ["ATTR{idVendor}"]=${chip%:*}
        ["ATTR{idProduct}"]=${chip#*:})
    gets "device $chip" ''
done
device=([ACTION]=add [SUBSYSTEM]=tty [KERNEL]=ttyS0)
gets "built-in port" ''
device=([ACTION]=add [SUBSYSTEM]=usb ["ENV{DEVTYPE}"]=usb_interface ["ATTR{idVendor}"]=0403 ["ATTR{idProduct}"]=6001)
gets "interface of an adapter" ''

[ "$failures" -eq 0 ]
