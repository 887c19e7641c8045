#!/usr/bin/env bash
# Builds Orvo's fuzz targets with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz/, replays the saved inputs of
# tests/fuzz/inputs/, makes seed corpora from the shared test data and the
# tests' own inputs, and runs the targets, one per core at a time. Installs clang and
# libFuzzer with apt-get where missing; without them it skips with a message.
#
#   fuzz/run_fuzzers.sh [TARGET...]     (default: all eight)
#
#   ORVO_FUZZ_SECONDS=N   seconds per target (default 60)
#   ORVO_FUZZ_LONG=1      10,000,000 executions per target instead (hours
#                         per target on a small machine; ORVO_FUZZ_RUNS=N to
#                         choose another count)
#   ORVO_FUZZ_BUILD=DIR   the build folder (default build-fuzz)
#   ORVO_FUZZ_JOBS=N      targets run side by side (default: one per core)
#
# The corpus each target grows stays in the build folder for the next run.
# A crash, a hang (30 s on one input) or a failed check is saved under
# build-fuzz/fuzz-findings/TARGET/ and makes the exit status 1; add the input
# to tests/fuzz/inputs/TARGET/ once it is fixed.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD
me=fuzz/run_fuzzers.sh
source ./scripts/packages.sh

all_targets=(fen movetext ini epd pgn book uci xboard)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")
for t in "${targets[@]}"; do
  [[ " ${all_targets[*]} " == *" $t "* ]] || { echo "$me: no target '$t' (${all_targets[*]})" >&2; exit 2; }
done

# Longest input per target: a FEN line, a few moves, a settings file, an EPD
# suite of some records, a few games, a book of 1024 records, a session.
declare -A max_len=([fen]=256 [movetext]=1024 [ini]=2048 [epd]=2048 [pgn]=16384 [book]=16384
                    [uci]=4096 [xboard]=4096)
hang_seconds=30

have_libfuzzer() {
  command -v clang++ >/dev/null 2>&1 || return 1
  local probe
  probe=$(mktemp -d)
  printf 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }\n' \
    >"$probe/p.cpp"
  clang++ -fsanitize=fuzzer,address,undefined "$probe/p.cpp" -o "$probe/p" >/dev/null 2>&1
  local rc=$?
  rm -rf "$probe"
  return $rc
}

if ! have_libfuzzer; then
  need_packages clang python3 || true
  if command -v clang >/dev/null 2>&1; then
    major=$(clang -dumpversion | cut -d. -f1)
    need_packages "libclang-rt-$major-dev" || true
  fi
fi
if ! have_libfuzzer; then
  echo "$me: clang with libFuzzer is not available (apt-get install clang libclang-rt-N-dev); skipping the fuzzers"
  exit 0
fi

build=${ORVO_FUZZ_BUILD:-build-fuzz}
echo "== fuzz build (clang, libFuzzer, ASan + UBSan) in $build"
# The configuration is the "fuzz" preset of CMakePresets.json.
cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" -j2 >/dev/null
build=$(cd "$build" && pwd)

# "test 1" of the xboard target reads suite 1 from the build's suite folder;
# the other eight are missing on purpose (the runner then ends the process).
mkdir -p "$build/epd"
cat >"$build/epd/suite1.epd" <<'EOF'
2rr3k/pp3pp1/1nnqbN1p/3pN3/2pP4/2P3Q1/PPB4P/R4RK1 w - - bm Qg6; id "WAC.001";
8/7p/5k2/5p2/p1p2P2/Pr1pPK2/1P1R3P/8 b - - bm Rxb2; id "WAC.002";
5rk1/1ppb3p/p1pb4/6q1/3P1p1r/2P1R2P/PP1BQ1P1/5RKN w - - am Rg3; id "x";
EOF

data="$repo/../shared/data"
seeds=$build/fuzz-seeds
rm -rf "$seeds"
if [ -d "$data" ]; then
  python3 fuzz/make_seeds.py "$seeds" "$data" "$repo" "$build/engine/orvo"
else
  echo "$me: no shared data at $data: seeds from the tests' own inputs only"
  python3 fuzz/make_seeds.py "$seeds" /nonexistent "$repo" "$build/engine/orvo"
