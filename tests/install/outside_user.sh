#!/bin/sh
# Installs the build and uses it like someone who has nothing of this project but the examples.
#
#   outside_user.sh stage CMAKE BUILD STAGE          installs BUILD in STAGE, and each component by itself
#   outside_user.sh headers CXX STAGE SOURCES        compiles the installed headers alone
#   outside_user.sh cmake CMAKE CXX STAGE            builds and runs the examples with find_package
#   outside_user.sh pkg_config CXX STAGE             and one for each library with pkg-config
set -eu

examples=$(cd "$(dirname "$0")/../../examples" && pwd)
vectors=$(cd "$(dirname "$0")/../data/vectors" && pwd)

die() {
  echo "$*" >&2
  exit 1
}

# expected DIRECTORY: the examples there to run, and a pattern for a line that each must print.
expected() {
  while IFS='|' read -r example line; do
    [ ! -e "$1/example_$example" ] || echo "$example|$line"
  done <<'END'
message|dropped: .* in MAC_ADDRESS at offset 17
neighbors|02:19:05:00:00:01 -> 02:19:05:00:00:B3
answer_query|a frame of 46 octets behind its Ethernet header
operating_classes|.*
channel_preferences|best: channel 60 at 40 MHz
operating_channel|.*primary center: 2422000 kHz (channel 3), channel width: 40 MHz.*
signals|0 listeners are left
state_machine|leaving the gateway
event_bus|.*
timers|ended after 3 beats
tasks|TIMEOUT: Task has no value!: Task timed out
futures|9592 primes below 100000
logging|LOG: radio: register 0x1234
messages|event heard: hello
child|IN SMALL LETTERS
END
}

# run_examples DIRECTORY: runs the examples that exit by themselves, on a private message bus.
run_examples() {
  # shellcheck disable=SC2016,SC2046 # the variables are the inner shell's; names have no blanks
  dbus-run-session -- sh -euc '
    directory=$1 input=$2 QELIPC_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS
    export QELIPC_BUS_ADDRESS
    shift 2
    for example; do
      timeout 60 "$directory/example_$example" <"$input" >"$directory/$example.out" 2>&1 || { echo "example_$example failed" && exit 1; }
    done' sh "$1" "$vectors/topology_response.hex" $(expected "$1" | cut -d '|' -f 1) || die "no examples"
  expected "$1" | while IFS='|' read -r example line; do
    grep -q "^$line\$" "$1/$example.out" || die "example_$example printed something else than '$line'"
  done
}

task=$1
shift
case $task in
  stage)
    cmake=$1 build=$2 stage=$3
    rm -rf "$stage" "$stage.parts"
    "$cmake" --install "$build" --prefix "$stage"
    for program in bin/meshctl bin/meshdump sbin/meshd; do
      "$stage/$program" --version >/dev/null || die "$program does not start where it is installed"
    done
    # The components together make up the whole.
    for component in runtime platform dev tools web wifi; do
      "$cmake" --install "$build" --prefix "$stage.parts" --component "$component"
    done
    diff -r "$stage" "$stage.parts" || die "the components are not all that is installed"
    rm -rf "$stage.parts"
    ;;
  headers)
    # A header that has a source file is compiled alone there, since that includes it first.
    cxx=$1 stage=$2 sources=$3
    cd "$stage/include"
    find . -name '*.h' | sed 's/^\.\///' >"$stage.headers"
    [ -s "$stage.headers" ] || die "no headers"
    {
      while read -r header; do
        [ -e "$sources/${header%.h}.cpp" ] || echo "$header"
      done <"$stage.headers"
      sed 's/.*/#include "&"/' "$stage.headers" >"$stage.headers.h"
      echo "$stage.headers.h"
    } | xargs -P "$(nproc)" -I HEADER "$cxx" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I. \
      -include HEADER -x c++ /dev/null || die "a header is not complete by itself"
    ;;
  cmake)
    cmake=$1 cxx=$2 stage=$3
    out=$stage-examples/cmake
    rm -rf "$out"
    "$cmake" -S "$examples" -B "$out" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$stage" -DCMAKE_BUILD_TYPE=Debug
    "$cmake" --build "$out" --parallel "$(nproc)"
    run_examples "$out"
    ;;
  pkg_config)
    cxx=$1 stage=$2
    out=$stage-examples/pkg_config
    rm -rf "$out"
    mkdir -p "$out"
    PKG_CONFIG_PATH=$(dirname "$(find "$stage" -name mesh_shared.pc)")
    export PKG_CONFIG_PATH
    make -C "$examples" CXX="$cxx" CXXFLAGS=-O0 OUT="$out" "$out/example_message" "$out/example_messages" \
      "$out/example_debug_shell"
    # The programs were not told where the library is.
    LD_LIBRARY_PATH=$(dirname "$(find "$stage" -name libmesh_shared.so.0)")
    export LD_LIBRARY_PATH
    run_examples "$out"
    ;;
esac
