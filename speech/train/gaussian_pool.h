// Sums of frames that one Gaussian is to describe, and how likely they are under the one that fits them best.
#pragma once

#include <cmath>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

class GaussianPool {
 public:
  explicit GaussianPool(std::size_t dimension) : sums_(2 * dimension) {}

  // Of a Gaussian that describes so many frames.
  GaussianPool(const std::vector<double>& mean, const std::vector<double>& variance, double frames)
      : frames_(frames), sums_(2 * mean.size()) {
    call<kivsDcsClustLAccumulate_DirectVar_64f>(mean, variance, sums_.data(), sums_.data() + mean.size(), mean.size(),
                                                frames);
  }

  double frames() const { return frames_; }
  std::size_t dimension() const { return sums_.size() / 2; }
  void add(const GaussianPool& other) {
    frames_ += other.frames_;
    call<kivsAdd_64f_I>(other.sums_, sums_, sums_.size());
  }
  void subtract(const GaussianPool& other) {
    frames_ -= other.frames_;
    call<kivsSub_64f_I>(other.sums_, sums_, sums_.size());
  }
  double mean(std::size_t i) const { return sums_[i] / frames_; }
  double variance(std::size_t i) const { return sums_[dimension() + i] / frames_ - mean(i) * mean(i); }

  // Minus infinity where a variance is lost in rounding.
  double log_likelihood() const {
    double result = 0.0;
    if (!(frames_ > 0.0)) return result;
    const KivStatus status =
        call<kivsDcsClustLCompute_64f>(sums_.data(), sums_.data() + dimension(), dimension(), &result, frames_);
    return status == kivStatusOk ? result : -INFINITY;
  }

 private:
  double frames_ = 0.0;
  std::vector<double> sums_;  // of the values, then of their squares
};

}  // namespace kivsr::speech
