#!/usr/bin/env bash
# Compares the dynamic symbols of libvonautil.so with the C functions that the public headers
# declare: each declared function must be exported, with the library's symbol version, and
# nothing else may be. Also checks that the umbrella header includes every public header.
#   check_exports.sh SOURCE_DIR C_COMPILER NM LIBVONAUTIL_SO VERSION_NODE
set -euo pipefail
src=$1 cc=$2 nm=$3 lib=$4 node=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

mapfile -t headers < <(cd "$src" && find player -name '*.h' | sort)
for header in "${headers[@]}"; do
  if ! grep -q "^#include \"$header\"" "$src/include/vonautil.h"; then
    echo "include/vonautil.h does not include $header"
    status=1
  fi
done

# The compiler lists every function prototype it sees, with the file that declares it; the
# functions declared (not defined static inline) in the library's headers are its interface.
printf '#include "%s"\n' "${headers[@]}" > "$work/all_headers.c"
"$cc" -std=c11 -D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64 -I"$src" -fsyntax-only \
  -aux-info "$work/prototypes" "$work/all_headers.c"
grep -F "/* $src/player/" "$work/prototypes" | grep ':NC \*/ extern ' |
  sed -E 's/^[^*]*\*\/ extern //; s/^([^(]*[^A-Za-z0-9_(])?([A-Za-z_][A-Za-z0-9_]*) \(.*/\2/' |
  sort -u > "$work/declared"

"$nm" -D --defined-only "$lib" | awk '{ print $NF }' | grep -vx "$node" > "$work/exported_versioned"
if grep -v "@@$node\$" "$work/exported_versioned"; then
  echo "^ exported without the version $node"
  status=1
fi
sed 's/@.*//' "$work/exported_versioned" | sort -u > "$work/exported"

if comm -13 "$work/declared" "$work/exported" | grep .; then
  echo "^ exported but declared in no public header"
  status=1
fi
if comm -23 "$work/declared" "$work/exported" | grep .; then
  echo "^ declared in a public header but not exported (not defined?)"
  status=1
fi
echo "$(wc -l < "$work/declared") functions declared, $(wc -l < "$work/exported") exported"
exit $status
