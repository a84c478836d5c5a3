// The operations of the vector wrapper that mix lanes: folds in their order, sums of parts, exchanges.
#include <algorithm>
#include <utility>

#include "frame/simd/vec.h"
#include "frame/simd/word_rows.h"
#include "lanes.h"

namespace kivsr::test {
namespace {

using simd::Vec;

// The lanes folded in halves until one is left.
template <class Lanes, class Operation>
auto folded(Lanes a, Operation operation) {
  for (std::size_t half = a.size() / 2; half > 0; half /= 2) {
    for (std::size_t l = 0; l < half; ++l) a[l] = operation(a[l], a[l + half]);
  }
  return a[0];
}

template <class T>
Vec<T> random_vector(Random& random) {
  T values[Vec<T>::width];
  for (T& x : values) {
    x = random.integer(0, 9) == 0 ? edge_values<T>()[static_cast<std::size_t>(random.integer(0, 30))]
                                  : static_cast<T>(std::ldexp(random.uniform(-1, 1), random.integer(-6, 6)));
  }
  return vector_of<Vec<T>>(values);
}

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

// --- groups of four lanes, groups of eight words ------------------------------------------------------------------

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

std::array<float, 4> row(V v, std::size_t r) {
  const auto all = lanes(v);
  return {all[4 * r], all[4 * r + 1], all[4 * r + 2], all[4 * r + 3]};
}

TEST(WordRows, LoadSubtractAndWiden) {
  static_assert(kRows == simd::kWordRows);
  Random random(8);
  for (int i = 0; i < 100; ++i) {
    const auto x = random.values<std::int16_t>(16, -32768, 32767);
    const auto y = random.values<std::int16_t>(16, -32768, 32767);
    const auto weights = random.values<float>(8, -9, 9);
    const auto x_row = [&](int r) { return x.data() + 3 * r; };
    const simd::Eight rows = to_eight(subtract_saturated(simd::load_words(x_row), simd::same_words(y.data())));
    const simd::Eight groups = to_eight(simd::load_groups(x.data()));
    const simd::Eight same = simd::same_eight(weights.data());
    float first[8];
    simd::store_first(first, groups);
    for (std::size_t r = 0; r < kRows; ++r) {
      for (std::size_t k = 0; k < 8; ++k) {
        const auto element = [&](const simd::Eight& eight) { return row(k < 4 ? eight.low : eight.high, r)[k % 4]; };
        const int difference = std::clamp(x[3 * r + k] - y[k], -32768, 32767);
        EXPECT_EQ(element(rows), 65536.0F * static_cast<float>(difference));
        EXPECT_EQ(element(groups), 65536.0F * x[8 * r + k]);
        EXPECT_EQ(element(same), weights[k]);
        EXPECT_EQ(first[k], 65536.0F * x[k]);
      }
    }
  }
}

TEST(WordRows, SumsInTheOrderOfGroups) {
  const auto sum = [](float a, float b) { return a + b; };
  Random random(9);
  for (int i = 0; i < 200; ++i) {
    V v[kRows][4];
    for (auto& four : v) {
      for (V& each : four) each = random_vector<float>(random);
    }
    const V start = random_vector<float>(random);
    const auto sums = lanes(lane_sums(v[0]));
    const auto group_sums = lanes(add_group_sums(start, v));
    float first = 0.5F + folded(row(v[0][0], 0), sum);
    EXPECT_TRUE(same_bits(add_first_row_sum(0.5F, v[0][0]), first));
    for (std::size_t r = 1; r < kRows; ++r) first += folded(row(v[0][0], r), sum);
    EXPECT_TRUE(same_bits(add_row_sums(0.5F, v[0][0]), first));
    for (std::size_t l = 0; l < V::width; ++l) {
      EXPECT_TRUE(same_bits(sums[l], folded(row(v[0][l % 4], l / 4), sum)));
      float expected = lanes(start)[l];
      for (std::size_t h = 0; h < kRows; ++h) expected += folded(row(v[l / 4][l % 4], h), sum);
      EXPECT_TRUE(same_bits(group_sums[l], expected));
    }
  }
}

}  // namespace
}  // namespace kivsr::test
