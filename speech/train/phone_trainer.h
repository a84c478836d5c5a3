// The training of a model of phones, one pass after the other: phones alone from a flat start, then phones in context
// whose states are tied by trees, then mixtures that grow. Each pass is a function of the model before it and the
// utterances, so that an interrupted training goes on from any.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "kivsr/speech/models/phone_model.h"
#include "kivsr/speech/train/phone_graph.h"
#include "kivsr/speech/train/phone_questions.h"
#include "kivsr/speech/train/reestimation.h"
#include "kivsr/speech/train/training_list.h"
#include "kivsr/speech/train/training_settings.h"
#include "kivsr/speech/train/transform_estimation.h"
#include "kivsr/speech/train/utterance_blocks.h"

namespace kivsr::speech {

struct PhoneTrainingSettings {
  TrainingSettings common;    // states: of a phone
  int flat_passes = 8;        // of phones alone, after the flat start
  TransformWanted transform;  // of the features, estimated behind them
  int tied_states = 0;        // of phones in context; 0: phones alone
  double least_leaf = 100.0;  // frames of a tied state

  int passes() const;
  // What a pass does. The pass that estimates has features as they are before it and transformed ones behind it, for
  // which the utterances have to be transformed too; the pass that ties has phones alone before it and phones in
  // context behind it.
  bool estimates(int pass) const { return transform.any() && pass == flat_passes; }
  bool ties(int pass) const { return tied_states > 0 && pass == flat_passes + transform_passes(); }
  // Whether features are transformed behind so many passes.
  bool has_transformed(int passes) const { return transform.any() && passes > flat_passes; }
  int components_of_pass(int pass) const;
  void validate() const;

 private:
  // The one that estimates, and those of phones alone behind it.
  int transform_passes() const { return transform.any() ? 1 + common.iterations : 0; }
};

void store_settings(const PhoneTrainingSettings& settings, int pass, std::map<std::string, std::string>& record);
PhoneTrainingSettings stored_phone_settings(const std::map<std::string, std::string>& record, const std::string& model,
                                            int& pass);

// Phones of the words and of the fillers in the order of their names (which other readers of the layout need), each
// with states and a transition matrix of its own; nothing is known about how they sound. Throws Fault for fillers
// without SIL and for more phones than a model can have.
PhoneModel phone_model_shape(const Recipe& recipe, const Dictionary& dictionary, const Dictionary& fillers,
                             const std::vector<TrainingItem>& items, int states_per_phone);
// "<s>", "</s>" and "<sil>".
Dictionary silence_only();

// Every state has the mean and the variance of all frames. In a team all members call it, and rank 0 has the model.
void flat_start(PhoneModel& model, const TrainingUtterances& utterances, const TrainingSettings& settings);

// What a pass works on.
struct PhoneTrainingData {
  const PhoneLexicon& lexicon;
  const TrainingUtterances& utterances;
  std::vector<PhoneSet> sets;          // of the questions; empty: made from the data
  std::vector<std::vector<int>> said;  // in all utterances, where those above are a part of them; else empty
};

struct PhonePassReport {
  ReestimationReport reestimation;
  double log_likelihood = 0.0;  // of the model before, a frame
  double utterances = 0.0;
  double skipped = 0.0;
};

PhonePassReport run_phone_pass(PhoneModel& model, const PhoneTrainingData& data, const PhoneTrainingSettings& settings,
                               int pass, int jobs, const UtteranceListener& listener = {});

// The same in steps, for sums that come from several machines: what comes before the sums, which depends on the model
// alone; the sums, or zero in their shape; and what is made of them.
void prepare_phone_pass(PhoneModel& model, const PhoneTrainingSettings& settings, int pass);
Statistics collect_phone_pass(const PhoneModel& model, const PhoneTrainingData& data,
                              const PhoneTrainingSettings& settings, int pass, int jobs,
                              const UtteranceListener& listener = {});
Statistics zero_of_phone_pass(const PhoneModel& model, const PhoneTrainingData& data,
                              const PhoneTrainingSettings& settings, int pass);
PhonePassReport finish_phone_pass(PhoneModel& model, const PhoneTrainingData& data,
                                  const PhoneTrainingSettings& settings, int pass, const Statistics& statistics);

}  // namespace kivsr::speech
