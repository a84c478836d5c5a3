// Roots of unity w_N^e = exp(-2 pi i e / N), N = 2^order, from a quarter of a sine wave. Each value is computed on its
// own, in double precision.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kivsr::fft {

// Up to this order the wave is a constant of the library; above it is built in temporary memory, which callers provide
// from the second order on.
inline constexpr int kFixedOrder = 12;
inline constexpr int kTemporaryOrder = 11;

// sin(2 pi i / 2^kFixedOrder) for i = 0 .. 2^kFixedOrder / 4.
struct FixedWave {
  double values[(1 << kFixedOrder) / 4 + 1];
};
extern const FixedWave kFixedWave;

constexpr std::size_t quarter_wave_count(int order) { return (std::size_t{1} << order) / 4 + 1; }

// Fills quarter_wave_count(order) values; order > kFixedOrder.
template <class T>
void build_quarter_wave(T* wave, int order);

struct Root {
  double re, im;
};

template <class Wave>
class Roots {
 public:
  // wave: the quarter wave of 2^wave_order points, wave_order >= order.
  Roots(const Wave* wave, int wave_order, int order)
      : wave_(wave), step_shift_(wave_order - order), quarter_shift_(order - 2) {}

  std::uint64_t size() const { return std::uint64_t{4} << quarter_shift_; }
  // Without branches: the quarters come in any order.
  Root get(std::uint64_t exponent) const {
    const std::uint64_t quarter = std::uint64_t{1} << quarter_shift_;
    const std::uint64_t rest = exponent & (quarter - 1);
    const unsigned number = static_cast<unsigned>(exponent >> quarter_shift_) & 3U;
    const std::uint64_t place = (number & 1U) != 0 ? rest : quarter - rest;
    constexpr double kSigns[] = {1.0, -1.0};
    return {kSigns[(number ^ number >> 1) & 1U] * wave_[place << step_shift_],
            kSigns[number < 2 ? 1 : 0] * wave_[(quarter - place) << step_shift_]};
  }

 private:
  const Wave* wave_;
  int step_shift_;
  int quarter_shift_;
};

}  // namespace kivsr::fft
