// Vector quantisation against plain loops in double precision: whole books, grids, cluster trees, lists of the nearest.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "books.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class T>
class SearchTest : public ::testing::Test {};
using Types = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(SearchTest, Types);

// Points on, between and far from the codewords. Small integers, so that distances are exact in single precision.
template <class T>
std::vector<T> probes(Random& random, const std::vector<T>& codewords, int width, int n) {
  std::vector<T> result;
  const int count = static_cast<int>(codewords.size()) / width;
  for (int i = 0; i < n; ++i) {
    const int a = random.integer(0, count - 1);
    const int b = random.integer(0, count - 1);
    for (int j = 0; j < width; ++j) {
      const int x = static_cast<int>(codewords[static_cast<std::size_t>(a * width + j)]);
      const int y = static_cast<int>(codewords[static_cast<std::size_t>(b * width + j)]);
      result.push_back(static_cast<T>(i % 4 == 0   ? x
                                      : i % 4 == 1 ? (x + y) / 2
                                      : i % 4 == 2 ? x + random.integer(-9, 9)
                                                   : random.integer(-600, 600)));
    }
  }
  return result;
}

TYPED_TEST(SearchTest, FullSearchFindsTheFirstOfTheNearest) {
  using T = TypeParam;
  Random random(1);
  for (const int width : {1, 2, 3, 4, 8, 13, 39, 130}) {
    for (const int count : {1, 2, 10, 11, 40, 64, 130, 300}) {
      for (const int kind : {0, 1, 2}) {  // library memory, weighted, caller memory
        const double range = width < 3 ? 200.0 : 60.0;
        const auto vectors = random.values<Kiv16s>(static_cast<std::size_t>(count * width), -range, range);
        std::vector<T> weights;
        for (int j = 0; kind == 1 && j < width; ++j) weights.push_back(static_cast<T>((j + 1) % 3));
        const Book<T> book(std::vector<T>(vectors.begin(), vectors.end()), width, kind == 2 ? 0 : count,
                           kivCdbkFullSearch, weights);
        ASSERT_EQ(book.status, kivStatusOk);
        const int n = 50;
        const int step = width + 1;
        const auto points = probes(random, book.codewords, width, n);
        GuardedMatrix<T> src(n, width, step);
        std::size_t next = 0;
        src.fill([&] { return points[next++]; });
        Guarded<Kiv32s> index(n);
        Guarded<Kiv32s> index_too(n);
        Guarded<typename Vq<T>::Distance> distance(n);
        ASSERT_EQ(Vq<T>::quantise(src.data(), step, index.data(), n, book), kivStatusOk);
        ASSERT_EQ(Vq<T>::quantise_distance(src.data(), step, index_too.data(), distance.data(), n, book), kivStatusOk);
        for (int r = 0; r < n; ++r) {
          const auto i = static_cast<std::size_t>(r);
          const auto d = squared_distances(src.row(r), book.codewords, width, weights);
          const auto best = std::min_element(d.begin(), d.end());
          ASSERT_EQ(index[i], best - d.begin()) << "width " << width << " count " << count << " kind " << kind;
          ASSERT_EQ(index_too[i], index[i]);
          const double root = std::sqrt(*best);
          ASSERT_NEAR(static_cast<double>(distance[i]), reported<T>(root), root * 1e-6);
          Kiv32s alone;
          ASSERT_EQ(Vq<T>::quantise(src.row(r), width, &alone, 1, book), kivStatusOk);
          ASSERT_EQ(alone, index[i]);
        }
      }
    }
  }
}

