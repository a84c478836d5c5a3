// Waveform processing of the advanced front end (ETSI ES 202 050, clause 5.2): smoothed Teager energies, their pulses,
// and weights that are larger behind a pulse than before the next one.
#include "kivsr/aurora/waveform.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <iterator>
#include <limits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

using Doubles = simd::Vec<double>;

constexpr int kFrame = 200;
constexpr int kReach = 4;  // of the sum of nine, to either side
constexpr int kNearest = 25;
constexpr int kFarthest = 79;
constexpr int kMostPulses = kFrame / kNearest + 1;
constexpr double kLeastEnergy = 100.0;
static_assert(kFrame % Doubles::width == 0);

template <class T>
double energy_of(const T* x) {
  const auto add_square = [](Doubles sum, Doubles v) { return mul_add(v, v, sum); };
  return reduce_sum<double>(kFrame, add_square, x);
}

template <class T>
void fill(T* begin, T* end, T value) {
  using V = simd::Vec<T>;
  const V v = V::broadcast(value);
  for (; end - begin >= V::width; begin += V::width) store(begin, v);
  for (; begin != end; ++begin) *begin = value;
}

// The largest of kCount elements, four vectors of them or more, in four chains of comparisons.
template <int kCount>
double largest(const double* x) {
  constexpr int kWidth = Doubles::width;
  static_assert(kCount >= 4 * kWidth);
  Doubles most[4];
  for (int v = 0; v < 4; ++v) most[v] = simd::load<double>(x + v * kWidth);
  int i = 4 * kWidth;
  for (; i + 4 * kWidth <= kCount; i += 4 * kWidth) {
#pragma GCC unroll 4
    for (int v = 0; v < 4; ++v) most[v] = max(simd::load<double>(x + i + v * kWidth), most[v]);
  }
  for (; i + kWidth <= kCount; i += kWidth) most[0] = max(simd::load<double>(x + i), most[0]);
  most[1] = max(simd::load<double>(x + kCount - kWidth), most[1]);
  return max_lanes(max(max(most[0], most[1]), max(most[2], most[3])));
}

// Places of `value` among the elements, which hold it, at least one vector of them.
int first_of(const double* x, int count, double value) {
  const Doubles wanted = Doubles::broadcast(value);
  for (int i = 0;; i = std::min(i + Doubles::width, count - Doubles::width)) {
    const unsigned found = bit_mask(simd::load<double>(x + i) == wanted);
    if (found != 0) return i + std::countr_zero(found);
  }
}
int last_of(const double* x, int count, double value) {
  const Doubles wanted = Doubles::broadcast(value);
  for (int i = count - Doubles::width;; i = std::max(i - Doubles::width, 0)) {
    const unsigned found = bit_mask(simd::load<double>(x + i) == wanted);
    if (found != 0) return i + static_cast<int>(std::bit_width(found)) - 1;
  }
}

// A pulse needs no more than this; larger energies of floats would leave the integers of double precision.
constexpr double kMostEnergy = 0x1p50;

// The sums of nine neighbours' rounded energies, less than nothing outside the frame. Products of two samples are exact
// in double precision, and so are the sums of integers.
class Energies {
 public:
  template <class T>
  explicit Energies(const T* x) {
    double quarters[kFrame + 2 * kReach + Doubles::width];
    double* const q = quarters + kReach;
    const Doubles quarter = Doubles::broadcast(0.25);
    const Doubles half = Doubles::broadcast(0.5);
    const Doubles most = Doubles::broadcast(kMostEnergy);
    const auto rounded = [&](Doubles here, Doubles before, Doubles behind) {
      return floor(min(abs(here * here - before * behind) * quarter + half, most));
    };
    constexpr int kLast = kFrame - 1;
    for (int next = 1; next < kLast; next += Doubles::width) {
      const int i = std::min(next, kLast - Doubles::width);  // the last vector overlaps the one before
      store(q + i, rounded(simd::load<double>(x + i), simd::load<double>(x + i - 1), simd::load<double>(x + i + 1)));
    }
    const auto at = [&](int i) { return Doubles::broadcast(x[i]); };
    q[0] = rounded(at(0), at(0), at(1)).first();
    q[kLast] = rounded(at(kLast), at(kLast - 1), at(kLast)).first();
    fill(quarters, q, q[0]);
    fill(q + kFrame, std::end(quarters), q[kFrame - 1]);
    fill(sums_, sums_ + kFarthest, -1.0);
    add_neighbours(quarters);
    fill(sums_ + kFarthest + kFrame, std::end(sums_), -1.0);
  }

