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
  function fault(text) {
    print text
    faults = 1
  }

  # The table: operations["class"] is "~ ~ one two ".
  NR == FNR {
    sub(/#.*/, "")
    for (i = 2; i <= NF; ++i) operations[$1] = operations[$1] ($i == "~" ? "~ ~" : $i) " "
    next
  }

  # The dump: the functions of the first virtual table of each class, "~" for a destructor and "?" for a pure one, then
  # the bases whose table it shares, the nearest first.
  /^Vtable for / { class = substr($0, 12); parts = 0; next }
  class != "" && /\(& _ZTI/ { ++parts; next }
  class != "" && /^$/ { class = ""; next }
  class != "" && parts == 1 && /^[0-9]/ {
    name = $0
    sub(/^[0-9]+ +(\(int \(\*\)\(\.\.\.\)\))?/, "", name)
    if (name ~ /^-?[0-9]+$/ && name != "0") next
    sub(/.*::/, "", name)
    found[class] = found[class] (name ~ /^(~.*|0)$/ ? "~" : name == "__cxa_pure_virtual" ? "?" : name) " "
    next
  }
  /^Class / { owner = substr($0, 7); class = ""; next }
  owner != "" && /^ *primary-for / { bases[owner] = bases[owner] candidate "\n"; next }
  owner != "" && / \(0x/ { candidate = $0; sub(/ \(0x.*/, "", candidate); sub(/^ */, "", candidate) }

  # Compares a class with its line in the table or with that of a base, which it may go on from if that is not the nearest.
  function compare(class, of, nearest, wanted, seen, expected, actual, same, i) {
    wanted = split(operations[of], expected, " ")
    seen = split(found[class], actual, " ")
    same = nearest ? seen == wanted : seen >= wanted
    for (i = 1; i <= wanted && same; ++i) {
      if (actual[i] != "?") named[of, i] = 1
      else if (class == of) pure[of, i] = 1
      same = actual[i] == "?" || actual[i] == expected[i]
    }
    if (!same) fault(class ": has " found[class] "and not, as " of ", " operations[of])
  }

  END {
    for (class in operations) if (!(class in found)) fault(class ": no such class")
    for (class in found) {
      if (class !~ /^(qel|[{]anonymous[}])::/) continue
      nearest = 1
      count = split(class "\n" bases[class], line, "\n")
      for (i = 1; i <= count; ++i)
        if (line[i] in operations) {
          compare(class, line[i], nearest)
          nearest = 0
        }
      if (!nearest) ++compared
      else if (bases[class] !~ /(^|\n)std::/) fault(class ": not in the table, nor any base of it")
    }
    # What is pure everywhere was compared with nothing.
    for (place in pure)
      if (!(place in named)) { split(place, part, SUBSEP); fault(part[1] ": no class names its operation " part[2]) }
    if (compared == 0) fault("no class was compared")
    exit faults
  }' "$table" "$dump"
