// Means that move together: m' = A m + b, one transform for each class of Gaussians, of the greatest likelihood
// (C. Leggetter, P. Woodland, Maximum likelihood linear regression for speaker adaptation of continuous density hidden
// Markov models, Computer Speech and Language 9, 1995). Gaussians of which nothing was heard move with their class.
#pragma once

#include <span>
#include <vector>

namespace kivsr::speech {

// A Gaussian of a model, and the sums over what was heard of it, about its mean.
struct HeardGaussian {
  // The sums are about another mean, from which they are moved.
  HeardGaussian(std::span<float> mean, std::span<float> variance, double frames, std::span<const double> first,
                std::span<const double> second, std::span<const float> sums_about);

  // Moves the mean and the sums.
  void set_mean(std::span<const double> values);

  std::span<float> mean;
  std::span<float> variance;
  double frames;
  std::vector<double> first;   // sum of share * (x - mean)
  std::vector<double> second;  // sum of share * (x - mean)^2

 private:
  void move_sums(std::size_t i, double step);
};

struct MeanRegression {
  enum class Form { kNone, kDiagonal, kFull };
  Form form = Form::kNone;
  int classes = 8;              // at most
  double least_frames = 500.0;  // of a class that is told apart
};

// The class of each Gaussian, from 0 on. The class with most frames is cut in two by the means, as long as both sides
// have frames enough.
std::vector<int> regression_classes(const std::vector<HeardGaussian>& gaussians, const MeanRegression& settings);

// Moves the means of all Gaussians and returns the number of classes, 0 without a regression. What the sums do not
// decide stays: of all solutions the one next to the present means is taken, by the singular values of the equations.
int move_means(std::vector<HeardGaussian>& gaussians, const MeanRegression& settings);

}  // namespace kivsr::speech
