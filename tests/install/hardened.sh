#!/bin/sh
# hardened.sh FILE...: checks that these programs and libraries are position-independent and have stack protectors and
# immediate binding, and that some of them have checked copies; not all have copies to check.
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
