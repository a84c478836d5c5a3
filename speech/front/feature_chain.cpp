#include "kivsr/speech/front/feature_chain.h"

#include <algorithm>
#include <utility>

#include "kivsr/speech/front/dynamics_stage.h"
#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/normalisation_stage.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

Recipe validated(const Recipe& recipe) {
  recipe.validate();
  return recipe;
}

}  // namespace

FeatureChain::FeatureChain(const Recipe& recipe)
    : recipe_(validated(recipe)), front_end_(recipe.front_end, recipe.noise_reduction) {
  const auto add = [&](std::unique_ptr<RowStage> stage) {
    if (stage) stages_.push_back(std::move(stage));
  };
  add(make_equalisation_stage(recipe_));
  add(make_energy_stage(recipe_));
  add(make_normalisation_stage(recipe_));
  add(make_dynamics_stage(recipe_));
}

// Sends the rows of the front end through the stages.
void FeatureChain::pass(bool last, FeatureMatrix& rows) {
  for (const auto& stage : stages_) {
    next_.width = stage == stages_.back() ? recipe_.width() : recipe_.input_width();
    next_.values.clear();
    if (current_.height() > 0) stage->push(current_, next_);
    if (last) stage->finish(next_);
    std::swap(current_, next_);
  }
  rows.width = recipe_.width();
  append_rows(current_.values, rows);
  current_.values.clear();
}

void FeatureChain::push(std::span<const float> samples, FeatureMatrix& rows) {
  if (recipe_.source != Source::kAudio) throw Fault("features: the recipe starts from features, not from audio");
  front_end_.push(samples, current_);
  pass(false, rows);
}

void FeatureChain::push_rows(const FeatureMatrix& input, FeatureMatrix& rows) {
  if (input.width != recipe_.input_width()) {
    throw Fault("rows of " + std::to_string(input.width) + " values, not of " + std::to_string(recipe_.input_width()));
  }
  if (recipe_.noise_reduction.method != NoiseMethod::kNone) {
    throw Fault("the noise is reduced in audio, not in features");
  }
  current_.width = input.width;
  append_rows(input.values, current_);
  pass(false, rows);
}

void FeatureChain::finish(FeatureMatrix& rows) {
  if (recipe_.source == Source::kAudio) {
    front_end_.finish(current_);
  } else {
    current_.width = recipe_.input_width();
  }
  pass(true, rows);
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
