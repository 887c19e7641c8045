#!/usr/bin/env bash
# Bitbase games under a real front end: cutechess-cli plays Orvo (UCI, as
# White) against fairymax from random positions where the Gaviota tables
# say White wins (king and queen, king and rook, king and pawn against
# king) or where Black's pawn cannot win (king against king and pawn).
# Orvo must win every won position and hold every drawn one. No
# adjudication: the games end by the rules.
#
#   egbb_games.sh ORVO POSITIONS INI [N]
#
# ORVO is the engine binary, POSITIONS the egbb_positions program that
# writes the start positions, INI the settings file put in Orvo's working
# directory (its egbb_path names the bitbase folder). N positions of king
# and queen and of king and rook are played, and N/2 (at least one) of each
# kind of pawn ending; N defaults to 1. EGBB_GAMES_SEED picks other
# positions; EGBB_GAMES_TC sets the time control (default 10+0.1).
# The last line is "N passed, N failed"; the exit status is 0 only when
# every game went as the tables say.
set -u -o pipefail

me=$(basename "$0")
[ $# -ge 3 ] && [ $# -le 4 ] || { echo "usage: $me ORVO POSITIONS INI [N]" >&2; exit 2; }
# Started by the path given (an installed link stays a link).
orvo=$(cd "$(dirname -- "$1")" && pwd)/$(basename -- "$1")
positions=$2
ini=$3
n=${4:-1}
case $n in '' | *[!0-9]* | 0) echo "$me: N must be a positive integer" >&2; exit 2 ;; esac
seed=${EGBB_GAMES_SEED:-2024}
tc=${EGBB_GAMES_TC:-10+0.1}
here=$(cd "$(dirname "$0")" && pwd)

[ -x "$orvo" ] || { echo "$me: '$1' is not an executable" >&2; exit 2; }
[ -x "$positions" ] || { echo "$me: '$positions' is not an executable" >&2; exit 2; }
[ -f "$ini" ] || { echo "$me: '$ini' is not a file" >&2; exit 2; }
source "$here/../../scripts/cutechess.sh"
find_cutechess "the bitbase games"
case $? in 0) ;; 1) exit 0 ;; *) exit 2 ;; esac
command -v fairymax >/dev/null || { echo "$me: fairymax is not installed" >&2; exit 2; }

work=$(mktemp -d "${TMPDIR:-/tmp}/orvo-egbb-games.XXXXXX") || exit 2
trap 'rm -rf "$work"' EXIT
cp -- "$ini" "$work/Orvo214.ini"

# The start positions, and what each must end in.
: >"$work/start.epd"
: >"$work/expected"
half=$(( n / 2 > 0 ? n / 2 : 1 ))
k=0
for games_of in "kqk $n win" "krk $n win" "kpk-won $half win" "kpk-drawn $half hold"; do
  set -- $games_of
  k=$((k + 1))
  "$positions" "$1" "$2" "$((seed + k))" >"$work/$1.epd" || { echo "$me: $positions failed" >&2; exit 2; }
  while read -r line; do
    echo "$line" >>"$work/start.epd"
    echo "$3 $1 $line" >>"$work/expected"
  done <"$work/$1.epd"
done
games=$(wc -l <"$work/start.epd")

echo "$me: $games games, Orvo (White) against fairymax, tc $tc"
opponent_args fairymax
run_cutechess "$work" $((games * 60 + 120)) \
  -engine name=Orvo cmd="$orvo" dir="$work" proto=uci \
  -engine "${opponent[@]}" \
  -each tc="$tc" \
  -openings file="$work/start.epd" format=epd order=sequential \
  -noswap -games 1 -rounds "$games"
status=$?
if [ $status -ne 0 ]; then
  echo "$me: cutechess-cli failed ($status)"
  tail -20 "$work/cutechess.log"
  exit 1
fi
loaded=$(grep -c '<Orvo([0-9]*): EgbbProbe Loaded!' "$work/cutechess.log")
if [ "$loaded" -eq 0 ]; then
  echo "$me: Orvo did not load the bitbases"
  grep '<Orvo([0-9]*): \(egbb\|Egbb\)' "$work/cutechess.log" | head -5
  exit 1
fi

# Each game's start position and result, in the order played.
awk '/^\[FEN "/ { sub(/^\[FEN "/, ""); sub(/"\]$/, ""); split($0, f, " ");
                  fen = f[1] " " f[2] " " f[3] " " f[4] }
     /^\[Result "/ { sub(/^\[Result "/, ""); sub(/"\]$/, ""); result = $0 }
     /^\[PlyCount "/ { sub(/^\[PlyCount "/, ""); sub(/"\]$/, ""); plies = $0 }
     /^\[Termination "/ { sub(/^\[Termination "/, ""); sub(/"\]$/, ""); term = $0 }
     /^$/ && fen != "" && result != "" { print result "|" plies "|" fen "|" term;
                                          fen = ""; result = ""; term = "" }' \
  "$work/games.pgn" >"$work/results"

passed=0 failed=0 i=0
while read -r want kind fen; do
  i=$((i + 1))
  line=$(grep -F "|$fen|" "$work/results" | head -1)
  result=${line%%|*}
  plies=$(echo "$line" | cut -d'|' -f2)
  case "$want:$result" in
    win:1-0 | hold:1-0 | "hold:1/2-1/2") verdict=ok ;;
    *) verdict=FAIL ;;
  esac
  if [ "$verdict" = ok ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
  printf 'game %d: %-4s %-9s %-30s must %-4s: %s in %s plies\n' \
    "$i" "$verdict" "$kind" "$fen" "$want" "${result:-no result}" "${plies:-?}"
done <"$work/expected"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
