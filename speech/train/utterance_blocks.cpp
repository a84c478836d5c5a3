#include "kivsr/speech/train/utterance_blocks.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "kivsr/speech/io/batch.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBlocks = 64;

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
  BlockSum(const Statistics& zero, std::size_t utterances, std::size_t threads, const UtteranceListener& listener)
      : total_(zero), zero_(zero), workers_(threads), utterances_(utterances), listener_(listener) {
    total_.clear();
    zero_.clear();
  }

  std::size_t blocks() const { return std::min(kBlocks, utterances_); }

  void work(std::size_t worker, std::size_t block, const std::function<UtteranceAdder()>& make_adder) {
    try {
      Worker& own = workers_[worker];
      if (!own.add) own = {make_adder(), zero_};
      add(own, block);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      failed_ = true;
      merged_.notify_all();
      throw;
    }
  }

  Statistics result() { return std::move(total_); }

 private:
  struct Worker {
    UtteranceAdder add;
    std::optional<Statistics> sums;
  };
  using LeftOut = std::pair<std::size_t, const char*>;

  std::size_t first(std::size_t block) const { return block * utterances_ / blocks(); }

  void add(Worker& own, std::size_t block) {
    own.sums->clear();
    std::vector<LeftOut> left_out;
    for (std::size_t utterance = first(block); utterance < first(block + 1); ++utterance) {
      begin(utterance);
      const auto outcome = own.add(utterance, *own.sums);
      if (outcome == Statistics::Outcome::kUsed) continue;
      own.sums->skipped += 1.0;
      left_out.emplace_back(utterance, reason(outcome));
    }
    merge(block, *own.sums, left_out);
  }

  void begin(std::size_t utterance) {
    if (!listener_.begin) return;
    const std::lock_guard lock(mutex_);
    listener_.begin(utterance);
  }

  // Waits for the blocks before it, unless one of them failed.
  void merge(std::size_t block, const Statistics& sums, const std::vector<LeftOut>& left_out) {
    std::unique_lock lock(mutex_);
    merged_.wait(lock, [&] { return failed_ || block == done_; });
    if (failed_) return;
    total_.add(sums);
    if (listener_.left_out) {
      for (const auto& [utterance, why] : left_out) listener_.left_out(utterance, why);
    }
    ++done_;
    merged_.notify_all();
  }

  Statistics total_;
  Statistics zero_;
  std::vector<Worker> workers_;
  std::size_t utterances_;
  const UtteranceListener& listener_;
  std::mutex mutex_;
  std::condition_variable merged_;
  std::size_t done_ = 0;  // blocks in the total
  bool failed_ = false;
};

}  // namespace

Statistics add_up(const Statistics& zero, std::size_t utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener) {
  const std::size_t threads = batch_threads(std::max(jobs, 1), std::min(kBlocks, utterances));
  BlockSum sum(zero, utterances, threads, listener);
  run_batch(sum.blocks(), threads, [&](std::size_t worker, std::size_t block) { sum.work(worker, block, make_adder); });
  return sum.result();
}

}  // namespace kivsr::speech
