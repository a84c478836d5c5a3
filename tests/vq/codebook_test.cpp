// Codebooks: training against a plain transcription of the procedure, strides and sizes, statuses, hard inputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>

#include "books.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"

namespace kivsr::test {
namespace {

template <class T>
class CodebookTest : public ::testing::Test {};
using Types = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(CodebookTest, Types);

bool greater(double a, double b) { return a > b * 1.000001; }
bool less(double a, double b) { return a * 1.000001 < b; }

// The training procedure without any shortcut.
class PlainTraining {
 public:
  template <class T>
  PlainTraining(const std::vector<T>& vectors, int width, const std::vector<T>& weights)
      : x_(vectors.begin(), vectors.end()), weights_(static_cast<std::size_t>(width), 1.0F), width_(width) {
    for (std::size_t j = 0; j < weights.size(); ++j) weights_[j] = static_cast<float>(weights[j]);
    n_ = static_cast<int>(vectors.size()) / width;
    label_.assign(static_cast<std::size_t>(n_), 0);
  }

  KivStatus run(int size, KivCdbkHint hint) {
    centroids = {mean(0)};
    const auto [low, high] = std::minmax_element(centroids[0].begin(), centroids[0].end());
    const double threshold = std::max(static_cast<double>(*high) * 1e-6, -static_cast<double>(*low) * 1e-6);
    for (int i = 0; i < n_; ++i) {
      const float d = distance(x(i), centroids[0]);
      stored_.push_back(greater(static_cast<double>(d), threshold) ? d : 0.0F);
    }
    while (static_cast<int>(centroids.size()) < size) {
      int chosen = -1;
      double most = 0.0;
      for (int k = 0; k < static_cast<int>(centroids.size()); ++k) {
        float spread = 0.0F;
        for (int i : members(k)) spread = std::max(spread, 2.0F * stored_[static_cast<std::size_t>(i)]);
        if (members(k).size() < 2 || spread <= 0.0F) continue;
        const double value =
            hint == kivCdbkSplitWidest ? static_cast<double>(spread) : static_cast<double>(members(k).size());
        if (greater(value, most)) {
          most = value;
          chosen = k;
        }
      }
      if (chosen < 0) return kivStatusCdbkSizeWarning;
      if (!split(chosen)) return kivStatusBadArgument;
    }
    return kivStatusOk;
  }

  std::vector<std::vector<float>> centroids;

 private:
  const float* x(int i) const { return x_.data() + static_cast<std::ptrdiff_t>(i) * width_; }
  float distance(const float* a, const std::vector<float>& c) const {
    float sum = 0.0F;
    for (std::size_t j = 0; j < c.size(); ++j) sum += weights_[j] * (a[j] - c[j]) * (a[j] - c[j]);
    return sum;
  }
  std::vector<int> members(int k) const {
    std::vector<int> result;
    for (int i = 0; i < n_; ++i) {
      if (label_[static_cast<std::size_t>(i)] == k) result.push_back(i);
    }
    return result;
  }
  std::vector<float> mean(int k) const {
    std::vector<float> result;
    const auto vectors = members(k);
    for (int j = 0; j < width_; ++j) {
      double sum = 0.0;
      for (int i : vectors) sum += static_cast<double>(x(i)[j]);
      result.push_back(static_cast<float>(sum / static_cast<double>(vectors.size())));
    }
    return result;
  }
  bool separate(int kept, std::size_t count) {
    auto& c = centroids.back();
    if (distance(c.data(), centroids[static_cast<std::size_t>(kept)]) > 1e-6F) return true;
    auto both = members(kept);
    for (int i : members(static_cast<int>(centroids.size()) - 1)) both.push_back(i);
    std::sort(both.begin(), both.end());
    const auto towards = std::find_if(both.begin(), both.end(), [&](int i) { return distance(x(i), c) >= 1e-5F; });
    if (towards == both.end()) return false;
    for (int k = 1; k <= 1000; ++k) {
      for (std::size_t j = 0; j < c.size(); ++j)
        c[j] += ((x(*towards)[j] + c[j]) / 2 - c[j]) * static_cast<float>(k) / 100;
      double sum = 0.0;
      for (int i : both) {
        const double d = static_cast<double>(distance(x(i), c));
        const double change =
            std::abs(d - static_cast<double>(distance(x(i), centroids[static_cast<std::size_t>(kept)])));
        sum += d > 0.0 ? change / d : change;
      }
      if (sum > static_cast<double>(count) * 1e-6) return true;
    }
    return false;
  }
  bool split(int chosen) {
    auto vectors = members(chosen);
    const auto count = vectors.size();
    const int fresh = static_cast<int>(centroids.size());
    for (std::size_t taken = 0; taken < count / 2; ++taken) {
      std::size_t best = 0;
      for (std::size_t i = 1; i < vectors.size(); ++i) {
        if (less(static_cast<double>(stored_[static_cast<std::size_t>(vectors[i])]),
                 static_cast<double>(stored_[static_cast<std::size_t>(vectors[best])])))
          best = i;
      }
      label_[static_cast<std::size_t>(vectors[best])] = fresh;
      vectors.erase(vectors.begin() + static_cast<std::ptrdiff_t>(best));
    }
    centroids.emplace_back();
    double last = std::numeric_limits<double>::infinity();
    for (int pass = 0; pass < 20; ++pass) {
      std::vector<int> size;
      for (int k = 0; k <= fresh; ++k) {
        centroids[static_cast<std::size_t>(k)] = mean(k);
        size.push_back(static_cast<int>(members(k).size()));
      }
      if (!separate(chosen, count)) return false;
      int moved = 0;
      double sum = 0.0;
      for (int i = 0; i < n_; ++i) {
        int& label = label_[static_cast<std::size_t>(i)];
        int best = 0;
        std::vector<double> d;
        for (const auto& c : centroids) d.push_back(static_cast<double>(distance(x(i), c)));
        for (int k = 1; k <= fresh; ++k) {
          if (less(d[static_cast<std::size_t>(k)], d[static_cast<std::size_t>(best)])) best = k;
        }
        if (best != label && size[static_cast<std::size_t>(label)] >= 2) {
          --size[static_cast<std::size_t>(label)];
          ++size[static_cast<std::size_t>(best)];
          label = best;
          ++moved;
        }
        stored_[static_cast<std::size_t>(i)] = static_cast<float>(d[static_cast<std::size_t>(label)]);
        sum += d[static_cast<std::size_t>(label)];
      }
      if (moved == 0 && std::abs(sum - last) <= 0.0001 * sum) break;
      last = sum;
    }
    return true;
  }

