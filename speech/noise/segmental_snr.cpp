#include "kivsr/speech/noise/segmental_snr.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr double kFrameSeconds = 0.03;
constexpr double kLowest = -10.0;
constexpr double kHighest = 35.0;

double energy(std::span<const float> samples) {
  double sum = 0.0;
  call<kivsDotProd_32f64f>(samples, samples, samples.size(), &sum);
  return sum;
}

}  // namespace

SegmentalSnr::SegmentalSnr(int sample_rate)
    : frame_(static_cast<std::size_t>(std::max(1.0, std::round(kFrameSeconds * sample_rate)))) {}

// The first so many samples of both.
void SegmentalSnr::compare(std::size_t count) {
  for (std::size_t begin = 0; begin < count; begin += frame_) {
    const std::size_t length = std::min(frame_, count - begin);
    const std::span<const float> clean(reference_.data() + begin, length);
    const std::span<float> difference(signal_.data() + begin, length);
    const double speech = energy(clean);
    if (!(speech > 0.0)) continue;
    call<kivsSub_32f_I>(clean, difference, length);
    sum_ += std::clamp(10.0 * std::log10(speech / energy(difference)), kLowest, kHighest);
    ++count_;
  }
  reference_.erase(reference_.begin(), reference_.begin() + static_cast<std::ptrdiff_t>(count));
  signal_.erase(signal_.begin(), signal_.begin() + static_cast<std::ptrdiff_t>(count));
}

void SegmentalSnr::compare_complete() { compare(std::min(reference_.size(), signal_.size()) / frame_ * frame_); }

void SegmentalSnr::push_reference(std::span<const float> samples) {
  reference_.insert(reference_.end(), samples.begin(), samples.end());
  compare_complete();
}

void SegmentalSnr::push_signal(std::span<const float> samples) {
  signal_.insert(signal_.end(), samples.begin(), samples.end());
  compare_complete();
}

double SegmentalSnr::finish() {
  compare(std::min(reference_.size(), signal_.size()));
  const double result = count_ == 0 ? std::numeric_limits<double>::quiet_NaN() : sum_ / static_cast<double>(count_);
  reference_.clear();
  signal_.clear();
  sum_ = 0.0;
  count_ = 0;
  return result;
}

double segmental_snr(std::span<const float> reference, std::span<const float> signal, int sample_rate) {
  SegmentalSnr ratio(sample_rate);
  ratio.push_reference(reference);
  ratio.push_signal(signal);
  return ratio.finish();
}

}  // namespace kivsr::speech
