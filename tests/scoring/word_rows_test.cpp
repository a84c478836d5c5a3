// Groups of eight words: loads, widening and sums in the order of groups.
#include "scoring/word_rows.h"

#include <algorithm>

#include "../frame/simd/lanes.h"

namespace kivsr::test {
namespace {

using V = simd::Vec<float>;
constexpr std::size_t kRows = V::width / 4;

std::array<float, 4> row(V v, std::size_t r) {
  const auto all = lanes(v);
  return {all[4 * r], all[4 * r + 1], all[4 * r + 2], all[4 * r + 3]};
}

TEST(WordRows, LoadSubtractAndWiden) {
  Random random(8);
  for (int i = 0; i < 100; ++i) {
    const auto x = random.values<std::int16_t>(8 * kRows, -32768, 32767);
    const auto y = random.values<std::int16_t>(8 * kRows, -32768, 32767);
    const auto weights = random.values<float>(8, -9, 9);
    const auto x_row = [&](int r) { return x.data() + 3 * r; };
    const word_groups::Eight rows = word_groups::to_eight(
        simd::subtract_saturated(word_groups::load_words(x_row), word_groups::same_words(y.data())));
    const word_groups::Eight groups = word_groups::to_eight(word_groups::load_groups(x.data()));
    const word_groups::Eight same = word_groups::same_eight(weights.data());
    float first[8];
    word_groups::store_first(first, groups);
    for (std::size_t r = 0; r < kRows; ++r) {
      for (std::size_t k = 0; k < 8; ++k) {
        const auto element = [&](const word_groups::Eight& eight) {
          return row(k < 4 ? eight.low : eight.high, r)[k % 4];
        };
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
    const auto sums = lanes(word_groups::lane_sums(v[0]));
    const auto group_sums = lanes(word_groups::add_group_sums(start, v));
    float first = 0.5F + folded(row(v[0][0], 0), sum);
    EXPECT_TRUE(same_bits(word_groups::add_first_row_sum(0.5F, v[0][0]), first));
    for (std::size_t r = 1; r < kRows; ++r) first += folded(row(v[0][0], r), sum);
    EXPECT_TRUE(same_bits(word_groups::add_row_sums(0.5F, v[0][0]), first));
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
