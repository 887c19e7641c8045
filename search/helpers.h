// Helper searches (Lazy SMP): threads that search the same root as the
// main search, each with a search object of its own and the transposition
// table shared with it. Their work reaches the main search only through
// that table; the main search's result and reports are the ones that count.
// The threads are made once and wait between searches.
//
// A helper does two kinds of work. Once the main search has searched the
// first move of the root or of a PV node with enough depth left, it offers
// the node's other moves (a split point): helpers take them from the far
// end of the list and search each as the main search will, with its depth
// and null window, while the main search goes on from the near end; each
// move it then reaches that a helper has done finds its result in the
// table and costs next to nothing. With no split point to help at, a
// helper iterates on its own a ply or two ahead of the main search, so
// that the table holds deeper results for the main search's next steps.
#pragma once
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "position/board.h"

namespace orvo {

class Bitbases;
class HelperListener;
class Search;
class hash;

// The most search threads, the main one included.
constexpr int MAX_THREADS = 256;

// How far the main search is: the ply of its running iteration and the
// score of the one before, which helpers running ahead of it aim their
// windows at.
struct MainProgress {
  std::atomic<int> depth{0};
  std::atomic<int> score{0};
};

// What a helper copies from a split point to work on it.
struct SplitTask {
  u64 generation;
  i32 depth, ply, count;
  bool in_check, single_reply;
};

// A node of the main search whose moves after the first are offered to
// helpers: the root, or a PV node with enough depth left. The snapshot
// (position, depth, moves) is written under the mutex before the
// generation is bumped; the window and the two indices move without it.
struct SplitPoint {
  std::mutex mutex;
  std::atomic<u64> generation{0};
  std::atomic<bool> open{false};
  board position;
  i32 depth = 0;  // of the node, in depth units
  i32 ply = 0;
  bool in_check = false, single_reply = false;
  i32 count = 0;
  Move moves[MAX_MOVES] = {};
  std::atomic<i32> alpha{0};
  // A helper takes move tail - 1 and lowers tail; the main search is at
  // move main_index (count once it is done with the node). A helper's move
  // at or below main_index is the main search's own.
  std::atomic<i32> tail{0};
  std::atomic<i32> main_index{0};

  // Moves are left for a helper.
  bool has_work() const {
    return open.load(std::memory_order_relaxed) &&
           tail.load(std::memory_order_relaxed) - 1 > main_index.load(std::memory_order_relaxed);
  }
};

class HelperPool {
 public:
  HelperPool(hash& tt, const Bitbases* bitbases);
  ~HelperPool();
  HelperPool(const HelperPool&) = delete;
  HelperPool& operator=(const HelperPool&) = delete;

  // Helper threads made or ended so that there are this many; only while no
  // search runs.
  void resize(int helpers);
  int size() const { return int(helpers_.size()); }

  // Every helper starts searching the root. Returns at once.
  void start(const board& root);
  // Every helper stops; returns once all of them have.
  void stop();
  // Nodes the helpers have searched in the running (or last) search, as
  // each last told them (every poll interval).
  i64 nodes() const;

  // The main search's side. The iteration it begins (in plies) and the
  // score of the one before.
  void main_iteration(int plies, int score) {
    progress_.score.store(score, std::memory_order_relaxed);
    progress_.depth.store(plies, std::memory_order_relaxed);
  }
  // The split point of a ply: the main search opens it with the node's
  // moves (moves[0] already searched), then tells it the move it is at and
  // its alpha as they change, and closes it when it is done with the node.
  SplitPoint& split_point(int ply) { return splits_[ply]; }
  void open_split(SplitPoint& sp, const board& node, int depth, int ply, bool in_check, bool single_reply,
                  int alpha, const Move* moves, int count);
  static void main_at(SplitPoint& sp, int index) { sp.main_index.store(index, std::memory_order_relaxed); }
  static void close_split(SplitPoint& sp);
 private:
  struct Helper;
  friend class HelperListener;
  void run(Helper& h);
  // A helper's share of the shallowest split point with moves left; false
  // if there is none.
  bool take_split(Helper& h);
  bool has_work() const;

  hash& tt_;
  const Bitbases* bitbases_;
  std::vector<std::unique_ptr<Helper>> helpers_;
  std::mutex mutex_;
  std::condition_variable wake_, idle_;
  // Bumped for every search: a helper searches once per generation.
  u64 generation_ = 0;
  int busy_ = 0;
  bool quit_ = false;
  std::atomic<bool> stop_{false};
  MainProgress progress_;
  // By ply: the root's, then the PV nodes' on the main search's path.
  std::unique_ptr<SplitPoint[]> splits_;
  board root_;
};

}  // namespace orvo
