# Completion of meshd, meshd-wifi, meshctl and meshdump in bash. What a tool takes is read from its own --help.

# _mesh_run TOOL ARGUMENT...: prints what the tool answers; meshd is not on the path of all users.
_mesh_run() {
  PATH=$PATH:/usr/sbin "$@" 2>/dev/null </dev/null
}

# Prints the options in a help text, one in a line.
_mesh_options() {
  sed -nE 's/^ +(-[a-z]), ?(--[a-z-]+).*/\1\n\2/p; s/^ +(--[a-z-]+).*/\1/p' <<<"$1"
}

# _mesh_value HELP OPTION: prints what stands for the option's value in the help, such as FILE, IF... or {a,b}.
_mesh_value() {
  sed -nE "s/^ +(.*, ?)?$2(, ?--[a-z-]+)? ([A-Z{][^ ]*).*/\3/p" <<<"$1"
}

# _mesh_candidates TOOL HELP OPTION VALUE: prints the values that an option can have, one in a line, except files.
_mesh_candidates() {
  case $4 in
    *'{'*) sed 's/.*{//; s/}.*//; s/,/\n/g' <<<"$4" ;;
    IF*)
      ls /sys/class/net
      [[ $2 != *'"any"'* ]] || echo any
      ;;
    NAME\|NUMBER) _mesh_run "$1" --types | sed -n "s/^${3#--} .* //p" ;;
    COMPONENT*) sed -n 's/^Components: //p' <<<"$2" | tr -d ',' | tr ' ' '\n' ;;
  esac
}

# _mesh_exec TOOL WORD...: prints the daemons; of a daemon the commands and modules; of a module its commands.
_mesh_exec() {
  local tool=$1
  shift
  case $# in
    0) _mesh_run "$tool" list ;;
    1) _mesh_run "$tool" exec "$1" HELP | sed -n '/^module/,$!s/^  \([^ ]*\).*/\1/p; s/^module \(.*\):$/\1/p' ;;
    2) _mesh_run "$tool" exec "$1" HELP "$2" | sed -n 's/^  \([^ ]*\).*/\1/p' ;;
  esac
}

# Prints the commands in a help text, one in a line.
_mesh_commands() {
  sed -nE '/^Commands:/,/^$/s/^  ([a-z]+) .*/\1/p' <<<"$1"
}

_mesh() {
  local tool=${1/#\~/$HOME} current=$2 option='' value='' word candidate help
  local -a commands=() arguments=()
  help=$(_mesh_run "$tool" --help)
  # "--option=value" comes as three words.
  [[ $current != = ]] || current=
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ ${commands[0]-} == exec && ${#arguments[@]} -gt 0 ]]; then
      arguments+=("$word")
    elif [[ $word == -* ]]; then
      option=$word value=
      [[ ! $word =~ ^--?[a-z-]+$ ]] || value=$(_mesh_value "$help" "$word")
    elif [[ -n $value && $word != = ]]; then
      [[ $value == *... ]] || value=
    elif _mesh_commands "$help" | grep -qxF -e "$word"; then
      commands+=("$word")
      help=$(_mesh_run "$tool" "${commands[@]}" --help)
    elif [[ $word != = ]]; then
      arguments+=("$word")
    fi
  done

  if [[ $current != -* ]]; then
    [[ -n $value ]] || value=$(sed -nE 's/^  (FILE) .*/\1/p' <<<"$help")
    case $value in
      FILE | DIR)
        compopt -o filenames 2>/dev/null
        [[ $value == FILE ]] && word=-f || word=-d
        mapfile -t COMPREPLY < <(compgen "$word" -- "$current")
        return
        ;;
    esac
  fi
  # Not by compgen -W, which would run what a name says.
  COMPREPLY=()
  while IFS= read -r candidate; do
    [[ -z $candidate || ${candidate,,} != "${current,,}"* ]] || COMPREPLY+=("$(printf %q "$candidate")")
  done < <(
    if [[ $current == -* ]]; then
      _mesh_options "$help"
    elif [[ -n $value ]]; then
      _mesh_candidates "$tool" "$help" "$option" "$value"
    elif [[ ${commands[0]-} == exec ]]; then
      _mesh_exec "$tool" "${arguments[@]}"
    elif [[ ${#arguments[@]} -eq 0 ]]; then
      _mesh_commands "$help"
      [[ $help != *$'\n  NAME '* ]] || _mesh_run "$tool" list
    fi
  )
}
complete -F _mesh meshd meshd-wifi meshctl meshdump
