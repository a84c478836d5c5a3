// Roots of unity w_N^e = exp(-2 pi i e / N), N = 2^order, from a quarter of a sine wave. Each value is computed on its
// own, in double precision, and rounded once.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kivsr::fft {

// Up to this order the wave is a constant of the library; above it is built in temporary memory.
inline constexpr int kFixedOrder = 10;

// sin(2 pi i / 2^kFixedOrder) for i = 0 .. 2^kFixedOrder / 4.
struct FixedWave {
  double values[(1 << kFixedOrder) / 4 + 1];
};
extern const FixedWave kFixedWave;

constexpr std::size_t quarter_wave_count(int order) { return (std::size_t{1} << order) / 4 + 1; }

// Fills quarter_wave_count(order) values.
template <class T>
void build_quarter_wave(T* wave, int order);

template <class Wave>
struct Root {
  Wave re, im;
};

template <class Wave>
class Roots {
 public:
  // wave: the quarter wave of 2^wave_order points, wave_order >= order.
  Roots(const Wave* wave, int wave_order, int order)
      : wave_(wave), step_shift_(wave_order - order), quarter_(std::uint64_t{1} << order >> 2) {}

  std::uint64_t size() const { return 4 * quarter_; }
  Root<Wave> get(std::uint64_t exponent) const {
    const std::uint64_t e = exponent & (4 * quarter_ - 1);
    const std::uint64_t rest = e & (quarter_ - 1);
    const Wave sine = wave_[rest << step_shift_];
    const Wave cosine = wave_[(quarter_ - rest) << step_shift_];
    switch (e / quarter_) {
      case 0: return {cosine, -sine};
      case 1: return {-sine, -cosine};
      case 2: return {-cosine, sine};
      default: return {sine, cosine};
    }
  }

 private:
  const Wave* wave_;
  int step_shift_;
  std::uint64_t quarter_;
};

}  // namespace kivsr::fft
