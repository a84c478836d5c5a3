// Waveform processing of the advanced front end (ETSI ES 202 050, clause 5.2): smoothed Teager energies, their pulses,
// and weights that are larger behind a pulse than before the next one.
#include "kivsr/aurora/waveform.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstdint>
#include <iterator>
#include <limits>
#include <type_traits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

using Doubles = simd::ShortVec<double>;
using Integers = simd::ShortVec<std::int32_t>;

constexpr int kFrame = 200;
constexpr int kReach = 4;  // of the sum of nine, to either side
constexpr int kNearest = 25;
constexpr int kFarthest = 79;
constexpr int kMostPulses = kFrame / kNearest + 1;
constexpr double kLeastEnergy = 100.0;
static_assert(kFrame % (2 * Doubles::width) == 0 && kFrame % Integers::width == 0);

// Halves of the samples. Returns their energy.
template <class T>
double halve(const T* x, double* halves) {
  const Doubles half = Doubles::broadcast(0.5);
  Doubles sums[2] = {Doubles::zero(), Doubles::zero()};
  for (int i = 0; i < kFrame; i += 2 * Doubles::width) {
#pragma GCC unroll 2
    for (int k = 0; k < 2; ++k) {
      const int place = i + k * Doubles::width;
      const Doubles v = simd::load_as<Doubles>(x + place) * half;
      store(halves + place, v);
      sums[k] = mul_add(v, v, sums[k]);
    }
  }
  return sum_lanes(sums[0] + sums[1]);
}

template <class T>
void fill(T* begin, T* end, T value) {
  using V = simd::Vec<T>;
  const V v = V::broadcast(value);
  if (end - begin < V::width) return std::fill(begin, end, value);
  for (; end - begin > V::width; begin += V::width) store(begin, v);
  store(end - V::width, v);
}

double largest_lane(Doubles v) { return max_lanes(v); }
std::int32_t largest_lane(Integers v) {
  std::int32_t lanes[Integers::width];
  store(lanes, v);
#pragma GCC unroll 4
  for (int n = Integers::width / 2; n > 0; n /= 2) {
#pragma GCC unroll 4
    for (int i = 0; i < n; ++i) lanes[i] = std::max(lanes[i], lanes[i + n]);
  }
  return lanes[0];
}

// The largest of kCount elements, four vectors of them or more, in four chains of comparisons.
template <int kCount, class Sum>
Sum largest(const Sum* x) {
  using V = simd::ShortVec<Sum>;
  static_assert(kCount >= 4 * V::width);
  V most[4];
  for (int v = 0; v < 4; ++v) most[v] = simd::load_as<V>(x + v * V::width);
  int i = 4 * V::width;
  for (; i + 4 * V::width <= kCount; i += 4 * V::width) {
#pragma GCC unroll 4
    for (int v = 0; v < 4; ++v) most[v] = max(simd::load_as<V>(x + i + v * V::width), most[v]);
  }
  for (; i + V::width <= kCount; i += V::width) most[0] = max(simd::load_as<V>(x + i), most[0]);
  most[1] = max(simd::load_as<V>(x + kCount - V::width), most[1]);
  return largest_lane(max(max(most[0], most[1]), max(most[2], most[3])));
}

// A bit for each element that is `value`.
template <int kCount, class Sum>
std::uint64_t places_of(const Sum* x, Sum value) {
  using V = simd::ShortVec<Sum>;
  static_assert(kCount >= V::width && kCount <= 64);
  const V wanted = V::broadcast(value);
  std::uint64_t places = 0;
#pragma GCC unroll 16
  for (int group = 0; group < (kCount + V::width - 1) / V::width; ++group) {
    const int i = std::min(group * V::width, kCount - V::width);
    places |= std::uint64_t{bit_mask(simd::load_as<V>(x + i) == wanted)} << i;
  }
  return places;
}

// A pulse needs no more than this; larger energies of floats would leave the integers of double precision.
constexpr double kMostEnergy = 0x1p50;

// A sum of nine counts each square of a sample twice at most, so that those of a frame of less energy fit 32 bits.
constexpr double kMostIntegerEnergy = 0x1p31 - 8;

// Of numbers that are not negative.
void store_floor(double* to, Doubles v) { store(to, floor(min(v, Doubles::broadcast(kMostEnergy)))); }
void store_floor(std::int32_t* to, Doubles v) { store_truncated(to, v); }

// The sums of nine neighbours' rounded energies, less than nothing outside the frame. Products of two samples are exact
// in double precision, and so are the sums of integers; Sum is double, or int32_t for a frame of less than
// kMostIntegerEnergy, whose sums count from its second least number on.
template <class Sum>
class Energies {
  using V = simd::ShortVec<Sum>;
  static constexpr bool kIntegers = std::is_integral_v<Sum>;
  static constexpr Sum kOutside = kIntegers ? std::numeric_limits<Sum>::min() : Sum{-1};
  static constexpr Sum kNothing = kOutside + 1;

