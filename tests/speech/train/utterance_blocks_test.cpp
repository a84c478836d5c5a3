#include "kivsr/speech/train/utterance_blocks.h"

#include <atomic>
#include <cmath>
#include <string>
#include <vector>

#include "speech/train/training_data.h"

namespace kivsr::speech::test {

namespace {

Statistics zero() { return Statistics(small_model()); }

// Sums that depend on the order in which they are added.
Statistics::Outcome add_uneven(std::size_t utterance, Statistics& sums) {
  sums.frames += std::exp(static_cast<double>(utterance % 37)) / 3.0;
  sums.utterances += 1.0;
  return utterance % 10 == 3 ? Statistics::Outcome::kTooShort : Statistics::Outcome::kUsed;
}

TEST(UtteranceBlocks, TheSameBitsForAnyThreads) {
  for (const std::size_t utterances : {0U, 1U, 5U, 63U, 64U, 65U, 1000U}) {
    const auto run = [&](int jobs, std::vector<std::size_t>& left_out) {
      UtteranceListener listener;
      listener.left_out = [&](std::size_t utterance, const std::string&) { left_out.push_back(utterance); };
      return add_up(
          zero(), utterances, jobs, [] { return UtteranceAdder(add_uneven); }, listener);
    };
    std::vector<std::size_t> left_out;
    const Statistics alone = run(1, left_out);
    EXPECT_EQ(alone.utterances, static_cast<double>(utterances));
    EXPECT_EQ(alone.skipped, static_cast<double>(left_out.size()));
    for (const int jobs : {2, 7, 100}) {
      std::vector<std::size_t> others;
      EXPECT_EQ(run(jobs, others).frames, alone.frames) << utterances << " utterances, " << jobs << " jobs";
      EXPECT_EQ(others, left_out) << "in the order of the utterances";
    }
  }
}

// The first utterance that fails is the fault, and nobody waits for its sums for ever.
TEST(UtteranceBlocks, FaultsEndEveryThread) {
  for (const int jobs : {1, 2, 5}) {
    std::atomic<int> adders = 0;
    const auto make_adder = [&]() -> UtteranceAdder {
      ++adders;
      return [](std::size_t utterance, Statistics&) -> Statistics::Outcome {
        if (utterance >= 20) throw Fault("utterance " + std::to_string(utterance));
        return Statistics::Outcome::kUsed;
      };
    };
    try {
      add_up(zero(), 50, jobs, make_adder, {});
      FAIL() << "no fault";
    } catch (const Fault& fault) {
      EXPECT_STREQ(fault.what(), "utterance 20");
    }
    EXPECT_LE(adders, jobs);
  }
}

}  // namespace

}  // namespace kivsr::speech::test
