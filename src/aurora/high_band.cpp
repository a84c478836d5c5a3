// High bands of the advanced front end (ETSI ES 202 050, clause 5.5): coding relative to the low band, spectral
// subtraction, and their way into the mel bands.
#include "kivsr/aurora/high_band.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/elementary.h"
#include "frame/status.h"

namespace kivsr {
namespace {

constexpr int kBands = 3;
constexpr int kLowBands = 23;
constexpr double kHighGain = 1.9;  // of the high bands beside the low ones
constexpr double kLogHighGain = 0.64185388617239477;

constexpr double kLogFloor = -10.0;
constexpr double kSmallest = 4.5399929762484852e-5;  // e^-10

double floored_log(double x) { return x > kSmallest ? natural_log(x) : kLogFloor; }

// Elements first to last.
struct Bins {
  int first;
  int last;
};
float sum_of(const float* power, Bins bins) {
  float sum = 0.0F;
  for (int k = bins.first; k <= bins.last; ++k) sum += power[k];
  return sum;
}

void code(const float* low, const float* high, float* codes) {
  constexpr Bins kBins[kBands] = {{33, 38}, {39, 48}, {49, 64}};
  double below[kBands];
  for (int j = 0; j < kBands; ++j) below[j] = floored_log(sum_of(low, kBins[j]));
  for (int i = 0; i < kBands; ++i) {
    const double band = floored_log(high[i]);
    for (int j = 0; j < kBands; ++j) codes[kBands * i + j] = static_cast<float>(below[j] - band);
  }
}

void decode(const float* low, const float* codes, float* bands) {
  constexpr Bins kBins[kBands] = {{66, 76}, {78, 96}, {98, 128}};
  constexpr double kShares[kBands] = {0.1, 0.2, 0.7};
  double below[kBands];
  for (int j = 0; j < kBands; ++j) below[j] = floored_log(0.5F * sum_of(low, kBins[j]));
  for (int i = 0; i < kBands; ++i) {
    double sum = kLogHighGain;
    for (int j = 0; j < kBands; ++j) sum += kShares[j] * (below[j] - double{codes[kBands * i + j]});
    bands[i] = static_cast<float>(sum);
  }
}

void merge(const float* coded, const float* high, float* bands, float* energy) {
  double merged[kBands];
  for (int i = 0; i < kBands; ++i) merged[i] = 0.7 * coded[i] + 0.3 * floored_log(kHighGain * high[i]);
  double* const first = merged;
  float* const last_low = bands + kLowBands - 1;
  const double mean = 0.5 * (*last_low + *first);
  *last_low = static_cast<float>(0.6 * *last_low + 0.4 * mean);
  *first = 0.6 * *first + 0.4 * mean;
  double sum = *energy;
  for (int i = 0; i < kBands; ++i) {
    sum += exponential(merged[i]) / kHighGain;
    bands[kLowBands + i] = static_cast<float>(merged[i]);
  }
  *energy = static_cast<float>(sum);
}

// The caller's bytes.
struct State {
  float noise[kBands];
  float mean;  // of the log energy
  std::int32_t frames;
  std::int32_t loud_frames;  // in a row, at most kLoudRun
  std::int32_t hangover;     // frames left
  std::int32_t spare;
};
static_assert(sizeof(State) == 32 && alignof(State) == 4);

State& state_of(KivsHighBandState_Aurora* opaque) { return *reinterpret_cast<State*>(opaque); }

constexpr int kStartFrames = 10;
constexpr int kLoudRun = 5;  // loads the hangover

// Whether the frame holds speech, its log energy being e.
bool is_speech(State& s, float e, float share) {
  if (e - s.mean < 1.2F || s.frames < kStartFrames) {
    if (s.frames >= kStartFrames) share = e < s.mean ? 0.02F : 0.005F;
    s.mean += share * (e - s.mean);
  }
  if (e - s.mean > 2.2F) {
    s.loud_frames = std::min(s.loud_frames + 1, kLoudRun);
    return true;
  }
  if (s.loud_frames == kLoudRun) s.hangover = 15;
  s.loud_frames = 0;
  if (s.hangover == 0) return false;
  --s.hangover;
  return true;
}

void follow(State& s, const float* energies, float share) {
  for (int i = 0; i < kBands; ++i) {
    const bool rises = !(energies[i] < s.noise[i]) && s.frames >= kStartFrames;
    const float step = rises ? 0.005F : share;
    s.noise[i] = std::max((1.0F - step) * s.noise[i] + step * energies[i], static_cast<float>(kSmallest));
  }
}

void reduce(float* energies, State& s) {
  const float sum = energies[0] + energies[1] + energies[2];
  if (!(sum <= std::numeric_limits<float>::max() && sum >= -std::numeric_limits<float>::max())) return;
  if (s.frames < std::numeric_limits<std::int32_t>::max()) ++s.frames;
  const float share = s.frames < 100 ? 1.0F / static_cast<float>(s.frames) : 0.01F;
  const auto e = static_cast<float>(natural_log(std::max(sum, 0.001F)));
  if (!is_speech(s, e, share)) follow(s, energies, share);
  for (int i = 0; i < kBands; ++i) energies[i] = std::max(energies[i] - 1.5F * s.noise[i], 0.1F * energies[i]);
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsHighBandCoding_Aurora_32f(const Kiv32f* pSrcLow, const Kiv32f* pSrcHigh, Kiv32f* pDst) {
  return run(not_null(pSrcLow, pSrcHigh, pDst), [&] { code(pSrcLow, pSrcHigh, pDst); });
}
KivStatus kivsHighBandDecoding_Aurora_32f(const Kiv32f* pSrcLow, const Kiv32f* pSrcCode, Kiv32f* pDst) {
  return run(not_null(pSrcLow, pSrcCode, pDst), [&] { decode(pSrcLow, pSrcCode, pDst); });
}
KivStatus kivsHighBandMerging_Aurora_32f(const Kiv32f* pSrcCoded, const Kiv32f* pSrcHigh, Kiv32f* pSrcDst,
                                         Kiv32f* pEnergy) {
  return run(not_null(pSrcCoded, pSrcHigh, pSrcDst, pEnergy), [&] { merge(pSrcCoded, pSrcHigh, pSrcDst, pEnergy); });
}

KivStatus kivsHighBandGetSize_Aurora_32f(int* pSize) {
  return run(not_null(pSize), [&] { *pSize = sizeof(State); });
}
KivStatus kivsHighBandInit_Aurora_32f(KivsHighBandState_Aurora* pState) {
  return run(not_null(pState), [&] { state_of(pState) = {}; });
}
KivStatus kivsHighBandReduction_Aurora_32f_I(Kiv32f* pSrcDst, KivsHighBandState_Aurora* pState) {
  return run(not_null(pSrcDst, pState), [&] { reduce(pSrcDst, state_of(pState)); });
}
}
