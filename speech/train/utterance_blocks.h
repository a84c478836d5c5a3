// The sums of a pass, added up by several threads and by the processes of a team. The list is cut into the same blocks
// for any number of both, and the sums of the blocks are added in their order, so that the model does not depend on it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "kivsr/speech/train/statistics.h"
#include "kivsr/speech/train/training_list.h"

namespace kivsr::speech {

// Adds an utterance to the sums.
using UtteranceAdder = std::function<Statistics::Outcome(std::size_t utterance, Statistics& sums)>;

struct UtteranceListener {
  std::function<void(std::size_t utterance)> begin;  // one call at a time
  // Of each utterance that cannot be used, and why; in the order of the utterances.
  std::function<void(std::size_t utterance, const std::string& reason)> left_out;
};

// zero: sums of the right shape. make_adder is called once for each thread; what it throws is thrown on. In a team all
// members call it; rank 0 gets the sums and the others zero.
Statistics add_up(const Statistics& zero, const TrainingUtterances& utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener);

}  // namespace kivsr::speech
