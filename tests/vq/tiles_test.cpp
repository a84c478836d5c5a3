// The kernels under every search and training: distances to codewords in lanes, and their least, against plain loops in
// double precision.
#include "vq/tiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::vq {
namespace {

using test::Guarded;
using test::Random;

// Codewords with their tiles, which end at a guard page.
struct Book {
  int width, count;
  std::vector<float> codewords, weights;
  Guarded<float> values;

  Book(Random& random, int book_width, int book_count, bool weighted)
      : width(book_width),
        count(book_count),
        codewords(random.values<float>(static_cast<std::size_t>(width * count), -3.0, 3.0)),
        values(static_cast<std::size_t>(tiles_of(count) * kLanes * width)) {
    if (weighted) weights = random.values<float>(static_cast<std::size_t>(width), 0.0, 2.0);
    if (weighted && width > 1) weights[1] = 0.0F;
    for (int i = 0; i < count; ++i) set_lane(values.data(), width, i, codewords.data() + i * width);
    clear_lanes(values.data(), weights.empty() ? nullptr : weights.data(), width, count, tiles_of(count) * kLanes);
  }
  Tiles tiles() const { return {values.data(), weights.empty() ? nullptr : weights.data(), width, count}; }
  double distance(int i, const float* x) const {
    double sum = 0.0;
    for (int j = 0; j < width; ++j) {
      const double d =
          static_cast<double>(x[j]) - static_cast<double>(codewords[static_cast<std::size_t>(i * width + j)]);
      sum += (weights.empty() ? 1.0 : static_cast<double>(weights[static_cast<std::size_t>(j)])) * d * d;
    }
    return sum;
  }
};

template <class Body>
void for_each_book(Body body) {
  Random random(21);
  for (const int width : {1, 2, 3, 7, 8, 13, 39, 64}) {
    for (const int count : {1, 2, kLanes - 1, kLanes, kLanes + 1, 3 * kLanes + 5, 8 * kLanes, 11 * kLanes + 3}) {
      for (const bool weighted : {false, true}) {
        const Book book(random, width, count, weighted);
        const Guarded<float> x(random.values<float>(static_cast<std::size_t>(width), -3.0, 3.0));
        body(book, x.data());
      }
    }
  }
}

TEST(Tiles, DistancesOfEveryLane) {
  for_each_book([](const Book& book, const float* x) {
    const Tiles tiles = book.tiles();
    Guarded<float> found(static_cast<std::size_t>(tiles.size() * kLanes));
    distances(tiles, x, found.data());
    for (int i = 0; i < book.count; ++i) {
      const double expected = book.distance(i, x);
      const float d = found[static_cast<std::size_t>(i)];
      ASSERT_NEAR(static_cast<double>(d), expected, expected * (book.width + 3) * 0x1p-24) << "codeword " << i;
      ASSERT_EQ(distance(tiles, i, x), d) << "the same bits alone as among others";
    }
    for (std::size_t i = static_cast<std::size_t>(book.count); i < found.size(); ++i)
      ASSERT_TRUE(found[i] == kInfinity || (!book.weights.empty() && book.weights[0] == 0.0F)) << "unused lane " << i;
  });
}

TEST(Tiles, NearestIsTheFirstOfTheLeastWithTheSecond) {
  for_each_book([](const Book& book, const float* x) {
    const Nearest found = nearest(book.tiles(), x);
    int best = 0;
    double second = static_cast<double>(kInfinity);
    for (int i = 1; i < book.count; ++i) {
      if (book.distance(i, x) < book.distance(best, x)) best = i;
    }
    for (int i = 0; i < book.count; ++i) {
      if (i != best) second = std::min(second, book.distance(i, x));
    }
    ASSERT_EQ(found.index, best) << "width " << book.width << " count " << book.count;
    ASSERT_EQ(found.distance, distance(book.tiles(), best, x));
    if (book.count == 1) {
      ASSERT_EQ(found.second, kInfinity);
    } else {
      ASSERT_NEAR(static_cast<double>(found.second), second, second * (book.width + 3) * 0x1p-24);
    }
  });
}

// Copies of one codeword in every place: the lowest index, at no distance to the second.
TEST(Tiles, TiesGoToTheLowestIndex) {
  Random random(5);
  for (int first = 0; first < 4 * kLanes; ++first) {
    Book book(random, 3, 4 * kLanes, false);
    const float x[3] = {0.25F, -1.0F, 2.0F};
    for (int i = first; i < book.count; i += 5) set_lane(book.values.data(), 3, i, x);
    const Nearest found = nearest(book.tiles(), x);
    ASSERT_EQ(found.index, first);
    ASSERT_EQ(found.distance, 0.0F);
    if (first + 5 < book.count) {
      ASSERT_EQ(found.second, 0.0F);
    }
  }
}

TEST(Tiles, NothingIsNearestToNan) {
  Random random(5);
  const Book book(random, 3, kLanes + 2, false);
  for (const float special : {std::numeric_limits<float>::quiet_NaN(), kInfinity, 3e38F}) {
    const float x[3] = {0.0F, special, 0.0F};
    ASSERT_EQ(nearest(book.tiles(), x).index, -1);
  }
}

TEST(Tiles, PairsOfVectorsAreAddedAsOneAfterTheOther) {
  Random random(9);
  for (int trial = 0; trial < 200; ++trial) {
    LaneMinimum pairs;
    LaneMinimum singles;
    for (int t = 0; t < 6; ++t) {
      V d[2];
      V tag[2];
      for (int half = 0; half < 2; ++half) {
        const auto values = random.values<float>(V::width, 0.0, 4.0);
        d[half] = simd::load<float>(values.data());
        tag[half] = V::broadcast(static_cast<float>((2 * t + half) * V::width));
        singles.add(d[half], tag[half]);
      }
      pairs.add_pair(d[0], tag[0], d[1], tag[1]);
    }
    const Nearest a = least_of(pairs);
    const Nearest b = least_of(singles);
    ASSERT_EQ(a.index, b.index);
    ASSERT_EQ(a.distance, b.distance);
    ASSERT_EQ(a.second, b.second);
  }
}

}  // namespace
}  // namespace kivsr::vq
