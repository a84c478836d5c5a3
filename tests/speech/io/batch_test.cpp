#include "kivsr/speech/io/batch.h"

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kivsr::speech::test {
namespace {

TEST(Batch, EveryItemOnceAndAWorkerInTurn) {
  std::vector<std::atomic<int>> done(1000);
  std::vector<int> inside(4, 0);  // plain: only its own worker touches it
  run_batch(done.size(), inside.size(), [&](std::size_t worker, std::size_t item) {
    ++inside[worker];
    ++done[item];
  });
  for (const auto& count : done) EXPECT_EQ(count, 1);
  EXPECT_EQ(inside[0] + inside[1] + inside[2] + inside[3], 1000);
}

// The first of the faults in the order of the items, and what stands before it is done.
TEST(Batch, TheFirstFaultIsTheOneThatIsThrown) {
  for (const std::size_t threads : {1U, 4U}) {
    std::vector<std::atomic<int>> done(200);
    try {
      run_batch(done.size(), threads, [&](std::size_t, std::size_t item) {
        if (item % 50 == 20) throw std::runtime_error(std::to_string(item));
        ++done[item];
      });
      ADD_FAILURE();
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "20");
    }
    for (std::size_t item = 0; item < 20; ++item) EXPECT_EQ(done[item], 1);
  }
}

TEST(Batch, ThreadsAreNoMoreThanTheItems) {
  EXPECT_EQ(batch_threads(8, 3), 3U);
  EXPECT_EQ(batch_threads(2, 300), 2U);
  EXPECT_EQ(batch_threads(5, 0), 1U);
  EXPECT_GE(batch_threads(0, 300), 1U);
}

}  // namespace
}  // namespace kivsr::speech::test
