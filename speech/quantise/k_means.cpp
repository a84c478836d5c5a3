#include "kivsr/speech/quantise/k_means.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <utility>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr int kDraws = 2;
constexpr int kMostPasses = 40;
constexpr double kLeastGain = 1e-4;  // of the sum of the distances in a pass

class KMeans {
 public:
  KMeans(const FeatureMatrix& rows, std::span<const float> weights)
      : rows_(rows),
        weights_(weights.begin(), weights.end()),
        width_(static_cast<std::size_t>(rows.width)),
        height_(static_cast<std::size_t>(rows.height())),
        distances_(height_),
        candidate_(height_),
        other_(height_),
        labels_(height_) {}

  std::vector<float> run(int count) {
    draw_first(static_cast<std::size_t>(count));
    double before = 0.0;
    for (int pass = 0; pass < kMostPasses; ++pass) {
      const double sum = assign();
      move_codewords();
      if (pass > 0 && !(before - sum > kLeastGain * sum)) break;
      before = sum;
    }
    return std::move(codewords_);
  }

 private:
  std::span<const float> row(std::size_t i) const { return std::span(rows_.values).subspan(i * width_, width_); }

  // A number in [0, 1) of 32 bits.
  double random() { return static_cast<double>(generator_()) * 0x1p-32; }

  // A row, with a probability in proportion to its distance from the nearest codeword.
  std::size_t draw(double total) {
    double left = random() * total;
    std::size_t last = 0;
    for (std::size_t i = 0; i < height_; ++i) {
      const auto own = static_cast<double>(distances_[i]);
      if (!(own > 0.0)) continue;
      last = i;
      left -= own;
      if (left < 0.0) break;
    }
    return last;
  }

  // Distances to the nearest codeword as they are when row i becomes one too; returns their sum.
  double with_codeword(std::size_t i, std::vector<float>& distances) const {
    // Scores are minus half of the distances.
    call<kivsLogGauss_32f_D2>(rows_.values, width_, row(i), weights_, width_, distances, height_, 0.0F);
    double sum = 0.0;
    for (std::size_t r = 0; r < height_; ++r) {
      distances[r] = std::min(distances_[r], -2.0F * distances[r]);
      sum += static_cast<double>(distances[r]);
    }
    return sum;
  }

  void draw_first(std::size_t count) {
    std::fill(distances_.begin(), distances_.end(), std::numeric_limits<float>::infinity());
    std::size_t best = static_cast<std::size_t>(random() * static_cast<double>(height_));
    double total = with_codeword(best, candidate_);
    for (;;) {
      codewords_.insert(codewords_.end(), row(best).begin(), row(best).end());
      distances_.swap(candidate_);
      if (codewords_.size() == count * width_ || !(total > 0.0)) return;
      const double present = total;
      total = std::numeric_limits<double>::infinity();
      for (int i = 0; i < kDraws; ++i) {
        const std::size_t drawn = draw(present);
        const double sum = with_codeword(drawn, other_);
        if (!(sum < total) && i > 0) continue;
        total = sum;
        best = drawn;
        candidate_.swap(other_);
      }
    }
  }

  // The nearest codeword of each row; returns the sum of the distances.
  double assign() {
    const std::size_t count = codewords_.size() / width_;
    const auto book = Codebook32f::make<kivsCdbkInitAlloc_WgtL2_32f>(codewords_, weights_, width_, width_, count, count,
                                                                     kivCdbkFullSearch);
    call<kivsVQDist_32f>(rows_.values, width_, labels_, distances_, height_, book);
    double sum = 0.0;
    for (float& root : distances_) {
      root *= root;
      sum += static_cast<double>(root);
    }
    return sum;
  }

  // Means of the rows of each codeword. One without rows becomes the row that is farthest from its own.
  void move_codewords() {
    const std::size_t count = codewords_.size() / width_;
    sums_.assign(codewords_.size(), 0.0);
    members_.assign(count, 0);
    for (std::size_t r = 0; r < height_; ++r) {
      const auto codeword = static_cast<std::size_t>(labels_[r]);
      ++members_[codeword];
      double* const sum = sums_.data() + codeword * width_;
      const float* const x = row(r).data();
      for (std::size_t j = 0; j < width_; ++j) sum[j] += static_cast<double>(x[j]);
    }
    for (std::size_t k = 0; k < count; ++k) {
      float* const codeword = codewords_.data() + k * width_;
      if (members_[k] == 0) {
        const auto farthest = std::max_element(distances_.begin(), distances_.end());
        *farthest = 0.0F;
        std::copy_n(row(static_cast<std::size_t>(farthest - distances_.begin())).data(), width_, codeword);
        continue;
      }
      for (std::size_t j = 0; j < width_; ++j) {
        codeword[j] = static_cast<float>(sums_[k * width_ + j] / static_cast<double>(members_[k]));
      }
    }
  }

  const FeatureMatrix& rows_;
  std::vector<float> weights_;
  std::size_t width_;
  std::size_t height_;
  std::mt19937 generator_;
  std::vector<float> codewords_;
  std::vector<float> distances_;  // [row]: to the nearest codeword
  std::vector<float> candidate_, other_;
  std::vector<Kiv32s> labels_;  // [row]
  std::vector<double> sums_;    // [codeword][column]
  std::vector<int> members_;
};

}  // namespace

std::vector<float> k_means(const FeatureMatrix& rows, std::span<const float> weights, int count) {
  return KMeans(rows, weights).run(count);
}

}  // namespace kivsr::speech
