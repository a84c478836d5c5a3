// The quarter waves behind the tables of the FFT.
#include "fft_roots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kivsr::fft {
namespace {

// sin x for 0 <= x <= pi / 4, and cos x: Taylor's series, to the last bit of a double.
constexpr long double series(long double x, int first) {
  long double term = first == 0 ? 1.0L : x;
  long double sum = term;
  for (int k = first + 2; k < 30; k += 2) {
    term *= -x * x / (static_cast<long double>(k) * (k - 1));
    sum += term;
  }
  return sum;
}

constexpr FixedWave make_fixed_wave() {
  constexpr int kQuarter = (1 << kFixedOrder) / 4;
  FixedWave wave{};
  for (int i = 0; i <= kQuarter; ++i) {
    const bool upper = i > kQuarter / 2;
    const long double angle = std::numbers::pi_v<long double> * (upper ? kQuarter - i : i) / (2 * kQuarter);
    wave.values[i] = static_cast<double>(series(angle, upper ? 0 : 1));
  }
  return wave;
}

}  // namespace

constexpr FixedWave kFixedWave = make_fixed_wave();

// Each point of the constant wave, turned by the angles between it and the next: sin(a + b) from sines and cosines of a
// and b, an error of two units of a double at most.
template <class T>
void build_quarter_wave(T* wave, int order) {
  constexpr int kCoarse = (1 << kFixedOrder) / 4;
  constexpr int kTurns = 16;
  const auto quarter = static_cast<std::ptrdiff_t>(quarter_wave_count(order)) - 1;
  const double step = std::numbers::pi / 2 / static_cast<double>(quarter);
  const std::ptrdiff_t between = quarter / kCoarse;
  for (std::ptrdiff_t first = 0; first < between; first += kTurns) {
    const int turns = static_cast<int>(std::min<std::ptrdiff_t>(kTurns, between - first));
    double sine[kTurns];
    double cosine[kTurns];
    for (int i = 0; i < turns; ++i) {
      sine[i] = std::sin(static_cast<double>(first + i) * step);
      cosine[i] = std::cos(static_cast<double>(first + i) * step);
    }
    for (std::ptrdiff_t c = 0; c < kCoarse; ++c) {
      T* const points = wave + c * between + first;
      for (int i = 0; i < turns; ++i)
        points[i] = static_cast<T>(kFixedWave.values[c] * cosine[i] + kFixedWave.values[kCoarse - c] * sine[i]);
    }
  }
  wave[quarter] = 1;
}

template void build_quarter_wave(float* wave, int order);
template void build_quarter_wave(double* wave, int order);

}  // namespace kivsr::fft
