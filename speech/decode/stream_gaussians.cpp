#include "kivsr/speech/decode/stream_gaussians.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {
namespace {

constexpr int kGroup = 8;           // elements that 16-bit scores take at once
constexpr int kDeviationBits = 10;  // 2^10 <= standard deviation of a quantised feature < 2^11
constexpr int kMedianBits = 8;      // 2^8 <= median of the quantised inverse variances < 2^9

// The power of two below a variance, or its inverse, kept within what scaling by it and by its square can hold: a
// feature that never moves, or has no bound, is a fault of the model and not of the arithmetic.
int scale_exponent(float value) {
  constexpr int kMost = 48;
  if (!(value > 0.0F)) return -kMost;
  return std::isinf(value) ? kMost : std::clamp(std::ilogb(value), -kMost, kMost);
}

// p of every feature.
std::vector<int> feature_exponents(const ModelStream& stream) {
  const auto length = static_cast<std::size_t>(stream.length);
  const auto rows = static_cast<int>(stream.means.size() / length);
  std::vector<float> variances(stream.inverse_variances);
  for (float& value : variances) value = 1.0F / value;
  std::vector<float> within(length);
  call<kivsMeanColumn_32f_D2>(variances, rows, stream.length, within, stream.length);
  std::vector<float> mean(length);
  std::vector<float> between(length, 0.0F);
  if (rows > 1) {
    call<kivsMeanVarColumn_32f_D2>(stream.means, rows, stream.length, mean, between, stream.length);
  }
  std::vector<int> exponents;
  for (std::size_t i = 0; i < length; ++i) {
    exponents.push_back(kDeviationBits - scale_exponent(std::sqrt(within[i] + std::max(between[i], 0.0F))));
  }
  return exponents;
}

// Rows of length values, each multiplied by its factor and by 2^exponent, in rows of step elements.
std::vector<std::int16_t> quantise_rows(const std::vector<float>& rows, const std::vector<float>& factors, int exponent,
                                        int step) {
  const std::size_t length = factors.size();
  const std::size_t height = rows.size() / length;
  std::vector<std::int16_t> result(height * static_cast<std::size_t>(step));
  std::vector<float> scaled(length);
  for (std::size_t row = 0; row < height; ++row) {
    call<kivsMul_32f>(&rows[row * length], factors, scaled, length);
    call<kivsConvert_32f16s_Sfs>(scaled, &result[row * static_cast<std::size_t>(step)], length, kivRndNear, -exponent);
  }
  return result;
}

}  // namespace

template <class Arithmetic>
StreamGaussians<Arithmetic>::StreamGaussians(const AcousticModel& model, const ModelStream& stream)
    : offset_(stream.offset),
      length_(stream.length),
      step_(stream.length),
      count_(static_cast<std::size_t>(model.densities)),
      mean_rows_(count_),
      inverse_variance_rows_(count_),
      listed_normalisers_(count_) {
  load(stream);
  load_log_weights(stream.log_weights);
  frame_.resize(static_cast<std::size_t>(step_));
}

template <class Arithmetic>
void StreamGaussians<Arithmetic>::load(const ModelStream& stream) {
  copies_.means.assign(stream.means.begin(), stream.means.end());
  copies_.inverse_variances.assign(stream.inverse_variances.begin(), stream.inverse_variances.end());
  copies_.normalisers.assign(stream.normalisers.begin(), stream.normalisers.end());
  numbers_ = {copies_.means, copies_.inverse_variances, copies_.normalisers, {}};
}

template <>
void StreamGaussians<FloatArithmetic>::load(const ModelStream& stream) {
  numbers_ = {stream.means, stream.inverse_variances, stream.normalisers, {}};
}

// The model's own where they are of this type and none is too low.
template <class Arithmetic>
void StreamGaussians<Arithmetic>::load_log_weights(const std::vector<float>& log_weights) {
  const auto low = [](float weight) { return !(weight >= kLowestLogWeight); };
  if constexpr (std::is_same_v<Score, float>) {
    numbers_.log_weights = log_weights;
    if (std::none_of(log_weights.begin(), log_weights.end(), low)) return;
  }
  for (const float weight : log_weights) copies_.log_weights.push_back(std::max(weight, kLowestLogWeight));
  numbers_.log_weights = copies_.log_weights;
}

