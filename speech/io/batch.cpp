#include "kivsr/speech/io/batch.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace kivsr::speech {

namespace {

// The fault of the first item that has one.
class FirstFault {
 public:
  void add(std::size_t item) {
    const std::lock_guard lock(mutex_);
    if (fault_ && item_ < item) return;
    fault_ = std::current_exception();
    item_ = item;
  }
  void rethrow() const {
    if (fault_) std::rethrow_exception(fault_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr fault_;
  std::size_t item_ = 0;
};

}  // namespace

std::size_t batch_threads(int jobs, std::size_t items) {
  const auto wanted =
      jobs > 0 ? static_cast<std::size_t>(jobs) : static_cast<std::size_t>(std::thread::hardware_concurrency());
  return std::clamp<std::size_t>(wanted, 1, std::max<std::size_t>(items, 1));
}

void run_batch(std::size_t items, std::size_t threads,
               const std::function<void(std::size_t worker, std::size_t item)>& act) {
  FirstFault fault;
  std::atomic<std::size_t> next{0};
  const auto work = [&](std::size_t worker) {
    for (std::size_t item = next++; item < items; item = next++) {
      try {
        act(worker, item);
      } catch (...) {
        fault.add(item);
        next = items;  // those before it are done or being done
      }
    }
  };
  std::vector<std::thread> others;
  try {
    for (std::size_t worker = 1; worker < threads; ++worker) others.emplace_back(work, worker);
  } catch (const std::system_error&) {
    // Fewer threads do the same.
  }
  work(0);
  for (std::thread& thread : others) thread.join();
  fault.rethrow();
}

}  // namespace kivsr::speech
