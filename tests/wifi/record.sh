#!/bin/sh
# Makes the recordings in tests/wifi/recordings anew, with what iw says at the same moments beside them in *.txt, from
# which the expectations of the tests were written:
#
#   cmake --build --preset dev --target wifi_record
#   scripts/wifi-lab --radios 4 --files DIRECTORY --timeout 900 sh tests/wifi/record.sh build/dev/bin/wifi_record
#
# Inside: an access point of 80 MHz with a phone and a 4-address backhaul; one on a radar channel; then what happens to
# them. The recordings in the tree are of Linux 6.1.
set -eu
record=$1
out=$LAB_FILES

# both NODE NAME WHAT INTERFACE IW_ARGUMENT...: what the kernel tells, and what iw makes of it.
both() {
  node=$1
  name=$2
  what=$3
  interface=$4
  shift 4
  # shellcheck disable=SC2086 # no interface is no argument
  lab in "$node" "$record" "$out/$name" "$what" $interface
  lab in "$node" iw "$@" >"$out/$name.txt"
}

# listen NODE NAME: the events until the end.
listen() {
  lab in "$1" "$record" "$out/$2" events &
  lab in "$1" iw event -t >"$out/$2.txt" &
  until [ -e "$out/$2" ]; do sleep 0.2; done
}

uname -r >"$out/kernel"
lab node ap phone back
listen ap events-ap
listen phone events-phone
lab ap ap 0 36 --standard ax --width 80 --wds --bridge br0
lab station phone 1 mesh --channels 36
lab station back 3 mesh --channels 36 --4addr --bridge br0
lab in ap ip address add 10.9.8.1/24 dev br0
lab in phone ip address add 10.9.8.2/24 dev wlan1
lab in phone ping -q -c 7 -s 900 -i 0.3 10.9.8.1
lab level 1 -70
lab in phone ping -q -c 3 -i 0.3 10.9.8.1
both ap wiphy wiphy '' phy
both ap interface interface '' dev
both ap station station wlan0 dev wlan0 station dump
both ap survey survey wlan0 dev wlan0 survey dump
both ap regulatory regulatory '' reg get
both phone phone-interface interface '' dev
both phone phone-station station wlan1 dev wlan1 station dump
both back back-interface interface '' dev
lab in ap hostapd_cli all_sta >"$out/all_sta.txt"
lab in ap hostapd_cli status >"$out/status.txt"

lab in ap hostapd_cli -i wlan0 chan_switch 5 5240 sec_channel_offset=-1 center_freq1=5210 bandwidth=80 ht vht he
until lab in ap iw dev wlan0 info | grep -q '5240 MHz'; do sleep 0.2; done
sleep 2
lab stop 1
lab in ap iw dev wlan0 interface add mon0 type monitor
lab in ap iw dev mon0 del

lab ap ap 2 52
both ap wiphy-clear wiphy '' phy
lab radar 2
until lab in ap hostapd_cli -i wlan2 status | grep -q 'state=ENABLED' &&
  ! lab in ap iw dev wlan2 info | grep -q 'channel 52 '; do sleep 0.5; done
both ap wiphy-radar wiphy '' phy
lab stop 2
iw reg set DE
sleep 2
both ap regulatory-de regulatory '' reg get
lab in ap iw phy phy2 set netns 1
sleep 1
lab in ap sh -c 'kill $(pidof wifi_record)' || kill $(pidof wifi_record)
sleep 1
ls -l "$out"
