#include "kivsr/speech/train/utterance_blocks.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/batch.h"

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
  BlockSum(const Statistics& zero, const TrainingUtterances& utterances, const UtteranceListener& listener)
      : zero_(zero),
        begins_(utterances.block_begins()),
        team_(utterances.blocks(), utterances.team(), [this](std::span<const double> sums) { add_to_total(sums); }),
        listener_(listener) {
    zero_.clear();
    total_ = zero_.values();
    for (std::size_t block = 0; block + 1 < begins_.size(); ++block) {
      if (team_.own(block)) own_.push_back(block);
    }
  }

  Statistics run(int jobs, const std::function<UtteranceAdder()>& make_adder) {
    const std::size_t threads = batch_threads(std::max(jobs, 1), own_.size());
    workers_.resize(threads);
    run_batch(own_.size(), threads, [&](std::size_t worker, std::size_t turn) { work(worker, turn, make_adder); });
    team_.finish(total_.size());
    zero_.set(total_);
    return std::move(zero_);
  }

 private:
  void work(std::size_t worker, std::size_t turn, const std::function<UtteranceAdder()>& make_adder) {
    try {
      Worker& own = workers_[worker];
      if (!own.add) own = {make_adder(), zero_};
      add(own, turn);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      failed_ = true;
      merged_.notify_all();
      throw;
    }
  }

  struct Worker {
    UtteranceAdder add;
    std::optional<Statistics> sums;
  };
  using LeftOut = std::pair<std::size_t, const char*>;

  void add(Worker& own, std::size_t turn) {
    own.sums->clear();
    std::vector<LeftOut> left_out;
    const std::size_t block = own_[turn];
    for (std::size_t utterance = begins_[block]; utterance < begins_[block + 1]; ++utterance) {
      begin(utterance);
      const auto outcome = own.add(utterance, *own.sums);
      if (outcome == Statistics::Outcome::kUsed) continue;
      own.sums->skipped += 1.0;
      left_out.emplace_back(utterance, reason(outcome));
    }
    merge(turn, own.sums->values(), left_out);
  }

  void begin(std::size_t utterance) {
    if (!listener_.begin) return;
    const std::lock_guard lock(mutex_);
    listener_.begin(utterance);
  }

  // Waits for the blocks before it, unless one of them failed.
  void merge(std::size_t turn, std::span<const double> sums, const std::vector<LeftOut>& left_out) {
    std::unique_lock lock(mutex_);
    merged_.wait(lock, [&] { return failed_ || turn == done_; });
    if (failed_) return;
    team_.deliver(own_[turn], sums);
    if (listener_.left_out) {
      for (const auto& [utterance, why] : left_out) listener_.left_out(utterance, why);
    }
    ++done_;
    merged_.notify_all();
  }

  void add_to_total(std::span<const double> sums) {
    if (!sums.empty()) call<kivsAdd_64f_I>(sums, total_, sums.size());
  }

  Statistics zero_;
  std::vector<std::size_t> begins_;  // [block]: its first utterance
  std::vector<std::size_t> own_;     // blocks, in their order
  TeamSum team_;
  const UtteranceListener& listener_;
  std::vector<Worker> workers_;
  std::mutex mutex_;
  std::condition_variable merged_;
  std::vector<double> total_;
  std::size_t done_ = 0;  // of the own blocks, those in the total
  bool failed_ = false;
};

}  // namespace

Statistics add_up(const Statistics& zero, const TrainingUtterances& utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener) {
  return BlockSum(zero, utterances, listener).run(jobs, make_adder);
}

}  // namespace kivsr::speech
