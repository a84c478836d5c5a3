// Gaussian scoring and log-domain arithmetic beside Eigen, OpenBLAS, SLEEF and libmvec, in one process and one thread.
// Arguments: feature length / Gaussians or frames, or the length of the vectors.
#include <benchmark/benchmark.h>
#include <cblas.h>
#include <immintrin.h>
#include <sleef.h>

#include <Eigen/Core>
#include <cmath>
#include <random>
#include <vector>

#include "kivsr.h"

// The vector forms of the C library.
extern "C" {
__m256 _ZGVdN8v_expf(__m256);
__m256 _ZGVdN8v_log1pf(__m256);
void openblas_set_num_threads(int);
}

namespace {

using Floats = std::vector<float>;

Floats values(std::size_t n, float low, float high, unsigned seed) {
  std::mt19937 engine(seed);
  std::uniform_real_distribution<float> uniform(low, high);
  Floats x(n);
  for (float& v : x) v = uniform(engine);
  return x;
}

struct Gaussians {
  explicit Gaussians(const benchmark::State& state)
      : len(static_cast<int>(state.range(0))),
        height(static_cast<int>(state.range(1))),
        means(values(static_cast<std::size_t>(len * height), -2, 2, 1)),
        weights(values(static_cast<std::size_t>(len * height), 0.1F, 2, 2)),
        vector(values(static_cast<std::size_t>(len), -2, 2, 3)),
        constants(values(static_cast<std::size_t>(height), -60, -20, 4)),
        scores(constants),
        expanded(static_cast<std::size_t>(2 * len * height)),
        squares(static_cast<std::size_t>(2 * len)) {
    // Rows [m w, -w/2]: the score is a product with [x, x x], the constants aside.
    for (int r = 0; r < height; ++r) {
      for (int i = 0; i < len; ++i) {
        const std::size_t k = static_cast<std::size_t>(r * len + i);
        expanded[static_cast<std::size_t>(2 * r * len + i)] = means[k] * weights[k];
        expanded[static_cast<std::size_t>(2 * r * len + len + i)] = -0.5F * weights[k];
      }
    }
  }
  void product() {
    for (int i = 0; i < len; ++i) {
      const float x = vector[static_cast<std::size_t>(i)];
      squares[static_cast<std::size_t>(i)] = x;
      squares[static_cast<std::size_t>(len + i)] = x * x;
    }
    cblas_sgemv(CblasRowMajor, CblasNoTrans, height, 2 * len, 1.0F, expanded.data(), 2 * len, squares.data(), 1, 1.0F,
                scores.data(), 1);
  }
  Eigen::Map<const Eigen::ArrayXXf> matrix(const Floats& x) const { return {x.data(), len, height}; }
  Eigen::Map<const Eigen::ArrayXf> column(const Floats& x) const { return {x.data(), len}; }
  Eigen::Map<Eigen::ArrayXf> results() { return {scores.data(), height}; }

  int len, height;
  Floats means, weights, vector, constants, scores, expanded, squares;
};

float eigen_log_sum(const Eigen::ArrayXf& x) {
  const float m = x.maxCoeff();
  return m + std::log((x - m).exp().sum());
}

void LogGauss_ours(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    kivsLogGauss_32f_D2(g.means.data(), g.len, g.vector.data(), g.weights.data(), g.len, g.scores.data(), g.height, -9);
    benchmark::ClobberMemory();
  }
}
void LogGauss_eigen(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    const auto x = g.matrix(g.means);
    const auto m = g.column(g.vector);
    const auto w = g.column(g.weights);
    for (int r = 0; r < g.height; ++r) g.results()(r) = -9 - 0.5F * ((x.col(r) - m).square() * w).sum();
    benchmark::ClobberMemory();
  }
}

void MultiMix_ours(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    kivsLogGaussMultiMix_32f_D2(g.means.data(), g.weights.data(), g.len, g.vector.data(), g.len, g.scores.data(),
                                g.height);
    benchmark::ClobberMemory();
  }
}
void MultiMix_eigen(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    const auto m = g.matrix(g.means);
    const auto w = g.matrix(g.weights);
    const auto x = g.column(g.vector);
    for (int r = 0; r < g.height; ++r) g.results()(r) -= 0.5F * ((x - m.col(r)).square() * w.col(r)).sum();
    benchmark::ClobberMemory();
  }
}
void MultiMix_sgemv(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    g.product();
    benchmark::ClobberMemory();
  }
}

void Mixture_ours(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    float result;
    kivsLogGaussMixture_32f_D2(g.vector.data(), g.means.data(), g.weights.data(), g.height, g.len, g.len,
                               g.constants.data(), &result);
    benchmark::DoNotOptimize(result);
  }
}
void Mixture_eigen(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    const auto m = g.matrix(g.means);
    const auto w = g.matrix(g.weights);
    const auto x = g.column(g.vector);
    for (int r = 0; r < g.height; ++r) {
      g.results()(r) = g.constants[static_cast<std::size_t>(r)] - 0.5F * ((x - m.col(r)).square() * w.col(r)).sum();
    }
    benchmark::DoNotOptimize(eigen_log_sum(g.results()));
  }
}
void Mixture_sgemv(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    g.scores = g.constants;
    g.product();
    benchmark::DoNotOptimize(eigen_log_sum(g.results()));
  }
}

