# shellcheck shell=sh
# What the scripts share. To be sourced from a script in this folder; goes to the root of the project.

cd "$(dirname "$0")/.." || exit

die() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Prints the comment at the head of the script, as --help.
usage() {
  sed -n '2,/^[^#]/s/^# \{0,1\}//p' "scripts/$(basename "$0")"
}

# quietly LOG COMMAND...: keeps the output in LOG, and shows it, without the steps that went well, when the command fails.
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
