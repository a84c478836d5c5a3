// Elementwise operations, conversions and reductions beside Eigen, VOLK, OpenBLAS, SLEEF, libmvec and plain loops.
#include <cblas.h>
#include <immintrin.h>
#include <sleef.h>
#include <volk/volk.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "kivsr.h"
#include "side_by_side.h"

extern "C" __m256 _ZGVdN8v_logf(__m256);  // libmvec

namespace kivsr::bench {
namespace {

template <class T>
auto eigen(T* data, int n) {
  using Array = Eigen::Array<std::remove_const_t<T>, Eigen::Dynamic, 1>;
  return Eigen::Map<std::conditional_t<std::is_const_v<T>, const Array, Array>>(data, n);
}

void arithmetic(int n) {
  const float* const a = array<float>(n, [](int i) { return 0.5 + noise(i); });
  const float* const b = array<float>(n, [](int i) { return 1.5 + noise(3 * i); });
  float* const c = array<float>(n, [](int i) { return noise(i); });
  double* const d = array<double>(n, [](int i) { return noise(i); });

  measure("Add_32f_I", "ours", n, [=] { kivsAdd_32f_I(a, c, n); });
  measure("Add_32f_I", "Eigen", n, [=] { eigen(c, n) += eigen(a, n); });
  measure("Add_32f_I", "OpenBLAS", n, [=] { cblas_saxpy(n, 1.0F, a, 1, c, 1); });
  measure("Add_32f_I", "VOLK", n, [=] { volk_32f_x2_add_32f(c, c, a, n); });

  measure("Mul_32f", "ours", n, [=] { kivsMul_32f(a, b, c, n); });
  measure("Mul_32f", "Eigen", n, [=] { eigen(c, n) = eigen(a, n) * eigen(b, n); });
  measure("Mul_32f", "VOLK", n, [=] { volk_32f_x2_multiply_32f(c, a, b, n); });

  float* const e = array<float>(n, [](int i) { return 1.0 + noise(i); });
  const float near_one = 1.0F - 0x1p-24F;
  measure("MulC_32f_I", "ours", n, [=] { kivsMulC_32f_I(near_one, e, n); });
  measure("MulC_32f_I", "Eigen", n, [=] { eigen(e, n) *= near_one; });
  measure("MulC_32f_I", "OpenBLAS", n, [=] { cblas_sscal(n, near_one, e, 1); });
  measure("MulC_32f_I", "VOLK", n, [=] { volk_32f_s32f_multiply_32f(e, e, near_one, n); });

  measure("Div_32f", "ours", n, [=] { kivsDiv_32f(b, a, c, n); });
  measure("Div_32f", "Eigen", n, [=] { eigen(c, n) = eigen(a, n) / eigen(b, n); });
  measure("Div_32f", "VOLK", n, [=] { volk_32f_x2_divide_32f(c, a, b, n); });

  measure("Copy_32f", "ours", n, [=] { kivsCopy_32f(a, c, n); });
  measure("Copy_32f", "memcpy", n, [=] { std::memcpy(c, a, sizeof(float) * static_cast<std::size_t>(n)); });
  measure("Copy_32f", "Eigen", n, [=] { eigen(c, n) = eigen(a, n); });

  measure("Sqrt_64f_I", "ours", n, [=] { kivsSqrt_64f_I(d, n); });
  measure("Sqrt_64f_I", "loop", n, [=] {
    for (int i = 0; i < n; ++i) d[i] = std::sqrt(d[i]);
  });
  measure("Sqrt_64f_I", "Eigen", n, [=] { eigen(d, n) = eigen(d, n).sqrt(); });

  // In place: every side restores the data first.
  const auto restored = [=](auto operation) {
    return [=] {
      std::memcpy(c, b, sizeof(float) * static_cast<std::size_t>(n));
      operation();
    };
  };
  measure("Ln_32f_I", "ours", n, restored([=] { kivsLn_32f_I(c, n); }));
  measure("Ln_32f_I", "Eigen", n, restored([=] { eigen(c, n) = eigen(c, n).log(); }));
  measure("Ln_32f_I", "SLEEF", n, restored([=] {
            for (int i = 0; i < n; i += 8) _mm256_storeu_ps(c + i, Sleef_logf8_u10avx2(_mm256_loadu_ps(c + i)));
          }));
}

void conversions(int n) {
  const float* const f = array<float>(n, [](int i) { return 60000 * noise(i) - 30000; });
  const Kiv32s* const l = array<Kiv32s>(n, [](int i) { return 1e6 * noise(i) - 5e5; });
  const Kiv16s* const s = array<Kiv16s>(n, [](int i) { return 60000 * noise(i) - 30000; });
  Kiv16s* const to_s = array<Kiv16s>(n, [](int) { return 0; });
  float* const to_f = array<float>(n, [](int) { return 0; });

  measure("Convert_32f16s_Sfs", "ours", n, [=] { kivsConvert_32f16s_Sfs(f, to_s, n, kivRndNear, 1); });
  measure("Convert_32f16s_Sfs", "VOLK", n, [=] { volk_32f_s32f_convert_16i(to_s, f, 0.5F, n); });
  measure("Convert_32f16s_Sfs", "loop", n, [=] {
    for (int i = 0; i < n; ++i) {
      to_s[i] = static_cast<Kiv16s>(std::clamp(std::nearbyintf(f[i] * 0.5F), -32768.0F, 32767.0F));
    }
  });
  measure("Convert_16s32f_Sfs", "ours", n, [=] { kivsConvert_16s32f_Sfs(s, to_f, n, 15); });
  measure("Convert_16s32f_Sfs", "VOLK", n, [=] { volk_16i_s32f_convert_32f(to_f, s, 32768.0F, n); });
  measure("Convert_16s32f_Sfs", "Eigen", n, [=] { eigen(to_f, n) = eigen(s, n).cast<float>() * 0x1p-15F; });

  measure("Convert_32s16s_Sfs", "ours", n, [=] { kivsConvert_32s16s_Sfs(l, to_s, n, 5); });
  measure("Convert_32s16s_Sfs", "loop", n, [=] {
    for (int i = 0; i < n; ++i) {
      const Kiv32s rounded = (l[i] + 15 + ((l[i] >> 5) & 1)) >> 5;
      to_s[i] = static_cast<Kiv16s>(std::clamp(rounded, -32768, 32767));
    }
  });
}

void sums(int n) {
  const float* const a = array<float>(n, [](int i) { return 0.5 + noise(i); });
  const float* const b = array<float>(n, [](int i) { return noise(3 * i) - 0.5; });
  const Kiv16s* const s = array<Kiv16s>(n, [](int i) { return 60000 * noise(i) - 30000; });
  const Kiv16s* const t = array<Kiv16s>(n, [](int i) { return 60000 * noise(5 * i) - 30000; });
  float* const x = array<float>(16, [](int) { return 0; });
  double* const y = array<double>(8, [](int) { return 0; });
  Kiv64s* const z = array<Kiv64s>(8, [](int) { return 0; });

  measure("Sum_32f", "ours", n, [=] { kivsSum_32f(a, n, x, 0); });
  measure("Sum_32f", "Eigen", n, [=] { return eigen(a, n).sum(); });
  measure("Sum_32f", "OpenBLAS", n, [=] { return cblas_ssum(n, a, 1); });
  measure("Sum_32f", "VOLK", n, [=] { volk_32f_accumulator_s32f(x, a, n); });

  measure("DotProd_32f", "ours", n, [=] { kivsDotProd_32f(a, b, n, x); });
  measure("DotProd_32f", "Eigen", n, [=] { return eigen(a, n).matrix().dot(eigen(b, n).matrix()); });
  measure("DotProd_32f", "OpenBLAS", n, [=] { return cblas_sdot(n, a, 1, b, 1); });
  measure("DotProd_32f", "VOLK", n, [=] { volk_32f_x2_dot_prod_32f(x, a, b, n); });

  // OpenBLAS' dsdot adds blocks in single precision: no peer.
  measure("DotProd_32f64f", "ours", n, [=] { kivsDotProd_32f64f(a, b, n, y); });
  measure("DotProd_32f64f", "loop", n, [=] {
    double total = 0;
#pragma omp simd reduction(+ : total)
    for (int i = 0; i < n; ++i) total += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    return total;
  });
  measure("DotProd_32f64f", "Eigen", n,
          [=] { return (eigen(a, n).cast<double>() * eigen(b, n).cast<double>()).sum(); });

  measure("DotProd_16s64s", "ours", n, [=] { kivsDotProd_16s64s(s, t, n, z); });
  measure("DotProd_16s64s", "loop", n, [=] {
    std::int64_t total = 0;
    for (int i = 0; i < n; ++i) total += s[i] * t[i];
    return total;
  });
  measure("DotProd_16s64s", "pmaddwd", n, [=] {
    __m256i total = _mm256_setzero_si256();
    for (int i = 0; i + 16 <= n; i += 16) {
      const __m256i pairs = _mm256_madd_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i)),
                                              _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t + i)));
      total = _mm256_add_epi64(total, _mm256_cvtepi32_epi64(_mm256_castsi256_si128(pairs)));
      total = _mm256_add_epi64(total, _mm256_cvtepi32_epi64(_mm256_extracti128_si256(pairs, 1)));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(z), total);
    return z[0] + z[1] + z[2] + z[3];
  });

  measure("SumLn_32f", "ours", n, [=] { kivsSumLn_32f(a, n, x); });
  measure("SumLn_32f", "libmvec", n, [=] {
    __m256d low = _mm256_setzero_pd();
    __m256d high = low;
    for (int i = 0; i < n; i += 8) {
      const __m256 logs = _ZGVdN8v_logf(_mm256_loadu_ps(a + i));
      low = _mm256_add_pd(low, _mm256_cvtps_pd(_mm256_castps256_ps128(logs)));
      high = _mm256_add_pd(high, _mm256_cvtps_pd(_mm256_extractf128_ps(logs, 1)));
    }
    _mm256_storeu_pd(y, _mm256_add_pd(low, high));
    return y[0] + y[1] + y[2] + y[3];
  });
  measure("SumLn_32f", "Eigen", n, [=] { return eigen(a, n).log().sum(); });
}

