#!/bin/sh
# Compares the virtual tables of all public classes, as the compiler lays them out, with the table of operations.
#
#   virtual_operations.sh TABLE SOURCE COMPILER [OPTION...]
set -eu

table=$1
source=$2
shift 2
dump=$(mktemp)
trap 'rm -f "$dump"' EXIT
"$@" -fsyntax-only -fdump-lang-class="$dump" "$source"

awk '
  # The table: wanted["class"] is " ~ ~ one two".
  NR == FNR {
    sub(/#.*/, "")
    for (i = 2; i <= NF; ++i) wanted[$1] = wanted[$1] ($i == "~" ? " ~ ~" : " " $i)
    next
  }

  # The dump: the functions of the first virtual table of each class, "~" for a destructor and "?" for a pure one.
  /^Vtable for / { class = substr($0, 12); parts = 0; next }
  /\(& _ZTI/ { ++parts; next }
  /^$/ { class = ""; next }
  class ~ /^(qel|[{]anonymous[}])::/ && parts == 1 && /^[0-9]/ {
    name = $0
    sub(/^[0-9]+ +(\(int \(\*\)\(\.\.\.\)\))?/, "", name)
    if (name ~ /^-?[0-9]+$/ && name != "0") next
    sub(/.*::/, "", name)
    found[class] = found[class] " " (name ~ /^(~.*|0)$/ ? "~" : name == "__cxa_pure_virtual" ? "?" : name)
  }

  function agrees(list, line, actual, expected, i) {
    if (split(list, actual, " ") != split(line, expected, " ")) return 0
    for (i in actual) if (actual[i] != "?" && actual[i] != expected[i]) return 0
    return 1
  }

  END {
    for (class in found) {
      same = 0
      for (of in wanted) {
        if ((class == of || !(class in wanted)) && agrees(found[class], wanted[of])) same = 1
        if (index(found[class] " ", wanted[of] " ") == 1) named[of] = 1
      }
      if (!same && ++faults) print class ": has" found[class] " and not" (class in wanted ? wanted[class] : " what is in the table")
    }
    for (of in wanted)
      if (!(of in found && of in named) && ++faults) print of ": no such class, or none that names all its operations"
    exit faults > 0
  }' "$table" "$dump"
