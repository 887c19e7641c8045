#include "search/helpers.h"

#include "search/search.h"

namespace orvo {

namespace {

// A helper looks at the stop flag this often: the main search waits for
// its helpers at its end, so they stop soon after.
constexpr int HELPER_POLL_INTERVAL = 1000;

}  // namespace

// A helper's listener: it hears nothing, keeps the pool told of its nodes
// and gives the search up when the pool stops.
class HelperListener final : public SearchListener {
 public:
  HelperListener(const std::atomic<bool>& stop, std::atomic<i64>& nodes) : stop_(stop), nodes_(nodes) {}
  bool keep_searching(Search& s) override {
    nodes_.store(s.nodes, std::memory_order_relaxed);
    return !stop_.load(std::memory_order_relaxed);
  }

 private:
  const std::atomic<bool>& stop_;
  std::atomic<i64>& nodes_;
};

struct HelperPool::Helper {
  Helper(hash& tt, const Bitbases* bitbases, const std::atomic<bool>& stop, int id)
      : search(std::make_unique<Search>(tt, bitbases)), listener(stop, nodes) {
    search->make_helper(id);
    search->set_listener(&listener);
    search->set_poll_interval(HELPER_POLL_INTERVAL);
  }
  std::unique_ptr<Search> search;
  std::atomic<i64> nodes{0};
  HelperListener listener;
  // The last generation it searched (or the one it was made in).
  u64 seen = 0;
  std::thread thread;
};

HelperPool::HelperPool(hash& tt, const Bitbases* bitbases) : tt_(tt), bitbases_(bitbases) {}

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
    auto h = std::make_unique<Helper>(tt_, bitbases_, stop_, size() + 1);
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
    for (auto& h : helpers_) h->nodes.store(0, std::memory_order_relaxed);
    busy_ = size();
    ++generation_;
  }
  wake_.notify_all();
}

void HelperPool::stop() {
  stop_.store(true, std::memory_order_relaxed);
  std::unique_lock<std::mutex> lock(mutex_);
  idle_.wait(lock, [this] { return busy_ == 0; });
}

i64 HelperPool::nodes() const {
  i64 total = 0;
  for (const auto& h : helpers_) total += h->nodes.load(std::memory_order_relaxed);
  return total;
}

void HelperPool::run(Helper& h) {
  auto root = std::make_unique<board>();
  for (;;) {
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [&] { return quit_ || generation_ != h.seen; });
      if (quit_) return;
      h.seen = generation_;
      *root = root_;
    }
    Search& s = *h.search;
    s.reset(true);
    // Only the stop flag ends a helper's search.
    s.limits.infinite = true;
    s.limits.analysis = true;
    if (!stop_.load(std::memory_order_relaxed)) s.think(*root);
    h.nodes.store(s.nodes, std::memory_order_relaxed);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      if (--busy_ == 0) idle_.notify_all();
    }
  }
}

}  // namespace orvo
