#include "kivsr/speech/front/feature_chain.h"

#include <algorithm>
#include <utility>

#include "kivsr/speech/front/delta_stage.h"
#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/normalisation_stage.h"

namespace kivsr::speech {

namespace {

FeatureParameters validated(const FeatureParameters& parameters) {
  parameters.validate();
  return parameters;
}

}  // namespace

FeatureChain::FeatureChain(const FeatureParameters& parameters)
    : parameters_(validated(parameters)), front_end_(parameters.front_end) {
  const auto add = [&](std::unique_ptr<RowStage> stage) {
    if (stage) stages_.push_back(std::move(stage));
  };
  add(make_equalisation_stage(parameters_));
  add(make_energy_stage(parameters_));
  add(make_normalisation_stage(parameters_));
  add(make_delta_stage(parameters_));
}

// Sends the rows of the front end through the stages.
void FeatureChain::pass(bool last, FeatureMatrix& rows) {
  for (const auto& stage : stages_) {
    next_ = {stage == stages_.back() ? row_width() : front_end_.row_width(), {}};
    if (current_.height() > 0) stage->push(current_, next_);
    if (last) stage->finish(next_);
    std::swap(current_, next_);
  }
  rows.width = row_width();
  append_rows(current_.values, rows);
  current_.values.clear();
}

void FeatureChain::push(std::span<const float> samples, FeatureMatrix& rows) {
  front_end_.push(samples, current_);
  pass(false, rows);
}

void FeatureChain::finish(FeatureMatrix& rows) {
  front_end_.finish(current_);
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

}  // namespace kivsr::speech
