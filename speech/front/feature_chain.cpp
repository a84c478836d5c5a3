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

// Sends the rows of the front end through the stages, the last of which writes to rows.
void FeatureChain::pass(bool last, FeatureMatrix& rows) {
  rows.width = recipe_.width();
  current_.width = next_.width = recipe_.input_width();
  for (const auto& stage : stages_) {
    FeatureMatrix& result = stage == stages_.back() ? rows : next_;
    if (current_.height() > 0) stage->push(current_, result);
    if (last) stage->finish(result);
    current_.values.clear();
    std::swap(current_, next_);
  }
}

void FeatureChain::push(std::span<const float> samples, FeatureMatrix& rows) {
  if (recipe_.source != Source::kAudio) throw Fault("the recipe starts from features, not from audio");
  front_end_.push(samples, first_of(rows));
  pass(false, rows);
}

void FeatureChain::push_rows(const FeatureMatrix& input, FeatureMatrix& rows) {
  if (input.width != recipe_.input_width()) {
    throw Fault("rows of " + std::to_string(input.width) + " values, not of " + std::to_string(recipe_.input_width()));
  }
  if (recipe_.noise_reduction.method != NoiseMethod::kNone) {
    throw Fault("the noise is reduced in audio, not in features");
  }
  append_rows(input.values, first_of(rows));
  pass(false, rows);
}

void FeatureChain::finish(FeatureMatrix& rows) {
  if (recipe_.source == Source::kAudio) front_end_.finish(first_of(rows));
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
