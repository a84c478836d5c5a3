// Voice activity detection of the advanced front end (ETSI ES 202 050, annex A): three detectors with adaptive floors,
// a history of seven decisions and two hangovers.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/aurora/vad.h"

namespace kivsr {
namespace {

constexpr int kFrame = 64;
constexpr int kBands = 25;
constexpr int kHistory = 7;
constexpr int kLongHangover = 40;

enum Result { kSpeech = 1, kNoSpeech = 2, kUndecided = 4 };

// The caller's 64 bytes. T: float, or Kiv32s in the 16-bit form.
template <class T>
struct State {
  Kiv16s energy_flag;
  Kiv16s band_flag;
  Kiv16s variance_flag;
  Kiv16s early_speech;  // the energy ratio exceeded 2.5 within the first 14 frames
  T energy_mean;
  T band_floor;
  T energy_floor;
  T variance_floor;
  T previous_band;
  T current_band;
  Kiv32s newest;        // position of the newest history entry
  Kiv32s flush_marker;  // where flushing began, -1 before
  Kiv32s hangover_length;
  Kiv32s hangover;        // frames left
  Kiv32s short_hangover;  // frames left
  Kiv8u history[kHistory];
  Kiv8u spare;
  Kiv32s frames;
};
static_assert(sizeof(State<float>) == 64 && sizeof(State<Kiv32s>) == 64);
static_assert(offsetof(State<float>, newest) == 32 && offsetof(State<float>, frames) == 60);

template <class T>
State<T>& state_of(KivsVADState_Aurora* opaque) {
  return *reinterpret_cast<State<T>*>(opaque);
}

template <class T>
void initialise(State<T>& s) {
  std::memset(&s, 0, sizeof s);
  s.flush_marker = -1;
  s.hangover_length = 23;
}

// The longest run of active entries from the oldest to the newest.
template <class T>
int longest_run(const State<T>& s) {
  int longest = 0;
  int run_length = 0;
  for (int i = 1; i <= kHistory; ++i) {
    run_length = s.history[(s.newest + i) % kHistory] != 0 ? run_length + 1 : 0;
    longest = std::max(longest, run_length);
  }
  return longest;
}

template <class T>
void count_frame(State<T>& s) {
  if (s.frames < std::numeric_limits<Kiv32s>::max()) ++s.frames;
}

// A speech run loads the hangover; one before frame 36 lengthens it for good.
template <class T>
void load_hangover(State<T>& s) {
  s.hangover = s.hangover_length;
  if (s.frames < 36) s.hangover_length = kLongHangover;
}

// --- the arithmetic of the two forms: measures, floors and comparisons
// --------------------------------------------------

struct FloatArithmetic {
  using Value = float;

  static float variance(const float* frame) {
    float squares = 0.0F;
    float sum = 0.0F;
    for (int i = 0; i < kFrame; ++i) {
      squares += frame[i] * frame[i];
      sum += frame[i];
    }
    return squares * 0.015625F - sum * sum * 0.00024414063F;
  }
  static float energy(const float* bands) {
    float sum = 0.0F;
    for (int i = 0; i < kBands; ++i) sum += bands[i];
    return sum * sum - 3.0F;
  }
  static float band(const float* bands) { return (bands[1] + bands[2] + bands[3]) / 3.0F; }
  static float smoothed(float now, float before) { return 0.75F * now + 0.25F * before; }
  static float next_mean(float mean, float energy, int count) {
    return (static_cast<float>(count - 1) * mean + energy) * 1.1F / static_cast<float>(count);
  }
  static bool far_above(float energy, float mean) { return energy / mean > 2.5F; }
  // floor times k/32 for the stated fraction
  template <int k32>
  static float part(float floor, float fraction) {
    return fraction * floor;
  }
  static float fast(float floor, float x) { return 0.8F * floor + 0.2F * x; }
  static float slow(float floor, float x) { return 0.97F * floor + 0.03F * x; }
  static float stored(float x) { return x; }
};

// Fractions are multiples of 1/32; everything in 64 bits, stored values saturate.
struct WordArithmetic {
  using Value = std::int64_t;

