// Gaussian scoring and log-domain arithmetic beside Eigen, OpenBLAS, SLEEF and libmvec. Operations of Gaussians name
// the feature length, their size is the number of frames or Gaussians.
#include <cblas.h>
#include <immintrin.h>
#include <sleef.h>

#include <Eigen/Core>
#include <cmath>
#include <string>

#include "kivsr.h"
#include "side_by_side.h"

extern "C" {
__m256 _ZGVdN8v_expf(__m256);  // libmvec
__m256 _ZGVdN8v_log1pf(__m256);
}

namespace kivsr::bench {
namespace {

using Column = Eigen::Map<const Eigen::ArrayXf>;

float log_sum(const float* scores, int n) {
  const Column x(scores, n);
  const float maximum = x.maxCoeff();
  return maximum + std::log((x - maximum).exp().sum());
}

void gaussians(int len, int height) {
  const int cells = len * height;
  const float* const rows = array<float>(cells, [](int i) { return 4 * noise(i) - 2; });
  const float* const weights = array<float>(cells, [](int i) { return 0.1 + 1.9 * noise(3 * i); });
  const float* const vector = array<float>(len, [](int i) { return 4 * noise(5 * i) - 2; });
  const float* const constants = array<float>(height, [](int i) { return -60 + 40 * noise(7 * i); });
  float* const scores = array<float>(height, [](int i) { return -60 + 40 * noise(7 * i); });
  const std::string length = ", " + std::to_string(len);

  const auto distance = [=](const float* a, const float* b, const float* w) {
    return ((Column(a, len) - Column(b, len)).square() * Column(w, len)).sum();
  };
  measure("LogGauss_32f_D2" + length, "ours", height,
          [=] { kivsLogGauss_32f_D2(rows, len, vector, weights, len, scores, height, -9); });
  measure("LogGauss_32f_D2" + length, "Eigen", height, [=] {
    for (int r = 0; r < height; ++r) scores[r] = -9 - 0.5F * distance(rows + r * len, vector, weights);
  });

  // The expanded form: rows [m w, -w/2] times [x, x x]. Its table is not the caller's data.
  const float* const table = array<float>(2 * cells, [=](int i) {
    const int cell = i / (2 * len) * len + i % len;
    return i % (2 * len) < len ? rows[cell] * weights[cell] : -0.5F * weights[cell];
  });
  float* const squares = array<float>(2 * len, [](int) { return 0; });
  const auto product = [=] {
    for (int i = 0; i < len; ++i) {
      squares[i] = vector[i];
      squares[len + i] = vector[i] * vector[i];
    }
    cblas_sgemv(CblasRowMajor, CblasNoTrans, height, 2 * len, 1.0F, table, 2 * len, squares, 1, 1.0F, scores, 1);
  };
  measure("LogGaussMultiMix_32f_D2" + length, "ours", height,
          [=] { kivsLogGaussMultiMix_32f_D2(rows, weights, len, vector, len, scores, height); });
  measure("LogGaussMultiMix_32f_D2" + length, "Eigen", height, [=] {
    for (int r = 0; r < height; ++r) scores[r] -= 0.5F * distance(vector, rows + r * len, weights + r * len);
  });
  measure("LogGaussMultiMix_32f_D2" + length, "sgemv", height, product);

  measure("LogGaussMixture_32f_D2" + length, "ours", height, [=] {
    float result;
    kivsLogGaussMixture_32f_D2(vector, rows, weights, height, len, len, constants, &result);
    return result;
  });
  measure("LogGaussMixture_32f_D2" + length, "Eigen", height, [=] {
    for (int r = 0; r < height; ++r) {
      scores[r] = constants[r] - 0.5F * distance(vector, rows + r * len, weights + r * len);
    }
    return log_sum(scores, height);
  });
  measure("LogGaussMixture_32f_D2" + length, "sgemv", height, [=] {
    for (int r = 0; r < height; ++r) scores[r] = constants[r];
    product();
    return log_sum(scores, height);
  });
}

void single(int len) {
  const float* const x = array<float>(len, [](int i) { return noise(i); });
  const float* const m = array<float>(len, [](int i) { return noise(3 * i); });
  const float* const w = array<float>(len, [](int i) { return noise(5 * i); });
  float* const score = array<float>(1, [](int) { return 0; });
  measure("LogGaussSingle_32f", "ours", len, [=] { kivsLogGaussSingle_32f(x, m, w, len, score, -9); });
  measure("LogGaussSingle_32f", "Eigen", len,
          [=] { *score = -9 - 0.5F * ((Column(x, len) - Column(m, len)).square() * Column(w, len)).sum(); });
}

void log_domain(int n) {
  const float* const a = array<float>(n, [](int i) { return -30 * noise(i); });
  float* const b = array<float>(n, [](int i) { return -30 * noise(3 * i); });

  // The sums grow slowly: the differences stay spread over all intervals.
  const auto peer = [=](auto exp, auto log1p) {
    return [=] {
      for (int i = 0; i < n; i += 8) {
        const __m256 x = _mm256_loadu_ps(a + i);
        const __m256 y = _mm256_loadu_ps(b + i);
        const __m256 high = _mm256_max_ps(x, y);
        const __m256 d = _mm256_sub_ps(_mm256_min_ps(x, y), high);
        _mm256_storeu_ps(b + i, _mm256_add_ps(high, log1p(exp(d))));
      }
    };
  };
  measure("LogAdd_32f, single", "ours", n, [=] { kivsLogAdd_32f(a, b, n, kivLogAddHintSp); });
  measure("LogAdd_32f, double", "ours", n, [=] { kivsLogAdd_32f(a, b, n, kivLogAddHintAc); });
  for (const char* const operation : {"LogAdd_32f, single", "LogAdd_32f, double"}) {
    measure(operation, "libmvec", n, peer(_ZGVdN8v_expf, _ZGVdN8v_log1pf));
    measure(operation, "SLEEF", n, peer(Sleef_expf8_u10avx2, Sleef_log1pf8_u10avx2));
  }

  measure("LogSum_32f", "ours", n, [=] {
    float result;
    kivsLogSum_32f(a, &result, n);
    return result;
  });
  measure("LogSum_32f", "Eigen", n, [=] { return log_sum(a, n); });
  const auto sum_peer = [=](auto exp) {
    return [=] {
      const float maximum = Column(a, n).maxCoeff();
      __m256 sums[2] = {_mm256_setzero_ps(), _mm256_setzero_ps()};
      for (int i = 0; i < n; i += 16) {
        for (int k = 0; k < 2; ++k) {
          sums[k] = _mm256_add_ps(sums[k], exp(_mm256_sub_ps(_mm256_loadu_ps(a + i + 8 * k), _mm256_set1_ps(maximum))));
        }
      }
      float lanes[8];
      _mm256_storeu_ps(lanes, _mm256_add_ps(sums[0], sums[1]));
      return maximum + std::log(Column(lanes, 8).sum());
    };
  };
  measure("LogSum_32f", "libmvec", n, sum_peer(_ZGVdN8v_expf));
  measure("LogSum_32f", "SLEEF", n, sum_peer(Sleef_expf8_u10avx2));
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int len : {39, 13}) {
    for (const int height : {8, 256, 4096}) kivsr::bench::gaussians(len, height);
    kivsr::bench::single(len);
  }
  for (const int n : {128, 4096}) kivsr::bench::log_domain(n);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
