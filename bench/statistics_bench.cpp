// Column statistics, matrix-vector products and covariance accumulation beside Eigen and OpenBLAS.
#include <cblas.h>

#include <Eigen/Dense>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

template <class T>
using RowMajor = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

float* zeros(int n) {
  return array<float>(n, [](int) { return 0; });
}

auto vector(float* data, int n) { return Eigen::Map<Eigen::VectorXf>(data, n); }

// Blocks of `height` feature vectors; the size in the benchmark's name is the height.
void feature_blocks(int height, int width) {
  const float* const x = array<float>(height * width, [](int i) { return 4 * noise(i) - 1; });
  const Kiv16s* const words = array<Kiv16s>(height * width, [](int i) { return 4000 * noise(i) - 1000; });
  float* const changed = array<float>(height * width, [](int i) { return noise(i); });
  float* const center = array<float>(width, [](int i) { return noise(i); });
  float* const ones = array<float>(width, [](int) { return 1; });
  float* const weights = array<float>(height, [=](int) { return 1.0 / height; });
  float* const mean = zeros(width);
  float* const variance = zeros(width);
  Kiv32s* const sums = reinterpret_cast<Kiv32s*>(mean);
  Kiv32s* const squares = reinterpret_cast<Kiv32s*>(variance);
  const Eigen::Map<const RowMajor<float>> block(x, height, width);
  const auto n = static_cast<float>(height);

  measure("MeanColumn_32f", "ours", height, [=] { kivsMeanColumn_32f_D2(x, height, width, mean, width); });
  measure("MeanColumn_32f", "Eigen", height,
          [=] { vector(mean, width).noalias() = block.colwise().mean().transpose(); });
  measure("MeanColumn_32f", "OpenBLAS", height,
          [=] { cblas_sgemv(CblasRowMajor, CblasTrans, height, width, 1, x, width, weights, 1, 0, mean, 1); });
  measure("MeanColumn_16s", "ours", height,
          [=] { kivsMeanColumn_16s_D2(words, height, width, reinterpret_cast<Kiv16s*>(mean), width); });
  measure("MeanVarColumn_32f", "ours", height,
          [=] { kivsMeanVarColumn_32f_D2(x, height, width, mean, variance, width); });
  measure("MeanVarColumn_32f", "Eigen", height, [=] {
    vector(mean, width) = block.colwise().mean().transpose();
    vector(variance, width) =
        (block.cwiseAbs2().colwise().sum().transpose() - n * vector(mean, width).cwiseAbs2()) / (n - 1);
  });
  measure("MeanVarColumn_16s32s", "ours", height,
          [=] { kivsMeanVarColumn_16s32s_D2Sfs(words, height, width, sums, squares, width, 0); });
  measure("NormalizeColumn_32f", "ours", height,
          [=] { kivsNormalizeColumn_32f_D2(changed, width, height, center, ones, width); });
  measure("NormalizeColumn_32f", "Eigen", height, [=] {
    Eigen::Map<RowMajor<float>> matrix(changed, height, width);
    matrix.array() = (matrix.rowwise() - vector(center, width).transpose()).array().rowwise() *
                     vector(ones, width).transpose().array();
  });

  double* const covariance = array<double>(width * width, [](int) { return 0; });
  measure("AccCovarianceMatrix_32f64f", "ours", height,
          [=] { kivsAccCovarianceMatrix_32f64f_D2(x, width, height, center, covariance, width, width, 0.5); });
  // The same from products about the columns' own means, as sum (x_i - m_j)(x_j - m_j) is
  // sum y_i y_j + (m_i - m_j) sum y_j with y = x - m.
  measure("AccCovarianceMatrix_32f64f", "Eigen", height, [=] {
    Eigen::Map<Eigen::MatrixXd> s(covariance, width, width);
    const Eigen::VectorXd m = vector(center, width).cast<double>();
    const Eigen::MatrixXd y = block.cast<double>().rowwise() - m.transpose();
    s.selfadjointView<Eigen::Upper>().rankUpdate(y.transpose(), 0.5);
    const Eigen::VectorXd total = y.colwise().sum().transpose();
    s.triangularView<Eigen::Upper>() +=
        0.5 * (m * total.transpose() - Eigen::VectorXd::Ones(width) * m.cwiseProduct(total).transpose());
    s.triangularView<Eigen::StrictlyLower>() = s.transpose();
  });
}

