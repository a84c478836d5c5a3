// Conditioning of samples and energies, and features of reflection coefficients, beside Eigen and plain loops.
#include <Eigen/Core>
#include <cmath>
#include <cstring>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

using Column = Eigen::Map<Eigen::ArrayXf>;
using ConstColumn = Eigen::Map<const Eigen::ArrayXf>;

void conditioning(int n) {
  const float* const x = array<float>(n, [](int i) { return 2 * noise(i) - 0.9; });
  const Kiv16s* const words = array<Kiv16s>(n, [](int i) { return 20000 * noise(i) - 9000; });
  float* const y = array<float>(2 * n, [](int) { return 0; });
  Kiv16s* const y16 = array<Kiv16s>(n, [](int) { return 0; });
  float* const previous = array<float>(1, [](int) { return 0; });
  Kiv16s* const previous16 = array<Kiv16s>(1, [](int) { return 0; });

  measure("CompensateOffset_32f", "ours", n, [=] { kivsCompensateOffset_32f(x, y, n, previous, 0.5F, 0.999F); });
  measure("CompensateOffset_32f", "loop", n, [=] {
    float last = 0.5F, before = *previous;
    for (int i = 0; i < n; ++i) {
      last = 0.999F * last + (x[i] - before);
      before = x[i];
      y[i] = last;
    }
    *previous = before;
  });
  measure("CompensateOffsetQ15_16s", "ours", n,
          [=] { kivsCompensateOffsetQ15_16s(words, y16, n, previous16, 100, 32735); });
  measure("CompensateOffsetQ15_16s", "loop", n, [=] {
    int last = 100, before = *previous16;
    for (int i = 0; i < n; ++i) {
      const std::int64_t sum = std::int64_t{words[i] - before} * 32768 + last * 32735;
      last = static_cast<int>(limited<std::int64_t>(sum / 32768, -32768, 32767));
      before = words[i];
      y16[i] = static_cast<Kiv16s>(last);
    }
    *previous16 = static_cast<Kiv16s>(before);
  });
  measure("SignChangeRate_32f", "ours", n, [=] { kivsSignChangeRate_32f(x, n, previous); });
  measure("SignChangeRate_32f", "loop", n, [=] {
    int count = 0;
#pragma omp simd reduction(+ : count)
    for (int i = 0; i < n - 1; ++i) count += x[i] * x[i + 1] >= 0 ? 0 : 1;
    return count;
  });
  measure("NormalizeInRange_32f", "ours", n, [=] { kivsNormalizeInRange_32f(x, y, n, 0.1F, 0.9F, 255.0F); });
  measure("NormalizeInRange_32f", "Eigen", n, [=] {
    const ConstColumn values(x, n);
    const float least = values.minCoeff(), width = values.maxCoeff() - least;
    const float low = least + 0.1F * width, high = least + 0.9F * width;
    Column(y, n) = (values.min(high) - low).max(0.0F) * (255.0F / (high - low));
  });
  // The last of 13 columns, in place: energies that are normalised stay so.
  float* const rows = array<float>(13 * n, [](int i) { return 20 * noise(i); });
  measure("NormEnergy_32f", "ours", n, [=] { kivsNormEnergy_32f(rows + 12, 13, n, 50.0F, 1.0F); });
  measure("NormEnergy_32f", "Eigen", n, [=] {
    Eigen::Map<Eigen::ArrayXf, 0, Eigen::InnerStride<>> values(rows + 12, n, Eigen::InnerStride<>(13));
    const float most = values.maxCoeff();
    values = 1.0F - (most - values.max(most - 50.0F * 0.230259F));
  });
  measure("CopyWithPadding_32f", "ours", n, [=] { kivsCopyWithPadding_32f(x, n, y, 2 * n); });
  measure("CopyWithPadding_32f", "memcpy", n, [=] {
    std::memcpy(y, x, sizeof(float) * static_cast<std::size_t>(n));
    std::memset(y + n, 0, sizeof(float) * static_cast<std::size_t>(n));
  });
}

void reflection(int n) {
  const float* const k = array<float>(n, [](int i) { return 1.8 * noise(i) - 0.9; });
  const float* const other = array<float>(n, [](int i) { return 1.8 * noise(5 * i) - 0.9; });
  float* const y = array<float>(n, [](int) { return 0; });
  measure("ReflectionToAR_32f", "ours", n, [=] { kivsReflectionToAR_32f(k, y, n); });
  measure("ReflectionToAR_32f", "Eigen", n,
          [=] { Column(y, n) = (1.0F - ConstColumn(k, n)) / (1.0F + ConstColumn(k, n)); });
  measure("ReflectionToLAR_32f", "ours", n, [=] { kivsReflectionToLAR_32f(k, y, n, 0.99F); });
  measure("ReflectionToLAR_32f", "Eigen", n, [=] {
    const auto bounded = ConstColumn(k, n).min(0.99F).max(-0.99F);
    Column(y, n) = ((1.0F - bounded) / (1.0F + bounded)).log();
  });
  measure("ReflectionToTilt_32f", "ours", n, [=] { kivsReflectionToTilt_32f(k, other, y, n); });
  measure("ReflectionToTilt_32f", "Eigen", n, [=] {
    const ConstColumn a(k, n), b(other, n);
    Column(y, n) = (a.abs() - b.abs()) / (a + b);
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (const int n : {200, 4096}) kivsr::bench::conditioning(n);
  for (const int n : {12, 1024}) kivsr::bench::reflection(n);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