// Grids: every point gets what the same book without a grid (in caller memory) gives it.
TEST(GridSearch, AgreesWithTheExhaustiveSearch) {
  Random random(4);
  for (const int width : {1, 2}) {
    for (int data = 0; data < 6; ++data) {
      std::vector<float> vectors;
      for (int i = 0; i < 150 * width; ++i) {
        const double x = random.normal();
        const double tables[] = {x, 1000.0 + x, 1e6 + x, std::exp(3.0 * x), -1e-30 * x * x, i % 2 ? 1e30 * x : x};
        vectors.push_back(static_cast<float>(tables[data]));
      }
      std::vector<float> weights(static_cast<std::size_t>(width), 1.0F);
      for (const float weight : {1.0F, 7.0F, 0.0F}) {
        weights[0] = weight;
        const Book<float> grid(vectors, width, 150, kivCdbkFullSearch, weights);
        // A third, constant element makes a book of the same distances that has no grid.
        std::vector<float> wide;
        std::vector<float> wide_weights(weights);
        wide_weights.push_back(1.0F);
        for (std::size_t i = 0; i < vectors.size(); ++i) {
          wide.push_back(vectors[i]);
          if (width == 1) wide.push_back(0.0F);
          if (width == 2 && i % 2 == 1) wide.push_back(0.0F);
        }
        if (width == 1) {
          wide_weights.push_back(1.0F);
          std::vector<float> wider;
          for (std::size_t i = 0; i < wide.size(); i += 2) wider.insert(wider.end(), {wide[i], 0.0F, 0.0F});
          wide = wider;
        }
        const Book<float> plain(wide, 3, 150, kivCdbkFullSearch, wide_weights);
        for (int i = 0; i < 3000; ++i) {
          float x[3] = {};
          for (int j = 0; j < width; ++j) {
            const float a = vectors[static_cast<std::size_t>(random.integer(0, 149) * width + j)];
            const float b = vectors[static_cast<std::size_t>(random.integer(0, 149) * width + j)];
            const float choices[] = {a,
                                     (a + b) / 2,
                                     a + (b - a) * 3,
                                     static_cast<float>(random.normal()) * 1e30F,
                                     a * 1.1F,
                                     std::numeric_limits<float>::quiet_NaN(),
                                     std::numeric_limits<float>::infinity()};
            x[j] = choices[i % 50 < 48 ? i % 5 : i % 50 - 43];
          }
          Kiv32s with = -1;
          Kiv32s without = -1;
          ASSERT_EQ(kivsVQ_32f(x, width, &with, 1, grid), kivStatusOk);
          ASSERT_EQ(kivsVQ_32f(x, 3, &without, 1, plain), kivStatusOk);
          ASSERT_EQ(with, without) << "width " << width << " data " << data << " weight " << weight << " at " << x[0]
                                   << " " << x[1];
        }
      }
    }
  }
}

TYPED_TEST(SearchTest, SortAndThresholdListByDistanceThenIndex) {
  using T = TypeParam;
  Random random(9);
  for (const int width : {1, 2, 5, 13}) {
    const int count = 90;
    const auto vectors = random.values<Kiv16s>(static_cast<std::size_t>(count * width), -12, 12);
    const Book<T> book(std::vector<T>(vectors.begin(), vectors.end()), width, count, kivCdbkFullSearch);
    for (int trial = 0; trial < 40; ++trial) {
      const Guarded<T> x(random.values<T>(static_cast<std::size_t>(width), -14, 14));
      const auto d = squared_distances(x.data(), book.codewords, width);
      std::vector<Kiv32s> order(d.size());
      std::iota(order.begin(), order.end(), 0);
      std::stable_sort(order.begin(), order.end(),
                       [&](int a, int b) { return d[static_cast<std::size_t>(a)] < d[static_cast<std::size_t>(b)]; });
      const auto check = [&](const Guarded<Kiv32s>& index, const Guarded<typename Vq<T>::Distance>& distance, int n) {
        for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
          ASSERT_EQ(index[i], order[i]) << "place " << i;
          const double root = std::sqrt(d[static_cast<std::size_t>(order[i])]);
          ASSERT_NEAR(static_cast<double>(distance[i]), reported<T>(root), 1e-5);
        }
      };
      for (const int num : {1, 2, 17, count}) {
        Guarded<Kiv32s> index(static_cast<std::size_t>(num));
        Guarded<typename Vq<T>::Distance> distance(static_cast<std::size_t>(num));
        ASSERT_EQ(Vq<T>::sort_distance(x.data(), index.data(), distance.data(), book, num), kivStatusOk);
        check(index, distance, num);
        ASSERT_EQ(Vq<T>::sort(x.data(), index.data(), book, num), kivStatusOk);
        check(index, distance, num);
      }
      for (const float relative : {1.0F, 1.3F, 2.0F, 1e9F}) {
        const double radius =
            d[static_cast<std::size_t>(order[0])] * static_cast<double>(relative) * static_cast<double>(relative);
        const auto expected = std::count_if(d.begin(), d.end(), [&](double v) { return v <= radius * 1.000001; });
        Guarded<Kiv32s> index(static_cast<std::size_t>(expected));
        Guarded<typename Vq<T>::Distance> distance(static_cast<std::size_t>(expected));
        int found = -1;
        ASSERT_EQ(Vq<T>::thresh_distance(x.data(), index.data(), distance.data(), book, relative, &found), kivStatusOk);
        ASSERT_EQ(found, expected);
        check(index, distance, found);
        ASSERT_EQ(Vq<T>::thresh(x.data(), index.data(), book, relative, &found), kivStatusOk);
        check(index, distance, found);
      }
    }
  }
}

