#!/bin/sh
# Fails when the library exports anything that is not of namespace qel.
#
#   exported_symbols.sh NM LIBRARY
set -eu

exported=$("$1" --dynamic --defined-only --format=posix "$2" | cut -d ' ' -f 1)
[ "$(printf '%s\n' "$exported" | wc -l)" -gt 100 ] || {
  echo "$2 exports hardly anything"
  exit 1
}
# A name in qel, or what the compiler makes for one: tables, type information, thunks, static variables, guards.
foreign=$(printf '%s\n' "$exported" |
  grep -v -E '^_Z(T[VTCIS]|T[hv]n?[0-9]+_(n?[0-9]+_)?|Tc[hv].*_|Z|GV|GVZ|GR)?N[VKRO]*3qel') || exit 0
echo "$2 exports what is not its own:"
printf '%s\n' "$foreign"
exit 1
