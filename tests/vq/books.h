// The codebook functions by element type, and books that free themselves.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kivsr.h"
#include "support/random.h"

namespace kivsr::test {

template <class T>
struct Vq;

template <>
struct Vq<Kiv32f> {
  using State = KivsCdbkState_32f;
  using Distance = Kiv32f;
  static constexpr auto init_alloc = kivsCdbkInitAlloc_L2_32f;
  static constexpr auto init_alloc_weighted = kivsCdbkInitAlloc_WgtL2_32f;
  static constexpr auto init = kivsCdbkInit_L2_32f;
  static constexpr auto get_size = kivsCdbkGetSize_32f;
  static constexpr auto get_count = kivsGetCdbkSize_32f;
  static constexpr auto get_codebook = kivsGetCodebook_32f;
  static constexpr auto free = kivsCdbkFree_32f;
  static constexpr auto quantise = kivsVQ_32f;
  static constexpr auto sort = kivsVQSingle_Sort_32f;
  static constexpr auto thresh = kivsVQSingle_Thresh_32f;
  static constexpr auto quantise_distance = kivsVQDist_32f;
  static constexpr auto sort_distance = kivsVQDistSingle_Sort_32f;
  static constexpr auto thresh_distance = kivsVQDistSingle_Thresh_32f;
  static constexpr auto split_16s = kivsSplitVQ_32f16s;
  static constexpr auto split_8u = kivsSplitVQ_32f8u;
  static constexpr auto split_1u = kivsSplitVQ_32f1u;
  static constexpr auto form_16s = kivsFormVectorVQ_16s32f;
  static constexpr auto form_8u = kivsFormVectorVQ_8u32f;
  static constexpr auto form_1u = kivsFormVectorVQ_1u32f;
};

template <>
struct Vq<Kiv16s> {
  using State = KivsCdbkState_16s;
  using Distance = Kiv32s;
  static constexpr auto init_alloc = kivsCdbkInitAlloc_L2_16s;
  static constexpr auto init_alloc_weighted = kivsCdbkInitAlloc_WgtL2_16s;
  static constexpr auto init = kivsCdbkInit_L2_16s;
  static constexpr auto get_size = kivsCdbkGetSize_16s;
  static constexpr auto get_count = kivsGetCdbkSize_16s;
  static constexpr auto get_codebook = kivsGetCodebook_16s;
  static constexpr auto free = kivsCdbkFree_16s;
  static constexpr auto quantise = kivsVQ_16s;
  static constexpr auto sort = kivsVQSingle_Sort_16s;
  static constexpr auto thresh = kivsVQSingle_Thresh_16s;
  static KivStatus quantise_distance(const Kiv16s* src, int step, Kiv32s* indices, Kiv32s* distances, int height,
                                     const State* book) {
    return kivsVQDist_16s32s_Sfs(src, step, indices, distances, height, book, 0);
  }
  static KivStatus sort_distance(const Kiv16s* src, Kiv32s* indices, Kiv32s* distances, const State* book, int num) {
    return kivsVQDistSingle_Sort_16s32s_Sfs(src, indices, distances, book, num, 0);
  }
  static KivStatus thresh_distance(const Kiv16s* src, Kiv32s* indices, Kiv32s* distances, const State* book,
                                   Kiv32f relative, int* count) {
    return kivsVQDistSingle_Thresh_16s32s_Sfs(src, indices, distances, book, relative, count, 0);
  }
  static constexpr auto split_16s = kivsSplitVQ_16s16s;
  static constexpr auto split_8u = kivsSplitVQ_16s8u;
  static constexpr auto split_1u = kivsSplitVQ_16s1u;
  static constexpr auto form_16s = kivsFormVectorVQ_16s16s;
  static constexpr auto form_8u = kivsFormVectorVQ_8u16s;
  static constexpr auto form_1u = kivsFormVectorVQ_1u16s;
};

// A book in library memory, or with size 0 one in memory of the test.
template <class T>
class Book {
 public:
  Book(const std::vector<T>& vectors, int width, int size, KivCdbkHint hint, const std::vector<T>& weights = {}) {
    const int height = static_cast<int>(vectors.size()) / width;
    if (size == 0) {
      int bytes = 0;
      EXPECT_EQ(Vq<T>::get_size(width, width, height, height, hint, &bytes), kivStatusOk);
      memory_.resize(static_cast<std::size_t>(bytes) / 8 + 1);
      state_ = reinterpret_cast<typename Vq<T>::State*>(memory_.data());
      status = Vq<T>::init(state_, vectors.data(), width, width, height, height, hint);
    } else if (weights.empty()) {
      status = Vq<T>::init_alloc(&state_, vectors.data(), width, width, height, size, hint);
    } else {
      status = Vq<T>::init_alloc_weighted(&state_, vectors.data(), weights.data(), width, width, height, size, hint);
    }
    if (status < kivStatusOk) return;
    EXPECT_EQ(Vq<T>::get_count(state_, &count), kivStatusOk);
    codewords.resize(static_cast<std::size_t>(count) * static_cast<std::size_t>(width));
    EXPECT_EQ(Vq<T>::get_codebook(state_, codewords.data(), width), kivStatusOk);
  }
  ~Book() {
    if (!memory_.empty() || state_ == nullptr) return;
    EXPECT_EQ(Vq<T>::free(state_), kivStatusOk);
  }
  Book(const Book&) = delete;
  Book& operator=(const Book&) = delete;
  operator const typename Vq<T>::State *() const { return state_; }

  KivStatus status = kivStatusError;
  int count = 0;
  std::vector<T> codewords;

 private:
  typename Vq<T>::State* state_ = nullptr;
  std::vector<double> memory_;
};

// Squared distances of x to the rows of a matrix, in double precision.
template <class T>
std::vector<double> squared_distances(const T* x, const std::vector<T>& rows, int width,
                                      const std::vector<T>& weights = {}) {
  std::vector<double> result;
  for (std::size_t r = 0; r < rows.size(); r += static_cast<std::size_t>(width)) {
    double sum = 0.0;
    for (int j = 0; j < width; ++j) {
      const double d = static_cast<double>(x[j]) - static_cast<double>(rows[r + static_cast<std::size_t>(j)]);
      sum += (weights.empty() ? 1.0 : static_cast<double>(weights[static_cast<std::size_t>(j)])) * d * d;
    }
    result.push_back(sum);
  }
  return result;
}

// A distance as the functions report it with scale factor 0.
template <class T>
double reported(double root) {
  return std::is_integral_v<T> ? std::nearbyint(root) : root;
}

// Vectors around a few centres: integers of either type, with some exact repetitions.
template <class T>
std::vector<T> clustered(Random& random, int n, int width, int centres, double range = 1000.0, double spread = 60.0) {
  const auto centre = random.values<float>(static_cast<std::size_t>(centres * width), -range, range);
  std::vector<T> result;
  for (int i = 0; i < n; ++i) {
    const int c = random.integer(0, centres - 1);
    for (int j = 0; j < width; ++j) {
      result.push_back(static_cast<T>(std::nearbyint(
          static_cast<double>(centre[static_cast<std::size_t>(c * width + j)]) + spread * random.normal())));
    }
  }
  return result;
}

}  // namespace kivsr::test
