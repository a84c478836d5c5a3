#include "kivsr/speech/train/trainer.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/io/fault.h"

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

// What a model file can hold.
bool is_storable(const MixtureState& state) {
  constexpr float kMost = 1e30F;
  const auto all_of = [](const std::vector<float>& values, float least, float most) {
    return std::all_of(values.begin(), values.end(), [=](float value) { return value >= least && value <= most; });
  };
  return state.stay >= 0.0F && state.stay < 1.0F && std::isfinite(state.occupation) &&
         all_of(state.weights, 0.0F, 1.0F + 1e-3F) && all_of(state.means, -kMost, kMost) &&
         all_of(state.variances, 1.0F / kMost, kMost);
}

}  // namespace

void prepare_pass(WordModel& model, const TrainingSettings& settings, int pass) {
  if (pass == 0 || pass % settings.iterations != 0 || pass >= settings.passes()) return;
  split_components(model, settings.components_of_pass(pass), settings.split_distance, settings.least_occupation);
}

Statistics collect(const WordModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings,
                   const TrainingListener& listener) {
  Statistics statistics(model);
  const MixtureEvaluator evaluator(model);
  const auto method = settings.viterbi ? AlignmentMethod::kViterbi : AlignmentMethod::kBaumWelch;
  for (const TrainingUtterance& utterance : utterances.all()) {
    if (listener.begin) listener.begin(utterance.file);
    const auto outcome =
        statistics.add_utterance(model, evaluator, utterances.rows(utterance), utterance.words, method);
    if (outcome == Statistics::Outcome::kUsed) continue;
    statistics.skipped += 1.0;
    if (listener.left_out) listener.left_out(utterance.file, reason(outcome));
  }
  return statistics;
}

ReestimationReport finish_pass(WordModel& model, const Statistics& statistics, const TrainingSettings& settings,
                               int pass) {
  if (!(statistics.frames > 0.0)) throw Fault("none of the utterances can be used");
  if (!std::isfinite(statistics.log_likelihood)) throw Fault("the log likelihood of the pass is not finite");
  const ReestimationReport report = reestimate(model, statistics, settings);
  if (!std::all_of(model.states.begin(), model.states.end(), is_storable)) {
    throw Fault("the pass gives means or variances that no model can hold: the features are out of all bounds");
  }
  store_settings(settings, pass + 1, model.training);
  return report;
}

}  // namespace kivsr::speech
