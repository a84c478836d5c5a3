// The advanced front end, per frame: every kernel beside the plain loop of its formula.
#include <Eigen/Core>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

constexpr int kSpectrum = 65;

auto eigen(const float* data, int n) { return Eigen::Map<const Eigen::ArrayXf>(data, n); }
auto eigen(float* data, int n) { return Eigen::Map<Eigen::ArrayXf>(data, n); }

void wiener_filter() {
  const int n = kSpectrum;
  const float* const power = array<float>(n, [](int i) { return 0.5 + 9 * noise(i); });
  const float* const level = array<float>(n, [](int i) { return 1.0 + noise(5 * i); });
  const float* const clean = array<float>(n, [](int i) { return 3 * noise(7 * i); });
  float* const result = array<float>(n, [](int) { return 0; });
  measure("NoiseSpectrumUpdate_32f", "ours", n,
          [=] { kivsNoiseSpectrumUpdate_Aurora_32f(power, level, result, kSpectrum); });
  measure("NoiseSpectrumUpdate_32f", "loop", n, [=] {
#pragma omp simd
    for (int i = 0; i < kSpectrum; ++i) {
      const float a = power[i], b = level[i], sum = a + b, t = 0.1F * a + b;
      result[i] = sum == 0 || t == 0 ? 0 : b * (0.1F * (a / sum) * (b / t + 1) + 0.9F);
    }
  });
  measure("NoiseSpectrumUpdate_32f", "Eigen", n, [=] {
    const auto a = eigen(power, kSpectrum), b = eigen(level, kSpectrum);
    const auto t = 0.1F * a + b;
    eigen(result, kSpectrum) = ((a + b) * t == 0.0F).select(0.0F, b * (0.1F * (a / (a + b)) * (b / t + 1.0F) + 0.9F));
  });
  measure("WienerFilterDesign_32f", "ours", n,
          [=] { kivsWienerFilterDesign_Aurora_32f(power, level, clean, result, kSpectrum); });
  measure("WienerFilterDesign_32f", "loop", n, [=] {
#pragma omp simd
    for (int i = 0; i < kSpectrum; ++i) {
      const float r = 1 / level[i];
      const float eta1 = (0.98F * clean[i] + 0.02F * larger(power[i] - level[i], 0.0F)) * r;
      const float eta2 = larger(eta1 / (eta1 + 1) * power[i] * r, 0.07943282F);
      result[i] = eta2 / (eta2 + 1);
    }
  });

  measure("WienerFilterDesign_32f", "Eigen", n, [=] {
    const auto p = eigen(power, kSpectrum), noise_power = eigen(level, kSpectrum), s = eigen(clean, kSpectrum);
    const auto eta1 = (0.98F * s + 0.02F * (p - noise_power).max(0.0F)) / noise_power;
    const auto eta2 = (eta1 / (eta1 + 1.0F) * p / noise_power).max(0.07943282F);
    eigen(result, kSpectrum) = eta2 / (eta2 + 1.0F);
  });

  const Kiv16s* const power16 = array<Kiv16s>(n, [](int i) { return 50 + 2000 * noise(i); });
  const Kiv16s* const level16 = array<Kiv16s>(n, [](int i) { return 100 + 100 * noise(5 * i); });
  const Kiv16s* const clean16 = array<Kiv16s>(n, [](int i) { return 300 * noise(7 * i); });
  Kiv16s* const result16 = array<Kiv16s>(n, [](int) { return 0; });
  measure("NoiseSpectrumUpdate_16s", "ours", n,
          [=] { kivsNoiseSpectrumUpdate_Aurora_16s_Sfs(power16, level16, result16, kSpectrum, 0); });
  measure("NoiseSpectrumUpdate_16s", "loop", n, [=] {
#pragma omp simd
    for (int i = 0; i < kSpectrum; ++i) {
      const auto a = static_cast<float>(power16[i]), b = static_cast<float>(level16[i]);
      const float sum = a + b, t = 0.1F * a + b;
      const float x = sum == 0 || (t > -1 && t < 1) ? 0 : b * (0.1F * (a / sum) * (b / t + 1) + 0.9F);
      result16[i] = static_cast<Kiv16s>(limited(x, -32768.0F, 32767.0F));
    }
  });
  measure("WienerFilterDesign_16s", "ours", n,
          [=] { kivsWienerFilterDesign_Aurora_16s(power16, level16, clean16, result16, kSpectrum); });
  measure("WienerFilterDesign_16s", "loop", n, [=] {
    for (int i = 0; i < kSpectrum; ++i) {
      const std::int64_t p = power16[i], level_i = level16[i], s = clean16[i];
      if (level_i == 0) {
        result16[i] = 1206;
        continue;
      }
      const std::int64_t d = p > level_i ? p - level_i : 0, r = 16384 / level_i;
      const std::int64_t eta1 = ((82 * d + 4014 * s) * r) >> 14, h1 = (eta1 << 14) / (eta1 + 4096);
      const std::int64_t eta2 = larger<std::int64_t>(((p * h1) >> 14) * r, 1301);
      result16[i] = static_cast<Kiv16s>((eta2 << 7) / ((eta2 >> 7) + 128));
    }
  });
}

