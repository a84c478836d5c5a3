#include "kivsr/speech/front/feature_chain.h"

#include <algorithm>
#include <utility>

#include "kivsr/speech/front/dynamics_stage.h"
#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/feature_transform.h"
#include "kivsr/speech/front/noise_reduction.h"
#include "kivsr/speech/front/normalisation_stage.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

Recipe validated(const Recipe& recipe) {
  recipe.validate();
  return recipe;
}

// For the front end that stands idle beside the advanced one.
FrontEndParameters general(const FrontEndParameters& parameters) {
  return parameters.kind == FrontEndKind::kGeneral ? parameters : FrontEndParameters();
}

}  // namespace

FeatureChain::FeatureChain(const Recipe& recipe)
    : recipe_(validated(recipe)),
      front_end_(general(recipe.front_end), recipe.noise_reduction),
      speech_(recipe.speech_column, recipe.drop_frames) {
  if (recipe_.front_end.kind == FrontEndKind::kEtsiAfe) {
    advanced_.emplace(recipe_.front_end.sample_rate, speech_.needed());
  }
  if (recipe_.pitch) pitch_.emplace(recipe_);
  before_ = {{recipe_.input_width(), {}}};
  const auto add = [&](std::unique_ptr<RowStage> stage, int width) {
    if (!stage) return;
    stages_.push_back(std::move(stage));
    before_.push_back({width, {}});
  };
  add(make_equalisation_stage(recipe_), recipe_.input_width());
  add(make_energy_stage(recipe_), recipe_.input_width());
  changed_ = stages_.size();
  add(make_normalisation_stage(recipe_), recipe_.input_width());
  const bool whole = recipe_.dynamics == Dynamics::kStreams || recipe_.dynamics == Dynamics::kSplice;
  add(make_dynamics_stage(recipe_), whole ? recipe_.derived_width() : 3 * recipe_.static_width());
  add(make_columns_stage(recipe_), recipe_.derived_width());
  add(make_transform_stage(recipe_), recipe_.feature_width());
  pitched_.width = recipe_.feature_width() + 3;
  spoken_.width = recipe_.width();
}

void FeatureChain::change(FeatureMatrix& rows) const {
  if (change_ && rows.height() > 0) change_(rows);
}

// Sends what lies before a stage through it and those behind it.
void FeatureChain::pass(std::size_t stage, const RowTaker& take) {
  for (; stage < stages_.size(); ++stage) {
    if (stage == changed_) change(before_[stage]);
    if (before_[stage].height() > 0) stages_[stage]->push(before_[stage], before_[stage + 1]);
    before_[stage].values.clear();
  }
  if (changed_ == stages_.size()) change(before_.back());
  if (pitch_) pitch_->push(before_.back(), pitched_);
  FeatureMatrix& features = pitch_ ? pitched_ : before_.back();
  FeatureMatrix& rows = speech_.needed() ? spoken_ : features;
  if (speech_.needed()) {
    speech_.take(decisions_);
    speech_.push(features, spoken_);
  }
  if (rows.height() > 0) take(rows);
  rows.values.clear();
  features.values.clear();
  before_.back().values.clear();
}

void FeatureChain::push(std::span<const float> samples, const RowTaker& take) {
  if (recipe_.source != Source::kAudio) throw Fault("the recipe starts from features, not from audio");
  if (pitch_) pitch_->take(samples);
  if (advanced_) {
    advanced_->push(samples, before_.front(), decisions_);
  } else {
    front_end_.push(samples, before_.front());
  }
  pass(0, take);
}

void FeatureChain::push_rows(const FeatureMatrix& input, const RowTaker& take) {
  if (input.width != recipe_.file_width()) {
    throw Fault("rows of " + std::to_string(input.width) + " values, not of " + std::to_string(recipe_.file_width()));
  }
  if (needs_audio(recipe_.noise_reduction.method)) {
    throw Fault("the noise is reduced in audio, not in features");
  }
  if (recipe_.pitch) throw Fault("pitch is found in audio, not in features");
  append_rows(speech_.needed() ? speech_.split(input).values : input.values, before_.front());
  pass(0, take);
}

void FeatureChain::finish(const RowTaker& take) {
  if (pitch_) pitch_->end_of_audio();
  if (advanced_) {
    advanced_->finish(before_.front(), decisions_);
  } else if (recipe_.source == Source::kAudio) {
    front_end_.finish(before_.front());
  }
  pass(0, take);
  for (std::size_t stage = 0; stage < stages_.size(); ++stage) {
    for (bool more = true; more;) {
      more = stages_[stage]->finish(before_[stage + 1]);
      pass(stage + 1, take);
    }
  }
  speech_.reset();
  if (pitch_) pitch_->reset();
}

RowTaker FeatureChain::appending_to(FeatureMatrix& rows) const {
  rows.width = recipe_.width();
  return [&rows](const FeatureMatrix& more) { append_rows(more.values, rows); };
}

FeatureMatrix FeatureChain::run(std::span<const float> samples, std::size_t block) {
  FeatureMatrix rows;
  while (!samples.empty()) {
    const auto part = samples.first(block == 0 ? samples.size() : std::min(block, samples.size()));
    push(part, rows);
    samples = samples.subspan(part.size());
  }
  finish(rows);
  return rows;
}

FeatureMatrix FeatureChain::run_rows(const FeatureMatrix& input) {
  FeatureMatrix rows;
  push_rows(input, rows);
  finish(rows);
  return rows;
}

}  // namespace kivsr::speech
