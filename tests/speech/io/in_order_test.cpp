#include "kivsr/speech/io/in_order.h"

#include <atomic>
#include <chrono>
#include <numeric>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "kivsr/speech/io/batch.h"

namespace kivsr::speech::test {
namespace {

TEST(InOrder, TurnsAreTakenInTheirOrderWhoeverIsFirst) {
  for (const std::size_t threads : {1U, 3U, 8U}) {
    std::vector<int> taken;
    InOrder<int> items(threads, [&](std::size_t turn, int item) {
      EXPECT_EQ(turn, taken.size());
      taken.push_back(item);
    });
    run_batch(500, threads, [&](std::size_t, std::size_t turn) { items.put(turn, static_cast<int>(turn) + 7); });
    std::vector<int> expected(500);
    std::iota(expected.begin(), expected.end(), 7);
    EXPECT_EQ(taken, expected);
  }
}

TEST(InOrder, WhatIsTooFarAheadWaits) {
  std::atomic<bool> first = false;
  std::vector<std::size_t> taken;
  InOrder<int> items(2, [&](std::size_t turn, int) { taken.push_back(turn); });
  items.put(1, 0);
  items.put(2, 0);
  EXPECT_TRUE(taken.empty());
  std::thread ahead([&] {
    items.put(3, 0);
    EXPECT_TRUE(first);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  first = true;
  items.put(0, 0);
  ahead.join();
  EXPECT_EQ(taken, (std::vector<std::size_t>{0, 1, 2, 3}));
}

// Whoever waits is let go, and nothing behind the fault is taken.
TEST(InOrder, AFaultEndsTheWaiting) {
  for (const std::size_t threads : {1U, 4U}) {
    std::size_t taken = 0;
    InOrder<int> items(threads, [&](std::size_t turn, int) {
      if (turn == 20) throw std::runtime_error("20");
      ++taken;
    });
    const auto act = [&](std::size_t, std::size_t turn) {
      try {
        items.put(turn, 0);
      } catch (...) {
        items.stop();
        throw;
      }
    };
    EXPECT_THROW(run_batch(100, threads, act), std::runtime_error);
    EXPECT_EQ(taken, 20U);
  }
}

// Not even once more, where another thread comes before the one that got the fault.
TEST(InOrder, NothingIsTakenBehindAFault) {
  int calls = 0;
  InOrder<int> items(4, [&](std::size_t, int) {
    ++calls;
    throw std::runtime_error("0");
  });
  items.put(1, 0);
  EXPECT_THROW(items.put(0, 0), std::runtime_error);
  items.put(2, 0);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace kivsr::speech::test
