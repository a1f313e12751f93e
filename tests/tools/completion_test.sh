#!/bin/bash
# completion_test.sh TOOL...: completes command lines of the tools as bash does on Tab.
set -eu

cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source packaging/bash-completion/mesh.bash
project=$PWD
directory=$(mktemp -d)
trap 'rm -rf "$directory"' EXIT
failed=0

# The tools by name; of a daemon, only its answers are needed.
mkdir "$directory/bin"
ln -s "$@" "$directory/bin"
rm "$directory/bin/meshctl"
cat >"$directory/bin/meshctl" <<END
#!/bin/sh
case "\$*" in
  list) printf '%s\n' meshd 'a \$(touch ran)' ;;
  'exec meshd HELP') printf '%s\n' 'commands of meshd:' '  HELP    show help' 'module mesh:' '  BLOCK   block it' ;;
  'exec meshd HELP mesh') printf '%s\n' '  BLOCK   block it' ;;
  *) exec "$(printf '%s\n' "$@" | grep '/meshctl$')" "\$@" ;;
esac
END
chmod +x "$directory/bin/meshctl"
PATH=$directory/bin:$PATH
cd "$directory"
touch capture.pcap 'in hex'

# press_tab LINE: prints what is offered for the last word of the line.
press_tab() {
  local -a function
  read -ra COMP_WORDS <<<"${1//=/ = }"
  [[ $1 != *' ' ]] || COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  read -ra function <<<"$(complete -p "${COMP_WORDS[0]}")"
  COMPREPLY=()
  "${function[2]}" "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s\n' "${COMPREPLY[@]}"
}

# check WHAT EXPECTED SEEN
check() {
  [[ $2 == "$3" ]] || { printf '%s: expected "%s", saw "%s"\n' "$@" >&2 && failed=1; }
}

while IFS='|' read -r line expected; do
  check "$line" "$expected" "$(press_tab "$line" | paste -s -d ' ')"
done <<'END'
meshctl to|topology
meshctl log -|-h --help -f --follow
meshctl topology --b|--brief
meshctl topology |meshd a\ \$\(touch\ ran\)
meshctl exec meshd |HELP mesh
meshctl exec meshd mesh |BLOCK
meshctl opclass |table of freq meshd a\ \$\(touch\ ran\)
meshctl opclass of --width 80|80 80+80
meshctl opclass of --width 80 --region |global europe
meshdump --color=al|always
meshdump --tlv vendor|VENDOR_SPECIFIC
meshdump --type topology_r|TOPOLOGY_RESPONSE_MESSAGE
meshdump cap|capture.pcap
meshdump --hex in|in hex
meshd -i lo l|lo
meshd -i lo --debug mainloop t|Task Timer type_validator
END

# The help, and with it the completion, has the options of the manual.
for page in meshctl.1 meshd.8 meshdump.1; do
  tool=${page%.*}
  offered=$(
    press_tab "$tool -"
    [[ $tool != meshctl ]] || for command in log events topology radios clients web mesh steer block channel plan policy ask opclass 'opclass table' 'opclass of' 'opclass freq'; do
      press_tab "$tool $command -"
    done
  )
  manual=$(sed -nE '/^\.Sh SYNOPSIS/,/^\.Sh DESCRIPTION/p; /^\.(It )?Fl/p' "$project/man/$page" |
    grep -oE '(Fl|\||,) -?[a-z-]+' | sed -E 's/^(Fl|\||,) /-/')
  check "options of $tool" "$(sort -u <<<"$manual" | paste -s)" "$(sort -u <<<"$offered" | paste -s)"
done
exit "$failed"
