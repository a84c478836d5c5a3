#include "kivsr/speech/train/utterance_blocks.h"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/batch.h"
#include "kivsr/speech/io/in_order.h"

namespace kivsr::speech {

namespace {

const char* reason(Statistics::Outcome outcome) {
  switch (outcome) {
    case Statistics::Outcome::kUsed: break;
    case Statistics::Outcome::kTooShort: return "has fewer frames than its words have states";
    case Statistics::Outcome::kTooLong: return "is too long to be aligned in one piece";
    case Statistics::Outcome::kNoWords: return "has an empty transcript";
    case Statistics::Outcome::kImpossible: return "cannot be aligned with its words";
  }
  return "";
}

// Sums of blocks, added in the order of the blocks whichever is done first.
class BlockSum {
 public:
  BlockSum(const Statistics& zero, const TrainingUtterances& utterances, int jobs, const UtteranceListener& listener)
      : zero_(zero),
        begins_(utterances.block_begins()),
        team_(utterances.blocks(), utterances.team(), [this](std::span<const double> sums) { add_to_total(sums); }),
        listener_(listener),
        own_(own_blocks()),
        workers_(batch_threads(std::max(jobs, 1), own_.size())),
        done_(kKeptByThread * workers_.size(), [this](std::size_t turn, const Done& done) { merge(turn, done); }) {
    zero_.clear();
    total_ = zero_.values();
  }

  Statistics run(const std::function<UtteranceAdder()>& make_adder) {
    run_batch(own_.size(), workers_.size(),
              [&](std::size_t worker, std::size_t turn) { work(workers_[worker], turn, make_adder); });
    team_.finish(total_.size());
    zero_.set(total_);
    return std::move(zero_);
  }

 private:
  static constexpr std::size_t kKeptByThread = 4;
  struct Worker {
    UtteranceAdder add;
    std::optional<Statistics> sums;
  };
  using LeftOut = std::pair<std::size_t, const char*>;
  struct Done {
    std::vector<double> sums;
    std::vector<LeftOut> left_out;
  };

  std::vector<std::size_t> own_blocks() const {
    std::vector<std::size_t> own;
    for (std::size_t block = 0; block + 1 < begins_.size(); ++block) {
      if (team_.own(block)) own.push_back(block);
    }
    return own;
  }

  void work(Worker& own, std::size_t turn, const std::function<UtteranceAdder()>& make_adder) {
    try {
      if (!own.add) own = {make_adder(), zero_};
      done_.put(turn, add(own, own_[turn]));
    } catch (...) {
      done_.stop();
      throw;
    }
  }

  Done add(Worker& own, std::size_t block) {
    own.sums->clear();
    Done done;
    for (std::size_t utterance = begins_[block]; utterance < begins_[block + 1]; ++utterance) {
      if (listener_.begin) done_.alone([&] { listener_.begin(utterance); });
      const auto outcome = own.add(utterance, *own.sums);
      if (outcome == Statistics::Outcome::kUsed) continue;
      own.sums->skipped += 1.0;
      done.left_out.emplace_back(utterance, reason(outcome));
    }
    done.sums = own.sums->values();
    return done;
  }

  void merge(std::size_t turn, const Done& done) {
    team_.deliver(own_[turn], done.sums);
    if (!listener_.left_out) return;
    for (const auto& [utterance, why] : done.left_out) listener_.left_out(utterance, why);
  }

  void add_to_total(std::span<const double> sums) {
    if (!sums.empty()) call<kivsAdd_64f_I>(sums, total_, sums.size());
  }

  Statistics zero_;
  std::vector<std::size_t> begins_;  // [block]: its first utterance
  TeamSum team_;
  const UtteranceListener& listener_;
  std::vector<std::size_t> own_;  // blocks, in their order
  std::vector<Worker> workers_;
  InOrder<Done> done_;
  std::vector<double> total_;
};

}  // namespace

Statistics add_up(const Statistics& zero, const TrainingUtterances& utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener) {
  return BlockSum(zero, utterances, jobs, listener).run(make_adder);
}

}  // namespace kivsr::speech
