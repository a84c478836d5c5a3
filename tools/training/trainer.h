// One pass of training after the other.
#ifndef KIVSR_TOOLS_TRAINING_TRAINER_H
#define KIVSR_TOOLS_TRAINING_TRAINER_H

#include <vector>

#include "training/reestimation.h"
#include "training/statistics.h"
#include "training/training_list.h"
#include "training/training_settings.h"

namespace kivsr::tools {

// What comes before the sums of a pass: where a stage with more components begins, the components are split. It depends
// on the model alone, so that the parts of a pass do the same.
void prepare_pass(WordModel& model, const TrainingSettings& settings, int pass);

// The sums over the utterances. With warnings a line on standard error names each utterance that cannot be used.
Statistics collect(const WordModel& model, const std::vector<TrainingUtterance>& utterances,
                   const TrainingSettings& settings, bool warnings);

// Makes the model of the next pass and returns what is printed about this one. Throws Fault if no utterance was used.
ReestimationReport finish_pass(WordModel& model, const Statistics& statistics, const TrainingSettings& settings,
                               int pass);

}  // namespace kivsr::tools

#endif
