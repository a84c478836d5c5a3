// One pass of training after the other.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kivsr/speech/train/reestimation.h"
#include "kivsr/speech/train/statistics.h"
#include "kivsr/speech/train/training_list.h"
#include "kivsr/speech/train/training_settings.h"
#include "kivsr/speech/train/utterance_blocks.h"

namespace kivsr::speech {

// What comes before the sums of a pass: where a stage with more components begins, the components are split. It depends
// on the model alone, so that the parts of a pass do the same.
void prepare_pass(WordModel& model, const TrainingSettings& settings, int pass);

struct TrainingListener {
  FileListener begin;
  // Of each utterance that cannot be used, and why.
  std::function<void(const std::filesystem::path& file, const std::string& reason)> left_out;
};

// The same, told of utterances by their numbers. Both have to outlive it.
UtteranceListener by_number(const TrainingListener& listener, const TrainingUtterances& utterances);

// The sums over the utterances, one of which is in memory for each thread at a time; the same for every number of jobs.
Statistics collect(const WordModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings,
                   const TrainingListener& listener = {}, int jobs = 1);

// Makes the model of the next pass and returns what is printed about this one. Throws Fault if no utterance was used.
ReestimationReport finish_pass(WordModel& model, const Statistics& statistics, const TrainingSettings& settings,
                               int pass);

}  // namespace kivsr::speech
