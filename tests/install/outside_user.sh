#!/bin/sh
# Installs the build and uses it as somebody who has nothing else of this project but the examples.
#
#   outside_user.sh stage CMAKE BUILD STAGE          installs BUILD in STAGE, and each component by itself
#   outside_user.sh headers CXX STAGE                compiles each installed header alone
#   outside_user.sh cmake CMAKE CXX STAGE            builds and runs the examples by find_package
#   outside_user.sh pkg_config CXX STAGE             and by pkg-config
set -eu

examples=$(cd "$(dirname "$0")/../../examples" && pwd)
vectors=$(cd "$(dirname "$0")/../data/vectors" && pwd)

die() {
  echo "$*" >&2
  exit 1
}

# run_examples DIRECTORY: those that end by themselves and need no message bus.
run_examples() {
  for example in message neighbors answer_query operating_classes signals state_machine event_bus; do
    "$1/example_$example" >"$1/$example.out" <"$vectors/topology_response.hex" || die "example_$example failed"
    [ -s "$1/$example.out" ] || die "example_$example printed nothing"
  done
  grep -q '^29 octets$' "$1/message.out" || die "example_message encoded something else"
  grep -q 'mac: 02:19:05:AA:01:02$' "$1/message.out" || die "example_message decoded something else"
  grep -q '^dropped: .* in MAC_ADDRESS at offset 17$' "$1/message.out" || die "example_message decoded half a message"
  grep -q '^A1:B2' "$1/neighbors.out" && die "example_neighbors took another's neighbour for one of its own"
  grep -q '^02:19:05:00:00:01 -> 02:19:05:00:00:B3$' "$1/neighbors.out" || die "example_neighbors misses a neighbour"
  grep -q '^a frame of 46 octets ' "$1/answer_query.out" || die "example_answer_query answered something else"
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
    # The components make up the whole.
    for component in runtime platform dev tools; do
      "$cmake" --install "$build" --prefix "$stage.parts" --component "$component"
    done
    diff -r "$stage" "$stage.parts" || die "the components are not all that is installed"
    rm -rf "$stage.parts"
    ;;
  headers)
    cxx=$1 stage=$2
    cd "$stage/include"
    # shellcheck disable=SC2016 # $0 is the inner shell's
    find . -name '*.h' | sed 's/^\.\///' | xargs -P "$(nproc)" -I HEADER sh -c '
      printf "#include \"HEADER\"\n" | "$0" -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I. -x c++ - ||
        { echo "HEADER is not complete by itself" && exit 255; }' "$cxx"
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
    make -C "$examples" OUT="$out" CXX="$cxx" CXXFLAGS=-O0
    # Nobody told the programs where the library is.
    LD_LIBRARY_PATH=$(dirname "$(find "$stage" -name libmesh_shared.so.0)")
    export LD_LIBRARY_PATH
    run_examples "$out"
    ;;
esac
