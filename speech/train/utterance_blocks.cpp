#include "kivsr/speech/train/utterance_blocks.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

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

class BlockSum {
 public:
  BlockSum(const Statistics& zero, std::size_t utterances, const UtteranceListener& listener)
      : total_(zero), zero_(zero), utterances_(utterances), listener_(listener) {
    total_.clear();
    zero_.clear();
  }

  void work(const std::function<UtteranceAdder()>& make_adder) noexcept {
    try {
      const UtteranceAdder add = make_adder();
      Statistics sums = zero_;
      for (std::size_t block = take(); block < kBlocks; block = take()) {
        sums.clear();
        std::vector<LeftOut> left_out;
        for (std::size_t utterance = first(block); utterance < first(block + 1); ++utterance) {
          begin(utterance);
          const auto outcome = add(utterance, sums);
          if (outcome == Statistics::Outcome::kUsed) continue;
          sums.skipped += 1.0;
          left_out.emplace_back(utterance, reason(outcome));
        }
        if (!merge(block, sums, left_out)) return;
      }
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!fault_) fault_ = std::current_exception();
      merged_.notify_all();
    }
  }

  Statistics result() {
    if (fault_) std::rethrow_exception(fault_);
    return std::move(total_);
  }

 private:
  using LeftOut = std::pair<std::size_t, const char*>;

  std::size_t first(std::size_t block) const { return block * utterances_ / kBlocks; }

  std::size_t take() {
    const std::lock_guard lock(mutex_);
    while (next_ < kBlocks && first(next_) == first(next_ + 1)) ++next_;
    return fault_ || next_ >= kBlocks ? kBlocks : next_++;
  }

  void begin(std::size_t utterance) {
    if (!listener_.begin) return;
    const std::lock_guard lock(mutex_);
    listener_.begin(utterance);
  }

  // Waits for the blocks before it; false if one of them failed.
  bool merge(std::size_t block, const Statistics& sums, const std::vector<LeftOut>& left_out) {
    std::unique_lock lock(mutex_);
    merged_.wait(lock, [&] { return fault_ || first(block) == done_; });
    if (fault_) return false;
    total_.add(sums);
    if (listener_.left_out) {
      for (const auto& [utterance, why] : left_out) listener_.left_out(utterance, why);
    }
    done_ = first(block + 1);
    merged_.notify_all();
    return true;
  }

  Statistics total_;
  Statistics zero_;
  std::size_t utterances_;
  const UtteranceListener& listener_;
  std::mutex mutex_;
  std::condition_variable merged_;
  std::size_t next_ = 0;  // block
  std::size_t done_ = 0;  // utterances in the total
  std::exception_ptr fault_;
};

}  // namespace

Statistics add_up(const Statistics& zero, std::size_t utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener) {
  BlockSum sum(zero, utterances, listener);
  {
    std::vector<std::jthread> threads;
    const auto most = std::min({static_cast<std::size_t>(std::max(jobs, 1)), utterances, kBlocks});
    for (std::size_t thread = 1; thread < most; ++thread) threads.emplace_back([&] { sum.work(make_adder); });
    sum.work(make_adder);
  }
  return sum.result();
}

}  // namespace kivsr::speech
