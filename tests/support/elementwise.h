// One test body for elementwise functions: call(sources..., destination, len) against reference(elements...).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {

// Numbers of all sizes with special values among them; integers of all sizes with the ends of their range.
template <class T>
T any_value(Random& random) {
  using L = std::numeric_limits<T>;
  if constexpr (std::is_integral_v<T>) {
    return random.integer(0, 3) == 0 ? random.extreme<T>(random.integer(0, 2))
                                     : random.value<T>(L::is_signed ? -99 : 0, 99);
  } else {
    constexpr T kSpecial[] = {0,
                              -T{0},
                              1,
                              -1,
                              L::infinity(),
                              -L::infinity(),
                              L::quiet_NaN(),
                              L::denorm_min(),
                              -L::min() / 3,
                              L::max(),
                              L::lowest(),
                              L::min()};
    if (random.integer(0, 7) == 0) return kSpecial[random.integer(0, 11)];
    return static_cast<T>(std::ldexp(random.uniform(-1, 1), random.integer(-20, 20)));
  }
}

struct Exactly {
  template <class T>
  bool operator()(T actual, T expected) const {
    return same_bits(actual, expected);
  }
};

template <class D, class... S>
struct Elementwise {
  // Runs call on every test length with the arrays at either guard; expected_status(element...) is the warning that an
  // element causes, the least of them the status of the call.
  template <class Call, class Reference, class Warning, class Same>
  static void check(Call call, Reference reference, Warning warning, Same same, std::tuple<S (*)(Random&)...> value) {
    Random random(21);
    for (int n : test_lengths()) {
      for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
        auto sources = std::apply(
            [&](auto... next) {
              return std::tuple<std::vector<S>...>(make<S>(static_cast<std::size_t>(n), next, random)...);
            },
            value);
        Guarded<D> dst(static_cast<std::size_t>(n), guard);
        std::apply(
            [&](const auto&... src) {
              // The guarded sources live until the call has returned.
              const KivStatus status = call(Guarded<S>(src, guard).data()..., dst.data(), n);
              KivStatus expected = kivStatusOk;
              for (std::size_t i = 0; i < dst.size(); ++i) {
                const auto truth = reference(src[i]...);
                ASSERT_TRUE(same(dst[i], truth)) << "element " << i << " of " << n << ": " << +dst[i] << ", expected "
                                                 << +truth << " of" << (... + (" " + std::to_string(src[i])));
                const KivStatus w = warning(src[i]...);
                if (w != kivStatusOk && (expected == kivStatusOk || w < expected)) expected = w;
              }
              ASSERT_EQ(status, expected) << n;
            },
            sources);
      }
    }
  }
  template <class Call, class Reference, class Warning, class Same>
  static void check(Call call, Reference reference, Warning warning, Same same) {
    check(call, reference, warning, same, {any_value<S>...});
  }
  template <class Call, class Reference>
  static void check(Call call, Reference reference) {
    check(
        call, reference, [](S...) { return kivStatusOk; }, Exactly());
  }

 private:
  template <class T>
  static std::vector<T> make(std::size_t n, T (*next)(Random&), Random& random) {
    std::vector<T> values(n);
    for (T& x : values) x = next(random);
    return values;
  }
};

// In-place functions in the same shape: the destination first receives the last source.
template <class T>
auto in_place(KivStatus (*function)(const T*, T*, int)) {
  return [=](const T* src, const T* old, T* dst, int len) {
    std::copy_n(old, len, dst);
    return function(src, dst, len);
  };
}
template <class T, class Function>
auto in_place_alone(Function function) {
  return [=](const T* old, T* dst, int len) {
    std::copy_n(old, len, dst);
    return function(dst, len);
  };
}

// Relative 2^-21, and one unit of the smallest subnormal.
struct Estimated {
  bool operator()(float actual, double truth) const {
    if (same_bits(actual, static_cast<float>(truth))) return true;
    return std::abs(actual - truth) <= kCorrectedTolerance * std::abs(truth) + 1.5e-45;
  }
};

// Product of the element and a factor, except where the form in place leaves the data alone or clears it.
template <class T, class Plain, class InPlace>
void check_constant(Plain plain, InPlace in_place, bool divides) {
  for (T val :
       {T{3}, T{-0.1}, T{1}, T{0}, -T{0}, std::numeric_limits<T>::infinity(), std::numeric_limits<T>::min() / 8}) {
    if (divides && val == 0) continue;
    const T factor = divides ? T{1} / val : val;
    const auto product = [=](T x) { return static_cast<T>(x * factor); };
    Elementwise<T, T>::check([=](const T* s, T* d, int n) { return plain(s, val, d, n); }, product);
    Elementwise<T, T>::check(in_place_alone<T>([=](T* d, int n) { return in_place(val, d, n); }),
                             [=](T x) { return factor == 0 ? T{0} : product(x); });
  }
}

// x * 2^-scale to nearest even (or towards zero), saturated, in extended precision.
template <class D>
D scaled_reference(long double x, int scale, bool nearest = true) {
  using L = std::numeric_limits<D>;
  const long double y = std::ldexp(x, -std::clamp(scale, -200, 200));
  return static_cast<D>(std::clamp<long double>(nearest ? std::nearbyint(y) : std::trunc(y), L::min(), L::max()));
}

template <class... P, class Call, class Arrays, std::size_t... k>
KivStatus call_without(Call call, Arrays& arrays, std::size_t null, int len, std::index_sequence<k...>) {
  return call((k == null ? nullptr : static_cast<P*>(std::get<k>(arrays).data()))..., len);
}

// Every pointer null in turn, with a bad length, then bad lengths alone; nothing is written.
template <class... P, class Call>
void expect_checks(Call call) {
  std::tuple<std::vector<std::remove_const_t<P>>...> arrays{std::vector<std::remove_const_t<P>>(4, 1)...};
  const auto untouched = arrays;
  for (std::size_t null = 0; null <= sizeof...(P); ++null) {
    for (int len : {0, -1, std::numeric_limits<int>::min(), 4}) {
      if (null == sizeof...(P) && len == 4) continue;
      const KivStatus status = call_without<P...>(call, arrays, null, len, std::index_sequence_for<P...>());
      EXPECT_EQ(status, null < sizeof...(P) ? kivStatusNullPointer : kivStatusBadSize) << null << ' ' << len;
    }
  }
  EXPECT_EQ(arrays, untouched);
}

// In the order pointers, len of expect_checks: a leading constant, or trailing arguments.
template <class V, class Function>
auto constant(Function f) {
  return [=](auto* dst, int len) { return f(V{1}, dst, len); };
}
template <class V, class Function>
auto constant_second(Function f) {
  return [=](auto* src, auto* dst, int len) { return f(src, V{1}, dst, len); };
}
template <class Function, class... A>
auto followed_by(Function f, A... arguments) {
  return [=](auto... front) { return f(front..., arguments...); };
}

// A reduction: source and result, then the length.
template <class Function, class... A>
auto reduction(Function f, A... arguments) {
  return [=](auto* src, auto* result, int len) { return f(src, len, result, arguments...); };
}
}  // namespace kivsr::test
