// Helpers for the tests that use the real bitbase library (built from
// tools/egbb_gaviota) and Debian's Gaviota tables.
#pragma once
#include <string>
#include <vector>

namespace orvo::test {

// The folder holding the library and the link to the tables, ending in
// "/": what egbb_path names in these tests.
std::string gaviota_egbb_dir();

// A man for FEN building: its FEN letter and its square counted a1 = 0.
struct Man {
  char letter;
  int square;
};
// A FEN of the men with the side to move (0 White, 1 Black), no castling.
std::string fen_of(const std::vector<Man>& men, int side);

// The library's documented scale: a draw 0, a win in n plies 3000 - n for
// the side to move, a loss in n plies -(3000 - n).
constexpr int WIN_SCORE = 3000;
constexpr int UNKNOWN_SCORE = 99999;

// Opens Debian's tables in this process for gaviota_reference, through a
// load of the built library kept for the rest of the process. True when
// tables were found.
bool open_reference_tables();

// The men of a FEN's placement field.
std::vector<Man> men_of(const std::string& fen);

// The answer of the Gaviota probing code itself for the position, turned
// to that scale; UNKNOWN_SCORE when it has none. The tables must have been
// opened (by loading the library).
int gaviota_reference(const std::vector<Man>& men, int side);

}  // namespace orvo::test
