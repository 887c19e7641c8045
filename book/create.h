// The "create" command: the console dialogue that builds the book file
// named by book_path from a PGN collection.
#pragma once

namespace orvo {

class Book;

// Asks for the PGN file, the move depth, the minimum rating and whether
// draws count, builds the book and writes it to book_path, unless a book
// is already open in this process (then nothing is written). False when
// the PGN file cannot be opened, or when standard input ends at a
// question: then nothing is written, and the caller ends the program.
bool create_book(const Book& open_book, const char* book_path);

}  // namespace orvo
