// The noise-robust front end, per frame: every kernel beside the plain loop of its formula, and a frame of noise
// suppression made of them beside one of the speexdsp preprocessor.
#include <speex/speex_preprocess.h>

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

// By value, so that the peers' loops become vector code.
template <class T>
T larger(T a, T b) {
  return a > b ? a : b;
}
template <class T>
T smaller(T a, T b) {
  return a < b ? a : b;
}
template <class T>
T limited(T x, T low, T high) {
  return smaller(larger(x, low), high);
}

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

template <class T>
struct Tracker {
  T* presence = array<T>(257, [](int) { return 0; });
  T* smoothed = array<T>(257, [](int i) { return 1e6 * (1 + noise(i)); });
  T* minimum = array<T>(257, [](int i) { return 1e6 * (1 + noise(i)); });
  T* window = array<T>(257, [](int i) { return 1e6 * (1 + noise(i)); });
  T* level = array<T>(257, [](int i) { return 1e6 * (1 + noise(i)); });
};

void noise_tracking() {
  int bytes = 0;
  kivsGetSizeMCRA_32f(512, &bytes);
  auto* const state = reinterpret_cast<KivsMCRAState_32f*>(array<double>(bytes / 8 + 1, [](int) { return 0; }));
  auto* const state32 = reinterpret_cast<KivsMCRAState_32s*>(array<double>(bytes / 8 + 1, [](int) { return 0; }));
  kivsAltInitMCRA_32f(16000, 512, 160, state);
  kivsAltInitMCRA_32s(16000, 512, 160, state32);
  const float* const power = array<float>(257, [](int i) { return 1e6 * (0.5 + noise(i)); });
  const Kiv32s* const power32 = array<Kiv32s>(257, [](int i) { return 1e6 * (0.5 + noise(i)); });
  const Tracker<float> ours, t;
  const Tracker<Kiv32s> ours32, t32;
  measure("UpdateNoisePSDMCRA_32f_I", "ours", 512, [=] { kivsUpdateNoisePSDMCRA_32f_I(power, state, ours.level); });
  measure("UpdateNoisePSDMCRA_32f_I", "loop", 512, [=] {
#pragma omp simd
    for (int k = 0; k < 257; ++k) {
      const float s = 0.8F * t.smoothed[k] + 0.2F * power[k];
      const float least = smaller(t.minimum[k], s);
      const float p = 0.2F * t.presence[k] + (s > 5 * least ? 0.8F : 0.0F);
      const float a = 0.7F + 0.3F * p;
      t.smoothed[k] = s, t.minimum[k] = least, t.window[k] = smaller(t.window[k], s), t.presence[k] = p;
      t.level[k] = a * t.level[k] + (1 - a) * power[k];
    }
  });
  measure("UpdateNoisePSDMCRA_32s_I", "ours", 512,
          [=] { kivsUpdateNoisePSDMCRA_32s_I(power32, state32, ours32.level); });
  measure("UpdateNoisePSDMCRA_32s_I", "loop", 512, [=] {
    constexpr std::int64_t kOne = 2147483647, kS = 1717986918, kP = 429496730, kD = 1503238554;
#pragma omp simd
    for (int k = 0; k < 257; ++k) {
      const auto s = static_cast<Kiv32s>((t32.smoothed[k] * kS + power32[k] * (kOne - kS)) >> 31);
      const Kiv32s least = smaller(t32.minimum[k], s);
      t32.window[k] = smaller(t32.window[k], s);
      const std::int64_t p = ((t32.presence[k] * kP) >> 31) + (s > 5 * std::int64_t{least} ? kOne - kP : 0);
      const std::int64_t a = kD + (((kOne - kD) * p) >> 31);
      t32.smoothed[k] = s, t32.minimum[k] = least, t32.presence[k] = static_cast<Kiv32s>(p);
      t32.level[k] = static_cast<Kiv32s>((t32.level[k] * a + power32[k] * (kOne - a)) >> 31);
    }
  });
}

