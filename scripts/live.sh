# shellcheck shell=sh
# shellcheck disable=SC2154 # $bin and $nodes are set by the scripts
# Shared by the scripts that run nodes on this machine: network namespaces, virtual links, a message bus, processes.
# Source it after lib.sh. $nodes holds the names of the namespaces that make_node makes, $bin the folder of the tools.

CANNOT_TRY=3
PATIENCE=30 # seconds; a mesh needs two or three
live=$(basename "$0")

cannot_try() {
  echo "$live: no live mesh: $*" >&2
  exit "$CANNOT_TRY"
}

need_live_tools() {
  for tool in meshd meshctl meshdump; do
    [ -x "$bin/$tool" ] || die "$bin/$tool is not built"
  done
  for tool in ip unshare nsenter dbus-daemon; do
    command -v "$tool" >/dev/null || cannot_try "$tool is not installed"
  done
}

# need_namespaces ARGUMENT...: restarts this script with these arguments in a user namespace, unless run by root.
need_namespaces() {
  if [ "$(id -u)" -eq 0 ]; then
    unshare --net true 2>/dev/null || cannot_try "network namespaces are not allowed here, even for root"
  else
    # In a user namespace we are root, and may create network namespaces.
    [ -z "${LIVE_UNSHARED-}" ] || die "still not root in the user namespace"
    unshare --user --map-root-user --net true 2>/dev/null || cannot_try "only root may create network namespaces here"
    LIVE_UNSHARED=1 exec unshare --user --map-root-user --net "scripts/$live" "$@"
  fi
}

# Names on the bus and in shared memory are machine-wide, so ours include our process ID.
begin_live() {
  run=$(mktemp -d)
  prefix=live$$
  processes=
  trap end_live EXIT
  trap 'exit 130' INT
  trap 'exit 143' TERM
  trap 'exit 129' HUP
}

end_live() {
  status=$?
  trap '' INT TERM HUP
  trap - EXIT
  # shellcheck disable=SC2086 # one argument per process; last started first
  stop $processes
  for node in $nodes; do
    rm -f "/dev/shm/${prefix}_${node}_log"
  done
  rm -rf "$run"
  exit "$status"
}

holder() { cat "$run/$1.holder"; }
inside() (
  node=$1
  shift
  exec nsenter --net="/proc/$(holder "$node")/ns/net" -- "$@"
)

# start LOG COMMAND...: runs it in the background until the script ends. Its process ID is then in $!.
start() {
  log=$1
  shift
  "$@" >"$log" 2>&1 </dev/null &
  processes="$! $processes"
}

# reap PROCESS: waits until it exits and returns its status. After that, another process may get its ID.
reap() {
  outcome=0
  wait "$1" 2>/dev/null || outcome=$?
  others=
  for process in $processes; do
    [ "$process" = "$1" ] || others="$others $process"
  done
  processes=$others
  return "$outcome"
}

# Whether it has not ended, even if nobody has waited for it yet.
is_running() { [ -e "/proc/$1" ] && ! grep -q '^State:[[:space:]]*Z' "/proc/$1/status" 2>/dev/null; }

# stop PROCESS...: also stops suspended processes. Those that have not ended after 20 seconds are named and killed.
stop() {
  for process in "$@"; do
    # In this order: at its end, LeakSanitizer suspends a process, and then waits forever if something continues it.
    kill -CONT "$process" 2>/dev/null || :
    kill "$process" 2>/dev/null || :
  done
  left=200
  for process in "$@"; do
    while [ "$left" -gt 0 ] && is_running "$process"; do
      sleep 0.1
      left=$((left - 1))
    done
    if is_running "$process"; then
      echo "process $process did not end: $(tr '\0' ' ' <"/proc/$process/cmdline")" >&2
      kill -KILL "$process" 2>/dev/null || :
    fi
  done
  for started in "$@"; do
    reap "$started" || :
  done
}

