#!/bin/sh
# hardened.sh FILE...: whether these programs and libraries guard the stack, are bound at the start and can lie anywhere,
# and whether copies are checked in some of them, since not all have any to check.
set -eu

missing=
checked=
for file in "$@"; do
  all=$(readelf --wide --file-header --program-headers --dynamic --dyn-syms "$file")
  for part in 'Type: *DYN' GNU_RELRO 'FLAGS_1.* NOW' __stack_chk_fail; do
    printf '%s\n' "$all" | grep -q -- "$part" || missing="$missing $file: no $part;"
  done
  ! printf '%s\n' "$all" | grep -q '_chk@' || checked=$file
done
[ -n "$checked" ] || missing="$missing no copy is checked"
[ -z "$missing" ] || { echo "$missing" >&2 && exit 1; }