  static Value variance(const Kiv16s* frame) {
    Value squares = 0;
    Value sum = 0;
    for (int i = 0; i < kFrame; ++i) {
      squares += Kiv32s{frame[i]} * frame[i];
      sum += frame[i];
    }
    return kFrame * squares - sum * sum;
  }
  static Value energy(const Kiv16s* bands) {
    Value sum = 0;
    for (int i = 0; i < kBands; ++i) sum += bands[i];
    return sum * sum - 3;
  }
  static Value band(const Kiv16s* bands) { return (Value{bands[1]} + bands[2] + bands[3]) / 3; }
  static Value smoothed(Value now, Value before) { return (24 * now + 8 * before) >> 5; }
  static Value next_mean(Value mean, Value energy, int count) {
    return (((count - 1) * mean + energy) * 141 >> 7) / count;
  }
  // energy / mean > 5/2 without the division; a zero mean divides to an infinity
  static bool far_above(Value energy, Value mean) {
    if (mean == 0) return energy > 0;
    return mean > 0 ? 2 * energy > 5 * mean : 2 * energy < 5 * mean;
  }
  template <int k32>
  static Value part(Value floor, float) {
    return (k32 * floor) >> 5;
  }
  static Value fast(Value floor, Value x) { return (26 * floor + 6 * x) >> 5; }
  static Value slow(Value floor, Value x) { return (31 * floor + x) >> 5; }
  static Kiv32s stored(Value x) { return saturate<Kiv32s>(x); }
};

// One adaptive floor: fast towards values near it, slowly towards much lower ones.
template <class A, class T, int kNear32, int kLow32, bool kLowInclusive>
void adapt(T& floor, typename A::Value x, float near, float low) {
  using Value = typename A::Value;
  if (x < A::template part<48>(floor, 1.5F) && x > A::template part<kNear32>(floor, near)) {
    floor = A::stored(A::fast(floor, x));
  }
  const Value bound = A::template part<kLow32>(floor, low);
  if (kLowInclusive ? x <= bound : x < bound) floor = A::stored(A::slow(floor, x));
}

template <class A, class T, class E>
int decide(const E* bands, const E* frame, int activity, State<T>& s) {
  using Value = typename A::Value;
  count_frame(s);
  const int c = s.frames;
  const bool starting = c < 15;
  const auto raise = [&](T& floor, Value x) { floor = x > Value{floor} ? A::stored(x) : floor; };

  const Value variance = A::variance(frame);
  if (starting) raise(s.variance_floor, variance);
  adapt<A, T, 27, 8, false>(s.variance_floor, variance, 0.85F, 0.25F);
  s.variance_flag = variance > A::template part<53>(s.variance_floor, 1.65F);

  const Value energy = A::energy(bands);
  if (c == 1) s.energy_floor = A::stored(energy);
  if (starting) {
    s.energy_mean = A::stored(A::next_mean(s.energy_mean, energy, c));
    if (A::far_above(energy, s.energy_mean)) s.early_speech = 1;
    if (s.early_speech == 0) raise(s.energy_floor, energy);
  }
  adapt<A, T, 24, 16, true>(s.energy_floor, energy, 0.75F, 0.5F);
  s.energy_flag = energy > A::template part<53>(s.energy_floor, 1.65F);

  const Value band = A::band(bands);
  const Value smooth = A::smoothed(band, s.previous_band);
  s.previous_band = s.current_band = A::stored(band);
  if (starting) raise(s.band_floor, smooth);
  adapt<A, T, 24, 16, true>(s.band_floor, smooth, 0.75F, 0.5F);
  s.band_flag = smooth > A::template part<104>(s.band_floor, 3.25F);

  if (c < 11) return kUndecided;

  s.newest = (s.newest + 1) % kHistory;
  s.history[s.newest] = s.energy_flag != 0 || s.band_flag != 0 || s.variance_flag != 0 || activity >= 5 ? 1 : 0;
  const int run_length = longest_run(s);
  if (run_length >= 4) load_hangover(s);
  if (run_length >= 3) {
    s.short_hangover = 5;
  } else {
    if (s.hangover != 0) --s.hangover;
    if (s.short_hangover > 0) --s.short_hangover;
  }
  return s.short_hangover == 0 && s.hangover == 0 && run_length < 3 ? kNoSpeech : kSpeech;
}

// One frame of the drain. The newest position advances over the unchanged history, so that the oldest entry becomes the
// newest; the call that would come round to the start stores nothing. Counters may fall below zero here.
template <class T>
int flush(State<T>& s) {
  count_frame(s);
  if (s.flush_marker == -1) s.flush_marker = s.newest;
  const Kiv32s next = (s.newest + 1) % kHistory;
  if (next == s.flush_marker) return kUndecided;
  s.newest = next;
  if (s.frames < 11) return kUndecided;
  const int run_length = longest_run(s);
  if (run_length >= 4) load_hangover(s);
  --s.hangover;
  if (run_length >= 3) {
    s.short_hangover = 4;
  } else {
    --s.short_hangover;
  }
  return s.short_hangover < 1 && s.hangover < 1 && run_length < 3 ? kNoSpeech : kSpeech;
}

KivStatus report_size(int* size) {
  return run(not_null(size), [&] { *size = sizeof(State<float>); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsVADGetBufSize_Aurora_32f(int* pSize) { return report_size(pSize); }
KivStatus kivsVADGetBufSize_Aurora_16s(int* pSize) { return report_size(pSize); }

KivStatus kivsVADInit_Aurora_32f(KivsVADState_Aurora* pState) {
  return run(not_null(pState), [&] { initialise(state_of<float>(pState)); });
}
KivStatus kivsVADInit_Aurora_16s(KivsVADState_Aurora* pState) {
  return run(not_null(pState), [&] { initialise(state_of<Kiv32s>(pState)); });
}

KivStatus kivsVADDecision_Aurora_32f(const Kiv32f* pBands, const Kiv32f* pFrame, int activity, int* pResult,
                                     KivsVADState_Aurora* pState) {
  return run(not_null(pBands, pFrame, pResult, pState),
             [&] { *pResult = decide<FloatArithmetic>(pBands, pFrame, activity, state_of<float>(pState)); });
}
KivStatus kivsVADDecision_Aurora_16s(const Kiv16s* pBands, const Kiv16s* pFrame, int activity, int* pResult,
                                     KivsVADState_Aurora* pState) {
  return run(not_null(pBands, pFrame, pResult, pState),
             [&] { *pResult = decide<WordArithmetic>(pBands, pFrame, activity, state_of<Kiv32s>(pState)); });
}

KivStatus kivsVADFlush_Aurora_32f(int* pResult, KivsVADState_Aurora* pState) {
  return run(not_null(pResult, pState), [&] { *pResult = flush(state_of<float>(pState)); });
}
KivStatus kivsVADFlush_Aurora_16s(int* pResult, KivsVADState_Aurora* pState) {
  return run(not_null(pResult, pState), [&] { *pResult = flush(state_of<Kiv32s>(pState)); });
}
}
