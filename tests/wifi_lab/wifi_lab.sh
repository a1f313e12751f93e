#!/bin/sh
# wifi_lab.sh experiment|timeout: the laboratory from outside. In the root of the project.
set -eu

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$*" >&2
  tail -n 60 "$work/out" "$work/err" >&2
  exit 1
}

# lab STATUS ARGUMENT...: expects that exit status, and that nothing stays.
lab() {
  expected=$1
  shift
  status=0
  scripts/wifi-lab --files "$work/files" "$@" >"$work/out" 2>"$work/err" || status=$?
  [ "$status" -eq "$expected" ] || fail "status $status instead of $expected: wifi-lab $*"
  ! grep -qsa "path[=]$work/files" /proc/[0-9]*/cmdline || fail "a process is left"
  for left in build/wifi-lab/run.*; do
    [ ! -e "$left" ] || [ -e "/proc/${left##*.}" ] || fail "$left is left"
  done
}

says() { grep -q -- "$2" "$work/$1" || fail "no '$2' in $1"; }

case $1 in
  experiment)
    # Two access points and a station, on the air and in the tables of the kernel; then all that leaves the laboratory.
    lab 7 --timeout 500 sh -eu <<'END'
lab node one two client
lab ap one 0 36 --wds --bridge br0
lab ap two 1 6 --standard ax
lab capture air "$LAB_FILES/air.pcap"
lab station client 2 mesh --channels '36 6'
lab hear 0 2 no
lab show
lab in one iw dev wlan0 station dump
lab in two iw dev wlan1 station dump
echo to errors >/dev/stderr
echo lost >build/wifi-lab/left-behind
lab in one dbus-daemon --session --fork --address=unix:path=/run/bus --print-address
sleep 600 &
lab stop
lab show | grep -c ' - '
exit 7
END
    says out '^0 .* one .* ap .* ENABLED .* mesh .* 36, 20 MHz .* 1 3 4 5 6 7$'
    says out '^1 .* two .* ap .* ENABLED .* mesh .* 6, 20 MHz '
    says out '^2 .* client .* station .* COMPLETED .* dBm .* 1 3 4 5 6 7$'
    says out '^Station 02:00:00:00:02:00 '
    says out 'authorized:[[:space:]]*yes'
    says out '^unix:path=/run/bus'
    says out '^8$'
    says err '^to errors$'
    tcpdump -n -r "$work/files/air.pcap" 2>/dev/null >"$work/out" || fail "no capture"
    says out 'Beacon (mesh)'
    says out 'Assoc Response'
    [ ! -e build/wifi-lab/left-behind ] || fail "what was written inside is there outside"
    ;;
  timeout)
    lab 124 --timeout 5 sleep 600
    says err '^wifi-lab: ended after 5 s$'
    ;;
esac
