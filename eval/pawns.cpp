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

// The squares a set of pawns of colour C attacks, counted: at least once
// and twice. Taken a whole set at a time, it answers the per-square counts
// the terms ask for ("more attackers than defenders") without a popcount
// per square; the shifts and file masks give the same squares as
// pawn_attacks.
struct pawn_cover {
  u64 once, twice;
};
template <int C>
pawn_cover cover_of(u64 pawns) {
  const u64 towards_a = C == WHITE ? (pawns & ~FILE_A) >> 9 : (pawns & ~FILE_A) << 7;
  const u64 towards_h = C == WHITE ? (pawns & ~FILE_H) >> 7 : (pawns & ~FILE_H) << 9;
  return {towards_a | towards_h, towards_a & towards_h};
}

// Squares where the enemy's pawns attack more often than the own ones
// defend, and squares defended at least once and at least as often as
// attacked.
inline u64 outnumbered(const pawn_cover& own, const pawn_cover& enemy) {
  return (enemy.once & ~own.once) | (enemy.twice & ~own.twice);
}
inline u64 held(const pawn_cover& own, const pawn_cover& enemy) {
  return own.once & ~(enemy.twice & ~own.twice);
}

template <int C>
constexpr u64 one_row_up(u64 s) {
  return C == WHITE ? s >> 8 : s << 8;
}

// Safe-advance set of one colour: from each pawn, the squares it can walk
// forward to while the square ahead is empty and not outnumbered. The walk
// covers only squares whose walk_index is above 8; all pawns walk at once.
template <int C>
u64 safe_advance(u64 own, u64 all, u64 outnumbered_squares) {
  constexpr u64 walkable = C == WHITE ? ~u64(0x1FF) : (u64(1) << 55) - 1;
  const u64 open = ~(all | outnumbered_squares) & walkable;
  u64 front = own & walkable;
  u64 safe = front;
  while (front) {
    front = one_row_up<C>(front) & open;
    safe |= front;
  }
  return safe;
}

// Lowest set square of a 64-bit set; an empty set gives 255, what the
// 16-bit bit tables' empty entry (207) plus 48 always gave.
inline int lowest_square(u64 b) { return b ? __builtin_ctzll(b) : 255; }

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
  const int v = (lowest_square(seen) >> 3) - 2;
  return v < 0 ? 0 : (v & 3);
}

// Weakness of the pawn cover of colour C on file x.
template <int C>
int shelter_file(u64 own, u64 enemy, int x) {
  using S = colour<C>;
  const u64 mine = own & file_mask[x], theirs = enemy & file_mask[x];
  if (!(mine | theirs)) return shelter_empty_file[x];
  int sum = theirs ? advance_addend<C>(mine) : shelter_missing_pawn[x] / 2;
  if (!mine) {
    sum += shelter_missing_pawn[x];
  } else if (!(mine & sq_bit(S::rel_sq(48 + x)))) {  // nothing on the own second rank
    ++sum;
    if (!(mine & sq_bit(S::rel_sq(40 + x)))) ++sum;  // nor on the third
  }
  return sum;
}

// The shelter values of colour C for the four king files: the three files
// around the king, capped. Each file is scored once for all four.
template <int C>
void shelter_values(u64 own, u64 enemy, u8* out) {
  int per_file[8];
  for (int x = 0; x < 8; ++x) per_file[x] = shelter_file<C>(own, enemy, x);
  for (int i = 0; i < 4; ++i) {
    const int k = shelter_king_file[i];
    const int sum = per_file[k - 1] + per_file[k] + per_file[k + 1];
    out[i] = u8(sum < SHELTER_CAP ? sum : SHELTER_CAP);
  }
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
int pawns_of(u64 own, u64 enemy, u64 all, u64 own_safe, u64 own_held, u64& passed, u64& isolated,
             u64& weak) {
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
      // Backward: no safe square behind it on its file that its own pawns
      // hold (defended, and at least as often as attacked), and no safe
      // square diagonally behind it.
      const bool supported = (ray[S::south][q] & own_safe & own_held) != 0;
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

  const u8 open = u8(~files_of(all));
  const u8 no_white = u8(~files_of(white_pawns));
  const u8 no_black = u8(~files_of(black_pawns));

  const pawn_cover white_cover = cover_of<WHITE>(white_pawns), black_cover = cover_of<BLACK>(black_pawns);
  const u64 safe_white = safe_advance<WHITE>(white_pawns, all, outnumbered(white_cover, black_cover));
  const u64 safe_black = safe_advance<BLACK>(black_pawns, all, outnumbered(black_cover, white_cover));

  u64 passed_white = 0, passed_black = 0;
  u64 isolated_white = 0, isolated_black = 0, weak_white = 0, weak_black = 0;
  const int white_base = pawns_of<WHITE>(white_pawns, black_pawns, all, safe_white, held(white_cover, black_cover),
                                         passed_white, isolated_white, weak_white);
  const int black_base = pawns_of<BLACK>(black_pawns, white_pawns, all, safe_black, held(black_cover, white_cover),
                                         passed_black, isolated_black, weak_black);
  const int white_passers = passed_bonus_of<WHITE>(passed_white, black_material);
  const int black_passers = passed_bonus_of<BLACK>(passed_black, white_material);

  shelter_values<WHITE>(white_pawns, black_pawns, out.shelter);
  shelter_values<BLACK>(black_pawns, white_pawns, out.shelter + 4);

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
