#include "kivsr/speech/front/sample_conditioning.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

// The place in 0 .. count - 1 that a place beyond the edges mirrors, again and again where the signal is short.
std::ptrdiff_t mirrored(std::ptrdiff_t place, std::ptrdiff_t count, Edges edges) {
  if (count == 1) return 0;
  const std::ptrdiff_t period = edges == Edges::kReflect ? 2 * (count - 1) : 2 * count;
  place %= period;
  if (place < 0) place += period;
  if (place < count) return place;
  return edges == Edges::kReflect ? period - place : period - 1 - place;
}

}  // namespace

void GaussianNoise::restart() {
  state_ = seed_;
  has_second_ = false;
}

// In (0, 1]; G. Steele, D. Lea, C. Flood, "Fast splittable pseudorandom number generators", 2014.
double GaussianNoise::uniform() {
  state_ += 0x9E3779B97F4A7C15U;
  std::uint64_t bits = state_;
  bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
  bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
  bits ^= bits >> 31U;
  return (static_cast<double>(bits >> 11U) + 1.0) * 0x1p-53;
}

// G. Box, M. Muller, "A note on the generation of random normal deviates", 1958.
float GaussianNoise::next() {
  has_second_ = !has_second_;
  if (!has_second_) return second_;
  const double radius = std::sqrt(-2.0 * std::log(uniform()));
  const double angle = 2.0 * std::numbers::pi * uniform();
  second_ = static_cast<float>(radius * std::sin(angle));
  return static_cast<float>(radius * std::cos(angle));
}

SampleConditioning::SampleConditioning(const FrontEndParameters& parameters)
    : parameters_(parameters),
      needed_(parameters.beyond_edges() || parameters.input_scale != 1.0F || parameters.dither > 0.0F),
      left_(parameters.samples_before_first()),
      noise_(parameters.dither_seed) {
  restart();
}

void SampleConditioning::restart() {
  noise_.restart();
  held_.clear();
  newest_.clear();
  count_ = 0;
  begun_ = !parameters_.beyond_edges();
}

// Puts the samples beyond the left edge, and those that were held back, into the result.
void SampleConditioning::begin() {
  begun_ = true;
  for (std::ptrdiff_t place = -left_; place < 0; ++place) {
    const bool zero = parameters_.edges == Edges::kZeros || held_.empty();
    result_.push_back(zero ? 0.0F
                           : held_[static_cast<std::size_t>(
                                 mirrored(place, static_cast<std::ptrdiff_t>(held_.size()), parameters_.edges))]);
  }
  const std::ptrdiff_t dropped = std::clamp<std::ptrdiff_t>(-left_, 0, static_cast<std::ptrdiff_t>(held_.size()));
  result_.insert(result_.end(), held_.begin() + dropped, held_.end());
}

std::span<const float> SampleConditioning::push(std::span<const float> samples) {
  std::vector<float> changed(samples.begin(), samples.end());
  if (parameters_.input_scale != 1.0F) call<kivsMulC_32f_I>(parameters_.input_scale, changed, changed.size());
  if (parameters_.dither > 0.0F) {
    for (float& sample : changed) sample += parameters_.dither * noise_.next();
  }
  result_.clear();
  count_ += static_cast<std::ptrdiff_t>(changed.size());
  if (parameters_.beyond_edges()) {
    newest_.insert(newest_.end(), changed.begin(), changed.end());
    const std::size_t kept =
        static_cast<std::size_t>(parameters_.window_length) + static_cast<std::size_t>(parameters_.shift) + 1;
    if (newest_.size() > kept) newest_.erase(newest_.begin(), newest_.end() - static_cast<std::ptrdiff_t>(kept));
  }
  if (begun_) {
    result_.insert(result_.end(), changed.begin(), changed.end());
  } else {
    held_.insert(held_.end(), changed.begin(), changed.end());
    // A reflection reaches one sample further than it is long, and samples are dropped all at once.
    if (static_cast<std::ptrdiff_t>(held_.size()) > std::abs(left_)) begin();
  }
  return result_;
}

// Of the sample at that place of the utterance, which lies behind its last one.
float SampleConditioning::beyond(std::ptrdiff_t place) const {
  if (parameters_.edges == Edges::kZeros) return 0.0F;
  const std::ptrdiff_t first = count_ - static_cast<std::ptrdiff_t>(newest_.size());
  return newest_[static_cast<std::size_t>(mirrored(place, count_, parameters_.edges) - first)];
}

std::span<const float> SampleConditioning::finish() {
  result_.clear();
  if (parameters_.beyond_edges() && count_ > 0) {
    if (!begun_) begin();
    const std::ptrdiff_t frames = parameters_.frames_of(count_);
    const std::ptrdiff_t end = (frames - 1) * parameters_.shift + parameters_.window_length - left_;
    for (std::ptrdiff_t place = count_; frames > 0 && place < end; ++place) result_.push_back(beyond(place));
  }
  return result_;
}

}  // namespace kivsr::speech
