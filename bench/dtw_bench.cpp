// Dynamic time warping beside a plain loop, and beside distances from Eigen's matrix product with rows of sums.
#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
using RowMajor = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

// Sequences of n rows; both walk slowly, so that paths have something to follow.
const float* walk(int n, int width, int seed) {
  float* const rows = array<float>(n * width, [](int) { return 0; });
  for (int i = 0; i < n * width; ++i) {
    rows[i] = static_cast<float>(4 * noise(i + 1000003 * seed) - 2) + (i < width ? 0 : 0.8F * rows[i - width]);
  }
  return rows;
}

int band_first(int i, int band) { return band < 0 ? 0 : std::max(0, i - band); }
int band_last(int i, int n, int band) { return band < 0 ? n - 1 : std::min(n - 1, i + band); }

// The row of sums above, from column -1 on, becomes the row of `distance`s.
template <class Distance>
void add_row(std::vector<float>& sums, int first, int last, Distance distance) {
  float diagonal = sums[first];
  float left = kInfinity;
  sums[first] = kInfinity;
  for (int j = first; j <= last; ++j) {
    const float above = sums[j + 1];
    left = distance(j) + std::min(std::min(diagonal, above), left);
    diagonal = above;
    sums[j + 1] = left;
  }
}

float plain_loop(const float* a, const float* b, int n, int width, int band) {
  std::vector<float> sums(n + 1, kInfinity);
  sums[0] = 0;
  for (int i = 0; i < n; ++i) {
    add_row(sums, band_first(i, band), band_last(i, n, band), [&](int j) {
      float sum = 0;
      for (int k = 0; k < width; ++k) {
        const float d = a[i * width + k] - b[j * width + k];
        sum += d * d;
      }
      return std::sqrt(sum);
    });
  }
  return sums[n];
}

float matrix_product(const float* a, const float* b, int n, int width, int band) {
  const Eigen::Map<const RowMajor> first(a, n, width);
  const Eigen::Map<const RowMajor> second(b, n, width);
  RowMajor d(n, n);
  d.noalias() = first * second.transpose() * -2;
  d.rowwise() += second.rowwise().squaredNorm().transpose();
  d.colwise() += first.rowwise().squaredNorm();
  d = d.cwiseMax(0).cwiseSqrt();
  std::vector<float> sums(n + 1, kInfinity);
  sums[0] = 0;
  for (int i = 0; i < n; ++i) {
    add_row(sums, band_first(i, band), band_last(i, n, band), [&](int j) { return d(i, j); });
  }
  return sums[n];
}

void warping(int n, int width) {
  const float* const a = walk(n, width, 1);
  const float* const b = walk(n, width, 2);
  float* const sum = array<float>(n, [](int) { return 0; });
  int* const places = array<int>(4 * n, [](int) { return 0; });
  const std::string size = "_width_" + std::to_string(width);
  for (const int band : {-1, n / 10}) {
    const std::string name = (band < 0 ? "DTW_L2_32f" : "DTW_L2_32f_band") + size;
    measure(name, "ours", n, [=] { kivsDTW_L2_32f_D2(a, width, n, b, width, n, width, sum, band); });
    measure(name, "loop", n, [=] { return plain_loop(a, b, n, width, band); });
    measure(name, "Eigen", n, [=] { return matrix_product(a, b, n, width, band); });
  }
  // Beside the member without a path.
  measure("DTW_L2Path_32f" + size, "ours", n,
          [=] { kivsDTW_L2Path_32f_D2(a, width, n, b, width, n, width, sum, places, places + 3 * n, -1); });
  measure("DTW_L2Path_32f" + size, "no path", n, [=] { kivsDTW_L2_32f_D2(a, width, n, b, width, n, width, sum, -1); });
  measure("DTW_L2Open_32f" + size, "ours", n,
          [=] { kivsDTW_L2Open_32f_D2(a, width, n, b, width, n, width, sum, places); });

  // The nearest of ten templates, of which one is another reading of the input.
  constexpr int kTemplates = 10;
  std::vector<const float*> templates;
  for (int k = 0; k < kTemplates; ++k) templates.push_back(walk(n, width, 10 + k));
  float* const near = array<float>(n * width, [=](int i) { return a[i] + noise(i) - 0.5; });
  templates[3] = near;
  measure("DTW_L2Thresh_32f" + size, "ours", n, [=] {
    float best = kInfinity;
    for (const float* t : templates) {
      kivsDTW_L2Thresh_32f_D2(a, width, n, t, width, n, width, sum, -1, best);
      best = std::min(best, *sum);
    }
    return best;
  });
  measure("DTW_L2Thresh_32f" + size, "all cells", n, [=] {
    float best = kInfinity;
    for (const float* t : templates) {
      kivsDTW_L2_32f_D2(a, width, n, t, width, n, width, sum, -1);
      best = std::min(best, *sum);
    }
    return best;
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int n : {100, 500}) {
    for (const int width : {13, 39}) kivsr::bench::warping(n, width);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