fi

if [ "${ORVO_FUZZ_LONG:-0}" = 1 ]; then
  budget=(-runs="${ORVO_FUZZ_RUNS:-10000000}")
  echo "== long run: ${ORVO_FUZZ_RUNS:-10000000} executions per target"
else
  budget=(-max_total_time="${ORVO_FUZZ_SECONDS:-60}")
fi

# One target: the saved inputs, then the run. Writes its report line to
# fuzz-logs/TARGET.summary; the status is 1 on a finding.
fuzz_one() {
  local t=$1
  local bin=$build/fuzz/fuzz_$t
  local corpus=$build/fuzz-corpus/$t
  local findings=$build/fuzz-findings/$t
  local log=$build/fuzz-logs/$t.log
  local summary_file=$build/fuzz-logs/$t.summary
  mkdir -p "$corpus" "$findings" "$(dirname "$log")" "$seeds/$t"

  # The saved inputs first: each must run clean.
  local saved=("$repo"/tests/fuzz/inputs/"$t"/*)
  if [ -e "${saved[0]}" ]; then
    if ! "$bin" -artifact_prefix="$findings/" "${saved[@]}" >"$build/fuzz-logs/$t.replay.log" 2>&1; then
      echo "$t: a saved input fails (see $build/fuzz-logs/$t.replay.log)" | tee "$summary_file"
      return 1
    fi
  fi

  local dict=()
  [ -s "$repo/fuzz/dicts/$t.dict" ] && dict=(-dict="$repo/fuzz/dicts/$t.dict")
  echo "== fuzzing $t"
  local start rc=0
  start=$(date +%s)
  "$bin" "${budget[@]}" -timeout="$hang_seconds" -rss_limit_mb=2560 -max_len="${max_len[$t]}" \
    ${dict[@]+"${dict[@]}"} -artifact_prefix="$findings/" -print_final_stats=1 \
    "$corpus" "$seeds/$t" >"$log" 2>&1 || rc=$?
  local seconds=$(( $(date +%s) - start ))
  local runs last cov ft units line
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  last=$(grep -E '^#[0-9]+' "$log" | tail -1 || true)
  cov=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$last")
  ft=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$last")
  units=$(find "$corpus" -type f | wc -l)
  line=$(printf '%-9s %10s executions in %4d s (%5s/s)  cov %5s  ft %6s  corpus %5d' \
    "$t" "${runs:-?}" "$seconds" "$(( ${runs:-0} / (seconds > 0 ? seconds : 1) ))" "${cov:-?}" "${ft:-?}" "$units")
  if [ "$rc" -ne 0 ]; then
    line+="  FINDING (exit $rc): $(grep -m1 -E 'ERROR|runtime error|check failed' "$log" || true)"
    line+=" -> $(ls -t "$findings" | head -1 | sed "s|^|$findings/|")"
  fi
  echo "$line" | tee "$summary_file"
  [ "$rc" -eq 0 ]
}

# The targets run side by side, one per core: each still gets its whole
# budget, and the test run waits half as long on two cores.
parallel=${ORVO_FUZZ_JOBS:-$(nproc 2>/dev/null || echo 1)}
failed=()
summary=()
mkdir -p "$build/fuzz-logs"
for t in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$parallel" ]; do wait -n || true; done
  rm -f "$build/fuzz-logs/$t.summary" "$build/fuzz-logs/$t.ok"
  { fuzz_one "$t" && touch "$build/fuzz-logs/$t.ok"; } &
done
wait
for t in "${targets[@]}"; do
  [ -e "$build/fuzz-logs/$t.ok" ] || failed+=("$t")
  summary+=("$(cat "$build/fuzz-logs/$t.summary" 2>/dev/null || echo "$t: no report")")
done

echo "== fuzz summary"
printf '%s\n' "${summary[@]}"
if [ ${#failed[@]} -gt 0 ]; then
  echo "$me: findings in: ${failed[*]} (inputs under $build/fuzz-findings/, logs under $build/fuzz-logs/)"
  exit 1
fi
echo "$me: no findings"
