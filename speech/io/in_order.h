// What threads make in any order, taken in its own order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace kivsr::speech {

// Items have turns, counted from 0. Those that come before their turn are kept, so that nobody waits for a slow one,
// but only some of them. Turns have to be begun in their order, as run_batch does.
template <class Item>
class InOrder {
 public:
  using Take = std::function<void(std::size_t turn, Item& item)>;

  // take: one call at a time. kept: how many turns an item may be ahead.
  InOrder(std::size_t kept, Take take) : kept_(kept), take_(std::move(take)) {}

  // Waits while the item is too far ahead. What take throws is thrown on, and nothing behind it is taken: who gets it
  // has to stop the others.
  void put(std::size_t turn, Item item) {
    std::unique_lock lock(mutex_);
    room_.wait(lock, [&] { return stopped_ || turn <= due_ + kept_; });
    if (stopped_) return;
    items_.emplace(turn, std::move(item));
    while (!items_.empty() && items_.begin()->first == due_) {
      auto next = items_.extract(items_.begin());
      take_(next.key(), next.mapped());
      ++due_;
    }
    room_.notify_all();
  }

  // While nothing is taken.
  template <class Act>
  void alone(Act act) {
    const std::lock_guard lock(mutex_);
    act();
  }

  // Nobody waits any longer, nothing more is taken.
  void stop() {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    room_.notify_all();
  }

 private:
  std::size_t kept_;
  Take take_;
  std::mutex mutex_;
  std::condition_variable room_;
  std::map<std::size_t, Item> items_;
  std::size_t due_ = 0;
  bool stopped_ = false;
};

}  // namespace kivsr::speech
