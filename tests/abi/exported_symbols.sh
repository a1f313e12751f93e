#!/bin/sh
# Fails when a library exports what is not its own: libmesh_shared anything that is not of namespace qel, a library of the
# platform anything that is no C function of the headers and not of namespace qel::platform; or when no library has one of
# these functions.
#
#   exported_symbols.sh NM MESH_SHARED [HEADERS PLATFORM_LIBRARY...]
set -eu

nm=$1
mesh_shared=$2
shift 2
faults=0

exported() {
  "$nm" --dynamic --defined-only --format=posix "$1" | cut -d ' ' -f 1
}

# expect_own LIBRARY LEAST PATTERN: the exported names, so many at least, match the pattern.
expect_own() {
  names=$(exported "$1")
  if [ "$(printf '%s\n' "$names" | wc -w)" -lt "$2" ]; then
    echo "$1 exports hardly anything"
    faults=1
  fi
  if foreign=$(printf '%s\n' "$names" | grep -v -E "$3"); then
    printf '%s\n' "$1 exports what is not its own:" "$foreign"
    faults=1
  fi
}

# A name in qel, or what the compiler makes for one: tables, type information, thunks, static variables, guards.
expect_own "$mesh_shared" 100 '^_Z(T[VTCIS]|T[hv]n?[0-9]+_(n?[0-9]+_)?|Tc[hv].*_|Z|GV|GVZ|GR)?N[VKRO]*3qel'
[ $# -gt 0 ] || exit "$faults"

# Comments and directives have words before brackets too.
functions=$(cat "$1"/*.h | sed -e 's,/\*.*\*/,,' -e '/\/\*/,/\*\//d' -e 's,//.*,,' -e '/^ *#/d' |
  grep -o -E '[a-z][A-Za-z0-9_]*\(' | tr -d '(' | sort -u)
shift
for library in "$@"; do
  expect_own "$library" 2 "^(_ZN3qel8platform.*|$(printf '%s\n' "$functions" | paste -s -d '|'))$"
done
found=$(for library in "$@"; do exported "$library"; done)
if missing=$(printf '%s\n' "$functions" | grep -v -F -x "$found"); then
  printf '%s\n' 'no library of the platform has' "$missing"
  faults=1
fi
exit "$faults"
