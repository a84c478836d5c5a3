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

double segmental_snr(std::span<const float> reference, std::span<const float> signal, int sample_rate) {
  const auto frame = static_cast<std::size_t>(std::max(1.0, std::round(kFrameSeconds * sample_rate)));
  std::vector<float> difference(frame);
  double sum = 0.0;
  int count = 0;
  for (std::size_t begin = 0; begin < reference.size(); begin += frame) {
    const auto clean = reference.subspan(begin, std::min(frame, reference.size() - begin));
    const double speech = energy(clean);
    if (!(speech > 0.0)) continue;
    difference.assign(clean.begin(), clean.end());
    call<kivsSub_32f_I>(signal.data() + begin, difference, difference.size());
    sum += std::clamp(10.0 * std::log10(speech / energy(difference)), kLowest, kHighest);
    ++count;
  }
  return count == 0 ? std::numeric_limits<double>::quiet_NaN() : sum / count;
}

}  // namespace kivsr::speech
