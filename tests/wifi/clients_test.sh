#!/bin/sh
# clients_test.sh BIN_DIRECTORY: in the laboratory, what meshd-wifi learns from real hostapd and wpa_supplicant, which
# start later, are killed and come back; and the live view in a terminal.
set -eu
bin=$1
access_point=02:00:00:00:00:00
phone=02:00:00:00:01:00
export QELIPC_BUS_ADDRESS=unix:path=/tmp/clients_test.bus

fail() {
  echo "$*" >&2
  tail -n 20 /run/*.log >&2
  exit 1
}

clients() { "$bin/meshctl" clients --json "$1"; }
has() { clients "$1" | grep -q "\"mac\":\"$2\",.*\"security\":\"$3\""; }
has_none() { clients "$1" | grep -q '"clients":\[\]'; }

# in_time COMMAND...
in_time() {
  tries=300
  until "$@"; do
    tries=$((tries - 1))
    [ "$tries" -gt 0 ] || fail "never: $*: $(clients ap; clients phone)"
    sleep 0.2
  done
}

dbus-daemon --session --fork --nopidfile --address="$QELIPC_BUS_ADDRESS"
lab node ap phone
lab radio ap 0
lab radio phone 1
for node in ap phone; do
  lab in "$node" ip link add br0 type bridge
  lab in "$node" "$bin/meshd-wifi" --name "$node" --interface br0 >"/run/$node.log" 2>&1 &
done
in_time has_none ap
lab ap ap 0 36
lab station phone 1 mesh --channels 36
in_time has ap "$phone" WPA2PSK
in_time has phone "$access_point" WPA2PSK

kill -KILL "$(cat /run/lab/radios/0/pid)"
in_time has_none ap
lab in ap hostapd -B /run/lab/radios/0/conf >/run/hostapd.log
in_time has ap "$phone" WPA2PSK

kill "$(cat /run/lab/radios/1/pid)"
in_time has_none ap
in_time has_none phone
lab in phone wpa_supplicant -B -i wlan1 -c /run/lab/radios/1/conf >/run/supplicant.log
in_time has ap "$phone" WPA2PSK
in_time has phone "$access_point" WPA2PSK

script -qec "timeout -s INT 3 $bin/meshctl radios ap --watch" /run/screen >/dev/null || :
enter=$(printf '\033[?1049h')
leave=$(printf '\033[?1049l')
grep -qF "$enter" /run/screen || fail "no second screen"
tail -n 2 /run/screen | grep -qF "$leave" || fail "the terminal is not restored"
[ "$(grep -c 'wlan0 .* mesh' /run/screen)" -ge 2 ] || fail "the live view does not go on"
