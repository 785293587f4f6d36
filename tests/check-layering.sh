#!/usr/bin/env bash
# Fails when code above src/platform includes a library header, or a layer includes one above it.
set -u
src="$1/src"
status=0
bad=$(grep -rnE '#include *[<"](mupdf/|unicode/|pugixml|phonenumbers/|uriparser/|libpsl)' "$src" \
  | grep -v "^$src/platform/")
if [ -n "$bad" ]; then echo "library headers outside src/platform:"; echo "$bad"; status=1; fi
check() {  # folder, then the folders it must not include
  local dir=$1; shift
  for above in "$@"; do
    hits=$(grep -rnE "#include *\"$above/" "$src/$dir" 2>/dev/null)
    if [ -n "$hits" ]; then echo "$dir includes $above:"; echo "$hits"; status=1; fi
  done
}
check platform pdf convert text2link frontend host
check pdf convert text2link frontend host
check text2link convert host
check convert host
check frontend host
exit $status
