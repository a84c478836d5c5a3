// The operations of the vector wrapper that mix lanes: folds in their order, sums of parts, exchanges.
#include <algorithm>
#include <utility>

#include "frame/simd/vec.h"
#include "lanes.h"

namespace kivsr::test {
namespace {

using simd::Vec;

template <class T>
class Folds : public ::testing::Test {};
using Floats = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Folds, Floats);

TYPED_TEST(Folds, InTheirOrder) {
  using T = TypeParam;
  using V = Vec<T>;
  const auto sum = [](T a, T b) { return a + b; };
  Random random(4);
  for (int i = 0; i < 500; ++i) {
    V v[4];
    for (V& each : v) each = random_vector<T>(random);
    const auto a = lanes(v[0]);
    EXPECT_TRUE(same_bits(sum_lanes(v[0]), folded(a, sum)));
    EXPECT_TRUE(same_bits(max_lanes(v[0]), folded(a, [](T x, T y) { return x > y ? x : y; })));
    EXPECT_TRUE(same_bits(min_lanes(v[0]), folded(a, [](T x, T y) { return x < y ? x : y; })));
    T sums[4];
    simd::store_lane_sums(sums, v[0], v[1], v[2], v[3]);
    for (int k = 0; k < 4; ++k) EXPECT_TRUE(same_bits(sums[k], folded(lanes(v[k]), sum)));
    const auto pairs = lanes(sum_pairs(v[0], v[1]));
    for (std::size_t l = 0; l < V::width; ++l) {
      const auto of = lanes(v[2 * l / V::width]);
      const std::size_t first = 2 * l % V::width;
      EXPECT_TRUE(same_bits(pairs[l], of[first] + of[first + 1]));
    }
  }
}

TEST(Lanes, SumsOfParts) {
  constexpr std::size_t W = Vec<std::int32_t>::width;
  Random random(6);
  for (int i = 0; i < 500; ++i) {
    auto a = random.values<std::int16_t>(2 * W, -32768, 32767);
    const auto b = random.values<std::int16_t>(2 * W, -32768, 32767);
    if (i == 0) a = b;
    const auto products = lanes(simd::products_of_pairs(a.data(), b.data()));
    simd::Vec<std::int64_t> sums = simd::Vec<std::int64_t>::zero();
    std::int64_t expected = 0;
    for (int times = 0; times < 3; ++times) {
      sums = add_unsigned(sums, vector_of<Vec<std::int32_t>>(products.data()));
      for (const std::int32_t p : products) expected += static_cast<std::uint32_t>(p);
    }
    EXPECT_EQ(sum_lanes(sums), expected);
    EXPECT_EQ(sum_lanes(sums + sums), 2 * expected);
    for (std::size_t l = 0; l < W; ++l) EXPECT_EQ(products[l], a[2 * l] * b[2 * l] + a[2 * l + 1] * b[2 * l + 1]);
  }
  const std::vector<std::int16_t> lowest(2 * W, -32768);
  for (const std::int32_t p : lanes(simd::products_of_pairs(lowest.data(), lowest.data()))) EXPECT_EQ(p, INT32_MIN);
}

TEST(Lanes, WidenAndNarrow) {
  const std::vector<float> pool = edge_values<float>();
  using V = Vec<float>;
  using D = Vec<double>;
  for (std::size_t i = 0; i + V::width <= pool.size(); i += V::width) {
    const V v = vector_of<V>(pool.data() + i);
    const auto low = lanes(widen_low(v));
    const auto high = lanes(widen_high(v));
    const double third = 1.0 / 3;
    const auto back = lanes(narrow(widen_low(v) * D::broadcast(third), widen_high(v) * D::broadcast(third)));
    for (std::size_t l = 0; l < D::width; ++l) {
      EXPECT_TRUE(same_bits(low[l], double{pool[i + l]}));
      EXPECT_TRUE(same_bits(high[l], double{pool[i + D::width + l]}));
    }
    for (std::size_t l = 0; l < V::width; ++l) {
      EXPECT_TRUE(same_bits(back[l], static_cast<float>(pool[i + l] * third)));
    }
  }
}

// --- groups of four lanes ------------------------------------------------------------------

using V = Vec<float>;
constexpr std::size_t kRows = V::width / 4;

TEST(Lanes, ReverseAndLookup) {
  using I = simd::Vec<std::int32_t>;
  std::int32_t table[24], index[I::width];
  for (int i = 0; i < 24; ++i) table[i] = 1000 * i - 7;
  for (int first = 0; first < 24; ++first) {
    float values[I::width];
    for (int l = 0; l < I::width; ++l) {
      index[l] = (first + 5 * l) % 24;
      values[l] = static_cast<float>(index[l]);
    }
    const auto found = lanes(simd::lookup(table, vector_of<I>(index)));
    const auto turned = lanes(reverse(vector_of<I>(index)));
    const auto turned_floats = lanes(reverse(vector_of<simd::Vec<float>>(values)));
    for (std::size_t l = 0; l < I::width; ++l) {
      EXPECT_EQ(found[l], table[index[l]]);
      EXPECT_EQ(turned[l], index[I::width - 1 - l]);
      EXPECT_EQ(turned_floats[l], values[I::width - 1 - l]);
    }
  }
}

TEST(Lanes, RowsOfFour) {
  Random random(7);
  V v[4];
  std::array<float, V::width> before[4];
  for (int j = 0; j < 4; ++j) before[j] = lanes(v[j] = random_vector<float>(random));
  simd::transpose_rows(v);
  for (std::size_t k = 0; k < 4; ++k) {
    for (std::size_t l = 0; l < V::width; ++l) {
      EXPECT_TRUE(same_bits(lanes(v[k])[l], before[l % 4][k + l / 4 * 4]));
      EXPECT_TRUE(same_bits(lanes(interleave_rows(v[k]))[l], lanes(v[k])[l % kRows * 4 + l / kRows]));
    }
  }
}

}  // namespace
}  // namespace kivsr::test