void gains(int n) {
  const float* const snr = array<float>(n, [](int i) { return 20 * noise(i); });
  const float* const prior = array<float>(n, [](int i) { return noise(i); });
  float* const gain = array<float>(n, [](int) { return 0; });
  measure("FilterUpdateWiener_32f", "ours", n, [=] { kivsFilterUpdateWiener_32f(snr, gain, n); });
  measure("FilterUpdateWiener_32f", "loop", n, [=] {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      const float x = larger(snr[i], 0.0F);
      gain[i] = x / (x + 1);
    }
  });
  measure("FilterUpdateWiener_32f", "Eigen", n,
          [=] { eigen(gain, n) = 1.0F - 1.0F / (eigen(snr, n).max(0.0F) + 1.0F); });
  measure("FilterUpdateEMNS_32f", "ours", n, [=] { kivsFilterUpdateEMNS_32f(prior, snr, gain, n); });
  // A gain of the same shape by elementary functions; the exact curve needs two Bessel functions.
  measure("FilterUpdateEMNS_32f", "loop (exp, sqrt)", n, [=] {
#pragma omp simd
    for (int i = 0; i < n; ++i) {
      const float v = limited(snr[i], 0.000031F, 100.0F) * prior[i];
      gain[i] = prior[i] * std::sqrt(1 + 0.785F / v * std::exp(-0.6F * v));
    }
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

// Analysis, noise update, gain and synthesis of 128 new samples at 8 kHz, transforms of 256 points on both sides.
void whole_frame() {
  constexpr int kHop = 128, kTransform = 256, kBins = 129;
  KivsFFTSpec_R_32f* fft = nullptr;
  int bytes = 0;
  kivsFFTInitAlloc_R_32f(&fft, 8, kivFftScaleInverse, 0);
  kivsFFTGetBufSize_R_32f(fft, &bytes);
  Kiv8u* const work = kivsMalloc_8u(bytes + 1);
  kivsGetSizeMCRA_32f(kTransform, &bytes);
  auto* const state = reinterpret_cast<KivsMCRAState_32f*>(array<double>(bytes / 8 + 1, [](int) { return 0; }));
  kivsAltInitMCRA_32f(8000, kTransform, kHop, state);
  const float* const samples = array<float>(kTransform, [](int i) { return 2000 * (noise(i) - 0.5); });
  const float* const window = array<float>(kTransform, [](int i) { return std::sin(M_PI * (i + 0.5) / 256); });
  float* const frame = array<float>(kTransform, [](int) { return 0; });
  float* const power = array<float>(kBins, [](int) { return 0; });
  float* const level = array<float>(kBins, [](int) { return 0; });
  float* const ratio = array<float>(kBins, [](int) { return 0; });
  float* const gain = array<float>(kBins, [](int) { return 0; });
  float* const output = array<float>(kTransform, [](int) { return 0; });
  measure("SuppressFrame", "ours", kHop, [=] {
    kivsMul_32f(samples, window, frame, kTransform);
    kivsFFTFwd_RToPack_32f(frame, frame, fft, work);
    power[0] = frame[0] * frame[0];
    power[kHop] = frame[kTransform - 1] * frame[kTransform - 1];
    for (int k = 1; k < kHop; ++k) power[k] = frame[2 * k - 1] * frame[2 * k - 1] + frame[2 * k] * frame[2 * k];
    kivsUpdateNoisePSDMCRA_32f_I(power, state, level);
    kivsDiv_32f(level, power, ratio, kBins);
    kivsFilterUpdateWiener_32f(ratio, gain, kBins);
    kivsFilterUpdateEMNS_32f(gain, ratio, gain, kBins);
    frame[0] *= gain[0];
    frame[kTransform - 1] *= gain[kHop];
    for (int k = 1; k < kHop; ++k) frame[2 * k - 1] *= gain[k], frame[2 * k] *= gain[k];
    kivsFFTInv_PackToR_32f(frame, frame, fft, work);
    kivsMul_32f(frame, window, frame, kTransform);
    std::copy_n(output + kHop, kHop, output);
    std::fill_n(output + kHop, kHop, 0.0F);
    kivsAdd_32f_I(frame, output, kTransform);
  });

  SpeexPreprocessState* const peer = speex_preprocess_state_init(kHop, 8000);
  const Kiv16s* const samples16 = array<Kiv16s>(kHop, [&](int i) { return samples[i]; });
  Kiv16s* const frame16 = array<Kiv16s>(kHop, [](int) { return 0; });
  measure("SuppressFrame", "speexdsp", kHop, [=] {
    std::copy_n(samples16, kHop, frame16);
    speex_preprocess_run(peer, frame16);
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  kivsr::bench::wiener_filter();
  kivsr::bench::spectrum_and_taps();
  kivsr::bench::voice_activity();
  kivsr::bench::noise_tracking();
  for (const int bins : {257, 4096}) kivsr::bench::gains(bins);
  kivsr::bench::equalisation();
  kivsr::bench::whole_frame();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
