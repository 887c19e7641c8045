// Pawn structure: square values, isolated, backward, weak, doubled, duo,
// passed and candidate pawns, the king-shelter values, the file sets and
// the outpost squares, cached per pawn structure.
#include "eval/pawns.h"

#include "eval/colour.h"
#include "eval/tables.h"

namespace orvo::eval {

pawn_record empty_pawn_record;

namespace {

template <int C>
constexpr const int* duo_bonus() {
  return C == WHITE ? white_duo_bonus : black_duo_bonus;
}
template <int C>
constexpr const int* passed_bonus() {
  return C == WHITE ? white_passed_bonus : black_passed_bonus;
}
template <int C>
constexpr const int* candidate_bonus() {
  return C == WHITE ? white_candidate_bonus : black_candidate_bonus;
}

// The walks below step a square towards the enemy's back rank and stop on
// the same bound for both colours, written on the square turned half round
// the board: t for White, 63 - t for Black. The bound is "above 8", so a
// White walk never reaches a7 (8) and a Black walk never reaches h2 (55).
// This is deliberate and kept: a White pawn on a7 and a Black pawn on h2
// add nothing to their safe sets, not even their own square, while the
// other squares of those ranks can be added. Only pawns on the first or
// last rank could ever read those squares again, so no legal position
// scores differently for it.
template <int C>
constexpr int walk_index(int t) {
  return C == WHITE ? t : 63 - t;
}

// Safe-advance set of one colour: from each pawn, the squares it can walk
// forward to while the square ahead is empty and not attacked by more enemy
// pawns than own pawns defend it.
template <int C>
u64 safe_advance(u64 own, u64 enemy, u64 all) {
  using S = colour<C>;
  u64 safe = 0;
  u64 pawns = own;
  while (pawns) {
    const int q = pop_lsb(pawns);
    for (int t = q; walk_index<C>(t) > 8; t += S::up) {
      safe |= sq_bit(t);
      const int ahead = t + S::up;
      if (all & sq_bit(ahead)) break;
      const int defenders = popcount(pawn_attacks[S::them][ahead] & own);
      const int attackers = popcount(pawn_attacks[S::us][ahead] & enemy);
      if (attackers > defenders) break;
    }
  }
  return safe;
}

// Lowest set square of a 64-bit set, read from the 16-bit bit tables. An
// empty set gives the table's empty entry 207 plus 48: 255.
int lowest_square16(u64 b) {
  if (b & 0xFFFF) return last_bit16[b & 0xFFFF];
  if ((b >> 16) & 0xFFFF) return last_bit16[(b >> 16) & 0xFFFF] + 16;
  if ((b >> 32) & 0xFFFF) return last_bit16[(b >> 32) & 0xFFFF] + 32;
  return last_bit16[b >> 48] + 48;
}

// Shelter addend for a file with an enemy pawn: (row of the most advanced
// own pawn, counted from the enemy's back rank) - 2, AND 3, or 0 when that
// is negative. Black's pawns are looked at with the ranks reversed, so the
// same lowest-square scan finds its most advanced pawn (5 - row in board
// rows). Kept on purpose: with no own pawn on the file the scan answers 255
// for the empty set, row 31, and the addend comes out as (31 - 2) & 3 = 1
// for either colour.
template <int C>
int advance_addend(u64 own_on_file) {
  const u64 seen = C == WHITE ? own_on_file : __builtin_bswap64(own_on_file);
  const int v = (lowest_square16(seen) >> 3) - 2;
  return v < 0 ? 0 : (v & 3);
}

// Weakness of the pawn cover of colour C for a king on king_file.
template <int C>
int shelter_value(u64 own, u64 enemy, int king_file) {
  using S = colour<C>;
  int sum = 0;
  for (int x = king_file - 1; x <= king_file + 1; ++x) {
    const u64 mine = own & file_mask[x], theirs = enemy & file_mask[x];
    if (!(mine | theirs)) {
      sum += shelter_empty_file[x];
      continue;
    }
    if (theirs)
      sum += advance_addend<C>(mine);
    else
      sum += shelter_missing_pawn[x] / 2;
    if (!mine) {
      sum += shelter_missing_pawn[x];
    } else if (!(mine & sq_bit(S::rel_sq(48 + x)))) {  // nothing on the own second rank
      ++sum;
      if (!(mine & sq_bit(S::rel_sq(40 + x)))) ++sum;  // nor on the third
    }
  }
  return sum < 15 ? sum : 15;
}

// The passed-pawn bonus of colour C's passers, from C's own point of view.
// The bonus shrinks as the enemy's material grows towards a full set; each
// passer's share is truncated toward zero on its own, as the exact fraction
// would be.
template <int C>
int passed_bonus_of(u64 passed, int enemy_material) {
  int s = 0;
  while (passed) {
    const int q = pop_lsb(passed);
    s += (full_material - enemy_material) * passed_bonus<C>()[q >> 3] / full_material;
  }
  return s;
}

// The per-pawn part for colour C, from C's own point of view (positive is
// good for C), without the passed-pawn bonus. Adds to the passed, isolated
// and weak sets.
template <int C>
int pawns_of(u64 own, u64 enemy, u64 all, u64 own_safe, u64& passed, u64& isolated, u64& weak) {
  using S = colour<C>;
  int s = 0;
  u64 pawns = own;
  while (pawns) {
    const int q = pop_lsb(pawns);
    const int f = q & 7, r = q >> 3;
    s += pawn_square_table[S::home_sq(q)];

    const bool has_neighbour = (own & adjacent_files[f]) != 0;
    if (!has_neighbour) {
      isolated |= sq_bit(q);
      s -= isolated_penalty[q];
      if (!(enemy & ray[S::north][q])) s -= isolated_penalty[q] / 2;
    } else {
      // Backward: no square behind it on its file from which a defended
      // advance could support it, and no safe square diagonally behind it.
      bool supported = false;
      u64 behind = ray[S::south][q] & own_safe;
      while (behind) {
        const int t = pop_lsb(behind);
        const int d = popcount(pawn_attacks[S::them][t] & own);
        const int a = popcount(pawn_attacks[S::us][t] & enemy);
        if (d > 0 && d >= a) {
          supported = true;
          break;
        }
      }
      if (!supported && !(pawn_attacks[S::them][q] & own_safe)) {
        s -= 13;
        if (!(enemy & file_mask[f])) s -= 6;
      }
      // Weak: no own pawn beside it on its row or behind it.
      if (!(own & support_mask[C][q])) weak |= sq_bit(q);
    }

    if (popcount(own & file_mask[f]) > 1) s += doubled_term[q];
    if (has_neighbour && f < 7 && (own & sq_bit(q + 1))) s += duo_bonus<C>()[q];

    if (!(enemy & passed_mask[C][q]) && !(own & ray[S::north][q])) {
      // Passed, and the most advanced own pawn of its file. Its bonus
      // depends on the enemy's material and is added by passed_bonus_of.
      passed |= sq_bit(q);
    } else if (has_neighbour && !(enemy & file_mask[f]) && !(pawn_attacks[S::us][q] & enemy)) {
      // Candidate: walk forward until the path is blocked or an enemy pawn
      // attacks the square; there the own safe squares diagonally behind
      // must match the attackers. A walk that stops at once counts one
      // attacker and no helper, so it earns nothing.
      int e = 1, h = 0;
      for (int t = q; walk_index<C>(t) > 8; t += S::up) {
        if (all & sq_bit(t + S::up)) break;
        h = popcount(pawn_attacks[S::them][t] & own_safe);
        e = popcount(pawn_attacks[S::us][t] & enemy);
        if (e > 0) break;
      }
      const int front = q + S::up;
      if (e <= h && front >= 0 && front < 64 && !(enemy & passed_mask[C][front]))
        s += candidate_bonus<C>()[r];
    }
  }
  return s;
}

}  // namespace

int compute_pawn_structure(u64 white_pawns, u64 black_pawns, int white_material,
                           int black_material, pawn_record& out, pawn_detail* detail) {
  const u64 all = white_pawns | black_pawns;

  u8 open = 0, no_white = 0, no_black = 0;
  for (int f = 0; f < 8; ++f) {
    if (!(all & file_mask[f])) open |= u8(1u << f);
    if (!(white_pawns & file_mask[f])) no_white |= u8(1u << f);
    if (!(black_pawns & file_mask[f])) no_black |= u8(1u << f);
  }

  const u64 safe_white = safe_advance<WHITE>(white_pawns, black_pawns, all);
  const u64 safe_black = safe_advance<BLACK>(black_pawns, white_pawns, all);

  u64 passed_white = 0, passed_black = 0;
  u64 isolated_white = 0, isolated_black = 0, weak_white = 0, weak_black = 0;
  const int white_base =
      pawns_of<WHITE>(white_pawns, black_pawns, all, safe_white, passed_white, isolated_white, weak_white);
  const int black_base =
      pawns_of<BLACK>(black_pawns, white_pawns, all, safe_black, passed_black, isolated_black, weak_black);
  const int white_passers = passed_bonus_of<WHITE>(passed_white, black_material);
  const int black_passers = passed_bonus_of<BLACK>(passed_black, white_material);

  for (int i = 0; i < 4; ++i) {
    out.shelter[i] = u8(shelter_value<WHITE>(white_pawns, black_pawns, shelter_king_file[i]));
    out.shelter[4 + i] = u8(shelter_value<BLACK>(black_pawns, white_pawns, shelter_king_file[i]));
  }

  // Outposts: the squares just in front of weak or isolated enemy pawns.
  const u64 x = isolated_white | isolated_black | weak_white | weak_black;
  out.black_outposts = (white_pawns & x) >> 8;
  out.white_outposts = (black_pawns & x) << 8;

  // The score without the passed-pawn bonus is small (under a hundred
  // centipawns a pawn, so far within 16 bits) and is stored whole: a hit
  // returns exactly what the miss returned.
  out.white_pawns = white_pawns;
  out.black_pawns = black_pawns;
  out.score = white_base - black_base;
  out.open_files = open;
  out.no_white_files = no_white;
  out.no_black_files = no_black;
  out.spare0 = 0;
  out.white_passed = passed_white;
  out.black_passed = passed_black;

  if (detail) {
    detail->safe[WHITE] = safe_white;
    detail->safe[BLACK] = safe_black;
    detail->isolated[WHITE] = isolated_white;
    detail->isolated[BLACK] = isolated_black;
    detail->weak[WHITE] = weak_white;
    detail->weak[BLACK] = weak_black;
    detail->score[WHITE] = white_base + white_passers;
    detail->score[BLACK] = black_base + black_passers;
  }
  return out.score + white_passers - black_passers;
}

int passed_pawn_bonus(const pawn_record& r, int white_material, int black_material) {
  if (!(r.white_passed | r.black_passed)) return 0;
  return passed_bonus_of<WHITE>(r.white_passed, black_material) -
         passed_bonus_of<BLACK>(r.black_passed, white_material);
}

int pawn_structure(const board& b, pawn_record* table, const pawn_record*& record) {
  const u64 white_pawns = b.white[BB_PAWN], black_pawns = b.black[BB_PAWN];
  if (!(white_pawns | black_pawns)) {
    // No pawns: the term is 0 and the record is that of an empty pawn
    // structure, so the other terms never read passers or outposts of pawns
    // that are gone.
    record = &empty_pawn_record;
    return 0;
  }
  // The key only picks the slot; the record must be the one of these very
  // pawns. Nothing else of the position is in the record: its material
  // enters through the passed-pawn bonus, added afresh at every call.
  pawn_record& entry = table[b.pawn_key & PAWN_TABLE_MASK];
  if (entry.white_pawns != white_pawns || entry.black_pawns != black_pawns)
    compute_pawn_structure(white_pawns, black_pawns, b.material[WHITE], b.material[BLACK], entry);
  record = &entry;
  return entry.score + passed_pawn_bonus(entry, b.material[WHITE], b.material[BLACK]);
}

}  // namespace orvo::eval
