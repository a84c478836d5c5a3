#include "kivsr/speech/train/trainer.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

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
  split_components(model.states, model.dimension(), settings.components_of_pass(pass), settings.split_distance,
                   settings.least_occupation);
}

UtteranceListener by_number(const TrainingListener& listener, const TrainingUtterances& utterances) {
  UtteranceListener result;
  if (listener.begin) result.begin = [&](std::size_t index) { listener.begin(utterances.all()[index].file); };
  if (listener.left_out) {
    result.left_out = [&](std::size_t index, const std::string& reason) {
      listener.left_out(utterances.all()[index].file, reason);
    };
  }
  return result;
}

Statistics collect(const WordModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings,
                   const TrainingListener& listener, int jobs) {
  const MixtureEvaluator evaluator(model);
  const auto method = settings.viterbi ? AlignmentMethod::kViterbi : AlignmentMethod::kBaumWelch;
  const auto make_adder = [&]() -> UtteranceAdder {
    return [&, work = std::make_shared<TrainingWork>(evaluator, kDefaultBeam)](std::size_t index, Statistics& sums) {
      const TrainingUtterance& utterance = utterances.all()[index];
      const FeatureMatrix rows = utterances.rows(utterance);
      if (model.plain_mixture) {
        sums.add_mixture(model, evaluator, rows);
        return Statistics::Outcome::kUsed;
      }
      if (utterance.words.empty()) return Statistics::Outcome::kNoWords;
      return sums.add_utterance(utterance_graph(model, utterance.words), rows, method, *work);
    };
  };
  return add_up(Statistics(model), utterances, jobs, make_adder, by_number(listener, utterances));
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