  std::vector<float> x_, weights_, stored_;
  std::vector<int> label_;
  int width_, n_;
};

TYPED_TEST(CodebookTest, TrainingFollowsTheProcedure) {
  using T = TypeParam;
  Random random(7);
  for (const int width : {1, 2, 3, 8, 13}) {
    for (const KivCdbkHint hint : {kivCdbkSplitWidest, kivCdbkSplitLargest}) {
      for (const bool weighted : {false, true}) {
        const auto vectors = clustered<T>(random, 300, width, 9);
        std::vector<T> weights;
        for (int j = 0; weighted && j < width; ++j) weights.push_back(static_cast<T>(j % 4));
        if (weighted) weights[0] = 2;
        PlainTraining plain(vectors, width, weights);
        const KivStatus expected = plain.run(24, hint);
        const Book<T> book(vectors, width, 24, hint, weights);
        ASSERT_EQ(book.status, expected);
        ASSERT_EQ(book.count, static_cast<int>(plain.centroids.size()));
        for (int k = 0; k < book.count; ++k) {
          for (int j = 0; j < width; ++j) {
            const double c =
                static_cast<double>(plain.centroids[static_cast<std::size_t>(k)][static_cast<std::size_t>(j)]);
            const double tolerance = std::is_same_v<T, Kiv16s> ? 0.51 : 1e-4;
            ASSERT_NEAR(static_cast<double>(book.codewords[static_cast<std::size_t>(k * width + j)]), c, tolerance)
                << "width " << width << " hint " << hint << " codeword " << k;
          }
        }
      }
    }
  }
}

TYPED_TEST(CodebookTest, FewDistinctVectorsStopTheTraining) {
  using T = TypeParam;
  for (const KivCdbkHint hint : {kivCdbkSplitWidest, kivCdbkSplitLargest}) {
    for (const int distinct : {1, 2, 3, 7}) {
      std::vector<T> vectors;
      for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < 3; ++j) vectors.push_back(static_cast<T>(i % distinct * 100 + j * (i % distinct)));
      }
      const Book<T> book(vectors, 3, 20, hint);
      EXPECT_EQ(book.status, kivStatusCdbkSizeWarning);
      EXPECT_EQ(book.count, distinct);
      std::vector<Kiv32s> index(60);
      ASSERT_EQ(Vq<T>::quantise(vectors.data(), 3, index.data(), 60, book), kivStatusOk);
      for (std::size_t i = 0; i < 60; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
          EXPECT_EQ(vectors[3 * i + j], book.codewords[3 * static_cast<std::size_t>(index[i]) + j]);
        }
      }
    }
  }
  // One vector for each codeword asked for: every vector becomes a codeword.
  Random random(5);
  auto vectors = clustered<T>(random, 40, 2, 40, 9000.0, 100.0);
  Book<T> book(vectors, 2, 40, kivCdbkSplitWidest);
  EXPECT_EQ(book.count, 40);
}

