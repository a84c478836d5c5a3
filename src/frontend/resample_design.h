// The filter of a pair of sampling rates, and how it is computed.
//
// h is a sinc at the cut-off frequency under a Kaiser window (J. F. Kaiser, "Nonrecursive digital filter design using
// the I0-sinh window function", 1974). With the rates reduced to out / in = up / down, output n stands at the time
// n down / up in input samples; so only `up` sets of taps occur. Two ways to compute them all:
//
// - taps: every output is one product of the set of its phase and the samples around it;
// - blocks: down k samples overlap by twice the padding, are transformed, their bins multiplied by the filter's real
//   response, and transformed back as up k outputs, of which those whose filter lies inside are valid (overlap-save
//   with a change of length between the transforms). Blocks stand at fixed places of the signal, so that its cut into
//   calls does not matter. Taken where both transforms have passes for their factors: all usual rates.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <numeric>

#include "vector/dft.h"

namespace kivsr::resample {

inline constexpr std::int64_t kMostTaps = std::int64_t{1} << 24;
inline constexpr int kLongestBlock = 1 << 15;

class Filter {
 public:
  // stop_band: dB of attenuation from the lower Nyquist frequency on. The pass band needs 60 dB for its hundredth of a
  // dB; one more for what Kaiser's rules leave out.
  Filter(double in_per_out, double pass_band, double stop_band) {
    const double attenuation = std::max(stop_band, 60.0) + 1.0;
    beta_ = 0.1102 * (attenuation - 8.7);
    const double nyquist = 0.5 * std::min(1.0, 1.0 / in_per_out);  // cycles per input sample
    cutoff_ = nyquist * 0.5 * (1.0 + pass_band);
    const double length = (attenuation - 7.95) / (14.36 * nyquist * (1.0 - pass_band));
    half_ = 0.5 * length + 1.0;
    scale_ = 2.0 * cutoff_ / bessel(beta_);
  }

  // Input samples on either side of an output, which may be more than there is memory for.
  double half() const { return half_; }

  // Not yet normalised. time: in input samples.
  double operator()(double time) const {
    const double relative = time / std::ceil(half_);
    if (relative * relative >= 1.0) return 0.0;
    const double angle = 2.0 * std::numbers::pi * cutoff_ * time;
    const double sinc = angle == 0.0 ? 1.0 : std::sin(angle) / angle;
    return scale_ * sinc * bessel(beta_ * std::sqrt(1.0 - relative * relative));
  }

 private:
  // The modified Bessel function I0 by its series.
  static double bessel(double x) {
    double sum = 1.0;
    double term = 1.0;
    for (int k = 1; term > sum * 1e-17; ++k) {
      term *= (x / (2.0 * k)) * (x / (2.0 * k));
      sum += term;
    }
    return sum;
  }

  double beta_, cutoff_, half_, scale_;
};

struct Rates {
  int in, out;
  double pass_band, stop_band;
};

struct Design {
  std::int64_t up = 1;    // outputs ...
  std::int64_t down = 1;  // ... in so many input samples
  int half = 0;           // input samples on either side of an output
  bool same = false;      // rates: samples pass as they are
  bool blocks = false;
  // Blocks: samples, outputs, those at either end whose filter reaches over it, and those in between.
  int block_in = 0, block_out = 0;
  int pad_in = 0, pad_out = 0;
  int hop_in = 0, hop_out = 0;

  int taps() const { return 2 * half; }
  int longer() const { return std::max(block_in, block_out); }
  int shorter() const { return std::min(block_in, block_out); }
  // Input samples that an output waits for behind its own time.
  int delay() const { return same ? 0 : blocks ? hop_in + pad_in - 1 : half; }
};

// The time of a transform in arbitrary units, by its passes and by how much of a register its lanes fill: the same in
// every build, as the blocks are.
constexpr double transform_cost(int length) {
  dft::Plan plan;
  const bool eight = length % 16 == 0;
  const bool four = length % 8 == 0;
  plan.columns = length / (eight ? 16 : four ? 8 : 2);
  dft::choose_radices(plan);
  double passes = 8.0;
  for (int i = 0; i < plan.count; ++i) passes += plan.radices[i] >= 10 ? 2.0 : plan.radices[i] == 7 ? 1.3 : 1.0;
  return (eight ? 1.0 : four ? 1.75 : 6.0) * length * passes;
}

// The block of the least time for an output, longer ones at a premium: what an output waits for grows with them, and so
// do rounding errors.
inline void choose_block(Design& d) {
  const std::int64_t pad = (d.half + d.down - 1) / d.down;  // in units of `down` samples
  double best = 0.0;
  for (std::int64_t k = 2 * pad + 1; k * std::max(d.up, d.down) <= kLongestBlock; ++k) {
    const int in = static_cast<int>(k * d.down);
    const int out = static_cast<int>(k * d.up);
    if (in % 2 != 0 || out % 2 != 0 || !dft::has_passes(in) || !dft::has_passes(out)) continue;
    const auto hop = static_cast<double>(k - 2 * pad);
    const double wait = hop * static_cast<double>(d.down) / (12.0 * d.half);
    const double cost = (transform_cost(in) + transform_cost(out)) / hop * (1.0 + wait * wait);
    if (d.blocks && cost >= best) continue;
    best = cost;
    d.blocks = true;
    d.block_in = in;
    d.block_out = out;
    d.pad_in = static_cast<int>(pad * d.down);
    d.pad_out = static_cast<int>(pad * d.up);
    d.hop_in = in - 2 * d.pad_in;
    d.hop_out = out - 2 * d.pad_out;
  }
}

// False where the taps of all phases are too many.
inline bool make_design(const Rates& rates, Design* design) {
  const int divisor = std::gcd(rates.in, rates.out);
  Design d;
  d.up = rates.out / divisor;
  d.down = rates.in / divisor;
  d.same = d.up == d.down;
  if (!d.same) {
    const double half =
        Filter(static_cast<double>(d.down) / static_cast<double>(d.up), rates.pass_band, rates.stop_band).half();
    if (2.0 * std::ceil(half) * static_cast<double>(d.up) > static_cast<double>(kMostTaps)) return false;
    d.half = static_cast<int>(std::ceil(half));
    choose_block(d);
  }
  *design = d;
  return true;
}

}  // namespace kivsr::resample