void searches(int n) {
  const float* const a = array<float>(n, [](int i) { return 0.5 + noise(i); });
  float* const x = array<float>(16, [](int) { return 0; });
  int* const place = array<int>(16, [](int) { return 0; });
  std::uint32_t* const volk_place = array<std::uint32_t>(16, [](int) { return 0; });

  measure("MaxIndx_32f", "ours", n, [=] { kivsMaxIndx_32f(a, n, x, place); });
  measure("MaxIndx_32f", "OpenBLAS", n, [=] { return cblas_isamax(n, a, 1); });
  measure("MaxIndx_32f", "VOLK", n, [=] { volk_32f_index_max_32u(volk_place, a, n); });
  measure("MaxIndx_32f", "Eigen", n, [=] {
    Eigen::Index index;
    *x = eigen(a, n).maxCoeff(&index);
    return index;
  });
  measure("MinMax_32f", "ours", n, [=] { kivsMinMax_32f(a, n, x, x + 1); });
  measure("MinMax_32f", "Eigen", n, [=] {
    x[0] = eigen(a, n).minCoeff();
    x[1] = eigen(a, n).maxCoeff();
  });

  float* const work = array<float>(n, [](int) { return 0; });
  measure("NthMaxElement_32f", "ours", n, [=] { kivsNthMaxElement_32f(a, n, n / 2, x); });
  measure("NthMaxElement_32f", "nth_element", n, [=] {
    std::copy_n(a, n, work);
    std::nth_element(work, work + n / 2, work + n, std::greater<>());
    return work[n / 2];
  });
}