void spectrum_and_taps() {
  const int n = 256;
  const float* const packed = array<float>(n, [](int i) { return noise(i) - 0.5; });
  float* const power = array<float>(n, [](int) { return 0; });
  measure("SmoothedPower_32f", "ours", n, [=] { kivsSmoothedPowerSpectrumAurora_32f(packed, power, 256); });
  measure("SmoothedPower_32f", "loop", n, [=] {
    const auto square = [](float x) { return x * x; };
    power[0] = (square(packed[2]) + square(packed[3]) + square(packed[0])) * 0.5F;
#pragma omp simd
    for (int k = 1; k < 64; ++k)
      power[k] =
          (square(packed[4 * k]) + square(packed[4 * k + 1]) + square(packed[4 * k + 2]) + square(packed[4 * k + 3])) *
          0.5F;
    power[64] = square(packed[1]);
  });

  float* const taps = array<float>(17, [](int i) { return noise(i); });
  measure("TabsCalculation_32f", "ours", 17, [=] { kivsTabsCalculation_Aurora_32f(packed, taps); });
  measure("TabsCalculation_32f", "loop", 17, [=] {
    taps[8] = packed[0];
    for (int k = 1; k <= 8; ++k) taps[8 - k] = packed[k], taps[8 + k] = packed[k + 1];
  });

  const float* const window = array<float>(17, [](int i) { return noise(i); });
  measure("ResidualFilter_32f", "ours", 80, [=] { kivsResidualFilter_Aurora_32f(packed, power, window); });
  measure("ResidualFilter_32f", "loop", 80, [=] {
#pragma omp simd
    for (int i = 0; i < 80; ++i) {
      float sum = 0;
      for (int k = 0; k < 17; ++k) sum += window[k] * packed[i + k];
      power[i] = sum;
    }
  });
  const Kiv16s* const samples16 = array<Kiv16s>(96, [](int i) { return 8000 * (noise(i) - 0.5); });
  const Kiv16s* const taps16 = array<Kiv16s>(17, [](int i) { return 8000 * (noise(i) - 0.5); });
  Kiv16s* const result16 = array<Kiv16s>(80, [](int) { return 0; });
  measure("ResidualFilter_16s", "ours", 80,
          [=] { kivsResidualFilter_Aurora_16s_Sfs(samples16, result16, taps16, 15); });
  measure("ResidualFilter_16s", "loop", 80, [=] {
#pragma omp simd
    for (int i = 0; i < 80; ++i) {
      int sum = 0;
      for (int k = 0; k < 17; ++k) sum += taps16[k] * samples16[i + k];
      result16[i] = static_cast<Kiv16s>(limited((sum + 16384) >> 15, -32768, 32767));
    }
  });
}

// The sums of the detector; what follows them is a few dozen scalar operations.
void voice_activity() {
  auto* const state = reinterpret_cast<KivsVADState_Aurora*>(array<Kiv32s>(16, [](int) { return 0; }));
  auto* const state16 = reinterpret_cast<KivsVADState_Aurora*>(array<Kiv32s>(16, [](int) { return 0; }));
  kivsVADInit_Aurora_32f(state);
  kivsVADInit_Aurora_16s(state16);
  const float* const gains = array<float>(64, [](int i) { return noise(i); });
  const Kiv16s* const gains16 = array<Kiv16s>(64, [](int i) { return 1024 * noise(i); });
  measure("VADDecision_32f", "ours", 64, [=] {
    int result;
    kivsVADDecision_Aurora_32f(gains, gains, 0, &result, state);
    return result;
  });
  measure("VADDecision_32f", "loop (sums only)", 64, [=] {
    float sum = 0, squares = 0, bands = 0;
    for (int i = 0; i < 64; ++i) squares += gains[i] * gains[i], sum += gains[i];
    for (int i = 0; i < 25; ++i) bands += gains[i];
    return sum + squares + bands;
  });
  measure("VADDecision_16s", "ours", 64, [=] {
    int result;
    kivsVADDecision_Aurora_16s(gains16, gains16, 0, &result, state16);
    return result;
  });
  measure("VADDecision_16s", "loop (sums only)", 64, [=] {
    std::int64_t sum = 0, squares = 0, bands = 0;
    for (int i = 0; i < 64; ++i) squares += gains16[i] * gains16[i], sum += gains16[i];
    for (int i = 0; i < 25; ++i) bands += gains16[i];
    return sum + squares + bands;
  });
}