template <>
void StreamGaussians<ShortArithmetic>::load(const ModelStream& stream) {
  const auto length = static_cast<std::size_t>(length_);
  step_ = (length_ + kGroup - 1) / kGroup * kGroup;
  std::vector<float> inverse_squares;  // 4^-p
  for (const int exponent : feature_exponents(stream)) {
    feature_scales_.push_back(std::ldexp(1.0F, exponent));
    inverse_squares.push_back(std::ldexp(1.0F, -2 * exponent));
  }
  scaled_frame_.resize(length);
  copies_.means = quantise_rows(stream.means, feature_scales_, 0, step_);

  std::vector<float> sorted(stream.inverse_variances);
  for (std::size_t i = 0; i < sorted.size(); ++i) sorted[i] *= inverse_squares[i % length];
  const auto median = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), median, sorted.end());
  scale_factor_ = kMedianBits - scale_exponent(*median);
  copies_.inverse_variances = quantise_rows(stream.inverse_variances, inverse_squares, scale_factor_, step_);

  // ln of the inverse variances in the model's units: 2^-q w 4^p
  std::vector<float> row(length);
  for (std::size_t first = 0; first < copies_.inverse_variances.size(); first += static_cast<std::size_t>(step_)) {
    for (std::size_t i = 0; i < length; ++i) {
      std::int16_t& value = copies_.inverse_variances[first + i];
      value = std::max<std::int16_t>(value, 1);
      row[i] = std::ldexp(static_cast<float>(value), -scale_factor_) / inverse_squares[i];
    }
    float sum = 0.0F;
    call<kivsSumLn_32f>(row, length_, &sum);
    copies_.normalisers.push_back(0.5F * (sum - static_cast<float>(length_ * std::log(2.0 * std::numbers::pi))));
  }
  numbers_ = {copies_.means, copies_.inverse_variances, copies_.normalisers, {}};
}

template <class Arithmetic>
void StreamGaussians<Arithmetic>::set_frame(std::span<const float> frame) {
  const auto slice = frame.subspan(static_cast<std::size_t>(offset_), static_cast<std::size_t>(length_));
  if constexpr (std::is_same_v<Element, std::int16_t>) {
    call<kivsMul_32f>(slice, feature_scales_, scaled_frame_, length_);
    call<kivsConvert_32f16s_Sfs>(scaled_frame_, frame_, length_, kivRndNear, 0);
  } else {
    std::copy(slice.begin(), slice.end(), frame_.begin());
  }
}

template <class Arithmetic>
void StreamGaussians<Arithmetic>::score(int codebook, Score* scores) const {
  const std::size_t first = static_cast<std::size_t>(codebook) * count_;
  const std::size_t offset = first * static_cast<std::size_t>(step_);
  std::fill_n(scores, count_, static_cast<Score>(kLowestLikelihood));
  run<Arithmetic::rows>(numbers_.means.data() + offset, numbers_.inverse_variances.data() + offset, step_,
                        frame_.data(), step_, numbers_.normalisers.data() + first, scores, static_cast<int>(count_));
}

template <class Arithmetic>
void StreamGaussians<Arithmetic>::score(int codebook, std::span<const std::uint16_t> list, Score* scores) {
  const std::size_t first = static_cast<std::size_t>(codebook) * count_;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::size_t row = first + list[i];
    mean_rows_[i] = numbers_.means.data() + row * static_cast<std::size_t>(step_);
    inverse_variance_rows_[i] = numbers_.inverse_variances.data() + row * static_cast<std::size_t>(step_);
    listed_normalisers_[i] = numbers_.normalisers[row];
    scores[i] = static_cast<Score>(kLowestLikelihood);
  }
  run<Arithmetic::listed_rows>(mean_rows_.data(), inverse_variance_rows_.data(), frame_.data(), step_,
                               listed_normalisers_.data(), scores, static_cast<int>(list.size()));
}

template class StreamGaussians<FloatArithmetic>;
template class StreamGaussians<DoubleArithmetic>;
template class StreamGaussians<ShortArithmetic>;

}  // namespace kivsr::speech
