// The evaluation's tables: fixed values typed into the program, and the
// masks and the king-danger table that three builders compute once at
// start-up. Every table indexed by square uses the board's numbering
// (0 = a8 ... 63 = h1), so a table written "by rank from rank 8 down to
// rank 1" is stored row by row exactly as it reads.
#pragma once
#include "position/types.h"

namespace orvo::eval {

// ---------------------------------------------------------------------------
// Piece placement (same entry for both colours at the same square number;
// White adds it, Black subtracts it; every table is symmetric between the
// two halves of the board, so this is the same as mirroring).

inline constexpr int knight_table[64] = {
    -60, -30, -30, -30, -30, -30, -30, -60,  //
    -30, -24, -10, -10, -10, -10, -24, -30,  //
    -30, -6,  -6,  -6,  -6,  -6,  -6,  -30,  //
    -30, -6,  -2,  0,   0,   -2,  -6,  -30,  //
    -30, -6,  -2,  0,   0,   -2,  -6,  -30,  //
    -30, -6,  -6,  -6,  -6,  -6,  -6,  -30,  //
    -30, -24, -10, -10, -10, -10, -24, -30,  //
    -60, -30, -30, -30, -30, -30, -30, -60};

inline constexpr int bishop_table[64] = {
    -20, -20, -20, -20, -20, -20, -20, -20,  //
    -20, 6,   6,   3,   3,   6,   6,   -20,  //
    -20, 6,   8,   6,   6,   8,   6,   -20,  //
    -20, 3,   6,   10,  10,  6,   3,   -20,  //
    -20, 3,   6,   10,  10,  6,   3,   -20,  //
    -20, 6,   8,   6,   6,   8,   6,   -20,  //
    -20, 6,   6,   3,   3,   6,   6,   -20,  //
    -20, -20, -20, -20, -20, -20, -20, -20};

inline constexpr int rook_table[64] = {
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10,  //
    -10, -6, -2, 2, 2, -2, -6, -10};

inline constexpr int queen_table[64] = {
    -20, -20, 0,  0,  0,  0,  -20, -20,  //
    -20, 0,   8,  8,  8,  8,  0,   -20,  //
    0,   8,   8,  12, 12, 8,  8,   0,    //
    0,   8,   12, 16, 16, 12, 8,   0,    //
    0,   8,   12, 16, 16, 12, 8,   0,    //
    0,   8,   8,  12, 12, 8,  8,   0,    //
    -20, 0,   8,  8,  8,  8,  0,   -20,  //
    -20, -20, 0,  0,  0,  0,  -20, -20};

// Bonus for a minor piece on an outpost square, by file a..h (knights get
// it twice, bishops once).
inline constexpr int outpost_bonus[8] = {4, 5, 5, 4, 3, 6, 6, 3};

// Mobility rings: the border, the ring b2-g7, the ring c3-f6 without its
// centre, and the centre d4 e4 d5 e5, with their weights. Knights and
// bishops count the reachable squares of each ring times its weight.
inline constexpr u64 ring_border = 0xFF818181818181FFull;
inline constexpr u64 ring_second = 0x007E424242427E00ull;
inline constexpr u64 ring_third = 0x00003C24243C0000ull;
inline constexpr u64 ring_centre = 0x0000001818000000ull;
inline constexpr u64 mobility_ring[4] = {ring_border, ring_second, ring_third, ring_centre};
inline constexpr int mobility_weight[4] = {0, 0, 1, 1};

// King tropism, indexed by a distance 0..7 (king distance, or file distance
// for the open-file rook and the queen's file value).
inline constexpr int knight_tropism[8] = {0, 3, 3, 2, 1, 0, 0, 0};
inline constexpr int bishop_tropism[8] = {0, 2, 2, 1, 0, 0, 0, 0};
inline constexpr int rook_tropism[8] = {0, 3, 2, 1, 0, 0, 0, 0};
inline constexpr int rook_file_tropism[8] = {3, 2, 1, 0, 0, 0, 0, 0};
inline constexpr int queen_tropism[8] = {0, 4, 3, 2, 1, 0, 0, 0};
inline constexpr int queen_file_tropism[8] = {3, 2, 1, 0, 0, 0, 0, 0};

// ---------------------------------------------------------------------------
// Material, pawnless endings.

// Bonus for the side with the extra minor piece against three pawns, by
// game phase (opening, middlegame, endgame).
inline constexpr int imbalance_bonus[3] = {100, 50, 25};

// Mating-corner values for king, bishop and knight against king: this one
// rises towards a1 and h8 (the dark corners) ...
inline constexpr int kbn_dark_corner[64] = {
    30,  40, 50, 60, 70, 80, 90, 100,  //
    40,  30, 40, 50, 60, 70, 80, 90,   //
    50,  40, 30, 40, 50, 60, 70, 80,   //
    60,  50, 40, 30, 40, 50, 60, 70,   //
    70,  60, 50, 40, 30, 40, 50, 60,   //
    80,  70, 60, 50, 40, 30, 40, 50,   //
    90,  80, 70, 60, 50, 40, 30, 40,   //
    100, 90, 80, 70, 60, 50, 40, 30};
// ... and this one towards a8 and h1 (the light corners). It is kept with
// the other but the chooser never picks it (see pawnless_term).
inline constexpr int kbn_light_corner[64] = {
    100, 90, 80, 70, 60, 50, 40, 30,   //
    90,  80, 70, 60, 50, 40, 30, 40,   //
    80,  70, 60, 50, 40, 30, 40, 50,   //
    70,  60, 50, 40, 30, 40, 50, 60,   //
    60,  50, 40, 30, 40, 50, 60, 70,   //
    50,  40, 30, 40, 50, 60, 70, 80,   //
    40,  30, 40, 50, 60, 70, 80, 90,   //
    30,  40, 50, 60, 70, 80, 90, 100};

// How far a lone king stands from the centre, for the other pawnless
// endings (both colours use it as it is).
inline constexpr int edge_table[64] = {
    100, 96, 93, 90, 90, 93, 96, 100,  //
    96,  80, 70, 60, 60, 70, 80, 96,   //
    93,  70, 60, 50, 50, 60, 70, 93,   //
    90,  60, 50, 40, 40, 50, 60, 90,   //
    90,  60, 50, 40, 40, 50, 60, 90,   //
    93,  70, 60, 50, 50, 60, 70, 93,   //
    96,  80, 70, 60, 60, 70, 80, 96,   //
    100, 96, 93, 90, 90, 93, 96, 100};

// ---------------------------------------------------------------------------
// King safety.

// Attack and shelter weights of the danger table, by min(shelter + attack, 15).
inline constexpr int danger_attack_weight[16] = {0,  1,  2,  3,  4,   5,   11,  20,
                                                 32, 47, 65, 86, 110, 137, 167, 200};
inline constexpr int danger_shelter_weight[16] = {0,  7,  14, 21, 28, 35, 42, 49,
                                                  56, 63, 70, 77, 84, 91, 98, 105};
// Applied to both shelter value and attack count when the attacker has no queen.
inline constexpr int queenless_remap[16] = {0, 0, 1, 2, 3, 3, 4, 4, 5, 6, 6, 7, 8, 9, 10, 10};

// Endgame king placement, stored from the king's own side: own rank 1
// first. The White king looks them up at square ^ 56, the Black king at its
// square.
inline constexpr int king_endgame_both_wings[64] = {
    -40, -20, -20, -20, -20, -20, -20, -40,  //
    -20, 0,   0,   0,   0,   0,   0,   -20,  //
    -20, 20,  20,  20,  20,  20,  20,  -20,  //
    -20, 20,  40,  40,  40,  40,  20,  -20,  //
    -20, 30,  60,  60,  60,  60,  30,  -20,  //
    -20, 30,  60,  60,  60,  60,  30,  -20,  //
    -20, 30,  40,  40,  40,  40,  30,  -20,  //
    -40, -20, -20, -20, -20, -20, -20, -40};
// Pawns only on files e-h.
inline constexpr int king_endgame_kingside[64] = {
    -60, -40, -20, -20, -20, -20, -20, -20,  //
    -60, -40, -20, 0,   0,   0,   0,   0,    //
    -60, -40, -20, 20,  20,  20,  20,  20,   //
    -60, -40, -20, 20,  40,  40,  40,  40,   //
    -60, -40, -20, 20,  60,  60,  60,  40,   //
    -60, -40, -20, 20,  60,  60,  60,  40,   //
    -60, -40, -20, 20,  40,  40,  40,  40,   //
    -60, -40, -20, -20, -20, -20, -20, -20};
// Pawns only on files a-d, or none: the kingside table mirrored between files.
inline constexpr int king_endgame_queenside[64] = {
    -20, -20, -20, -20, -20, -20, -40, -60,  //
    0,   0,   0,   0,   0,   -20, -40, -60,  //
    20,  20,  20,  20,  20,  -20, -40, -60,  //
    40,  40,  40,  40,  20,  -20, -40, -60,  //
    40,  60,  60,  60,  20,  -20, -40, -60,  //
    40,  60,  60,  60,  20,  -20, -40, -60,  //
    40,  40,  40,  40,  20,  -20, -40, -60,  //
    -20, -20, -20, -20, -20, -20, -40, -60};

// ---------------------------------------------------------------------------
// Passed pawns with pieces, indexed by the pawn's rank counted from its own
// side minus 1 (White: 7 - row, Black: row).
inline constexpr int passed_king_support[8] = {0, 0, 0, 20, 40, 60, 100, 0};
inline constexpr int passed_blockade[8] = {0, 6, 10, 24, 36, 60, 75, 0};

// ---------------------------------------------------------------------------
// Pawn structure. Rows are the board's rows (row 0 = rank 8).

// By square; White looks up square ^ 56, Black its square, so row k is the
// pawn's own rank k + 1.
inline constexpr int pawn_square_table[64] = {
    0,  0,  0,  0,   0,   0,  0,  0,   //
    0,  0,  0,  -10, -10, 0,  0,  0,   //
    1,  1,  1,  10,  10,  1,  1,  1,   //
    3,  3,  3,  13,  13,  3,  3,  3,   //
    6,  6,  6,  16,  16,  6,  6,  6,   //
    10, 10, 10, 30,  30,  10, 10, 10,  //
    40, 40, 40, 40,  40,  40, 40, 40,  //
    0,  0,  0,  0,   0,   0,  0,  0};

inline constexpr int isolated_penalty[64] = {
    0, 0, 0, 0, 0, 0, 0, 0,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    4, 5, 6, 8, 8, 6, 5, 4,  //
    0, 0, 0, 0, 0, 0, 0, 0};

// Negative: a penalty when added for White.
inline constexpr int doubled_term[64] = {
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8,  //
    -8, -7, -5, -3, -3, -5, -7, -8};

inline constexpr int white_duo_bonus[64] = {
    0,  0,  0,  0,  0,  0,  0,  0,   //
    10, 10, 10, 10, 10, 10, 10, 10,  //
    6,  6,  6,  6,  6,  6,  6,  6,   //
    3,  3,  3,  3,  3,  3,  3,  3,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    0,  0,  0,  0,  0,  0,  0,  0};

inline constexpr int black_duo_bonus[64] = {
    0,  0,  0,  0,  0,  0,  0,  0,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    2,  2,  2,  2,  2,  2,  2,  2,   //
    3,  3,  3,  3,  3,  3,  3,  3,   //
    6,  6,  6,  6,  6,  6,  6,  6,   //
    10, 10, 10, 10, 10, 10, 10, 10,  //
    0,  0,  0,  0,  0,  0,  0,  0};

// By row.
inline constexpr int white_passed_bonus[8] = {0, 234, 145, 95, 24, 2, 2, 0};
inline constexpr int black_passed_bonus[8] = {0, 2, 2, 24, 95, 145, 234, 0};
inline constexpr int white_candidate_bonus[8] = {0, 0, 48, 32, 16, 9, 9, 0};
inline constexpr int black_candidate_bonus[8] = {0, 9, 9, 16, 32, 48, 0, 0};

// Shelter weakness by file.
inline constexpr int shelter_empty_file[8] = {6, 5, 4, 4, 4, 4, 5, 6};
inline constexpr int shelter_missing_pawn[8] = {4, 4, 3, 3, 3, 3, 4, 4};

// One side's full material (8 pawns, 2 knights, 2 bishops, 2 rooks, a queen).
inline constexpr int full_material = 4075;

// ---------------------------------------------------------------------------
// Tables built at start-up.

// Builder 1, the pawn masks: file and rank masks, adjacent files, passed-pawn
// masks (squares ahead on the own and both adjacent files, per colour) and
// the support masks of the weak test (adjacent files on the pawn's row and
// every row behind it, per colour).
extern u64 file_mask[8];
extern u64 rank_mask[8];  // by row: rank_mask[0] is rank 8
extern u64 adjacent_files[8];
extern u64 passed_mask[2][64];
extern u64 support_mask[2][64];

// Builder 2, the piece and king masks: king distance, the near zone of the
// bare-king test and the queen's forward masks (per colour).
extern u8 king_distance[64][64];
extern u64 king_zone[64];
extern u64 queen_forward[2][64];
// The king tropism of a piece by the enemy king's square and its own, the
// tropism tables above looked up through the distances once at start-up:
// the evaluation adds one entry per piece instead of finding a distance
// and then its value. Each enemy king square is one row of 64 bytes.
extern u8 knight_pressure[64][64];
extern u8 bishop_pressure[64][64];
// [0]: the rook's file is closed (no file tropism); [1]: half-open or open,
// the larger of the file and the king-distance tropism.
extern u8 rook_pressure[2][64][64];
// The larger of the queen's file and king-distance tropism.
extern u8 queen_pressure[64][64];

// Builder 3, the danger table: T[shelter][attack].
extern int danger[16][16];

void build_pawn_masks();
void build_piece_masks();
void build_danger_table();

}  // namespace orvo::eval
