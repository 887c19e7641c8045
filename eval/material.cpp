// Material, the win-chance flags and their material-signature cache, the
// bare-king stalemate test and the pawnless endings.
#include "eval/colour.h"
#include "eval/eval.h"
#include "eval/tables.h"
#include "eval/terms.h"
#include "position/movegen.h"

namespace orvo::eval {

namespace {

constexpr u64 rook_files = 0x8181818181818181ull;

// The set the KBN chooser tests the bishops against. It is always empty, so
// the dark-corner table is used whatever the colour of the bishop; this is
// deliberate, and the light-corner table stays in the data unused.
constexpr u64 kbn_light_bishop_squares = 0;

// Bishop and rook pawns: a side whose pawns all stand on one rook file, with
// a single bishop and no knight, against a defender without bishops, cannot
// win when the defending king reaches the promotion corner in time. The
// bishop's square colour is deliberately not examined: every bishop counts
// as the wrong one. Also deliberate: White's rule is for the h-file with the
// corner h8, Black's for the a-file with the corner a1 (the board turned half
// round, not mirrored), so a White a-pawn or a Black h-pawn is never judged.
template <int C>
void rook_pawn_rule(const board& b, u32& flags) {
  using S = colour<C>;
  const u64* own = S::own(b);
  const u64* enemy = S::enemy(b);
  const u64 pawns = own[BB_PAWN];
  // A side without pawns is judged by the first rules alone.
  if (!pawns || (pawns & ~rook_files)) return;
  if (b.phase_units[C] >= 4 || own[BB_KNIGHT] || !own[BB_BISHOP] || enemy[BB_BISHOP]) return;
  constexpr u64 pawn_file = C == WHITE ? FILE_H : FILE_A;
  constexpr int corner = C == WHITE ? H8 : A1;
  if (pawns & ~pawn_file) return;

  const u32 bit = C == WHITE ? WHITE_CAN_WIN : BLACK_CAN_WIN;
  // Distances are king steps to the corner, one less for the side to move.
  const int defender = king_distance[king_square(b, S::them)][corner] - (b.side == S::them ? 1 : 0);
  if (defender < 2) {
    flags &= ~bit;
    return;
  }
  const int tempo = b.side == C ? 1 : 0;
  const int attacker = king_distance[king_square(b, C)][corner] - tempo;
  // The most advanced pawn's moves to promotion: its rows to go, one fewer
  // from its starting rank, where it can advance two squares at once.
  const int front = C == WHITE ? __builtin_ctzll(pawns) : 63 - __builtin_clzll(pawns);
  int pawn_moves = 7 - S::home_sq(front) / 8;
  if (S::home_sq(front) / 8 == 1) --pawn_moves;
  if (defender < attacker && defender < pawn_moves - tempo) flags &= ~bit;
}

// King, bishop and knight against a bare king: the corner value of the
// defending king's square.
template <int C>
int kbn_value(const board& b) {
  using S = colour<C>;
  const u64* own = S::own(b);
  if (b.phase_units[S::them] != 0 || b.phase_units[C] != 6 || own[BB_PAWN] || !own[BB_BISHOP] ||
      !own[BB_KNIGHT])
    return 0;
  const int* table = (own[BB_BISHOP] & kbn_light_bishop_squares) ? kbn_light_corner : kbn_dark_corner;
  return S::sign * table[king_square(b, S::them)];
}

}  // namespace

void clear_material_cache(material_entry* cache) {
  for (int i = 0; i < MATERIAL_CACHE_SIZE; ++i) cache[i] = {0, BOTH_CAN_WIN};
}

int material_term(const board& b) {
  int score = b.material[WHITE] - b.material[BLACK];
  const int minor_w = popcount(b.white[BB_KNIGHT] | b.white[BB_BISHOP]);
  const int minor_b = popcount(b.black[BB_KNIGHT] | b.black[BB_BISHOP]);
  const int major_w = popcount(b.white[BB_ROOK] | b.white[BB_QUEEN]);
  const int major_b = popcount(b.black[BB_ROOK] | b.black[BB_QUEEN]);
  if (major_w != major_b) return score;
  const int bonus = imbalance_bonus[b.phase >= 0 && b.phase <= 2 ? b.phase : 2];
  const int pawn_diff = b.pawn_count[WHITE] - b.pawn_count[BLACK];
  if (minor_b - minor_w == 1 && pawn_diff == 3) score -= bonus;
  if (minor_w - minor_b == 1 && pawn_diff == -3) score += bonus;
  return score;
}

// The material-signature cache keeps, per entry, the part of the win-chance
// routine that depends on the material alone, and the position-dependent
// part (the bishop and rook-pawn rule, which reads the pawn files, the king
// squares and the side to move) is applied afresh at every call: it is a
// handful of tests, and only for the few materials the rule can apply to.
// Caching its result under the material key would hand one position the
// verdict reached for another with the same material.
//
// Nor does the key alone tell which material an entry was computed for: it
// follows captures only, so after a promotion without a capture it still
// names the material from before the promotion, and different materials may
// also share an index and a check word. So an entry also records the few
// material facts its flags were derived from, and is used only when the
// board shows the same facts. Those facts decide the cached part entirely,
// which makes a hit exactly what a fresh computation would give.
//
// Layout of the cached flag word:
//   bits 0-1   the flags of the first rules (who can win by material)
//   bit 2      White's bishop and rook-pawn rule can apply to this material
//   bit 3      Black's likewise
//   bits 8-15  the material facts (material_facts below)
// An emptied entry (check word 0, flag word 3) never passes the check: a
// key with check word 0 is judged without the cache.
namespace {

constexpr u32 FLAG_BITS = 3;
constexpr u32 WHITE_ROOK_PAWN_RULE = 4, BLACK_ROOK_PAWN_RULE = 8;
constexpr int FACTS_SHIFT = 8;

// Per colour, four bits: no pawns, at most 3 piece units, a knight, a
// bishop. White's in bits 0-3, Black's in bits 4-7.
template <int C>
u32 colour_facts(const board& b) {
  const u64* own = colour<C>::own(b);
  return u32(b.pawn_count[C] == 0) | u32(b.phase_units[C] <= 3) << 1 |
         u32(own[BB_KNIGHT] != 0) << 2 | u32(own[BB_BISHOP] != 0) << 3;
}
u32 material_facts(const board& b) { return colour_facts<WHITE>(b) | colour_facts<BLACK>(b) << 4; }

// The cached part, from the facts alone: the first rules, and whether each
// side's bishop and rook-pawn rule can apply (fewer than 4 piece units, a
// bishop, no knight, and no bishop for the defender; the rule itself checks
// the pawns).
u32 material_part(u32 facts) {
  const u32 w = facts & 15, k = facts >> 4;
  constexpr u32 NO_PAWNS = 1, FEW_UNITS = 2, KNIGHT = 4, BISHOP = 8;
  u32 word = BOTH_CAN_WIN;
  // No pawns and at most a minor piece: that side cannot win.
  if ((w & NO_PAWNS) && (w & FEW_UNITS)) word = BLACK_CAN_WIN;
  if ((k & NO_PAWNS) && (k & FEW_UNITS)) word &= ~BLACK_CAN_WIN;
  if ((w & (FEW_UNITS | KNIGHT | BISHOP)) == (FEW_UNITS | BISHOP) && !(k & BISHOP))
    word |= WHITE_ROOK_PAWN_RULE;
  if ((k & (FEW_UNITS | KNIGHT | BISHOP)) == (FEW_UNITS | BISHOP) && !(w & BISHOP))
    word |= BLACK_ROOK_PAWN_RULE;
  return word;
}

// The position-dependent part, applied to the cached word.
u32 position_part(const board& b, u32 word) {
  u32 flags = word & FLAG_BITS;
  if (!(word & (WHITE_ROOK_PAWN_RULE | BLACK_ROOK_PAWN_RULE))) return flags;
  // With no piece units on either side and a pawn off the rook files for
  // each, the routine stops before the rook-pawn rule. (The rule needs a
  // bishop, so this cannot coincide with it on a consistent board; the test
  // is kept so that the routine reads the same in every case.)
  if (b.phase_units[WHITE] == 0 && b.phase_units[BLACK] == 0 && (b.white[BB_PAWN] & ~rook_files) &&
      (b.black[BB_PAWN] & ~rook_files))
    return flags;
  if (word & WHITE_ROOK_PAWN_RULE) rook_pawn_rule<WHITE>(b, flags);
  if (word & BLACK_ROOK_PAWN_RULE) rook_pawn_rule<BLACK>(b, flags);
  return flags;
}

}  // namespace

u32 win_chance(const board& b) { return position_part(b, material_part(material_facts(b))); }

bool bare_king_stalemate(const board& b) {
  const int lone = b.side & 1, other = lone ^ 1;
  if (b.pawn_count[lone] != 0 || b.pieces_count[lone] != 0) return false;
  const int k = king_square(b, lone);
  if (!(king_zone[k] & sq_bit(king_square(b, other)))) return false;
  // Whether the lone king is in check is not asked.
  u64 moves = king_attacks[k];
  while (moves)
    if (!is_attacked(b, pop_lsb(moves), other)) return false;
  return true;
}

u32 material_flags(const board& b, material_entry* cache) {
  if (b.phase_units[WHITE] >= 13 || b.phase_units[BLACK] >= 13) return BOTH_CAN_WIN;
  const u32 facts = material_facts(b);
  u32 word;
  const u32 check = u32(b.mat_key >> 32);
  if (check == 0) {
    // A key whose check word is 0 (the bare kings have the key 0) would
    // match every emptied entry; it is judged directly instead.
    word = material_part(facts);
  } else {
    material_entry& e = cache[b.mat_key & (MATERIAL_CACHE_SIZE - 1)];
    if (e.check == check && (e.flags >> FACTS_SHIFT) == facts) {
      word = e.flags;
    } else {
      word = material_part(facts);
      e.check = check;
      e.flags = word | facts << FACTS_SHIFT;
    }
  }
  u32 flags = position_part(b, word);
  if (bare_king_stalemate(b)) flags = 0;
  return flags;
}

int pawnless_term(const board& b) {
  if (int v = kbn_value<WHITE>(b)) return v;
  if (int v = kbn_value<BLACK>(b)) return v;
  const int d = king_distance[king_square(b, WHITE)][king_square(b, BLACK)];
  if (b.material[WHITE] > b.material[BLACK]) return 15 * (3 - d) + edge_table[king_square(b, BLACK)];
  if (b.material[BLACK] > b.material[WHITE])
    return -(15 * (3 - d) + edge_table[king_square(b, WHITE)]);
  return 0;
}

}  // namespace orvo::eval