// The sum of the distances to the codewords that are found is at most 1.1 of those to the nearest; in a book of fewer
// than 32 each of them is the least.
template <class T>
void expect_close_codewords(const Book<T>& book, const std::vector<T>& vectors, int width) {
  double found = 0.0;
  double least = 0.0;
  for (std::size_t r = 0; r < 400; ++r) {
    const T* const x = vectors.data() + r * static_cast<std::size_t>(width);
    Kiv32s index = -1;
    ASSERT_EQ(Vq<T>::quantise(x, width, &index, 1, book), kivStatusOk);
    const auto d = squared_distances(x, book.codewords, width);
    const double nearest = *std::min_element(d.begin(), d.end());
    found += d[static_cast<std::size_t>(index)];
    least += nearest;
    if (book.count < 32) {
      ASSERT_LE(d[static_cast<std::size_t>(index)], nearest * 1.00001);
    }
  }
  EXPECT_LE(found, 1.1 * least);
}

void expect_first_codeword_beyond_all_distances(const Book<Kiv32f>& book, int width) {
  for (const float special : {std::numeric_limits<float>::quiet_NaN(), 3e38F}) {
    const std::vector<float> x(static_cast<std::size_t>(width), special);
    Kiv32s index = -1;
    ASSERT_EQ(kivsVQ_32f(x.data(), width, &index, 1, book), kivStatusOk);
    EXPECT_EQ(index, 0) << "no distance below infinity";
  }
}

TYPED_TEST(SearchTest, TreeSearchComesCloseToTheNearest) {
  using T = TypeParam;
  Random random(12);
  for (const int width : {2, 13, 39}) {
    for (const int size : {1, 2, 5, 31, 100, 1200}) {
      for (const int centres : {1, 40}) {
        if (size > 1000 && centres == 1) continue;  // such books are searched whole
        const auto vectors = clustered<T>(random, 3000, width, centres, 1000.0, centres == 1 ? 400.0 : 100.0);
        const Book<T> book(vectors, width, size, kivCdbkSplitWidest);
        ASSERT_EQ(book.count, size);
        SCOPED_TRACE(::testing::Message() << "width " << width << " size " << size << " centres " << centres);
        expect_close_codewords(book, vectors, width);
        expect_close_codewords(book, random.values<T>(static_cast<std::size_t>(width) * 400, -1200, 1200), width);
        if constexpr (std::is_same_v<T, Kiv32f>) expect_first_codeword_beyond_all_distances(book, width);
      }
    }
  }
  // Equally near: the right one.
  const Book<T> two({0, 0, 100, 100}, 1, 2, kivCdbkSplitLargest);
  const T middle = 50;
  Kiv32s index = -1;
  ASSERT_EQ(Vq<T>::quantise(&middle, 1, &index, 1, two), kivStatusOk);
  EXPECT_EQ(index, 1);
}

