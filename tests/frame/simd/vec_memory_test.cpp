// Loads and stores of the vector wrapper: every pair of memory and lane type, any alignment, nothing beyond the
// elements that were asked for.
#include <utility>

#include "frame/simd/short_rows.h"
#include "frame/simd/vec.h"
#include "lanes.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

using simd::Vec;

template <class Lane, class Memory>
struct As {
  using T = Lane;
  using S = Memory;
};
template <class Pair>
class Loads : public ::testing::Test {};
using LoadPairs =
    ::testing::Types<As<float, float>, As<float, double>, As<float, std::int32_t>, As<float, std::int16_t>,
                     As<float, std::uint8_t>, As<double, double>, As<double, float>, As<double, std::int32_t>,
                     As<double, std::int16_t>, As<std::int32_t, std::int32_t>, As<std::int32_t, std::int16_t>,
                     As<std::int32_t, std::uint8_t>>;
TYPED_TEST_SUITE(Loads, LoadPairs);

TYPED_TEST(Loads, ConvertEachElement) {
  using T = typename TypeParam::T;
  using S = typename TypeParam::S;
  constexpr int W = Vec<T>::width;
  const std::vector<S> pool = edge_values<S>();
  for (std::size_t i = 0; i + W <= pool.size(); ++i) {
    for (int n = 0; n <= W; ++n) {
      const std::vector<S> elements(pool.begin() + static_cast<std::ptrdiff_t>(i),
                                    pool.begin() + static_cast<std::ptrdiff_t>(i) + n);
      const Guarded<S> memory(elements);
      const auto v = lanes(n == W ? simd::load<T>(memory.data()) : simd::load_some<T>(memory.data(), n));
      if (n > 0) {
        const auto filled = lanes(simd::load_filled<T>(memory.data(), n));
        for (std::size_t l = 0; l < W; ++l) {
          ASSERT_TRUE(same_bits(filled[l], static_cast<T>(elements[l < static_cast<std::size_t>(n) ? l : 0])));
        }
      }
      for (int l = 0; l < W; ++l) {
        const T expected = l < n ? static_cast<T>(elements[static_cast<std::size_t>(l)]) : T{0};
        ASSERT_TRUE(same_bits(v[static_cast<std::size_t>(l)], expected)) << n << " lane " << l;
      }
    }
  }
}

TYPED_TEST(Loads, OfShortRowsConvertEachElement) {
  using T = typename TypeParam::T;
  using S = typename TypeParam::S;
  if constexpr (std::is_same_v<T, float>) {
    constexpr int W = simd::ShortVec<T>::width;
    const std::vector<S> pool = edge_values<S>();
    for (int n = 0; n <= W; ++n) {
      const std::vector<S> elements(pool.begin(), pool.begin() + n);
      const Guarded<S> memory(elements);
      const auto v = lanes(n == W ? simd::load_short<T>(memory.data()) : simd::load_some_short<T>(memory.data(), n));
      for (int l = 0; l < W; ++l) {
        const T expected = l < n ? static_cast<T>(elements[static_cast<std::size_t>(l)]) : T{0};
        ASSERT_TRUE(same_bits(v[static_cast<std::size_t>(l)], expected)) << n << " lane " << l;
      }
    }
  }
}

template <class Pair>
class Stores : public ::testing::Test {};
using StorePairs =
    ::testing::Types<As<float, float>, As<double, double>, As<double, float>, As<std::int32_t, std::int32_t>,
                     As<std::int32_t, std::int16_t>, As<std::int32_t, std::uint8_t>>;
TYPED_TEST_SUITE(Stores, StorePairs);

TYPED_TEST(Stores, SaturateAndWriteNothingElse) {
  using T = typename TypeParam::T;
  using D = typename TypeParam::S;
  constexpr int W = Vec<T>::width;
  const std::vector<T> pool = edge_values<T>();
  for (std::size_t i = 0; i + W <= pool.size(); ++i) {
    const auto v = vector_of<Vec<T>>(pool.data() + i);
    for (int n = 0; n <= W; ++n) {
      Guarded<D> memory(std::vector<D>(static_cast<std::size_t>(n) + 1, D{77}));
      D* const p = memory.data() + 1;  // nothing in front is written; behind stands the guard
      if (n == W) {
        simd::store(p, v);
      } else {
        simd::store_some(p, v, n);
      }
      ASSERT_EQ(memory[0], D{77});
      for (std::size_t l = 0; l < static_cast<std::size_t>(n); ++l) {
        D expected;
        if constexpr (std::is_integral_v<T>) {
          using L = std::numeric_limits<D>;
          expected = static_cast<D>(std::min<T>(std::max<T>(pool[i + l], L::min()), L::max()));
        } else {
          expected = static_cast<D>(pool[i + l]);
        }
        ASSERT_TRUE(same_bits(p[l], expected)) << +p[l] << ", expected " << +expected;
      }
    }
  }
}

template <int kLanes>
void expect_part() {
  constexpr std::size_t n = kLanes;
  for (const GuardAt guard : {GuardAt::kStart, GuardAt::kEnd}) {
    const Guarded<float> source(Random(n).values<float>(n, -9, 9), guard);
    Guarded<float> copy(n, guard);
    const auto v = simd::load_part<kLanes>(source.data());
    const auto loaded = lanes(v);
    simd::store_part<kLanes>(copy.data(), v);
    for (std::size_t l = 0; l < loaded.size(); ++l) EXPECT_EQ(loaded[l], l < n ? source[l] : 0.0F);
    EXPECT_EQ(copy.values(), source.values());
  }
}

TEST(Vec, PartsReadAndWriteNothingElse) {
  expect_part<1>();
  expect_part<2>();
  if constexpr (Vec<float>::width > 4) expect_part<4>();
  if constexpr (Vec<float>::width > 8) expect_part<8>();
}

TEST(Vec, BroadcastsAndFirstLane) {
  const auto check = [](auto x) {
    using V = Vec<decltype(x)>;
    for (const auto lane : lanes(V::broadcast(x))) EXPECT_EQ(lane, x);
    for (const auto lane : lanes(V::zero())) EXPECT_TRUE(same_bits(lane, decltype(x){0}));
    EXPECT_EQ(V::broadcast(x).first(), x);
  };
  check(1.5F);
  check(-2.5);
  check(std::int32_t{-7});
  const auto alone = lanes(Vec<float>::in_first_lane(3.0F));
  for (std::size_t l = 0; l < alone.size(); ++l) EXPECT_EQ(alone[l], l == 0 ? 3.0F : 0.0F);
}

}  // namespace
}  // namespace kivsr::test
