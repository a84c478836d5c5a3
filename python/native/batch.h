// The same work on many arrays, on threads, results in the order of the arrays.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pybind11/pybind11.h>

namespace kivsr::python {

// Number of threads for so many items. jobs: 0 for as many as the machine has processors. Throws ValueError.
inline std::size_t threads_of(int jobs, std::size_t items) {
  if (jobs < 0) throw pybind11::value_error("jobs: not negative, 0 for one a processor");
  const auto wanted = static_cast<std::size_t>(jobs > 0 ? jobs : static_cast<int>(std::thread::hardware_concurrency()));
  return std::clamp<std::size_t>(wanted, 1, std::max<std::size_t>(items, 1));
}

// act(worker, item) for items 0 .. items - 1, worker below threads; what one worker does, it does in turn. Call it
// without the interpreter's lock. Rethrows what was thrown for the first of the items that failed, whatever the
// threads.
template <class Act>
void run_batch(std::size_t items, std::size_t threads, Act&& act) {
  std::vector<std::exception_ptr> faults(items);
  std::atomic<std::size_t> next{0};
  const auto work = [&](std::size_t worker) {
    for (std::size_t item = next++; item < items; item = next++) {
      try {
        act(worker, item);
      } catch (...) {
        faults[item] = std::current_exception();
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
  for (const std::exception_ptr& fault : faults) {
    if (fault) std::rethrow_exception(fault);
  }
}

}  // namespace kivsr::python