void equalisation() {
  const float* const reference = array<float>(13, [](int i) { return noise(i); });
  float* const cepstrum = array<float>(13, [](int i) { return noise(3 * i); });
  float* const bias = array<float>(13, [](int) { return 0; });
  measure("BlindEqualization_32f", "ours", 13,
          [=] { kivsBlindEqualization_Aurora_32f(reference, cepstrum, bias, 13, 9.0F); });
  measure("BlindEqualization_32f", "loop", 13, [=] {
#pragma omp simd
    for (int i = 0; i < 13; ++i) {
      cepstrum[i] -= bias[i];
      bias[i] += 0.0087890625F * (cepstrum[i] - reference[i]);
    }
  });
}

// A frame of pulses; the loop of step 2 and 3 alone stands for the rest, which no vector code does.
void waveform() {
  const auto pulse = [](int i) { return 8000 * std::sin(0.6 * i) * std::exp(-0.05 * (i % 61)) + 50 * noise(i); };
  const float* const frame = array<float>(200, pulse);
  const Kiv16s* const frame16 = array<Kiv16s>(200, pulse);
  float* const result = array<float>(200, [](int) { return 0; });
  Kiv16s* const result16 = array<Kiv16s>(200, [](int) { return 0; });
  double* const q = array<double>(208, [](int) { return 0; });
  double* const s = array<double>(200, [](int) { return 0; });
  const auto energies = [=](const auto* x) {
    for (int i = 1; i < 199; ++i) {
      const double here = x[i];
      q[i + 4] = std::floor(std::fabs(here * here - static_cast<double>(x[i - 1]) * x[i + 1]) * 0.25 + 0.5);
    }
    for (int i = 0; i < 200; ++i) {
      double sum = 0;
      for (int k = 0; k < 9; ++k) sum += q[i + k];
      s[i] = sum;
    }
  };
  measure("WaveProcessing_32f", "ours", 200, [=] { kivsWaveProcessing_Aurora_32f(frame, result); });
  measure("WaveProcessing_32f", "loop (energies only)", 200, [=] { energies(frame); });
  measure("WaveProcessing_16s", "ours", 200, [=] { kivsWaveProcessing_Aurora_16s(frame16, result16); });
  measure("WaveProcessing_16s", "loop (energies only)", 200, [=] { energies(frame16); });
}

// 118 taps; the loops do what the formula says, both filters by themselves.
void band_split() {
  const float* const samples = array<float>(276, [](int i) { return 8000 * (noise(i) - 0.5); });
  const Kiv16s* const samples16 = array<Kiv16s>(276, [](int i) { return 8000 * (noise(i) - 0.5); });
  float* const low = array<float>(80, [](int) { return 0; });
  float* const high = array<float>(80, [](int) { return 0; });
  Kiv16s* const low16 = array<Kiv16s>(80, [](int) { return 0; });
  Kiv16s* const high16 = array<Kiv16s>(80, [](int) { return 0; });
  const float* const taps = array<float>(118, [](int i) { return noise(i) - 0.5; });
  const float* const mirrored = array<float>(118, [](int i) { return (noise(i) - 0.5) * (i % 2 == 0 ? -1 : 1); });
  const int* const words = array<int>(118, [](int i) { return (1 << 22) * (noise(i) - 0.5); });
  measure("LowHighFilter_32f", "ours", 80, [=] { kivsLowHighFilter_Aurora_32f(samples, low, high, 80); });
  measure("LowHighFilter_32f", "loop", 80, [=] {
    for (int n = 0; n < 80; ++n) {
      float a = 0, b = 0;
#pragma omp simd reduction(+ : a, b)
      for (int k = 0; k < 118; ++k) a += taps[k] * samples[2 * n + k], b += mirrored[k] * samples[2 * n + k];
      low[n] = a;
      high[n] = n % 2 == 0 ? b : -b;
    }
  });
  measure("LowHighFilter_16s", "ours", 80, [=] { kivsLowHighFilter_Aurora_16s_Sfs(samples16, low16, high16, 80, 0); });
  measure("LowHighFilter_16s", "loop", 80, [=] {
    for (int n = 0; n < 80; ++n) {
      std::int64_t even = 0, odd = 0;
#pragma omp simd reduction(+ : even, odd)
      for (int k = 0; k < 59; ++k) {
        even += std::int64_t{words[2 * k]} * samples16[2 * n + 2 * k];
        odd += std::int64_t{words[2 * k + 1]} * samples16[2 * n + 2 * k + 1];
      }
      const std::int64_t sum = (even + odd) >> 23, difference = (odd - even) >> 23;
      low16[n] = static_cast<Kiv16s>(limited<std::int64_t>(sum, -32768, 32767));
      high16[n] = static_cast<Kiv16s>(limited<std::int64_t>(n % 2 == 0 ? difference : -difference, -32768, 32767));
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  kivsr::bench::wiener_filter();
  kivsr::bench::spectrum_and_taps();
  kivsr::bench::voice_activity();
  kivsr::bench::equalisation();
  kivsr::bench::waveform();
  kivsr::bench::band_split();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
