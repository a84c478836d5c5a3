// The output sample at time t is the sum of x(n) h(t - n) with h a sinc at the cut-off frequency under a Kaiser window
// (J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh window function", 1974). t advances by
// step / phases of an input sample, so that only `phases` different sets of taps occur; they are computed once.
#include "kivsr/speech/io/resampler.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <string>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr double kStopBand = 100.0;                            // dB
constexpr double kKaiserBeta = 0.1102 * (kStopBand - 8.7);     // Kaiser's rule for more than 50 dB
constexpr double kPassBand = 0.92;                             // of the lower Nyquist frequency
constexpr std::int64_t kLargestTable = std::int64_t{1} << 24;  // taps

double bessel_i0(double x) {
  double sum = 1.0;
  double term = 1.0;
  for (int k = 1; term > sum * 1e-17; ++k) {
    term *= (x / (2.0 * k)) * (x / (2.0 * k));
    sum += term;
  }
  return sum;
}

struct PolyphaseFilter {
  std::int64_t phases;      // up-sampling factor: phase p holds the taps of times n + p / phases
  std::int64_t step;        // down-sampling factor
  int half;                 // input samples on either side of t
  std::vector<float> taps;  // row p: 2 * half taps, the first for input floor(t) - half + 1

  int length() const { return 2 * half; }
};

PolyphaseFilter design(int from_rate, int to_rate) {
  PolyphaseFilter filter;
  const int divisor = std::gcd(from_rate, to_rate);
  filter.phases = to_rate / divisor;
  filter.step = from_rate / divisor;
  // Frequencies in cycles per input sample. The transition ends at the lower Nyquist frequency, its middle is the
  // cut-off.
  const double nyquist = 0.5 * std::min(1.0, static_cast<double>(to_rate) / from_rate);
  const double cutoff = nyquist * 0.5 * (1.0 + kPassBand);
  const double transition = nyquist * (1.0 - kPassBand);
  const double duration = (kStopBand - 7.95) / (14.36 * transition);
  filter.half = static_cast<int>(std::ceil(0.5 * duration)) + 1;
  if (filter.phases * filter.length() > kLargestTable) {
    throw Fault("will not resample from " + std::to_string(from_rate) + " to " + std::to_string(to_rate) +
                " Hz: the ratio needs too many filters");
  }
  filter.taps.resize(static_cast<std::size_t>(filter.phases) * static_cast<std::size_t>(filter.length()));
  const double window_scale = 1.0 / bessel_i0(kKaiserBeta);
  for (std::int64_t phase = 0; phase < filter.phases; ++phase) {
    float* const row = filter.taps.data() + phase * filter.length();
    std::vector<double> exact(static_cast<std::size_t>(filter.length()));
    for (int tap = 0; tap < filter.length(); ++tap) {
      const double time = static_cast<double>(phase) / static_cast<double>(filter.phases) + (filter.half - 1 - tap);
      const double relative = time / filter.half;
      const double angle = 2.0 * std::numbers::pi * cutoff * time;
      const double sinc = angle == 0.0 ? 1.0 : std::sin(angle) / angle;
      const double window = window_scale * bessel_i0(kKaiserBeta * std::sqrt(std::max(0.0, 1.0 - relative * relative)));
      exact[static_cast<std::size_t>(tap)] = 2.0 * cutoff * sinc * window;
    }
    // Every phase passes a constant unchanged: no ripple at multiples of the output rate.
    const double sum = std::accumulate(exact.begin(), exact.end(), 0.0);
    std::transform(exact.begin(), exact.end(), row, [sum](double value) { return static_cast<float>(value / sum); });
  }
  return filter;
}

}  // namespace

Resampler::Resampler(int from_rate, int to_rate) : same_(from_rate == to_rate), phases_(1), step_(1) {
  if (from_rate < 1 || to_rate < 1) throw Fault("a sampling rate must be above 0 Hz");
  if (same_) return;
  PolyphaseFilter filter = design(from_rate, to_rate);
  phases_ = filter.phases;
  step_ = filter.step;
  half_ = filter.half;
  taps_ = std::move(filter.taps);
  // Zeros in front, and behind when the signal ends, so that every output is one dot product of full length.
  first_ = -half_;
  pending_.assign(static_cast<std::size_t>(half_), 0.0F);
}

// All outputs below end whose input is there.
void Resampler::emit(std::int64_t end, std::vector<float>& output) {
  const int length = 2 * half_;
  const std::int64_t known = first_ + static_cast<std::int64_t>(pending_.size());
  for (; emitted_ < end; ++emitted_) {
    const std::int64_t position = emitted_ * step_;
    const std::int64_t begin = position / phases_ - half_ + 1;
    if (begin + length > known) break;
    float& sample = output.emplace_back();
    call<kivsDotProd_32f>(pending_.data() + (begin - first_), taps_.data() + position % phases_ * length, length,
                          &sample);
  }
  const std::int64_t next = emitted_ * step_ / phases_ - half_ + 1;
  const std::int64_t done = std::clamp<std::int64_t>(next - first_, 0, static_cast<std::int64_t>(pending_.size()));
  pending_.erase(pending_.begin(), pending_.begin() + done);
  first_ += done;
}

void Resampler::push(std::span<const float> samples, std::vector<float>& output) {
  received_ += static_cast<std::int64_t>(samples.size());
  if (same_) {
    output.insert(output.end(), samples.begin(), samples.end());
    return;
  }
  constexpr std::size_t kBlock = 1 << 16;  // bounds the work area
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());
    pending_.insert(pending_.end(), block.begin(), block.end());
    emit(std::numeric_limits<std::int64_t>::max(), output);
  }
}

void Resampler::finish(std::vector<float>& output) {
  if (same_) return;
  pending_.insert(pending_.end(), static_cast<std::size_t>(half_), 0.0F);
  emit((received_ * phases_ + step_ - 1) / step_, output);
}

std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate) {
  Resampler resampler(from_rate, to_rate);
  std::vector<float> output;
  resampler.push(samples, output);
  resampler.finish(output);
  return output;
}

}  // namespace kivsr::speech
