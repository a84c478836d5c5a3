// The quarter waves behind the tables of the FFT.
#include "fft_roots.h"

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

template <class T>
void build_quarter_wave(T* wave, int order) {
  const auto quarter = static_cast<std::ptrdiff_t>(quarter_wave_count(order)) - 1;
  const double step = std::numbers::pi / 2 / static_cast<double>(quarter);
  for (std::ptrdiff_t i = 0; i <= quarter / 2; ++i) {
    wave[i] = static_cast<T>(std::sin(static_cast<double>(i) * step));
    wave[quarter - i] = static_cast<T>(std::cos(static_cast<double>(i) * step));
  }
}

template void build_quarter_wave(float* wave, int order);
template void build_quarter_wave(double* wave, int order);

}  // namespace kivsr::fft
