// The quarter waves behind the tables of the FFT.
#include "fft_roots.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kivsr::fft {
namespace {

// A number as the unevaluated sum of two doubles: twice their precision, the same on every processor, and compilers
// that do not fold the long double of theirs fold it.
struct Pair {
  double high, low;
};

// |a| >= |b|.
constexpr Pair sum(double a, double b) {
  const double s = a + b;
  return {s, b - (s - a)};
}
constexpr double upper_bits(double x) {
  const double t = x * 134217729.0;  // 2^27 + 1: halves of 26 bits, whose products are exact
  return t - (t - x);
}
constexpr Pair product(double a, double b) {
  const double a1 = upper_bits(a), b1 = upper_bits(b);
  const double p = a * b;
  return {p, (((a1 * b1 - p) + a1 * (b - b1)) + (a - a1) * b1) + (a - a1) * (b - b1)};
}
constexpr Pair operator*(Pair a, Pair b) {
  const Pair p = product(a.high, b.high);
  return sum(p.high, p.low + (a.high * b.low + a.low * b.high));
}
constexpr Pair operator/(Pair a, double b) {
  const double q = a.high / b;
  const Pair p = product(q, b);
  return sum(q, ((a.high - p.high) - p.low + a.low) / b);
}
constexpr Pair operator+(Pair a, Pair b) {  // |a| >= |b|
  const Pair s = sum(a.high, b.high);
  return sum(s.high, s.low + (a.low + b.low));
}

// sin x for 0 <= x <= pi / 4, and cos x: Taylor's series, to the last bit of a double.
constexpr double series(Pair x, int first) {
  const Pair square = x * x;
  const Pair negative_square = {-square.high, -square.low};
  Pair term = first == 0 ? Pair{1, 0} : x;
  Pair result = term;
  for (int k = first + 2; k < 24; k += 2) {
    term = term * negative_square / static_cast<double>(k * (k - 1));
    result = result + term;
  }
  return result.high;
}

constexpr FixedWave make_fixed_wave() {
  constexpr int kQuarter = (1 << kFixedOrder) / 4;
  constexpr Pair kPi = {std::numbers::pi, 1.2246467991473532e-16};
  FixedWave wave{};
  for (int i = 0; i <= kQuarter; ++i) {
    const bool upper = i > kQuarter / 2;
    const double part = static_cast<double>(upper ? kQuarter - i : i) / (2 * kQuarter);  // exact
    wave.values[i] = series(kPi * Pair{part, 0}, upper ? 0 : 1);
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