void Single_ours(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    kivsLogGaussSingle_32f(g.vector.data(), g.means.data(), g.weights.data(), g.len, g.scores.data(), -9);
    benchmark::ClobberMemory();
  }
}
void Single_eigen(benchmark::State& state) {
  Gaussians g(state);
  for (auto _ : state) {
    g.scores[0] =
        -9 - 0.5F * ((g.column(g.vector) - g.column(g.means)).square() * g.column(g.weights)).sum();
    benchmark::ClobberMemory();
  }
}

struct Vectors {
  explicit Vectors(const benchmark::State& state)
      : n(static_cast<int>(state.range(0))),
        a(values(static_cast<std::size_t>(n), -30, 0, 1)),
        b(values(static_cast<std::size_t>(n), -30, 0, 2)) {}
  int n;
  Floats a, b;
};

template <int kHint>
void LogAdd_ours(benchmark::State& state) {
  Vectors v(state);
  const Floats old = v.b;
  for (auto _ : state) {
    kivsLogAdd_32f(v.a.data(), v.b.data(), v.n, kHint);
    benchmark::ClobberMemory();
  }
}
template <class Exp, class Log>
void log_add_peer(benchmark::State& state, Exp exp, Log log1p) {
  Vectors v(state);
  for (auto _ : state) {
    for (std::size_t i = 0; i < v.a.size(); i += 8) {
      const __m256 a = _mm256_loadu_ps(&v.a[i]);
      const __m256 b = _mm256_loadu_ps(&v.b[i]);
      const __m256 high = _mm256_max_ps(a, b);
      const __m256 d = _mm256_sub_ps(_mm256_min_ps(a, b), high);
      _mm256_storeu_ps(&v.b[i], _mm256_add_ps(high, log1p(exp(d))));
    }
    benchmark::ClobberMemory();
  }
}
void LogAdd_libmvec(benchmark::State& state) { log_add_peer(state, _ZGVdN8v_expf, _ZGVdN8v_log1pf); }
void LogAdd_sleef(benchmark::State& state) { log_add_peer(state, Sleef_expf8_u10avx2, Sleef_log1pf8_u10avx2); }

void LogSum_ours(benchmark::State& state) {
  Vectors v(state);
  for (auto _ : state) {
    float result;
    kivsLogSum_32f(v.a.data(), &result, v.n);
    benchmark::DoNotOptimize(result);
  }
}
template <class Exp>
void log_sum_peer(benchmark::State& state, Exp exp) {
  Vectors v(state);
  for (auto _ : state) {
    const Eigen::Map<const Eigen::ArrayXf> x(v.a.data(), v.n);
    const float maximum = x.maxCoeff();
    __m256 sums[2] = {_mm256_setzero_ps(), _mm256_setzero_ps()};
    for (std::size_t i = 0; i < v.a.size(); i += 16) {
      for (std::size_t k = 0; k < 2; ++k) {
        const __m256 d = _mm256_sub_ps(_mm256_loadu_ps(&v.a[i + 8 * k]), _mm256_set1_ps(maximum));
        sums[k] = _mm256_add_ps(sums[k], exp(d));
      }
    }
    float lanes[8];
    _mm256_storeu_ps(lanes, _mm256_add_ps(sums[0], sums[1]));
    float sum = 0;
    for (const float lane : lanes) sum += lane;
    benchmark::DoNotOptimize(maximum + std::log(sum));
  }
}
void LogSum_libmvec(benchmark::State& state) { log_sum_peer(state, _ZGVdN8v_expf); }
void LogSum_sleef(benchmark::State& state) { log_sum_peer(state, Sleef_expf8_u10avx2); }
void LogSum_eigen(benchmark::State& state) {
  Vectors v(state);
  for (auto _ : state) {
    const Eigen::Map<const Eigen::ArrayXf> x(v.a.data(), v.n);
    const float m = x.maxCoeff();
    benchmark::DoNotOptimize(m + std::log((x - m).exp().sum()));
  }
}

void gaussian_sizes(benchmark::internal::Benchmark* b) {
  b->ArgsProduct({{39, 13}, {8, 256, 4096}});
}
void vector_sizes(benchmark::internal::Benchmark* b) { b->Arg(128)->Arg(4096); }

BENCHMARK(LogGauss_ours)->Apply(gaussian_sizes);
BENCHMARK(LogGauss_eigen)->Apply(gaussian_sizes);
BENCHMARK(MultiMix_ours)->Apply(gaussian_sizes);
BENCHMARK(MultiMix_eigen)->Apply(gaussian_sizes);
BENCHMARK(MultiMix_sgemv)->Apply(gaussian_sizes);
BENCHMARK(Mixture_ours)->Apply(gaussian_sizes);
BENCHMARK(Mixture_eigen)->Apply(gaussian_sizes);
BENCHMARK(Mixture_sgemv)->Apply(gaussian_sizes);
BENCHMARK(Single_ours)->Args({39, 1})->Args({13, 1});
BENCHMARK(Single_eigen)->Args({39, 1})->Args({13, 1});
BENCHMARK(LogAdd_ours<kivLogAddHintSp>)->Apply(vector_sizes);
BENCHMARK(LogAdd_ours<kivLogAddHintAc>)->Apply(vector_sizes);
BENCHMARK(LogAdd_libmvec)->Apply(vector_sizes);
BENCHMARK(LogAdd_sleef)->Apply(vector_sizes);
BENCHMARK(LogSum_ours)->Apply(vector_sizes);
BENCHMARK(LogSum_libmvec)->Apply(vector_sizes);
BENCHMARK(LogSum_sleef)->Apply(vector_sizes);
BENCHMARK(LogSum_eigen)->Apply(vector_sizes);

}  // namespace

int main(int argc, char** argv) {
  openblas_set_num_threads(1);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
