#include "kivsr/speech/train/utterance_blocks.h"

#include <atomic>
#include <cmath>
#include <string>
#include <vector>

#include "speech/train/thread_team.h"
#include "speech/train/training_data.h"

namespace kivsr::speech::test {

namespace {

Statistics zero() { return Statistics(small_model()); }

// A list of which every seventh item cannot be used.
TrainingUtterances list_of(std::size_t items, TrainingTeam* team = nullptr) {
  TrainingUtterances utterances(items, team);
  const TrainingShare share{0, 1, team};
  for (std::size_t item = 0; item < items; ++item) {
    if (item % 7 != 3 && share.has(item, {items})) utterances.add("x", {}, item);
  }
  return utterances;
}

// Sums that depend on the order in which they are added.
Statistics::Outcome add_uneven(std::size_t utterance, Statistics& sums) {
  sums.frames += std::exp(static_cast<double>(utterance % 37)) / 3.0;
  sums.utterances += 1.0;
  return utterance % 10 == 3 ? Statistics::Outcome::kTooShort : Statistics::Outcome::kUsed;
}

const std::size_t kLists[] = {0, 1, 5, 127, 128, 129, 1000};

TEST(UtteranceBlocks, TheSameBitsForAnyThreads) {
  for (const std::size_t items : kLists) {
    const TrainingUtterances utterances = list_of(items);
    const auto run = [&](int jobs, std::vector<std::size_t>& left_out) {
      UtteranceListener listener;
      listener.left_out = [&](std::size_t utterance, const std::string&) { left_out.push_back(utterance); };
      return add_up(
          zero(), utterances, jobs, [] { return UtteranceAdder(add_uneven); }, listener);
    };
    std::vector<std::size_t> left_out;
    const Statistics alone = run(1, left_out);
    EXPECT_EQ(alone.utterances, static_cast<double>(utterances.all().size()));
    EXPECT_EQ(alone.skipped, static_cast<double>(left_out.size()));
    for (const int jobs : {2, 7, 100}) {
      std::vector<std::size_t> others;
      EXPECT_EQ(run(jobs, others).frames, alone.frames) << items << " items, " << jobs << " jobs";
      EXPECT_EQ(others, left_out) << "in the order of the utterances";
    }
  }
}

// Every item is in one share; the sums at rank 0 have the bits of those of one process.
TEST(UtteranceBlocks, TheSameBitsForAnyTeam) {
  for (const std::size_t items : kLists) {
    const auto run = [](const TrainingUtterances& utterances, int jobs) {
      const auto make_adder = [&]() -> UtteranceAdder {
        return [&](std::size_t i, Statistics& sums) { return add_uneven(utterances.all()[i].item, sums); };
      };
      return add_up(zero(), utterances, jobs, make_adder, {});
    };
    const Statistics alone = run(list_of(items), 1);
    for (const int size : {1, 2, 3, 5}) {
      std::atomic<std::size_t> shares = 0;
      ThreadTeam(size, [&](ThreadTeam::Member& member) {
        const TrainingUtterances own = list_of(items, &member);
        shares += own.all().size();
        const Statistics sums = run(own, 1 + size % 2);
        EXPECT_EQ(sums.values(), member.rank() == 0 ? alone.values() : zero().values()) << items << " of " << size;
      });
      EXPECT_EQ(shares, list_of(items).all().size());
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
      add_up(zero(), list_of(50), jobs, make_adder, {});
      FAIL() << "no fault";
    } catch (const Fault& fault) {
      EXPECT_STREQ(fault.what(), "utterance 20");
    }
    EXPECT_LE(adders, jobs);
  }
}

}  // namespace

}  // namespace kivsr::speech::test