TEST(CodebookTraining, EndsForNanAndInfinity) {
  Random random(3);
  for (const float special : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38F}) {
    auto vectors = random.values<float>(200 * 3, -1.0, 1.0);
    vectors[31] = special;
    vectors[300] = -special;
    const Book<Kiv32f> book(vectors, 3, 16, kivCdbkSplitWidest);
    EXPECT_GE(book.status, kivStatusBadArgument);
    const Book<Kiv32f> full(vectors, 3, 200, kivCdbkFullSearch);
    EXPECT_EQ(full.status, kivStatusOk);
  }
  // Halves that nothing can tell apart: all members closer than the perturbation looks.
  const std::vector<float> close = {1.0F, 1.001F, 1.0F, 1.001F};
  KivsCdbkState_32f* state = nullptr;
  EXPECT_EQ(kivsCdbkInitAlloc_L2_32f(&state, close.data(), 1, 1, 4, 2, kivCdbkSplitLargest), kivStatusCdbkSizeWarning);
  EXPECT_EQ(kivsCdbkFree_32f(state), kivStatusOk);
  const std::vector<float> tiny = {-1e-4F, 1e-4F, -1e-4F, 1e-4F};
  EXPECT_EQ(kivsCdbkInitAlloc_L2_32f(&state, tiny.data(), 1, 1, 4, 2, kivCdbkSplitLargest), kivStatusBadArgument);
}

TYPED_TEST(CodebookTest, TakesVectorsAsTheyAre) {
  using T = TypeParam;
  Random random(11);
  for (const int width : {1, 2, 3, 4, 8, 13}) {
    for (const int step : {width, width + 3}) {
      GuardedMatrix<T> vectors(20, width, step);
      vectors.fill([&] { return random.value<T>(-30000, 30000); });
      int bytes = 0;
      ASSERT_EQ(Vq<T>::get_size(width, step, 20, 20, kivCdbkFullSearch, &bytes), kivStatusOk);
      const int stride = width == 1 || width == 2 || width == 4 ? width : (step + 7) / 8 * 8;
      const int record = sizeof(void*) == 4 ? 48 : 80;
      EXPECT_EQ(bytes, (20 + width + stride * 20) * 4 + record + 96);
      // The end of the memory is guarded; its start has the alignment of pointers only.
      Guarded<char> memory(static_cast<std::size_t>(bytes + 7) / 8 * 8);
      auto* const placed = reinterpret_cast<typename Vq<T>::State*>(memory.data());
      ASSERT_EQ(Vq<T>::init(placed, vectors.data(), width, step, 20, 20, kivCdbkFullSearch), kivStatusOk);
      typename Vq<T>::State* heap = nullptr;
      ASSERT_EQ(Vq<T>::init_alloc(&heap, vectors.data(), width, step, 20, 7, kivCdbkFullSearch),
                kivStatusCdbkSizeWarning);
      for (const auto* book :
           {static_cast<const typename Vq<T>::State*>(placed), static_cast<const typename Vq<T>::State*>(heap)}) {
        int count = 0;
        ASSERT_EQ(Vq<T>::get_count(book, &count), kivStatusOk);
        ASSERT_EQ(count, 20);
        GuardedMatrix<T> copy(20, width, width + 1);
        ASSERT_EQ(Vq<T>::get_codebook(book, copy.data(), width + 1), kivStatusOk);
        for (int r = 0; r < 20; ++r) {
          for (int j = 0; j < width; ++j) ASSERT_EQ(copy.at(r, j), vectors.at(r, j));
        }
      }
      EXPECT_EQ(Vq<T>::free(heap), kivStatusOk);
    }
  }
}

