// Lanes of complex numbers: every exchange against its definition on memory order.
#include "frame/simd/complex_lanes.h"

#include <algorithm>

#include "lanes.h"

namespace kivsr::test {
namespace {

template <class V>
class ComplexLanes : public ::testing::Test {};
using Vectors = ::testing::Types<simd::Single<float>, simd::Single<double>, simd::Quad, simd::ComplexVec<float>,
                                 simd::ComplexVec<double>>;
TYPED_TEST_SUITE(ComplexLanes, Vectors);

// 1, 2, 3, ... in memory order.
template <class V>
V counting(int from) {
  typename V::Element values[V::width];
  for (int l = 0; l < V::width; ++l) values[l] = static_cast<typename V::Element>(from + l);
  return simd::load_as<V>(values);
}

TYPED_TEST(ComplexLanes, PairsComeApartAndTogether) {
  using V = TypeParam;
  constexpr int W = V::width;
  V re = counting<V>(0);
  V im = counting<V>(W);
  deinterleave(re, im);
  bool seen[W] = {};
  for (int l = 0; l < W; ++l) {
    const int element = simd::kLaneElement<V>[static_cast<std::size_t>(l)];
    seen[element] = true;
    EXPECT_EQ(lanes(re)[static_cast<std::size_t>(l)], 2 * element) << l;
    EXPECT_EQ(lanes(im)[static_cast<std::size_t>(l)], 2 * element + 1) << l;
  }
  EXPECT_TRUE(std::all_of(seen, seen + W, [](bool s) { return s; }));
  EXPECT_EQ(simd::kLaneElement<V>[0], 0);

  const auto element_of = [](int l) { return simd::kLaneElement<V>[static_cast<std::size_t>(l)]; };
  const auto straight = lanes(re);
  const auto mirror = lanes(mirrored(re));
  for (int l = 0; l < W; ++l) {
    for (int from = 0; from < W; ++from) {
      if ((element_of(l) + element_of(from)) % W == 0) {
        EXPECT_EQ(mirror[static_cast<std::size_t>(l)], straight[static_cast<std::size_t>(from)]) << l;
      }
    }
  }
  interleave(re, im);
  for (std::size_t l = 0; l < W; ++l) {
    EXPECT_EQ(lanes(re)[l], l);
    EXPECT_EQ(lanes(im)[l], W + l);
  }
}

TYPED_TEST(ComplexLanes, Exchanges) {
  using V = TypeParam;
  using T = typename V::Element;
  constexpr std::size_t W = V::width;
  const V v = counting<V>(1);
  const T number = 99;
  for (const V& replaced : {with_first(v, &number), with_first(v, V::broadcast(number))}) {
    for (std::size_t l = 0; l < W; ++l) EXPECT_EQ(lanes(replaced)[l], l == 0 ? 99 : l + 1);
  }
  for (std::size_t l = 0; l < W; ++l) {
    // pairs from the last to the first; of one lane there is none
    const std::size_t from = W == 1 ? 0 : (W / 2 - 1 - l / 2) * 2 + l % 2;
    EXPECT_EQ(lanes(reversed_pairs(v))[l], from + 1) << l;
    const auto element = static_cast<std::size_t>(simd::kLaneElement<V>[l]);
    EXPECT_EQ(lanes(pair_order(v))[l], element + 1) << l;
    EXPECT_EQ(lanes(pair_order_reversed(v))[l], W - element) << l;
  }
  if constexpr (W > 1) {
    for (std::size_t l = 0; l < W; ++l) {
      EXPECT_EQ(lanes(with_gap(v))[l], l == 0 ? 1 : l == 1 ? 0 : l) << l;
      EXPECT_EQ(lanes(moved_down(v))[l], l + 1 == W ? 0 : l + 2) << l;
      EXPECT_EQ(lanes(without_gap(v))[l], l == 0 ? 1 : std::min(l + 2, W)) << l;
      EXPECT_EQ(lanes(moved_up(v))[l], l == 0 ? 1 : l) << l;
    }
  }
  V rows[W];
  for (std::size_t r = 0; r < W; ++r) rows[r] = counting<V>(static_cast<int>(100 * r));
  transpose(rows);
  for (std::size_t r = 0; r < W; ++r) {
    for (std::size_t l = 0; l < W; ++l) EXPECT_EQ(lanes(rows[r])[l], 100 * l + r);
  }
}

TYPED_TEST(ComplexLanes, HalvesOfEightLanes) {
  using V = TypeParam;
  if constexpr (V::width == 8) {
    const V v = counting<V>(0);
    const auto expect = [](V actual, std::array<float, 8> expected) { EXPECT_EQ(lanes(actual), expected); };
    expect(simd::joined<V>(counting<simd::Quad>(7), counting<simd::Quad>(20)), {7, 8, 9, 10, 20, 21, 22, 23});
    expect(simd::joined<V>(high_half(v), low_half(v)), {4, 5, 6, 7, 0, 1, 2, 3});
    expect(exchanged_halves(v), {4, 5, 6, 7, 0, 1, 2, 3});
    expect(exchanged_pairs(v), {2, 3, 0, 1, 6, 7, 4, 5});
    expect(mirrored_in_order(v), {0, 7, 6, 5, 4, 3, 2, 1});
  }
}

TYPED_TEST(ComplexLanes, ArithmeticOfEveryWidthIsThatOfOneLane) {
  using V = TypeParam;
  using T = typename V::Element;
  Random random(2);
  for (int i = 0; i < 300; ++i) {
    T a[V::width], b[V::width], c[V::width], stored[V::width];
    for (T* x : {a, b, c}) {
      for (int l = 0; l < V::width; ++l) x[l] = static_cast<T>(random.uniform(-2, 2));
    }
    const V x = vector_of<V>(a);
    const V y = vector_of<V>(b);
    const V z = vector_of<V>(c);
    store(stored, x);
    EXPECT_EQ(x.first(), a[0]);
#if defined(__FMA__) && !defined(KIVSR_GENERIC)
    constexpr bool kFused = V::width > 1;
#else
    constexpr bool kFused = false;
#endif
    for (std::size_t l = 0; l < V::width; ++l) {
      EXPECT_EQ(stored[l], a[l]);
      EXPECT_EQ(lanes(x + y)[l], a[l] + b[l]);
      EXPECT_EQ(lanes(x - y)[l], a[l] - b[l]);
      EXPECT_EQ(lanes(x * y)[l], a[l] * b[l]);
      EXPECT_EQ(lanes(mul_add(x, y, z))[l], kFused ? std::fma(a[l], b[l], c[l]) : a[l] * b[l] + c[l]);
      EXPECT_EQ(lanes(neg_mul_add(x, y, z))[l], kFused ? std::fma(-a[l], b[l], c[l]) : c[l] - a[l] * b[l]);
    }
  }
}

TEST(ComplexLanes, LoadConvertsWhatTheLanesDo) {
  const std::int16_t words[8] = {-32768, 1, 2, 3, 4, 5, 6, 32767};
  EXPECT_EQ(lanes(simd::load_as<simd::ComplexVec<float>>(words))[0], -32768.0F);
  EXPECT_EQ(lanes(simd::load_as<simd::ComplexVec<double>>(words))[1], 1.0);
  EXPECT_EQ(simd::load_as<simd::Single<float>>(words + 7).first(), 32767.0F);
}

}  // namespace
}  // namespace kivsr::test
