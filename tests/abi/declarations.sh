#!/bin/sh
# Fails when the library does not export what the public headers declare and leave to it, or exports functions that no
# public header declares. So it exports the same functions whichever compiler built it.
#
#   declarations.sh NM LIBRARY CLANG [OPTION...] SOURCE       SOURCE includes the public headers
set -eu

nm=$1
library=$2
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# names KIND...: of the declarations. All names are demangled, since constructors and destructors have several symbols.
names() {
  for kind in "$@"; do
    sed -n "s/^$kind //p" "$work/declarations"
  done | readable
}
readable() { c++filt | LC_ALL=C sort -u; }

"$@" -fsyntax-only -w -Xclang -ast-dump=json -Xclang -ast-dump-filter=qel |
  jq --raw-output --from-file "$(dirname "$0")/declarations.jq" >"$work/declarations"
names defined >"$work/defined"
names needed | LC_ALL=C comm -23 - "$work/defined" >"$work/needed"
names defined needed >"$work/declared"
"$nm" --dynamic --defined-only --format=posix "$library" >"$work/symbols"
cut -d ' ' -f 1 "$work/symbols" | readable >"$work/exported"
# Weak symbols are what templates and inline functions give; a user has them stamped out anew.
sed -n 's/ [BDRT] .*//p' "$work/symbols" | readable >"$work/strong"

faults=0
report() {
  [ -s "$work/$1" ] || return 0
  echo "$library $2:"
  cat "$work/$1"
  faults=1
}

[ "$(wc -l <"$work/needed")" -ge 100 ] || { echo "hardly anything is declared" && exit 1; }
LC_ALL=C comm -23 "$work/needed" "$work/exported" >"$work/missing"
report missing 'does not export what a public header declares'
# Tables and type information go with the classes.
LC_ALL=C comm -13 "$work/declared" "$work/strong" |
  grep -v -E '^(vtable|VTT|construction vtable|typeinfo|(non-)?virtual thunk|guard variable) ' >"$work/surplus" || :
report surplus 'exports what no public header declares'
exit "$faults"
