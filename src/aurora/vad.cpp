// Voice activity detection of the advanced front end (ETSI ES 202 050, annex A): three detectors with adaptive floors,
// a history of seven decisions and two hangovers.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/aurora/vad.h"
#include "vector/dot_product.h"
#include "vector/sums.h"

namespace kivsr {
namespace {

constexpr int kFrame = 64;
constexpr int kBands = 25;
constexpr int kHistory = 7;
constexpr int kFirstDecision = 11;  // frames are counted from 1
constexpr int kStartFrames = 15;    // below this count floors follow their maxima

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

// The length of the longest run of active entries from the oldest to the newest, up to four.
template <class T>
int longest_run(const State<T>& s) {
  static_assert(sizeof(std::uint64_t) == kHistory + sizeof(s.spare));
  assert(s.newest >= 0 && s.newest < kHistory);
  std::uint64_t entries;
  std::memcpy(&entries, s.history, sizeof entries);
  // Bit 0 of each byte, which is 0 or 1, to bit k of the top byte; the spare byte falls out.
  const auto active = static_cast<unsigned>((entries & 0x0001010101010101U) * 0x0102040810204080U >> 56) & 0x7FU;
  // The oldest entry behind the newest one becomes bit 0.
  const unsigned from_oldest = (active | active << kHistory) >> (s.newest + 1) & 0x7FU;
  const unsigned pairs = from_oldest & from_oldest >> 1;
  if ((pairs & pairs >> 2) != 0) return 4;
  if ((pairs & from_oldest >> 2) != 0) return 3;
  return pairs != 0 ? 2 : from_oldest != 0 ? 1 : 0;
}

template <class T>
void count_frame(State<T>& s) {
  if (s.frames < std::numeric_limits<Kiv32s>::max()) ++s.frames;
}

// A speech run loads the hangover; one before frame 36 lengthens it for good.
template <class T>
void load_hangover(State<T>& s) {
  s.hangover = s.hangover_length;
  if (s.frames < 36) s.hangover_length = 40;
}

// --- the arithmetic of the two forms: measures, floors and comparisons ----------------------------------------------

// A factor as the annex has it, and to the nearest 1/32 for the 16-bit form.
struct Factor {
  float value;
  Kiv32s in_32nds;
  constexpr Factor(double x) : value(static_cast<float>(x)), in_32nds(static_cast<Kiv32s>(x * 32 + 0.5)) {}
};

template <class Value>
struct Measures {
  Value variance, energy;
};

struct FloatArithmetic {
  using Value = float;

  // Three sums in the order of their elements, side by side.
  static Measures<float> measures(const float* bands, const float* frame) {
    float squares = 0.0F;
    float sum = 0.0F;
    float band_sum = 0.0F;
    for (int i = 0; i < kBands; ++i) {
      squares += frame[i] * frame[i];
      sum += frame[i];
      band_sum += bands[i];
    }
    for (int i = kBands; i < kFrame; ++i) {
      squares += frame[i] * frame[i];
      sum += frame[i];
    }
    return {squares * 0.015625F - sum * sum * 0.00024414063F, band_sum * band_sum - 3.0F};
  }
  static float band(const float* bands) { return (bands[1] + bands[2] + bands[3]) / 3.0F; }
  static float next_mean(float mean, float energy, int count) {
    return (static_cast<float>(count - 1) * mean + energy) * 1.1F / static_cast<float>(count);
  }
  static bool far_above(float energy, float mean) { return energy / mean > 2.5F; }
  static float times(Factor k, float x) { return k.value * x; }
  static float mix(Factor a, float x, Factor b, float y) { return a.value * x + b.value * y; }
  static float stored(float x) { return x; }
};

// Everything in 64 bits; stored values saturate.
struct WordArithmetic {
  using Value = std::int64_t;

