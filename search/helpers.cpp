#include "search/helpers.h"

#include <cstring>

#include "search/search.h"

namespace orvo {

namespace {

// A helper looks at the stop flag and the split this often: the main search
// waits for its helpers at its end, so they stop soon after.
constexpr int HELPER_POLL_INTERVAL = 1000;

}  // namespace

struct HelperPool::Helper {
  Helper(HelperPool& pool, int id);
  HelperPool& pool;
  std::unique_ptr<Search> search;
  // Nodes of the searches this helper finished in the running search, and
  // the total it last published.
  i64 done_nodes = 0;
  std::atomic<i64> nodes{0};
  std::unique_ptr<HelperListener> listener;
  // The last search generation it searched (or the one it was made in).
  u64 seen = 0;
  std::thread thread;
  // A copy of the split point it works on.
  board position;
  Move moves[MAX_MOVES];
};

// A helper's listener: it hears nothing, keeps the pool told of its nodes,
// and gives its search up when the pool stops, when it runs ahead of the
// main search while a split point has moves left, or when the main search
// has reached the split move it is on.
class HelperListener final : public SearchListener {
 public:
  explicit HelperListener(HelperPool::Helper& h) : h_(h) {}
  bool keep_searching(Search& s) override {
    HelperPool& pool = h_.pool;
    h_.nodes.store(h_.done_nodes + s.nodes, std::memory_order_relaxed);
    if (pool.stop_.load(std::memory_order_relaxed)) return false;
    if (const SplitPoint* sp = s.split_point())
      return sp->generation.load(std::memory_order_relaxed) == s.split_generation() &&
             s.split_move() > sp->main_index.load(std::memory_order_relaxed);
    return !pool.has_work();
  }

 private:
  HelperPool::Helper& h_;
};

HelperPool::Helper::Helper(HelperPool& p, int id)
    : pool(p), search(std::make_unique<Search>(p.tt_, p.bitbases_)), listener(std::make_unique<HelperListener>(*this)) {
  search->make_helper(id, &p.progress_);
  search->set_listener(listener.get());
  search->set_poll_interval(HELPER_POLL_INTERVAL);
}

HelperPool::HelperPool(hash& tt, const Bitbases* bitbases)
    : tt_(tt), bitbases_(bitbases), splits_(std::make_unique<SplitPoint[]>(MAX_PLY + 1)) {}

HelperPool::~HelperPool() { resize(0); }

void HelperPool::resize(int helpers) {
  if (helpers < 0) helpers = 0;
  if (helpers > MAX_THREADS - 1) helpers = MAX_THREADS - 1;
  if (helpers < size()) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      quit_ = true;
    }
    wake_.notify_all();
    for (auto& h : helpers_) h->thread.join();
    helpers_.clear();
    quit_ = false;
  }
  while (size() < helpers) {
    auto h = std::make_unique<Helper>(*this, size() + 1);
    h->seen = generation_;  // made between searches: it waits for the next one
    Helper& ref = *h;
    helpers_.push_back(std::move(h));
    ref.thread = std::thread([this, &ref] { run(ref); });
  }
}

void HelperPool::start(const board& root) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    root_ = root;
    stop_.store(false, std::memory_order_relaxed);
    progress_.depth.store(0, std::memory_order_relaxed);
    progress_.score.store(0, std::memory_order_relaxed);
    for (int ply = 0; ply <= MAX_PLY; ++ply) splits_[ply].open.store(false, std::memory_order_relaxed);
    for (auto& h : helpers_) {
      h->nodes.store(0, std::memory_order_relaxed);
      h->done_nodes = 0;
    }
    busy_ = size();
    ++generation_;
  }
  wake_.notify_all();
}

void HelperPool::stop() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_.store(true, std::memory_order_relaxed);
  }
  wake_.notify_all();
  std::unique_lock<std::mutex> lock(mutex_);
  idle_.wait(lock, [this] { return busy_ == 0; });
}

i64 HelperPool::nodes() const {
  i64 total = 0;
  for (const auto& h : helpers_) total += h->nodes.load(std::memory_order_relaxed);
  return total;
}

void HelperPool::open_split(SplitPoint& sp, const board& node, int depth, int ply, bool in_check,
                            bool single_reply, int alpha, const Move* moves, int count) {
  {
    std::lock_guard<std::mutex> lock(sp.mutex);
    sp.position = node;
    sp.depth = depth;
    sp.ply = ply;
    sp.in_check = in_check;
    sp.single_reply = single_reply;
    sp.count = count;
    std::memcpy(sp.moves, moves, sizeof(Move) * count);
    sp.alpha.store(alpha, std::memory_order_relaxed);
    sp.main_index.store(0, std::memory_order_relaxed);
    sp.tail.store(count, std::memory_order_relaxed);
    sp.generation.fetch_add(1, std::memory_order_relaxed);
    sp.open.store(true, std::memory_order_relaxed);
  }
  // A helper with nothing to do sleeps on the pool's mutex.
  { std::lock_guard<std::mutex> lock(mutex_); }
  wake_.notify_all();
}

void HelperPool::close_split(SplitPoint& sp) {
  sp.main_index.store(MAX_MOVES, std::memory_order_relaxed);
  sp.open.store(false, std::memory_order_relaxed);
}

bool HelperPool::has_work() const {
  for (int ply = 0; ply <= MAX_PLY; ++ply)
    if (splits_[ply].has_work()) return true;
  return false;
}

bool HelperPool::take_split(Helper& h) {
  // The shallowest first: its moves are the ones the main search reaches
  // last, so a helper's result is most likely there before it is needed.
  for (int ply = 0; ply <= MAX_PLY; ++ply) {
    SplitPoint& sp = splits_[ply];
    if (!sp.has_work()) continue;
    SplitTask task;
    {
      std::lock_guard<std::mutex> lock(sp.mutex);
      if (!sp.has_work()) continue;
      task.generation = sp.generation.load(std::memory_order_relaxed);
      task.depth = sp.depth;
      task.ply = sp.ply;
      task.in_check = sp.in_check;
      task.single_reply = sp.single_reply;
      task.count = sp.count;
      h.position = sp.position;
      std::memcpy(h.moves, sp.moves, sizeof(Move) * sp.count);
    }
    // The evaluation reads the castling rights of the root, not the node's.
    h.search->eval.set_root_castle(root_.castle);
    h.search->search_split(h.position, sp, task, h.moves);
    return true;
  }
  return false;
}

void HelperPool::run(Helper& h) {
  for (;;) {
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [&] { return quit_ || generation_ != h.seen; });
      if (quit_) return;
      h.seen = generation_;
    }
    // root_ stays as start left it until every helper is idle again.
    Search& s = *h.search;
    while (!stop_.load(std::memory_order_relaxed)) {
      s.reset(true);
      // Only the pool ends a helper's search.
      s.limits.infinite = true;
      s.limits.analysis = true;
      if (take_split(h)) {
        h.done_nodes += s.nodes;
        continue;
      }
      s.think(root_);
      h.done_nodes += s.nodes;
      h.nodes.store(h.done_nodes, std::memory_order_relaxed);
      if (!s.state.abandoned) {
        // Its iterations ran out (a position the search exhausts): it waits
        // for a split or the end of the search.
        std::unique_lock<std::mutex> lock(mutex_);
        wake_.wait(lock, [&] { return stop_.load(std::memory_order_relaxed) || has_work(); });
      }
    }
    h.nodes.store(h.done_nodes, std::memory_order_relaxed);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (--busy_ == 0) idle_.notify_all();
    }
  }
}

}  // namespace orvo
