// Helper searches (Lazy SMP): threads that search the same root as the
// main search, each with a search object of its own and the transposition
// table shared with it. Their work reaches the main search only through
// that table; the main search's result and reports are the ones that count.
// The threads are made once and wait between searches.
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
class Search;
class hash;

// The most search threads, the main one included.
constexpr int MAX_THREADS = 256;

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

 private:
  struct Helper;
  void run(Helper& h);

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
  board root_;
};

}  // namespace orvo
