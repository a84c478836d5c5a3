// Noise tracking and spectral gains, per frame: every kernel beside the plain loop of its formula, and a frame of noise
// suppression made of them beside one of the speexdsp preprocessor.
#include <speex/speex_preprocess.h>

#include <Eigen/Core>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

auto eigen(const float* data, int n) { return Eigen::Map<const Eigen::ArrayXf>(data, n); }
auto eigen(float* data, int n) { return Eigen::Map<Eigen::ArrayXf>(data, n); }

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
  kivsr::bench::noise_tracking();
  for (const int bins : {257, 4096}) kivsr::bench::gains(bins);
  kivsr::bench::whole_frame();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
