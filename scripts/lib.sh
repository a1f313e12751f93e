# shellcheck shell=sh
# Shared by the scripts. Source it from a script in this folder; it changes to the root of the project.

cd "$(dirname "$0")/.." || exit

die() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Prints the comment at the top of the script, for --help.
usage() {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/$(basename "$0")"
}

# quietly LOG COMMAND...: writes the output to LOG; if the command fails, also shows it, without the successful steps.
quietly() (
  log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 </dev/null && exit
  grep -v '^\[[0-9]*/[0-9]*\] ' "$log" >&2
  die "failed: $*"
)

# configure DIRECTORY PRESET [CMAKE_OPTION...]
configure() (
  directory=$1
  preset=$2
  shift 2
  quietly "$directory/log/configure.log" cmake --preset "$preset" -B "$directory" "$@"
)

# compile DIRECTORY [TARGET]
compile() {
  quietly "$1/log/build.log" cmake --build "$1" --parallel "$(nproc)" --target "${2-all}"
}
