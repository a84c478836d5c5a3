#include "kivsr/speech/decode/likeliest_terms.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace kivsr::speech::test {
namespace {

// Against all of them sorted: lengths around whole rows of groups, few and many terms, values that repeat and values
// that nothing is below.
TEST(LikeliestTerms, AreTheFirstOfAllSorted) {
  std::mt19937 generator(5);
  for (const int distinct : {2, 7, 1000000}) {
    std::uniform_int_distribution<int> value(0, distinct);
    for (const std::size_t length : {2U, 5U, 15U, 16U, 17U, 100U, 128U, 130U}) {
      std::vector<float> likelihoods;
      for (std::size_t i = 0; i < length; ++i) likelihoods.push_back(-static_cast<float>(value(generator)));
      likelihoods[length / 2] = std::numeric_limits<float>::lowest();
      std::vector<std::pair<float, int>> sorted;
      for (std::size_t i = 0; i < length; ++i) sorted.emplace_back(-likelihoods[i], static_cast<int>(i));
      std::sort(sorted.begin(), sorted.end());
      for (const std::size_t count : {1U, 4U, 16U, 20U}) {
        if (count >= length) continue;
        std::vector<MixtureTerm<float>> terms(count, {77, 77.0F});
        find_likeliest<float>(likelihoods, terms);
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_EQ(terms[i].gaussian, sorted[i].second) << length << " likelihoods, place " << i << " of " << count;
          ASSERT_EQ(terms[i].likelihood, -sorted[i].first);
        }
      }
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
