#!/usr/bin/env bash
# Prints, for each module with a test program, its test lines and library lines as Markdown table
# rows, then the totals: non-blank lines that are not '//' comments, as the suite's ratio is counted.
# Library lines are the module's .cpp/.h/.hpp under player/; the tool's files are counted in the total.
# Usage: bash docs/module_lines.sh [MODULE...]   (from the repository root)
set -eu
count() { cat "$@" 2>/dev/null | grep -cvE '^\s*($|//)' || true; }
modules=("$@")
if [ ${#modules[@]} -eq 0 ]; then
  mapfile -t modules < <(git ls-files 'tests/*_test.cpp' | sed 's|.*/||; s|_test\.cpp$||' | sort)
fi
echo "| Module | Test lines | Library lines | Ratio |"
echo "|---|---:|---:|---:|"
for m in "${modules[@]}"; do
  tests=$(count tests/*/"${m}_test.cpp")
  lib=$(count player/src/util/mt/"$m".{cpp,h,hpp} player/src/util/"$m".{cpp,h,hpp})
  [ "$lib" -gt 0 ] || continue
  awk -v m="$m" -v t="$tests" -v l="$lib" 'BEGIN { printf "| %s | %d | %d | %.2f |\n", m, t, l, t / l }'
done
files() { git ls-files -co --exclude-standard -- "$@" | grep -E '\.(c|cc|cpp|h|hpp)$'; }
t=$(files tests | xargs cat | grep -cvE '^\s*($|//)')
l=$(files player include tools | xargs cat | grep -cvE '^\s*($|//)')
awk -v t="$t" -v l="$l" 'BEGIN { printf "\nAll: %d test lines / %d library lines (player/, include/, tools/) = %.2f\n", t, l, t / l }'