 public:
  // x: halves of the samples.
  explicit Energies(const double* x) {
    Sum quarters[kFrame + 2 * kReach + V::width];
    Sum* const q = quarters + kReach;
    const Doubles half = Doubles::broadcast(0.5);
    const auto rounded = [&](Doubles here, Doubles before, Doubles behind) {
      return abs(neg_mul_add(before, behind, here * here)) + half;
    };
    const auto first = [](Doubles v) {
      Sum lanes[Doubles::width];
      store_floor(lanes, v);
      return lanes[0];
    };
    constexpr int kLast = kFrame - 1;
    for (int next = 1; next < kLast; next += Doubles::width) {
      const int i = std::min(next, kLast - Doubles::width);  // the last vector overlaps the one before
      store_floor(q + i, rounded(simd::load_as<Doubles>(x + i), simd::load_as<Doubles>(x + i - 1),
                                 simd::load_as<Doubles>(x + i + 1)));
    }
    const auto at = [&](int i) { return Doubles::broadcast(x[i]); };
    q[0] = first(rounded(at(0), at(0), at(1)));
    q[kLast] = first(rounded(at(kLast), at(kLast - 1), at(kLast)));
    fill(quarters, q, q[0]);
    fill(q + kFrame, std::end(quarters), q[kFrame - 1]);
    fill(sums_, sums_ + kFarthest, kOutside);
    add_neighbours(quarters);
    fill(sums_ + kFarthest + kFrame, std::end(sums_), kOutside);
  }

  // The first maximum, or -1 if there is no energy.
  int first_maximum() const {
    const Sum* const s = sums_ + kFarthest;
    if (!(largest_ > kNothing)) return -1;
    const V wanted = V::broadcast(largest_);
    for (int i = 0;; i += V::width) {
      if (const unsigned found = bit_mask(simd::load_as<V>(s + i) == wanted); found != 0) {
        return i + std::countr_zero(found);
      }
    }
  }
  // The maximum among those of kNearest to kFarthest places to the right or left that are in the frame, the farthest of
  // equals. There is one.
  int next_right(int pulse) const {
    assert(pulse >= 0 && pulse + kNearest < kFrame);
    const Sum* const window = sums_ + kFarthest + pulse + kNearest;
    const std::uint64_t places = places_of<kWindow>(window, largest<kWindow>(window));
    return pulse + kNearest + static_cast<int>(std::bit_width(places)) - 1;
  }
  int next_left(int pulse) const {
    assert(pulse > kNearest && pulse < kFrame);
    const Sum* const window = sums_ + pulse;
    return pulse - kFarthest + std::countr_zero(places_of<kWindow>(window, largest<kWindow>(window)));
  }

 private:
  static constexpr int kWindow = kFarthest - kNearest + 1;

  // Threes of neighbours, and three of those.
  void add_neighbours(const Sum* q) {
    constexpr int kThrees = kFrame + 2 * kReach - 2;
    Sum threes[kThrees + V::width];
    for (int i = 0; i < kThrees; i += V::width) {
      store(threes + i, simd::load_as<V>(q + i) + simd::load_as<V>(q + i + 1) + simd::load_as<V>(q + i + 2));
    }
    const V nothing = V::broadcast(kNothing);
    V most = nothing;
    for (int i = 0; i < kFrame; i += V::width) {
      const V six = simd::load_as<V>(threes + i) + simd::load_as<V>(threes + i + 3);
      const V sum = six + (simd::load_as<V>(threes + i + 6) + nothing);
      store(sums_ + kFarthest + i, sum);
      most = max(sum, most);
    }
    largest_ = largest_lane(most);
  }

  Sum sums_[kFarthest + kFrame + kFarthest];
  Sum largest_;
};

// The pulses of a frame from left to right.
class Pulses {
 public:
  template <class Sum>
  explicit Pulses(const Energies<Sum>& energies) {
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
  double halves[kFrame];
  const double energy = 4.0 * halve(src, halves);
  if (!(energy >= kLeastEnergy && energy <= std::numeric_limits<double>::max())) {
    std::copy(src, src + kFrame, dst);
    return;
  }
  float weights[kFrame + 1];
  fill(weights, std::end(weights), 0.4F);
  const Pulses pulses =
      energy < kMostIntegerEnergy ? Pulses(Energies<std::int32_t>(halves)) : Pulses(Energies<double>(halves));
  pulses.each_interval([&](int begin, int end) { fill(weights + begin, weights + end, 0.6F); });
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
