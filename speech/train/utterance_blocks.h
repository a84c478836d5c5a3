// The sums of a pass, added up by several threads. Utterances are cut into the same blocks for any number of threads,
// and the sums of the blocks are added in their order, so that the model does not depend on it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "kivsr/speech/train/statistics.h"

namespace kivsr::speech {

// Adds an utterance to the sums.
using UtteranceAdder = std::function<Statistics::Outcome(std::size_t utterance, Statistics& sums)>;

struct UtteranceListener {
  std::function<void(std::size_t utterance)> begin;  // one call at a time
  // Of each utterance that cannot be used, and why; in the order of the utterances.
  std::function<void(std::size_t utterance, const std::string& reason)> left_out;
};

// zero: sums of the right shape. make_adder is called once for each thread; what it throws is thrown on.
Statistics add_up(const Statistics& zero, std::size_t utterances, int jobs,
                  const std::function<UtteranceAdder()>& make_adder, const UtteranceListener& listener);

}  // namespace kivsr::speech