  static Measures<Value> measures(const Kiv16s* bands, const Kiv16s* frame) {
    const Value sum = exact_sum(frame, kFrame);
    const Value band_sum = exact_sum(bands, kBands);
    return {kFrame * exact_dot_product(frame, frame, kFrame) - sum * sum, band_sum * band_sum - 3};
  }
  static Value band(const Kiv16s* bands) { return (Value{bands[1]} + bands[2] + bands[3]) / 3; }
  static Value next_mean(Value mean, Value energy, int count) {
    return (((count - 1) * mean + energy) * 141 >> 7) / count;
  }
  // energy / mean > 5/2 without the division; a zero mean divides to an infinity
  static bool far_above(Value energy, Value mean) {
    if (mean == 0) return energy > 0;
    return mean > 0 ? 2 * energy > 5 * mean : 2 * energy < 5 * mean;
  }
  static Value times(Factor k, Value x) { return (k.in_32nds * x) >> 5; }
  static Value mix(Factor a, Value x, Factor b, Value y) { return (a.in_32nds * x + b.in_32nds * y) >> 5; }
  static Kiv32s stored(Value x) { return saturate<Kiv32s>(x); }
};

// --- one frame ------------------------------------------------------------------------------------------------------

// How a floor follows its measure x: by 0.8 and 0.2 where near F < x < 1.5 F, by 0.97 and 0.03 below low F (at it, too,
// where low_inclusive), and what fires.
struct FloorRules {
  Factor near;
  Factor low;
  bool low_inclusive;
  Factor active;
};
constexpr FloorRules kVarianceRules = {0.85, 0.25, false, 1.65};
constexpr FloorRules kEnergyRules = {0.75, 0.5, true, 1.65};
constexpr FloorRules kBandRules = {0.75, 0.5, true, 3.25};

template <class A, class T>
void raise(T& floor, typename A::Value x) {
  if (x > typename A::Value{floor}) floor = A::stored(x);
}

// Moves the floor; whether the measure is above it by the factor that fires.
template <class A, class T>
bool fires(const FloorRules& rules, T& floor, typename A::Value x) {
  if (x < A::times(1.5, floor) && x > A::times(rules.near, floor)) floor = A::stored(A::mix(0.8, floor, 0.2, x));
  const typename A::Value low = A::times(rules.low, floor);
  if (rules.low_inclusive ? x <= low : x < low) floor = A::stored(A::mix(0.97, floor, 0.03, x));
  return x > A::times(rules.active, floor);
}

// The three detectors.
template <class A, class T, class E>
void measure(const E* bands, const E* frame, State<T>& s) {
  using Value = typename A::Value;
  const int c = s.frames;
  const bool starting = c < kStartFrames;

  const auto [variance, energy] = A::measures(bands, frame);
  if (starting) raise<A>(s.variance_floor, variance);
  s.variance_flag = fires<A>(kVarianceRules, s.variance_floor, variance);

  if (c == 1) s.energy_floor = A::stored(energy);
  if (starting) {
    s.energy_mean = A::stored(A::next_mean(s.energy_mean, energy, c));
    if (A::far_above(energy, s.energy_mean)) s.early_speech = 1;
    if (s.early_speech == 0) raise<A>(s.energy_floor, energy);
  }
  s.energy_flag = fires<A>(kEnergyRules, s.energy_floor, energy);

  const Value band = A::band(bands);
  const Value smooth = A::mix(0.75, band, 0.25, s.previous_band);
  s.previous_band = s.current_band = A::stored(band);
  if (starting) raise<A>(s.band_floor, smooth);
  s.band_flag = fires<A>(kBandRules, s.band_floor, smooth);
}

template <class A, class T, class E>
int decide(const E* bands, const E* frame, int activity, State<T>& s) {
  count_frame(s);
  measure<A>(bands, frame, s);
  if (s.frames < kFirstDecision) return kivVadUndecided;

  assert(s.newest >= 0 && s.newest < kHistory);
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
  return s.short_hangover == 0 && s.hangover == 0 && run_length < 3 ? kivVadNoSpeech : kivVadSpeech;
}

// One frame of the drain. The newest position advances over the unchanged history, so that the oldest entry becomes the
// newest; the call that would come round to the start stores nothing. Counters may fall below zero here.
template <class T>
int flush(State<T>& s) {
  count_frame(s);
  if (s.flush_marker == -1) s.flush_marker = s.newest;
  const Kiv32s next = (s.newest + 1) % kHistory;
  if (next == s.flush_marker) return kivVadUndecided;
  s.newest = next;
  if (s.frames < kFirstDecision) return kivVadUndecided;
  const int run_length = longest_run(s);
  if (run_length >= 4) load_hangover(s);
  --s.hangover;
  if (run_length >= 3) {
    s.short_hangover = 4;
  } else {
    --s.short_hangover;
  }
  return s.short_hangover < 1 && s.hangover < 1 && run_length < 3 ? kivVadNoSpeech : kivVadSpeech;
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