void magnitudes(int n) {
  const Kiv32fc* const fc = array<Kiv32fc>(n, [](int i) {
    return Kiv32fc{static_cast<float>(noise(i) - 0.5), static_cast<float>(noise(7 * i) - 0.5)};
  });
  const Kiv32sc* const sc = array<Kiv32sc>(n, [](int i) {
    return Kiv32sc{static_cast<Kiv32s>(1e6 * noise(i) - 5e5), static_cast<Kiv32s>(1e6 * noise(7 * i) - 5e5)};
  });
  float* const to_f = array<float>(n, [](int) { return 0; });
  Kiv32s* const to_l = array<Kiv32s>(n, [](int) { return 0; });

  measure("Magnitude_32fc", "ours", n, [=] { kivsMagnitude_32fc(fc, to_f, n); });
  measure("Magnitude_32fc", "VOLK", n,
          [=] { volk_32fc_magnitude_32f(to_f, reinterpret_cast<const lv_32fc_t*>(fc), n); });
  measure("Magnitude_32fc", "loop", n, [=] {
    for (int i = 0; i < n; ++i) to_f[i] = std::sqrt(fc[i].re * fc[i].re + fc[i].im * fc[i].im);
  });
  measure("Magnitude_32sc_Sfs", "ours", n, [=] { kivsMagnitude_32sc_Sfs(sc, to_l, n, 1); });
  measure("Magnitude_32sc_Sfs", "loop", n, [=] {
    for (int i = 0; i < n; ++i) {
      const double re = sc[i].re;
      const double im = sc[i].im;
      to_l[i] = static_cast<Kiv32s>(std::nearbyint(0.5 * std::sqrt(re * re + im * im)));
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const int n : kivsr::bench::kSizes) {
    kivsr::bench::arithmetic(n);
    kivsr::bench::conversions(n);
    kivsr::bench::sums(n);
    kivsr::bench::searches(n);
    kivsr::bench::magnitudes(n);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
