// The loops of the library: every length, any alignment, nothing beyond the arrays.
#include "frame/transform.h"

#include <gtest/gtest.h>

#include <tuple>

#include "frame/simd/lanes.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

using simd::Vec;

// Lane type, source type, destination type.
template <class Lane, class Source, class Destination>
struct Types {
  using T = Lane;
  using S = Source;
  using D = Destination;
};
template <class P>
class Transform : public ::testing::Test {};
using Paths =
    ::testing::Types<Types<float, float, float>, Types<double, double, double>, Types<double, float, float>,
                     Types<float, std::int16_t, float>, Types<std::int32_t, std::int32_t, std::int16_t>,
                     Types<std::int32_t, std::int16_t, std::int16_t>, Types<std::int32_t, std::uint8_t, std::uint8_t>>;
TYPED_TEST_SUITE(Transform, Paths);

template <class T, class D>
D stored(T x) {
  if constexpr (std::is_integral_v<T>) {
    using L = std::numeric_limits<D>;
    return static_cast<D>(std::min<T>(std::max<T>(x, L::min()), L::max()));
  } else {
    return static_cast<D>(x);
  }
}

TYPED_TEST(Transform, EveryLengthAtEitherGuard) {
  using T = typename TypeParam::T;
  using S = typename TypeParam::S;
  using D = typename TypeParam::D;
  Random random(2);
  for (int len = 0; len <= 9 * Vec<T>::width + 1; ++len) {
    const auto n = static_cast<std::size_t>(len);
    const auto a =
        random.values<S>(n, std::is_same_v<S, std::uint8_t> ? 0 : -9000, std::is_same_v<S, std::uint8_t> ? 255 : 9000);
    const auto b = random.values<S>(n, 0, 200);
    std::vector<D> expected(n);
    for (std::size_t i = 0; i < n; ++i) expected[i] = stored<T, D>(static_cast<T>(a[i]) + static_cast<T>(b[i]));
    for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
      const Guarded<S> first(a, guard);
      const Guarded<S> second(b, guard);
      Guarded<D> sums(n, guard);
      const auto add = [](Vec<T> x, Vec<T> y) { return x + y; };
      transform<T>(len, add, sums.data(), first.data(), second.data());
      expect_exact<D>(sums, expected, "sums");
      if constexpr (std::is_same_v<S, D>) {  // in place, as either source
        Guarded<D> same(a, guard);
        transform<T>(len, add, same.data(), same.data(), second.data());
        expect_exact<D>(same, expected, "in place");
        Guarded<D> other(b, guard);
        transform<T>(len, add, other.data(), first.data(), other.data());
        expect_exact<D>(other, expected, "in place of the second");
      }
    }
  }
}

TEST(TransformTogether, ChangesEachElementOnce) {
  Random random(4);
  for (int len = 0; len <= 3 * Vec<float>::width + 1; ++len) {
    const auto n = static_cast<std::size_t>(len);
    const auto a = random.values<float>(n, -9, 9), b = random.values<float>(n, -9, 9),
               c = random.values<float>(n, -9, 9);
    for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
      const Guarded<float> source(a, guard);
      Guarded<float> sum(b, guard), difference(c, guard);
      transform_together(
          len,
          [](Vec<float>& x, Vec<float>& y, Vec<float>& z) {
            z = z - y;
            y = y + x;
            x = y;  // of a const array: not stored
          },
          source.data(), sum.data(), difference.data());
      for (std::size_t i = 0; i < n; ++i) {
        ASSERT_EQ(source[i], a[i]);
        ASSERT_EQ(sum[i], b[i] + a[i]);
        ASSERT_EQ(difference[i], c[i] - b[i]);
      }
    }
  }
}

TEST(ReduceSum, TakesEachElementOnce) {
  for (int len = 0; len <= 20 * Vec<double>::width + 3; ++len) {
    const auto n = static_cast<std::size_t>(len);
    for (std::size_t alone = 0; alone <= n; ++alone) {  // one element among zeros, and all of them
      std::vector<double> x(n, alone == n ? 1.0 : 0.0);
      if (alone < n) x[alone] = 1;
      const Guarded<double> at_end(x);
      const Guarded<float> floats(std::vector<float>(x.begin(), x.end()));
      const auto add = [](auto sum, auto v) { return sum + v; };
      ASSERT_EQ(reduce_sum<double>(len, add, at_end.data()), alone == n ? len : 1) << len << ' ' << alone;
      ASSERT_EQ(reduce_sum<double>(len, add, floats.data()), alone == n ? len : 1);
      ASSERT_EQ(reduce_sum<float>(len, add, floats.data()), static_cast<float>(alone == n ? len : 1));
    }
  }
}

// kAccumulators running vectors in turn; what is left in halves of them; folds in halves.
template <class T>
T sum_in_stated_order(const std::vector<T>& x) {
  constexpr std::size_t W = Vec<T>::width;
  std::size_t running = simd::kAccumulators;
  std::vector<T> sums(running * W);
  std::size_t i = 0;
  const auto add = [&](std::size_t vectors, std::size_t first) {
    for (std::size_t l = 0; l < vectors * W && i < x.size(); ++l) sums[first * W + l] += x[i++];
  };
  while (i + running * W <= x.size()) add(running, 0);
  std::size_t first = 0;
  for (std::size_t half = running / 2; half > 0; first += half, half /= 2) {
    if (x.size() - i >= half * W) add(half, first);
  }
  add(1, running - 1);
  for (std::size_t half = running * W / 2; half > 0; half /= 2) {
    for (std::size_t l = 0; l < half; ++l) sums[l] += sums[l + half];
  }
  return sums[0];
}

template <class T>
void expect_stated_order() {
  Random random(3);
  const auto add = [](Vec<T> sum, Vec<T> v) { return sum + v; };
  for (int len = 1; len <= 20 * Vec<T>::width + 3; ++len) {
    const auto x = random.values<T>(static_cast<std::size_t>(len), -1, 1);
    const T expected = sum_in_stated_order(x);
    for (std::size_t offset = 0; offset < 2 * Vec<T>::width; ++offset) {
      std::vector<T> moved(offset);
      moved.insert(moved.end(), x.begin(), x.end());
      ASSERT_EQ(reduce_sum<T>(len, add, moved.data() + offset), expected) << len << " at " << offset;
    }
  }
}

TEST(ReduceSum, InTheStatedOrderAtAnyAlignment) {
  expect_stated_order<float>();
  expect_stated_order<double>();
}

}  // namespace
}  // namespace kivsr::test
