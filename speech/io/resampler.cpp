// The output sample at time t is the sum of x(n) h(t - n) with h a sinc at the cut-off frequency under a Kaiser window
// (J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh window function", 1974). t advances by
// step / phases of an input sample, so that only `phases` different sets of taps occur; they are computed once.
#include "kivsr/speech/io/resampler.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <string>

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

std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate) {
  if (from_rate < 1 || to_rate < 1) throw Fault("a sampling rate must be above 0 Hz");
  if (from_rate == to_rate || samples.empty()) return {samples.begin(), samples.end()};
  const PolyphaseFilter filter = design(from_rate, to_rate);

  // Zeros in front and behind, so that every output is one dot product of full length.
  const std::size_t margin = static_cast<std::size_t>(filter.half);
  std::vector<float> padded(samples.size() + 2 * margin, 0.0F);
  std::copy(samples.begin(), samples.end(), padded.begin() + static_cast<std::ptrdiff_t>(margin));

  const auto input_count = static_cast<std::int64_t>(samples.size());
  const std::int64_t output_count = (input_count * filter.phases + filter.step - 1) / filter.step;
  std::vector<float> output(static_cast<std::size_t>(output_count));
  for (std::int64_t n = 0; n < output_count; ++n) {
    const std::int64_t position = n * filter.step;
    const std::int64_t index = position / filter.phases;
    const std::int64_t phase = position % filter.phases;
    // Input index - half + 1 stands at padded index + 1.
    check(kivsDotProd_32f(padded.data() + index + 1, filter.taps.data() + phase * filter.length(), filter.length(),
                          &output[static_cast<std::size_t>(n)]),
          "kivsDotProd_32f");
  }
  return output;
}

}  // namespace kivsr::speech