  // The first maximum, or -1 if nothing is above zero.
  int first_maximum() const {
    const double* const s = sums_ + kFarthest;
    const double most = largest<kFrame>(s);
    return most > 0.0 ? first_of(s, kFrame, most) : -1;
  }
  // The maximum among those of kNearest to kFarthest places to the right or left that are in the frame, the farthest of
  // equals. There is one.
  int next_right(int pulse) const {
    assert(pulse >= 0 && pulse + kNearest < kFrame);
    const double* const window = sums_ + kFarthest + pulse + kNearest;
    return pulse + kNearest + last_of(window, kWindow, largest<kWindow>(window));
  }
  int next_left(int pulse) const {
    assert(pulse > kNearest && pulse < kFrame);
    const double* const window = sums_ + pulse;
    return pulse - kFarthest + first_of(window, kWindow, largest<kWindow>(window));
  }

 private:
  static constexpr int kWindow = kFarthest - kNearest + 1;

  // In powers of two: pairs, fours, eights, nine.
  void add_neighbours(const double* q) {
    double pairs[kFrame + 8];
    double fours[kFrame + 4];
    for (int i = 0; i < kFrame + 8; i += Doubles::width) {
      store(pairs + i, simd::load<double>(q + i) + simd::load<double>(q + i + 1));
    }
    for (int i = 0; i < kFrame + 4; i += Doubles::width) {
      store(fours + i, simd::load<double>(pairs + i) + simd::load<double>(pairs + i + 2));
    }
    for (int i = 0; i < kFrame; i += Doubles::width) {
      const Doubles eight = simd::load<double>(fours + i) + simd::load<double>(fours + i + 4);
      store(sums_ + kFarthest + i, eight + simd::load<double>(q + i + 8));
    }
  }

  double sums_[kFarthest + kFrame + kFarthest];
};

// The pulses of a frame from left to right.
class Pulses {
 public:
  explicit Pulses(const Energies& energies) {
    const int first = energies.first_maximum();
    if (first < 0) return;
    int left[kMostPulses];
    int lefts = 0;
    for (int p = first; p > kNearest;) left[lefts++] = p = energies.next_left(p);
    std::reverse_copy(left, left + lefts, places_);
    places_[lefts] = first;
    count_ = lefts + 1;
    for (int p = first; p + kNearest < kFrame;) places_[count_++] = p = energies.next_right(p);
    assert(count_ <= kMostPulses);
  }

  // visit(begin, end) for what lies right behind each pulse.
  template <class Visit>
  void each_interval(Visit visit) const {
    if (count_ < 2) return;
    for (int k = 0; k < count_; ++k) {
      const int last = std::min(k, count_ - 2);
      const int gap = places_[last + 1] - places_[last];
      const int begin = places_[k] - kReach;
      visit(std::max(begin, 0), std::min(begin + (4 * gap + 4) / 5, kFrame));
    }
  }

 private:
  int places_[kMostPulses];
  int count_ = 0;
};

// dst[i] = src[i] times the weights of both of its sides.
void weigh(const float* weights, const float* src, float* dst) {
  transform<float>(
      kFrame, [](auto x, auto a, auto b) { return x * (a + b); }, dst, src, weights, weights + 1);
}

void weigh(const float* weights, const Kiv16s* src, Kiv16s* dst) {
  // Fifths lie a tenth or more from a tie, much more than the product's rounding.
  transform<float>(
      kFrame, [](auto x, auto a, auto b) { return round_to_integer(x * (a + b)); }, dst, src, weights, weights + 1);
}

template <class T>
void process(const T* src, T* dst) {
  const NearestRounding nearest;
  const double energy = energy_of(src);
  if (!(energy >= kLeastEnergy && energy <= std::numeric_limits<double>::max())) {
    std::copy(src, src + kFrame, dst);
    return;
  }
  float weights[kFrame + 1];
  fill(weights, std::end(weights), 0.4F);
  Pulses(Energies(src)).each_interval([&](int begin, int end) { fill(weights + begin, weights + end, 0.6F); });
  weights[kFrame] = weights[kFrame - 1];
  weigh(weights, src, dst);
}

template <class T>
KivStatus process_checked(const T* src, T* dst) {
  return run(not_null(src, dst), [&] { process(src, dst); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
KivStatus kivsWaveProcessing_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDst) { return kivsr::process_checked(pSrc, pDst); }
KivStatus kivsWaveProcessing_Aurora_32f_I(Kiv32f* pSrcDst) { return kivsr::process_checked(pSrcDst, pSrcDst); }
KivStatus kivsWaveProcessing_Aurora_16s(const Kiv16s* pSrc, Kiv16s* pDst) { return kivsr::process_checked(pSrc, pDst); }
KivStatus kivsWaveProcessing_Aurora_16s_I(Kiv16s* pSrcDst) { return kivsr::process_checked(pSrcDst, pSrcDst); }
}