# eventually WHAT COMMAND...: waits until the command succeeds.
eventually() {
  what=$1
  shift
  end=$(($(date +%s) + PATIENCE))
  until "$@" >/dev/null 2>&1; do
    if [ "$(date +%s)" -ge "$end" ]; then
      for log in "$run"/*.log; do
        echo "--- $(basename "$log")" >&2
        tail -n 40 "$log" >&2
      done
      die "timed out after $PATIENCE s waiting for $what"
    fi
    sleep 0.1
  done
}

# A namespace exists as long as a process in it. It has no name, so nothing is left when the process is gone.
is_apart() { [ "$(readlink "/proc/$(holder "$1")/ns/net")" != "$(readlink /proc/self/ns/net)" ]; }

# make_node NAME [SECONDS]: creates the namespace, for at most that many seconds.
make_node() {
  start "$run/$1.holder.log" unshare --net sleep "${2-600}"
  echo "$!" >"$run/$1.holder"
  eventually "the namespace of $1" is_apart "$1"
}

# link A INTERFACE_OF_A B INTERFACE_OF_B: without IPv6 addresses, so that the kernel itself sends nothing.
link() {
  inside "$1" ip link add "$2" type veth peer name "$4" netns "$(holder "$3")"
  inside "$1" ip link set dev "$2" addrgenmode none 2>/dev/null || : # fails if the kernel has no IPv6
  inside "$3" ip link set dev "$4" addrgenmode none 2>/dev/null || :
  inside "$1" ip link set "$2" up
  inside "$3" ip link set "$4" up
}

# bridge NODE PORT...: the ports in a bridge br0 of the node, as on a router.
bridge() {
  node=$1
  shift
  inside "$node" ip link add name br0 type bridge stp_state 0 forward_delay 0 mcast_snooping 0
  inside "$node" ip link set dev br0 addrgenmode none 2>/dev/null || :
  for port in "$@"; do
    inside "$node" ip link set dev "$port" master br0
  done
  inside "$node" ip link set dev br0 up
}

# make_chain: three routers, one -- two -- three, and a host behind the port lan of each. $nodes are the routers.
make_chain() {
  for node in $nodes; do
    make_node "$node"
  done
  for host in host_one host_two host_three; do
    make_node "$host"
  done
  link one right two left
  link two right three left
  address=0
  for node in $nodes; do
    address=$((address + 1))
    link "$node" lan "host_$node" eth
    inside "host_$node" ip address add "10.19.5.$address/24" dev eth
  done
  bridge one lan right
  bridge two lan left right
  bridge three lan left
}

# start_meshd NODE NUMBER INTERFACE...
start_meshd() {
  node=$1
  number=$2
  shift 2
  start "$run/$node.meshd.log" env QELIPC_BUS_ADDRESS="unix:path=$run/bus" \
    nsenter --net="/proc/$(holder "$node")/ns/net" -- \
    "${meshd-$bin/meshd}" --name "${prefix}_$node" --al-mac "$AL_MAC$number" --discovery-interval 1 --interface "$@"
}

# hosts_talk: the bridges learn where the hosts are.
hosts_talk() {
  inside host_one bash -c 'echo >/dev/udp/10.19.5.3/9'
  inside host_two bash -c 'echo >/dev/udp/10.19.5.1/9'
}

bus() { QELIPC_BUS_ADDRESS=unix:path=$run/bus "$@"; }

start_bus() {
  cat >"$run/bus.conf" <<END_OF_CONF
<busconfig>
  <type>session</type>
  <listen>unix:path=$run/bus</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="false"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
END_OF_CONF
  rm -f "$run/bus"
  start "$run/bus.log" dbus-daemon --config-file="$run/bus.conf" --nofork --nopidfile
  echo "$!" >"$run/bus.pid"
  eventually "the message bus" test -S "$run/bus"
}

topology() { bus "$bin/meshctl" topology "$@"; }

# knows NODE PATTERN...: true if the JSON view of a node matches all patterns.
knows() (
  view=$(topology --json "${prefix}_$1") || exit
  shift
  for pattern in "$@"; do
    printf '%s\n' "$view" | grep -q -- "$pattern" || exit 1
  done
)

AL_MAC=02:19:05:AA:00:0 # without the last digit, which is the node's number

# forgot NODE NUMBER: true if the view of a node does not contain the device.
forgot() (
  view=$(topology --json "${prefix}_$1") || exit
  ! printf '%s\n' "$view" | grep -q "\"al_mac\":\"$AL_MAC$2\""
)

# answered NUMBER: the pattern of a device that has reported its interfaces and version.
answered() { printf '"al_mac":"%s%s","self":[a-z]*,"answered":true,"meshd_version":"' "$AL_MAC" "$1"; }
# measured NUMBER: the pattern of a link that the device has measured.
measured() { printf '"from":"%s%s","from_interface":"[^"]*","to":"[^"]*","to_interface":"[^"]*","transmitter":{[^}]*"link_availability":[1-9][0-9]*,' "$AL_MAC" "$1"; }

# What one, two and three know of each other in a working chain.
one_knows_all() { knows one "$(answered 2)" "$(answered 3)" "$(measured 2)" "$(measured 3)"; }
two_knows_all() { knows two "$(answered 1)" "$(answered 3)" "$(measured 1)" "$(measured 3)"; }
three_knows_all() { knows three "$(answered 1)" "$(answered 2)" "$(measured 1)" "$(measured 2)"; }