TYPED_TEST(CodebookTest, Statuses) {
  using T = TypeParam;
  using V = Vq<T>;
  const std::vector<T> x(17000 * 2, T{1});
  std::vector<T> weights = {1, 1};
  typename V::State* state = nullptr;
  const auto make = [&](const T* src, const T* w, int width, int step, int height, int size, KivCdbkHint hint) {
    return V::init_alloc_weighted(&state, src, w, width, step, height, size, hint);
  };
  EXPECT_EQ(make(nullptr, weights.data(), 0, 2, 9, 9, 1), kivStatusNullPointer);
  EXPECT_EQ(make(x.data(), nullptr, 2, 2, 9, 9, 1), kivStatusNullPointer);
  EXPECT_EQ(V::init_alloc_weighted(nullptr, x.data(), weights.data(), 2, 2, 9, 9, 1), kivStatusNullPointer);
  EXPECT_EQ(V::init_alloc(&state, nullptr, 0, 2, 9, 9, 1), kivStatusBadSize);
  EXPECT_EQ(V::init_alloc(&state, nullptr, 2, 2, 9, 9, 1), kivStatusNullPointer);
  weights[1] = -1;
  EXPECT_EQ(make(x.data(), weights.data(), 2, 1, 9, 9, 9), kivStatusBadSize);
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 9, 9, 9), kivStatusBadArgument);
  weights[1] = 1;
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 9, 10, 1), kivStatusBadSize);
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 17000, 16384, 1), kivStatusBadSize);
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 9, 0, 1), kivStatusBadSize);
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 9, 9, 4), kivStatusBadHint);
  EXPECT_EQ(make(x.data(), weights.data(), 2, 2, 9, 9, 0), kivStatusBadHint);
  EXPECT_EQ(state, nullptr);

  int bytes = -1;
  EXPECT_EQ(V::get_size(0, 0, 0, 0, 2, nullptr), kivStatusBadHint);
  EXPECT_EQ(V::get_size(0, 0, 0, 0, 1, nullptr), kivStatusNullPointer);
  EXPECT_EQ(V::get_size(2, 2, 9, 8, 1, &bytes), kivStatusBadSize);
  EXPECT_EQ(V::get_size(2, 2, 16384, 16384, 1, &bytes), kivStatusBadSize);
  EXPECT_EQ(V::get_size(3, std::numeric_limits<int>::max(), 9, 9, 1, &bytes), kivStatusBadSize);
  EXPECT_EQ(bytes, -1);
  EXPECT_EQ(V::get_size(2, 2, 16383, 16383, 1, &bytes), kivStatusOk);
  EXPECT_EQ(V::init(nullptr, x.data(), 2, 2, 9, 9, 3), kivStatusBadHint);
  EXPECT_EQ(V::init(nullptr, x.data(), 2, 2, 9, 9, 1), kivStatusNullPointer);

  ASSERT_EQ(make(x.data(), weights.data(), 2, 2, 16383, 16383, 1), kivStatusOk);
  T out[4];
  int count;
  EXPECT_EQ(V::get_count(state, nullptr), kivStatusNullPointer);
  EXPECT_EQ(V::get_count(nullptr, &count), kivStatusNullPointer);
  EXPECT_EQ(V::get_codebook(nullptr, out, 2), kivStatusNullPointer);
  EXPECT_EQ(V::get_codebook(state, out, 1), kivStatusBadSize);
  // Word 4 of the record is the hint.
  Kiv32s* const words = reinterpret_cast<Kiv32s*>(state);
  EXPECT_EQ(words[0], 16382);
  EXPECT_EQ(words[1], 16383);
  EXPECT_EQ(words[2], 2);
  EXPECT_EQ(words[3], 2);
  words[4] = 0;
  EXPECT_EQ(V::free(state), kivStatusInternalError);
  words[4] = 1;
  EXPECT_EQ(V::free(state), kivStatusOk);
  EXPECT_EQ(V::free(nullptr), kivStatusNullPointer);
}

TYPED_TEST(CodebookTest, SurvivesFailedAllocations) {
  using T = TypeParam;
  Random random(2);
  for (const int width : {1, 2, 13, 200}) {
    const auto vectors = clustered<T>(random, 200, width, 5);
    for (const KivCdbkHint hint : {kivCdbkFullSearch, kivCdbkSplitWidest}) {
      expect_survives_failed_allocations(
          [&] {
            typename Vq<T>::State* state = nullptr;
            const KivStatus status = Vq<T>::init_alloc(&state, vectors.data(), width, width, 200, 150, hint);
            if (status >= kivStatusOk) Vq<T>::free(state);
            return status;
          },
          5);
    }
    const Book<T> heap(vectors, width, 200, kivCdbkFullSearch);
    const Book<T> placed(vectors, width, 0, kivCdbkFullSearch);
    for (const typename Vq<T>::State* book :
         {static_cast<const typename Vq<T>::State*>(heap), static_cast<const typename Vq<T>::State*>(placed)}) {
      Kiv32s index[200];
      expect_survives_failed_allocations([&] { return Vq<T>::quantise(vectors.data(), width, index, 200, book); }, 0);
      expect_survives_failed_allocations([&] { return Vq<T>::sort(vectors.data(), index, book, 200); }, 0);
    }
  }
}

}  // namespace
}  // namespace kivsr::test
