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

# reason LOG: shows what a failed build said, without the successful steps and without the commands.
reason() {
  awk '/^\[[0-9]+\/[0-9]+\] / || /^-- / || /^Preset / || /^  [A-Z_]+="/ || is_command { is_command = 0; next }
       { print; is_command = /^FAILED: / }' "$1" >&2
}

# quietly LOG COMMAND...: writes the output to LOG; if the command fails, also shows it.
quietly() (
  log=$1
  shift
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1 </dev/null && exit
  reason "$log"
  die "failed: $*"
)

# progress TEXT: shows what is being done, on a terminal in one line until the next output.
progress() {
  if [ -t 2 ]; then
    printf '\r%s \033[K' "$1" >&2
  else
    printf '%s\n' "$1" >&2
  fi
}
end_progress() {
  [ ! -t 2 ] || printf '\r\033[K' >&2
}

# follow LABEL: copies its input and shows the progress by the steps of ninja, "[3/17] ", and of ctest, "3/17 Test": on a
# terminal in one line, elsewhere every tenth.
follow() {
  tenths=0 total=
  while IFS= read -r line; do
    printf '%s\n' "$line"
    case $line in
      '['*/*'] '*) step=${line#?} step=${step%%]*} ;;
      *' Test '*'#'*) step=${line%% Test*} step=${step##* } ;;
      *) continue ;;
    esac
    case $step in
      *[!0-9/]* | */*/* | /* | */ | */0) continue ;;
      */*) ;;
      *) continue ;;
    esac
    [ "${step#*/}" = "$total" ] || tenths=0 total=${step#*/}
    if [ -t 2 ] || [ $((10 * ${step%/*} / ${step#*/})) -gt "$tenths" ]; then
      tenths=$((10 * ${step%/*} / ${step#*/}))
      progress "$1 ${step%/*} of ${step#*/}"
    fi
  done
  end_progress
}

# watched LABEL LOG COMMAND...: writes the output to LOG and shows the progress. Returns the status of the command.
watched() (
  label=$1
  log=$2
  shift 2
  mkdir -p "$(dirname "$log")"
  exit "$({ { "$@" 2>&1 </dev/null && echo 0 >&3 || echo $? >&3; } | follow "$label" >"$log"; } 3>&1)"
)

# configure DIRECTORY PRESET [CMAKE_OPTION...]
configure() (
  directory=$1
  preset=$2
  shift 2
  progress "$(basename "$directory"): configuring"
  status=0
  quietly "$directory/log/configure.log" cmake --preset "$preset" -B "$directory" "$@" || status=$?
  end_progress
  exit "$status"
)

# compile DIRECTORY [TARGET]
compile() (
  watched "$(basename "$1"): building" "$1/log/build.log" \
    cmake --build "$1" --parallel "$(nproc)" --target "${2-all}" && exit
  reason "$1/log/build.log"
  die "failed: $1 does not build"
)
