// What a search has to say, and the one question it asks while it runs. A
// protocol implements the listener: it formats its own lines and serves
// its input there, so the search never knows which protocol runs, never
// prints and never reads. Every default keeps quiet and lets the search go
// on: a search with the plain listener is ended by its limits alone.
#pragma once
#include "position/types.h"

namespace orvo {

class Search;

class SearchListener {
 public:
  SearchListener() = default;
  virtual ~SearchListener() = default;
  SearchListener(const SearchListener&) = delete;
  SearchListener& operator=(const SearchListener&) = delete;

  // A search is about to start (its clock has not started yet).
  virtual void search_started(const Search&) {}
  // A move from the opening book for the root, one of the root moves given
  // in the order the generators made them; false when the book has none
  // (or is not to be asked). Not asked for an analysis.
  virtual bool book_move(const Search&, const Move* /*root_moves*/, int /*count*/, Move& /*out*/) {
    return false;
  }
  // A root move is about to be searched, or searched again after it beat
  // the first one (state.current_move_index says which).
  virtual void root_move(const Search&) {}
  // A new best root move: state and pv hold it.
  virtual void new_best(const Search&) {}
  // An iteration that finds several lines (MultiPV) has found them all:
  // line(0) .. line(line_count() - 1), best first. It comes before
  // iteration_done.
  virtual void lines_done(const Search&, int /*depth*/) {}
  // The iteration of this depth (in plies) is complete.
  virtual void iteration_done(const Search&, int /*depth*/) {}
  // Every poll interval, with the clock just brought up to date: room for
  // periodic output.
  virtual void progress(const Search&) {}
  // Then, unless a command has already asked the search to stop: the
  // answer may read and obey input (and so change the search's limits or
  // ask it to stop through its state). False gives the search up at once:
  // it ends without a move to play (state.abandoned).
  virtual bool keep_searching(Search&) { return true; }
  // The search is over (also when it was given up).
  virtual void search_done(const Search&) {}
};

}  // namespace orvo
