// FEN reading into a board, the material-signature key, FEN writing and
// the board diagram.
#pragma once
#include "position/board.h"

namespace orvo {

// Owns a copy of a FEN text and parses its first four fields.
class fen {
 public:
  explicit fen(const char* text);
  virtual ~fen();
  fen(const fen&) = delete;
  fen& operator=(const fen&) = delete;
  void parse(i8* piece, u8* color, i32* side, i32* xside, u32* castle, i32* ep) const;

 private:
  char* text_;
  int length_;
};

// Sets the whole board up from FEN text; never fails. Returns the mat_key.
u64 set_position(board& b, const char* fen_text);
// XOR of zobrist[colour][piece][count] over the non-zero piece counts.
u64 compute_mat_key(const board& b);
// Writes the position as FEN (the fifty counter and hist_ply / 2 + 1 as the
// move number) into out, which must hold at least 96 characters.
void write_fen(const board& b, char* out);
// The text diagram (io/output.h prints it).
constexpr int BOARD_TEXT_SIZE = 1024;
void format_board(const board& b, char* out);  // out: at least BOARD_TEXT_SIZE characters

extern const char* const start_fen;

}  // namespace orvo
