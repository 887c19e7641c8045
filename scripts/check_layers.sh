#!/usr/bin/env bash
# Checks that every #include of the engine's sources points down the layers:
#
#   position  <  io, eval  <  tools  <  search  <  book  <  protocol  <  engine
#
# A file may include its own folder and any folder of a lower layer; io and
# eval stand side by side and include neither each other nor anything above
# position. So no include runs upward and no two folders include each other.
#
#   scripts/check_layers.sh [ROOT]   the sources under ROOT (default: the repository)
#   scripts/check_layers.sh --self-test
#
# Prints every include that breaks the rule; the exit status is 0 only when
# there is none.
set -u -o pipefail

declare -A rank=([position]=0 [io]=1 [eval]=1 [tools]=2 [search]=3 [book]=4 [protocol]=5 [engine]=6)

check() {  # check ROOT: prints violations, returns their number (capped)
  local root=$1 bad=0 file folder target line
  for folder in "${!rank[@]}"; do
    [ -d "$root/$folder" ] || continue
    while IFS= read -r file; do
      while IFS= read -r line; do
        target=${line#*\"}
        target=${target%%/*}
        [ -n "${rank[$target]+x}" ] || continue  # not one of the engine's folders
        [ "$target" = "$folder" ] && continue
        if [ "${rank[$target]}" -ge "${rank[$folder]}" ]; then
          echo "${file#"$root"/}: #include \"${line#*\"}: $folder may not include $target"
          bad=$((bad + 1))
        fi
      done < <(grep -E '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' "$file" | sed 's/^[^"]*"/"/; s/"[^"]*$//')
    done < <(find "$root/$folder" -type f \( -name '*.h' -o -name '*.cpp' \))
  done
  [ "$bad" -gt 100 ] && bad=100
  return "$bad"
}

if [ "${1:-}" = --self-test ]; then
  # The check must find a planted upward include and pass a clean tree.
  tmp=$(mktemp -d) || exit 2
  trap 'rm -rf "$tmp"' EXIT
  mkdir -p "$tmp/position" "$tmp/search" "$tmp/io" "$tmp/eval"
  printf '#include "position/board.h"\n' > "$tmp/search/a.cpp"
  printf '#include <vector>\n#include "position/types.h"\n' > "$tmp/position/b.h"
  check "$tmp" >/dev/null || { echo "self-test: a clean tree was refused"; exit 1; }
  printf '#include "search/search.h"\n' >> "$tmp/position/b.h"
  check "$tmp" >/dev/null && { echo "self-test: an upward include was not found"; exit 1; }
  printf '#include "position/board.h"\n' > "$tmp/position/b.h"
  printf '#include "eval/eval.h"\n' > "$tmp/io/c.cpp"
  check "$tmp" >/dev/null && { echo "self-test: io including eval was not found"; exit 1; }
  echo "self-test passed"
  exit 0
fi

root=$(cd "${1:-$(dirname "$0")/..}" && pwd) || exit 2
check "$root"
bad=$?
if [ "$bad" -eq 0 ]; then
  echo "layers: every include points down"
else
  echo "layers: $bad include(s) point up or sideways"
fi
[ "$bad" -eq 0 ]
