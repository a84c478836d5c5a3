// Transforms of features that are estimated from classes of frames: linear discriminant analysis, and the transform
// after which diagonal covariances fit the classes best.
// Next: transform_estimation.h, which finds the classes in a pass of training.
#pragma once

#include <cstddef>
#include <vector>

namespace kivsr::speech {

struct ClassMoments {
  double frames = 0.0;
  std::vector<double> mean;
  std::vector<double> covariance;  // [column][column]
};

// The mean covariance of a class, each counted by its frames, and the covariance of their means.
struct Scatter {
  std::vector<double> within;
  std::vector<double> between;
};
Scatter scatter_of(const std::vector<ClassMoments>& classes);

// Linear discriminant analysis (Haeb-Umbach and Ney 1992): the solutions of between a = value within a with the
// largest values, one behind the other, scaled so that a within a^T = 1 and the largest element is positive. Throws
// Fault for columns that depend on each other and for more rows than columns.
std::vector<double> discriminant_rows(const Scatter& scatter, std::size_t columns, std::size_t rows);

// The semi-tied covariance transform A (Gales 1999), square: it maximises
//   sum of n_c (2 log|det A| - log det diag(A C_c A^T))
// over the classes c of n_c frames and covariance C_c, a row at a time: with s_ci the variance of class c in row i,
// G_i = sum of n_c / s_ci C_c and p the row of A^-T, row i becomes p G_i^-1 sqrt(n / (p G_i^-1 p^T)).
class SemiTiedCovariance {
 public:
  // Each covariance counts as many frames of the mean one as it has columns: those of few frames would else be
  // exploited.
  explicit SemiTiedCovariance(const std::vector<ClassMoments>& classes);

  // Improves all rows once; returns what the log likelihood gains.
  double improve();
  // Half the objective, a frame: a log likelihood but for a constant.
  double log_likelihood() const;
  // Improves until a turn gains next to nothing.
  void find();
  // Scaled so that the mean variance of a class is 1 in each row.
  std::vector<double> rows() const;

 private:
  double improve_row(std::size_t row);
  void find_variances(std::size_t row);

  std::size_t size_;
  double frames_ = 0.0;
  std::vector<ClassMoments> classes_;
  std::vector<double> within_;
  std::vector<double> rows_;       // [row][column]
  std::vector<double> variances_;  // [row][class]
};

}  // namespace kivsr::speech
