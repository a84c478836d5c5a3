#include "kivsr/speech/front/equalisation_stage.h"

#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

std::size_t equalised_count(const FrontEndParameters& parameters) {
  if (parameters.output != Output::kCepstra && parameters.output != Output::kLpcCepstra) {
    throw Fault("the equalisation is for cepstra of filters or of linear prediction");
  }
  return static_cast<std::size_t>(parameters.cepstra_behind_zeroth());
}

// Of the mean of the logarithms of the filters' energies to c0.
float zeroth_factor(const FrontEndParameters& parameters) {
  const auto filters = static_cast<float>(parameters.filter_count);
  const float per_amplitude = parameters.spectrum == Spectrum::kPower ? 1.0F : 2.0F;
  switch (parameters.transform) {
    case Transform::kDct: return per_amplitude / std::sqrt(filters);
    case Transform::kLegacy: return per_amplitude;
    case Transform::kHtk: return per_amplitude / std::sqrt(2.0F * filters);
    default: return per_amplitude / filters;
  }
}

std::vector<float> of_length(std::vector<float> values, std::size_t count, const char* name) {
  if (values.empty()) values.assign(count, 0.0F);
  if (values.size() != count) {
    throw Fault(std::string("the ") + name + " of the equalisation has " + std::to_string(values.size()) +
                " values, not " + std::to_string(count));
  }
  for (const float value : values) {
    if (!std::isfinite(value)) throw Fault(std::string("the ") + name + " of the equalisation is not finite");
  }
  return values;
}

}  // namespace

EqualisationStage::EqualisationStage(const FrontEndParameters& parameters, std::vector<float> reference,
                                     std::vector<float> bias)
    : parameters_(parameters),
      reference_(of_length(std::move(reference), equalised_count(parameters), "reference")),
      first_bias_(of_length(std::move(bias), reference_.size(), "bias")),
      bias_(first_bias_) {}

float EqualisationStage::log_energy(std::span<const float> row) const {
  const auto value = [&](int column) { return row[static_cast<std::size_t>(column)]; };
  if (parameters_.energy) return value(parameters_.energy_column());
  if (!parameters_.has_zeroth()) return std::numeric_limits<float>::max();
  return zeroth_factor(parameters_) * value(parameters_.zeroth_column());
}

void EqualisationStage::push(const FeatureMatrix& rows, FeatureMatrix& result) {
  const int first = parameters_.first_cepstrum_column();
  if (reference_.empty()) append_rows(rows.values, result);
  for (int t = 0; t < rows.height() && !reference_.empty(); ++t) {
    append_rows(rows.row(t), result);
    call<kivsBlindEqualization_Aurora_32f>(reference_, result.row(result.height() - 1).data() + first, bias_,
                                           bias_.size(), log_energy(rows.row(t)));
  }
}

bool EqualisationStage::finish(FeatureMatrix&) {
  bias_ = first_bias_;
  return false;
}

std::unique_ptr<RowStage> make_equalisation_stage(const Recipe& recipe) {
  const FrontEndParameters& parameters = recipe.front_end;
  if (recipe.equalisation == Equalisation::kNone) return nullptr;
  if (recipe.equalisation == Equalisation::kFromZero) {
    return std::make_unique<EqualisationStage>(parameters, recipe.reference_cepstrum);
  }
  return std::make_unique<WholeUtterance>(
      parameters.row_width(), [parameters, reference = recipe.reference_cepstrum](FeatureMatrix& cepstra) {
        std::vector<float> mean(static_cast<std::size_t>(cepstra.width));
        call<kivsMeanColumn_32f_D2>(cepstra.values, cepstra.height(), cepstra.width, mean, cepstra.width);
        const auto first = mean.begin() + parameters.first_cepstrum_column();
        const auto count = static_cast<std::ptrdiff_t>(equalised_count(parameters));
        FeatureMatrix equalised{cepstra.width, {}};
        EqualisationStage(parameters, reference, {first, first + count}).push(cepstra, equalised);
        cepstra = std::move(equalised);
      });
}

std::vector<float> aurora_reference_cepstrum() {
  return {-6.618909F, 0.198269F,  -0.740308F, 0.055132F, -0.227086F, 0.144280F,
          -0.112451F, -0.146940F, -0.327466F, 0.134571F, 0.027884F,  -0.114905F};
}

}  // namespace kivsr::speech