// Where every vector is a codeword, a descent that misses its group is far off: the search may not approximate here.
TYPED_TEST(SearchTest, TreeSearchFindsCodewordsThemselves) {
  using T = TypeParam;
  Random random(31);
  constexpr int kWidth = 13;
  for (const int size : {2, 40, 400, 1200}) {
    const auto integers = random.values<Kiv16s>(static_cast<std::size_t>(size) * kWidth, -9000, 9000);
    const std::vector<T> vectors(integers.begin(), integers.end());
    for (const KivCdbkHint hint : {kivCdbkSplitWidest, kivCdbkSplitLargest}) {
      const Book<T> book(vectors, kWidth, size, hint);
      ASSERT_EQ(book.count, size);
      const int probes = std::min(size, 512);
      for (int i = 0; i < probes; ++i) {
        const T* const x = vectors.data() + static_cast<std::ptrdiff_t>(i) * size / probes * kWidth;
        Kiv32s index = -1;
        typename Vq<T>::Distance distance{};
        ASSERT_EQ(Vq<T>::quantise_distance(x, kWidth, &index, &distance, 1, book), kivStatusOk);
        ASSERT_EQ(distance, 0) << "vector " << i << " of " << size;
        const T* const codeword = book.codewords.data() + static_cast<std::ptrdiff_t>(index) * kWidth;
        ASSERT_TRUE(std::equal(x, x + kWidth, codeword));
      }
    }
  }
}

TEST(Search, DistancesOf16BitVectorsScaleAndSaturate) {
  const Book<Kiv16s> book({-32768, -32768, 32767, -32768}, 2, 2, kivCdbkFullSearch);
  const Kiv16s x[2] = {-32768, 32767};
  Kiv32s index;
  Kiv32s distance;
  const auto at = [&](int scale) {
    EXPECT_EQ(kivsVQDist_16s32s_Sfs(x, 2, &index, &distance, 1, book, scale), kivStatusOk);
    return distance;
  };
  EXPECT_EQ(at(0), 65535);
  EXPECT_EQ(at(1), 32768);  // 32767.5 to even
  EXPECT_EQ(at(-15), 65535 * 32768);
  EXPECT_EQ(at(-16), std::numeric_limits<Kiv32s>::max());
  EXPECT_EQ(at(40), 0);
}

TYPED_TEST(SearchTest, Statuses) {
  using T = TypeParam;
  using V = Vq<T>;
  const Book<T> book({1, 2, 3, 4, 5, 6}, 2, 3, kivCdbkFullSearch);
  const T x[8] = {};
  Kiv32s index[4] = {-7, -7, -7, -7};
  typename V::Distance distance[4];
  int count = -7;
  const typename V::State* const none = nullptr;
  EXPECT_EQ(V::quantise(nullptr, 0, index, 0, book), kivStatusNullPointer);
  EXPECT_EQ(V::quantise(x, 2, nullptr, 1, book), kivStatusNullPointer);
  EXPECT_EQ(V::quantise(x, 2, index, 1, none), kivStatusNullPointer);
  EXPECT_EQ(V::quantise_distance(x, 0, index, nullptr, 1, book), kivStatusNullPointer);
  EXPECT_EQ(V::quantise(x, 2, index, 0, book), kivStatusBadSize);
  EXPECT_EQ(V::quantise(x, 1, index, 1, book), kivStatusBadSize);
  EXPECT_EQ(V::sort(x, index, none, 0), kivStatusNullPointer);
  EXPECT_EQ(V::sort_distance(x, index, nullptr, book, 1), kivStatusNullPointer);
  EXPECT_EQ(V::sort(x, index, book, 0), kivStatusBadSize);
  EXPECT_EQ(V::sort(x, index, book, 4), kivStatusBadSize);
  EXPECT_EQ(V::thresh(x, index, book, 0.0F, nullptr), kivStatusNullPointer);
  EXPECT_EQ(V::thresh_distance(x, index, nullptr, book, 0.0F, &count), kivStatusNullPointer);
  EXPECT_EQ(V::thresh(x, index, book, 0.999F, &count), kivStatusBadArgument);
  EXPECT_EQ(V::thresh_distance(x, index, distance, book, std::numeric_limits<float>::quiet_NaN(), &count),
            kivStatusBadArgument);
  EXPECT_EQ(index[0], -7);
  EXPECT_EQ(count, -7);
}

}  // namespace
}  // namespace kivsr::test
