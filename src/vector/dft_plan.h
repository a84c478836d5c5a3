// How a transform of N samples is cut: as M = N / 2 complex numbers, or M = N where N is odd, in W lanes of Q = M / W
// columns. Lane l holds the numbers l, l + W, l + 2 W, ...; the passes transform the Q columns of all lanes together,
// one more pass the W lanes of each bin.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "fft_butterfly.h"
#include "frame/simd/complex_lanes.h"

namespace kivsr::dft {

struct Plan {
  static constexpr int kMostPasses = 28;

  int points = 0;   // M
  int lanes = 1;    // W
  int columns = 1;  // Q
  int count = 0;
  signed char radices[kMostPasses] = {};
};

// The passes of `columns` points: few of them, the largest radix first, where there are no factors.
constexpr void choose_radices(Plan& plan) {
  int rest = plan.columns;
  const auto factors_of = [&rest](int prime) {
    int count = 0;
    for (; rest % prime == 0; rest /= prime) ++count;
    return count;
  };
  int twos = factors_of(2);
  int threes = factors_of(3);
  const auto add = [&plan](int radix, int times) {
    for (; times > 0; --times) plan.radices[plan.count++] = static_cast<signed char>(radix);
  };
  int fives = factors_of(5);
  for (const int prime : {13, 11, 7}) add(prime, factors_of(prime));
  if (twos % 3 == 1 && threes + fives > 0) {
    add(threes > 0 ? 6 : 10, 1);
    --(threes > 0 ? threes : fives);
    --twos;
  }
  add(5, fives);
  add(3, threes);
  for (; twos > 4 || twos == 3; twos -= 3) add(8, 1);
  for (; twos >= 2; twos -= 2) add(4, 1);
  add(2, twos);
  std::sort(plan.radices, plan.radices + plan.count, [](signed char a, signed char b) { return a > b; });
}

template <class T>
constexpr Plan plan_of(int length) {
  Plan plan;
  plan.points = length % 2 == 0 ? length / 2 : length;
  if (length % 2 == 0) {
    for (const int width : {simd::ComplexVec<T>::width, std::is_same_v<T, float> ? 4 : 1}) {
      if (plan.points % width != 0 || plan.points < width * width) continue;
      plan.lanes = width;
      break;
    }
  }
  plan.columns = plan.points / plan.lanes;
  choose_radices(plan);
  return plan;
}

// Of the step between the complex transform and the real spectrum: there the numbers stand in their natural order.
template <class T>
constexpr int real_lanes(const Plan& plan) {
  return plan.points / 2 >= simd::ComplexVec<T>::width ? simd::ComplexVec<T>::width : plan.lanes;
}

// Calls f with a null pointer to the vector type of so many lanes.
template <class T, class F>
inline void with_lanes(int lanes, F f) {
  if (lanes == simd::ComplexVec<T>::width) return f(static_cast<simd::ComplexVec<T>*>(nullptr));
  if (lanes == 1) return f(static_cast<simd::Single<T>*>(nullptr));
  if constexpr (std::is_same_v<T, float>) f(static_cast<simd::Quad*>(nullptr));
}

// Elements of the three tables: the factors of the passes, of the lanes, and of the step to the real spectrum.
constexpr std::size_t pass_table_count(const Plan& plan) {
  std::size_t points = 1;
  std::size_t count = 0;
  for (int i = 0; i < plan.count; ++i) {
    const auto radix = static_cast<std::size_t>(plan.radices[i]);
    if (i > 0) count += 2 * points * (radix - 1);
    points *= radix;
  }
  return count;
}
constexpr std::ptrdiff_t groups_of(std::ptrdiff_t count, int lanes) { return (count + lanes - 1) / lanes; }
constexpr std::size_t lane_table_count(const Plan& plan) {
  return static_cast<std::size_t>(groups_of(plan.columns, plan.lanes) * 2 * plan.lanes * (plan.lanes - 1));
}
// Pairs of bins k and M - k for k = 1 .. M / 2.
template <class T>
constexpr std::size_t real_table_count(const Plan& plan) {
  const int lanes = real_lanes<T>(plan);
  return static_cast<std::size_t>(groups_of(plan.points / 2, lanes) * 2 * lanes);
}
// The first element of vector `group` of `count`: the last one reaches back over its neighbour.
constexpr std::ptrdiff_t first_of(std::ptrdiff_t group, std::ptrdiff_t count, int lanes) {
  return std::min<std::ptrdiff_t>(group * lanes, count - lanes);
}

// One of the two areas between which the numbers go.
constexpr std::size_t area_count(const Plan& plan) { return 2 * static_cast<std::size_t>(plan.points); }

}  // namespace kivsr::dft
