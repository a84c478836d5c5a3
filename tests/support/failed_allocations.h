// Fails every allocation of a call in turn and watches for leaks.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

#include "kivsr.h"

namespace kivsr::test {

// Counts the library's allocations while it lives; the fail_at-th returns null (0: none does).
class AllocationWatch {
 public:
  explicit AllocationWatch(int fail_at = 0) {
    fail_at_ = fail_at;
    calls_ = live_ = 0;
    saved_malloc_ = i_malloc;
    saved_free_ = i_free;
    i_malloc = [](std::size_t bytes) -> void* {
      if (++calls_ == fail_at_) return nullptr;
      ++live_;
      return std::malloc(bytes);
    };
    i_free = [](void* p) {
      if (p != nullptr) --live_;
      std::free(p);
    };
  }
  ~AllocationWatch() {
    i_malloc = saved_malloc_;
    i_free = saved_free_;
  }
  static int calls() { return calls_; }
  static int live() { return live_; }

 private:
  static inline int fail_at_, calls_, live_;
  void* (*saved_malloc_)(std::size_t);
  void (*saved_free_)(void*);
};

// Runs `call` (which returns a KivStatus and releases what it got on success) with its first, second, ... allocation
// failing: each run must return kivStatusNoMemory and leave nothing allocated, until a run needs no more allocations.
template <class Call>
void expect_survives_failed_allocations(Call call, int at_least = 1) {
  for (int k = 1; k < 1000; ++k) {
    const AllocationWatch watch(k);
    const KivStatus status = call();
    ASSERT_EQ(AllocationWatch::live(), 0) << "leak when allocation " << k << " fails";
    if (AllocationWatch::calls() < k) {
      EXPECT_GE(status, kivStatusOk);
      EXPECT_GT(k, at_least) << "fewer allocations than expected";
      return;
    }
    ASSERT_EQ(status, kivStatusNoMemory) << "allocation " << k;
  }
  FAIL() << "no end of allocations";
}

}  // namespace kivsr::test
