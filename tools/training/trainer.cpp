#include "training/trainer.h"

#include <cmath>
#include <cstdio>

#include "support/fault.h"
#include "support/progress.h"

namespace kivsr::tools {

namespace {

const char* reason(Statistics::Outcome outcome) {
  switch (outcome) {
    case Statistics::Outcome::used: break;
    case Statistics::Outcome::too_short: return "has fewer frames than its words have states";
    case Statistics::Outcome::too_long: return "is too long to be aligned in one piece";
    case Statistics::Outcome::no_words: return "has an empty transcript";
    case Statistics::Outcome::impossible: return "cannot be aligned with its words";
  }
  return "";
}

}  // namespace

void prepare_pass(WordModel& model, const TrainingSettings& settings, int pass) {
  if (pass == 0 || pass % settings.iterations != 0 || pass >= settings.passes()) return;
  split_components(model, settings.components_of_pass(pass), settings.split_distance, settings.least_occupation);
}

Statistics collect(const WordModel& model, const std::vector<TrainingUtterance>& utterances,
                   const TrainingSettings& settings, bool warnings) {
  Statistics statistics(model);
  const MixtureEvaluator evaluator(model);
  const auto method = settings.viterbi ? AlignmentMethod::viterbi : AlignmentMethod::baum_welch;
  Progress progress("train", static_cast<int>(utterances.size()));
  for (const TrainingUtterance& utterance : utterances) {
    progress.step(utterance.file.string());
    const auto outcome = statistics.add_utterance(model, evaluator, utterance.features, utterance.words, method);
    if (outcome == Statistics::Outcome::used) continue;
    statistics.skipped += 1.0;
    if (!warnings) continue;
    progress.clear();
    std::fprintf(stderr, "kivsr: %s %s and is left out\n", utterance.file.c_str(), reason(outcome));
  }
  return statistics;
}

ReestimationReport finish_pass(WordModel& model, const Statistics& statistics, const TrainingSettings& settings,
                               int pass) {
  if (!(statistics.frames > 0.0)) throw Fault("train: none of the utterances can be used");
  if (!std::isfinite(statistics.log_likelihood)) throw Fault("train: the log likelihood of the pass is not finite");
  const ReestimationReport report = reestimate(model, statistics, settings);
  store_settings(settings, pass + 1, model.training);
  return report;
}

}  // namespace kivsr::tools
