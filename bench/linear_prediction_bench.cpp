// Autocorrelation, Levinson-Durbin and Schur recursions beside OpenBLAS, Eigen, FFTW and plain loops.
#include <cblas.h>
#include <fftw3.h>

#include <Eigen/Core>
#include <cstring>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

void autocorrelation(int n, int lags) {
  const std::string operation = "AutoCorr_32f:" + std::to_string(lags);
  const float* const x = array<float>(n, [](int i) { return noise(i) - 0.5; });
  float* const r = array<float>(lags, [](int) { return 0; });
  measure(operation, "ours", n, [=] { kivsAutoCorr_32f(x, n, r, lags); });
  measure(operation, "loop", n, [=] {
    for (int k = 0; k < lags; ++k) {
      float sum = 0;
#pragma omp simd reduction(+ : sum)
      for (int i = 0; i < n - k; ++i) sum += x[i] * x[i + k];
      r[k] = sum;
    }
  });
  measure(operation, "OpenBLAS", n, [=] {
    for (int k = 0; k < lags; ++k) r[k] = cblas_sdot(n - k, x, 1, x + k, 1);
  });
  measure(operation, "Eigen", n, [=] {
    using Map = Eigen::Map<const Eigen::VectorXf>;
    for (int k = 0; k < lags; ++k) r[k] = Map(x, n - k).dot(Map(x + k, n - k));
  });
  // With its plans and buffers ready, which our function makes in every call.
  int padded = 1;
  while (padded < 2 * n) padded *= 2;
  auto* const time = static_cast<float*>(fftwf_malloc(sizeof(float) * static_cast<std::size_t>(padded)));
  auto* const spectrum =
      static_cast<fftwf_complex*>(fftwf_malloc(sizeof(fftwf_complex) * static_cast<std::size_t>(padded / 2 + 1)));
  const auto forward = fftwf_plan_dft_r2c_1d(padded, time, spectrum, FFTW_MEASURE);
  const auto inverse = fftwf_plan_dft_c2r_1d(padded, spectrum, time, FFTW_MEASURE);
  measure(operation, "FFTW", n, [=] {
    std::memcpy(time, x, sizeof(float) * static_cast<std::size_t>(n));
    std::memset(time + n, 0, sizeof(float) * static_cast<std::size_t>(padded - n));
    fftwf_execute(forward);
    const float scale = 1.0F / static_cast<float>(padded);
    for (int k = 0; k <= padded / 2; ++k) {
      spectrum[k][0] = (spectrum[k][0] * spectrum[k][0] + spectrum[k][1] * spectrum[k][1]) * scale;
      spectrum[k][1] = 0;
    }
    fftwf_execute(inverse);
    std::memcpy(r, time, sizeof(float) * static_cast<std::size_t>(lags));
  });
}

void recursions(int order) {
  const int n = 2000;
  const float* const x = array<float>(n, [](int i) { return noise(i) + noise(i + 1) - 1; });
  float* const r = array<float>(order + 1, [](int) { return 0; });
  float* const a = array<float>(order, [](int) { return 0; });
  float* const error = array<float>(1, [](int) { return 0; });
  kivsAutoCorr_32f(x, n, r, order + 1);
  measure("Durbin_32f", "ours", order, [=] { kivsDurbin_32f(r, a, order, error); });
  measure("Durbin_32f", "loop", order, [=] {
    float previous[256];
    float e = r[0];
    for (int i = 1; i <= order; ++i) {
      float sum = r[i];
      for (int j = 1; j < i; ++j) sum += a[j - 1] * r[i - j];
      const float k = sum / e;
      for (int j = 0; j < i - 1; ++j) previous[j] = a[j];
      for (int j = 1; j < i; ++j) a[j - 1] = previous[j - 1] - k * previous[i - j - 1];
      a[i - 1] = -k;
      e *= 1 - k * k;
    }
    *error = e;
  });
  measure("Schur_32f", "ours", order, [=] { kivsSchur_32f(r, a, order, error); });
  measure("Schur_32f", "loop", order, [=] {
    float p[257];
    float v[257];
    for (int i = 1; i <= order; ++i) {
      p[i] = r[i];
      v[i] = r[i - 1];
    }
    for (int m = 1; m <= order; ++m) {
      const float k = -p[m] / v[m];
      a[m - 1] = k;
      for (int i = order; i > m; --i) {
        p[i] += k * v[i];
        v[i] = k * p[i - 1] + v[i - 1];
      }
    }
    *error = p[order] * a[order - 1] + v[order];
  });
  measure("LPToCepstrum_32f", "ours", order, [=] { kivsLPToCepstrum_32f(x, a, order); });
  measure("LPToCepstrum_32f", "loop", order, [=] {
    for (int k = 1; k <= order; ++k) {
      float sum = 0;
      for (int j = 1; j < k; ++j) sum += static_cast<float>(k - j) * x[j - 1] * a[k - j - 1];
      a[k - 1] = -(sum / static_cast<float>(k) + x[k - 1]);
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kivsr::bench::autocorrelation(400, 17);
  kivsr::bench::autocorrelation(2048, 1024);
  kivsr::bench::recursions(16);
  kivsr::bench::recursions(128);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
