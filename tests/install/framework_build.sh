#!/usr/bin/env bash
# Builds Orvo as engine-testing frameworks do, in a scratch clone:
# "make EXE=orvo-test" must leave the binary orvo-test at the top of the
# clone, and "./orvo-test bench" must end with the search's signature.
#
#   tests/install/framework_build.sh
set -u -o pipefail
me=$(basename "$0")
src=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d "${TMPDIR:-/tmp}/orvo-framework.XXXXXX") || exit 2
trap 'rm -rf "$scratch"' EXIT
if git -C "$src" rev-parse --git-dir >/dev/null 2>&1; then
  git clone -q "$src" "$scratch/clone" || exit 1
else
  mkdir -p "$scratch/clone" && (cd "$src" && tar --exclude='./build*' -cf - .) | (cd "$scratch/clone" && tar -xf -)
fi
cd "$scratch/clone" || exit 1
if ! make EXE=orvo-test >"$scratch/make.log" 2>&1; then
  tail -20 "$scratch/make.log"
  echo "$me: make EXE=orvo-test failed"
  exit 1
fi
[ -x ./orvo-test ] || { echo "$me: make left no ./orvo-test"; exit 1; }
last=$(./orvo-test bench </dev/null | tail -1)
echo "$me: ./orvo-test bench: $last"
case $last in
  "19249141 nodes "*" nps") echo "$me: passed" ;;
  *) echo "$me: the last line is not the signature \"19249141 nodes N nps\""; exit 1 ;;
esac