// Columns and rows gathered from a block; the size is the number of rows of the result.
void gathered(int height, int width) {
  const float* const x = array<float>(height * width, [](int i) { return 4 * noise(i) - 1; });
  const Kiv32s* const columns = array<Kiv32s>(width, [=](int k) { return (7 * k + 3) % width; });
  const Kiv32s* const rows = array<Kiv32s>(height, [=](int i) { return static_cast<Kiv32s>(noise(i) * height); });
  const Kiv32s* const none = array<Kiv32s>(height, [](int) { return 0; });
  float* const part = zeros(height * width);
  float* const sums = zeros(width);
  const Eigen::Map<const RowMajor<float>> block(x, height, width);

  measure("CopyColumn_32f", "ours", height, [=] { kivsCopyColumn_32f_D2(x, width, width, part, 13, 13, 13, height); });
  measure("CopyColumn_32f", "Eigen", height,
          [=] { Eigen::Map<RowMajor<float>>(part, height, 13) = block.middleCols(13, 13); });
  measure("CopyColumn_Indirect_32f", "ours", height,
          [=] { kivsCopyColumn_Indirect_32f_D2(x, width, width, part, columns, width, width, height); });
  measure("CopyColumn_Indirect_32f", "loop", height, [=] {
    for (int r = 0; r < height; ++r) {
      for (int k = 0; k < width; ++k) part[r * width + k] = x[r * width + columns[k]];
    }
  });
  measure("AddNRows_32f", "ours", height,
          [=] { kivsAddNRows_32f_D2(x, height, 0, width, rows, none, height, sums, width); });
  measure("AddNRows_32f", "Eigen", height, [=] {
    vector(sums, width).setZero();
    for (int r = 0; r < height; ++r) vector(sums, width) += block.row(rows[r]).transpose();
  });
}

// Square matrices of n rows.
void products(int n) {
  const float* const x = array<float>(n * n, [](int i) { return noise(i) - 0.5; });
  const Kiv16s* const words = array<Kiv16s>(n * n, [](int i) { return 4000 * noise(i) - 2000; });
  float* const v = array<float>(n, [](int i) { return noise(7 * i) - 0.5; });
  float* const result = zeros(n);
  Kiv32s* const sums = reinterpret_cast<Kiv32s*>(result);
  const Eigen::Map<const RowMajor<float>> matrix(x, n, n);

  measure("MatVecMul_32f", "ours", n, [=] { kivsMatVecMul_32f_D2(x, n, v, n, result, n); });
  measure("MatVecMul_32f", "Eigen", n, [=] { vector(result, n).noalias() = matrix * vector(v, n); });
  measure("MatVecMul_32f", "OpenBLAS", n,
          [=] { cblas_sgemv(CblasRowMajor, CblasNoTrans, n, n, 1, x, n, v, 1, 0, result, 1); });
  measure("MatVecMul_16s32s", "ours", n, [=] { kivsMatVecMul_16s32s_D2Sfs(words, n, words, n, sums, n, 4); });
  measure("VecMatMul_32f", "ours", n, [=] { kivsVecMatMul_32f_D2(v, x, n, n, result, n); });
  measure("VecMatMul_32f", "Eigen", n, [=] { vector(result, n).noalias() = matrix.transpose() * vector(v, n); });
  measure("VecMatMul_32f", "OpenBLAS", n,
          [=] { cblas_sgemv(CblasRowMajor, CblasTrans, n, n, 1, x, n, v, 1, 0, result, 1); });
  measure("VecMatMul_16s32s", "ours", n, [=] { kivsVecMatMul_16s32s_D2Sfs(words, words, n, n, sums, n, 4); });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int height : {1000, 100000}) kivsr::bench::feature_blocks(height, 39);
  for (const int height : {10, 1000}) kivsr::bench::gathered(height, 39);
  for (const int n : {40, 256, 1024}) kivsr::bench::products(n);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
