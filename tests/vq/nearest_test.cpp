// The expanded form of the distance: it names the nearest codeword of a search in double precision or admits that it
// cannot tell.
#include "vq/nearest.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/random.h"

namespace kivsr::vq {
namespace {

using test::Random;

// A book as a search sees it, with its index.
class Indexed {
 public:
  Indexed(std::vector<float> codewords, int width, std::vector<float> weights)
      : codewords_(std::move(codewords)), weights_(std::move(weights)) {
    book_.width = book_.stride = width;
    book_.count = static_cast<Kiv32s>(codewords_.size()) / width;
    book_.codewords = codewords_.data();
    if (!weights_.empty()) book_.flags = kWeightedFlag;
    if (weights_.empty()) weights_.assign(static_cast<std::size_t>(width), 1.0F);
    book_.weights = weights_.data();
    Layout layout;
    const FullIndexLayout parts(layout, width, book_.count);
    block_.resize(layout.bytes_from_any_start());
    full = parts.fill(align_up(block_.data()), book_);
  }
  double distance(int i, const float* x) const {
    double sum = 0.0;
    for (int j = 0; j < book_.width; ++j) {
      const double d = static_cast<double>(x[j]) - static_cast<double>(codeword(book_, i)[j]);
      sum += static_cast<double>(weights_[static_cast<std::size_t>(j)]) * d * d;
    }
    return sum;
  }
  int exhaustive(const float* x) const {
    int best = 0;
    for (int i = 1; i < book_.count; ++i) {
      if (distance(i, x) < distance(best, x)) best = i;
    }
    return best;
  }
  // What the form finds for kRows vectors; N of them at once.
  template <int N>
  std::vector<int> search(const std::vector<float>& x) const {
    const int width = book_.width;
    std::vector<int> result(kRows);
    for (int r = 0; r < kRows; r += N) {
      std::vector<float> differences(static_cast<std::size_t>(N * width));
      float norms[N];
      for (int n = 0; n < N; ++n) norms[n] = centre(full, x.data() + (r + n) * width, differences.data() + n * width);
      nearest_centred<N>(full, differences.data(), norms, result.data() + r);
    }
    return result;
  }

  FullIndex full{};

 private:
  Codebook<Kiv32f> book_{};
  std::vector<float> codewords_, weights_;
  std::vector<char> block_;
};

TEST(NearestCentred, NamesTheNearestOrAdmitsThatItCannotTell) {
  Random random(4);
  int told = 0;
  int all = 0;
  for (const int width : {1, 2, 3, 8, 13, 39}) {
    for (const int count : {kLeastCentred, kLeastCentred + 1, 130, 257}) {
      for (const double offset : {0.0, 1000.0}) {
        for (const bool weighted : {false, true}) {
          const auto n = static_cast<std::size_t>(width);
          auto codewords = random.values<float>(n * static_cast<std::size_t>(count), offset - 1.0, offset + 1.0);
          const Indexed book(codewords, width, weighted ? random.values<float>(n, 0.5, 2.0) : std::vector<float>{});
          ASSERT_NE(book.full.centred, nullptr);
          const auto x = random.values<float>(n * kRows, offset - 1.5, offset + 1.5);
          const std::vector<int> found = book.search<kRows>(x);
          for (int r = 0; r < kRows; ++r, ++all) {
            if (found[static_cast<std::size_t>(r)] < 0) continue;
            ++told;
            ASSERT_EQ(found[static_cast<std::size_t>(r)], book.exhaustive(x.data() + r * width))
                << "width " << width << " count " << count << " offset " << offset;
          }
          ASSERT_EQ(book.search<1>(x), found) << "rows alone and together";
        }
      }
    }
  }
  EXPECT_GT(told, all * 9 / 10) << "of " << all;
}

TEST(NearestCentred, EqualCodewordsAndSpecialValuesAreLeftToTheDistances) {
  Random random(8);
  auto codewords = random.values<float>(3 * 200, -1.0, 1.0);
  for (const int copy : {1, 7, 130, 199}) {
    auto twice = codewords;
    std::copy_n(twice.begin(), 3, twice.begin() + 3 * copy);
    const Indexed book(twice, 3, {});
    std::vector<float> x;
    for (int r = 0; r < kRows; ++r) x.insert(x.end(), twice.begin(), twice.begin() + 3);
    EXPECT_EQ(book.search<kRows>(x), std::vector<int>(kRows, -1));
  }
  for (const float special : {std::numeric_limits<float>::quiet_NaN(), kInfinity, 1e30F}) {
    const Indexed book(codewords, 3, {});
    EXPECT_EQ(book.search<kRows>(std::vector<float>(3 * kRows, special)), std::vector<int>(kRows, -1));
    auto bad = codewords;
    bad[50] = special;
    const Indexed other(bad, 3, {});
    if (std::isfinite(special)) continue;
    EXPECT_EQ(other.search<1>(std::vector<float>(3 * kRows, 0.5F)), std::vector<int>(kRows, -1));
  }
}

TEST(NearestCentred, CentreGivesDifferencesAndTheirNorm) {
  Random random(2);
  for (const int width : {1, 3, 4, 7, 8, 9, 39}) {
    const auto n = static_cast<std::size_t>(width);
    const auto weights = random.values<float>(n, 0.0, 3.0);
    const Indexed book(random.values<float>(n * kLeastCentred, 90.0, 110.0), width, weights);
    const auto x = random.values<float>(n, 80.0, 120.0);
    std::vector<float> differences(n);
    const float norm = centre(book.full, x.data(), differences.data());
    double expected = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
      ASSERT_EQ(differences[j], x[j] - book.full.mean[j]);
      expected +=
          static_cast<double>(weights[j]) * static_cast<double>(differences[j]) * static_cast<double>(differences[j]);
    }
    EXPECT_NEAR(static_cast<double>(norm), expected, expected * (width + 3) * 0x1p-24);
  }
}

}  // namespace
}  // namespace kivsr::vq
