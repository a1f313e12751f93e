#include "qel/daemon/future_pool.h"

#include <algorithm>
#include <vector>

namespace qel::async {

namespace {

constexpr int POLLS_WHILE_PENDING = 16;

using Wrappers = std::list<std::shared_ptr<FutureWrapperBase>>;

/// Removes disconnected futures from the list when a walk ends, however it ends.
class Sweep {
 public:
  explicit Sweep(Wrappers& futures) : futures_(futures) {}
  Sweep(const Sweep&) = delete;
  Sweep& operator=(const Sweep&) = delete;
  ~Sweep() {
    // Destroyed only when the list is consistent again, because objects owned by a handler may use the pool.
    Wrappers dropped;
    for (auto next = futures_.begin(); next != futures_.end();) {
      const auto wrapper = next++;
      if (!(*wrapper)->connected()) {
        dropped.splice(dropped.end(), futures_, wrapper);
      }
    }
  }

 private:
  Wrappers& futures_;
};

}  // namespace

FuturePool::~FuturePool() = default;

FutureConnection FuturePool::add(std::shared_ptr<FutureWrapperBase> wrapper) {
  futures_.push_back(std::move(wrapper));
  changed_ = std::chrono::steady_clock::now();
  return FutureConnection(futures_.back());
}

void FuturePool::clear_futures() {
  Wrappers dropped;
  dropped.swap(futures_);
  for (const auto& wrapper : dropped) {
    wrapper->disconnect();
  }
}

std::chrono::milliseconds FuturePool::get_poll_interval(std::chrono::steady_clock::time_point now) const {
  using std::chrono::milliseconds;
  const auto pending = std::chrono::duration_cast<milliseconds>(now - changed_);
  return std::clamp(pending / POLLS_WHILE_PENDING, milliseconds(1), milliseconds(100));
}

bool FuturePool::process_futures() {
  if (futures_.empty()) {
    return false;
  }
  {
    const Sweep sweep(futures_);
    // A copy, because handlers may add to the pool or clear it.
    const std::vector<std::shared_ptr<FutureWrapperBase>> walk(futures_.begin(), futures_.end());
    for (const auto& wrapper : walk) {
      if (wrapper->connected() && wrapper->is_ready()) {
        wrapper->disconnect();
        changed_ = std::chrono::steady_clock::now();
        wrapper->deliver();
      }
    }
  }
  return !futures_.empty();
}

}  // namespace qel::async
