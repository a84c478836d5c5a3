// Noise power by minima-controlled recursive averaging (I. Cohen, B. Berdugo: Noise estimation by minima controlled
// recursive averaging for robust speech enhancement, 2002).
#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>

#include "frame/elementary.h"
#include "frame/layout.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/noise/mcra.h"

namespace kivsr {
namespace {

// The caller's record. T: float, or Kiv32s with factors as fractions of 2^31 and the threshold of 2^15.
template <class T>
struct State {
  Kiv32s sample_rate;
  Kiv32s fft_length;
  Kiv32s order;  // halvings of fft_length / 2 until zero
  Kiv32s reserved;
  Kiv32s hop;
  Kiv32s window;   // frames of the minimum search
  Kiv32s counter;  // frames since the window began
  Kiv32s first_frame;
  T noise_smoothing;
  T presence_smoothing;
  T power_smoothing;
  T threshold;
  T* presence;        // speech-presence probability, fft_length / 2 + 1 elements as the others
  T* power;           // smoothed power
  T* minimum;         // its running minimum
  T* window_minimum;  // the minimum of the current window
};
#if defined(__i386__)
static_assert(sizeof(State<float>) == 64, "sixteen words on i386");
#endif

constexpr int kLeastLength = 8;
constexpr int kMostLength = 8192;

constexpr int bins(int fft_length) { return fft_length / 2 + 1; }

constexpr KivStatus valid_length(int fft_length) {
  return require(fft_length >= kLeastLength && fft_length <= kMostLength, kivStatusBadSize);
}

// The caller's block: the record, a spare word, the arrays, nothing between them.
template <class T>
struct Places {
  Part<State<T>> record;
  Part<T> presence, power, minimum, window_minimum;
  std::size_t bytes;

  explicit Places(int fft_length) {
    const auto count = static_cast<std::size_t>(bins(fft_length));
    Layout layout;
    record = layout.append<State<T>>(1);
    layout.append<Kiv32s>(1);
    for (Part<T>* const part : {&presence, &power, &minimum, &window_minimum}) *part = layout.append<T>(count);
    bytes = layout.bytes();
  }
};

template <class T>
KivStatus get_size(int fft_length, int* size) {
  return run(first_failure(not_null(size), valid_length(fft_length)),
             [&] { *size = static_cast<int>(Places<T>(fft_length).bytes); });
}

// base^T, T the hop in units of 8 ms.
double time_constant(double base, int sample_rate, int hop) {
  const float units = 125.0F * static_cast<float>(hop) / static_cast<float>(sample_rate);
  return keeping_errno([](double b, double t) { return std::pow(b, t); }, base, static_cast<double>(units));
}

void store_factor(float* factor, double value) { *factor = static_cast<float>(value); }
void store_factor(Kiv32s* factor, double value) { *factor = round_saturated<Kiv32s>(value * 2147483648.0); }
void store_threshold(float* threshold) { *threshold = 5.0F; }
void store_threshold(Kiv32s* threshold) { *threshold = 5 << 15; }

template <class T>
void initialise(void* block, int sample_rate, int fft_length, int hop, int window_hop, int order) {
  const NearestRounding nearest;
  const Places<T> places(fft_length);
  State<T>& s = *places.record.in(block);
  s.sample_rate = sample_rate;
  s.fft_length = fft_length;
  s.order = order;
  s.hop = hop;
  s.window = static_cast<Kiv32s>((sample_rate * 0.008 / window_hop) * 125);
  s.counter = 0;
  s.first_frame = 1;
  store_factor(&s.noise_smoothing, time_constant(0.7, sample_rate, hop));
  store_factor(&s.presence_smoothing, time_constant(0.2, sample_rate, hop));
  store_factor(&s.power_smoothing, time_constant(0.8, sample_rate, hop));
  store_threshold(&s.threshold);
  s.presence = places.presence.in(block);
  s.power = places.power.in(block);
  s.minimum = places.minimum.in(block);
  s.window_minimum = places.window_minimum.in(block);
}

constexpr int halvings(int fft_length) {
  int order = 0;
  for (int n = fft_length / 2; n > 0; n /= 2) ++order;
  return order;
}

constexpr KivStatus valid_rate(int sample_rate) {
  return require(sample_rate >= 8000 && sample_rate <= 48000, kivStatusOutOfRange);
}

// The hop is half the transform; the window counts frames of the largest power of two in it.
template <class T, class Opaque>
KivStatus init(int sample_rate, int fft_length, Opaque* state) {
  return run(first_failure(not_null(state), valid_rate(sample_rate), valid_length(fft_length)), [&] {
    const int order = halvings(fft_length);
    initialise<T>(state, sample_rate, fft_length, fft_length / 2, 1 << (order - 1), order);
  });
}

// The caller's hop, a window of one second.
template <class T, class Opaque>
KivStatus init_with_hop(int sample_rate, int fft_length, int hop, Opaque* state) {
  return run(first_failure(not_null(state), valid_rate(sample_rate),
                           require(hop >= 1 && hop <= fft_length / 2, kivStatusOutOfRange), valid_length(fft_length)),
             [&] { initialise<T>(state, sample_rate, fft_length, hop, hop, halvings(fft_length)); });
}

// --- one frame ------------------------------------------------------------------------------------------------------

template <bool kWindowEnds>
void update_bins(State<float>& s, const float* power, float* noise) {
  using V = simd::Vec<float>;
  const V one = V::broadcast(1.0F);
  const V a_s = V::broadcast(s.power_smoothing);
  const V b_s = V::broadcast(1.0F - s.power_smoothing);
  const V a_p = V::broadcast(s.presence_smoothing);
  const V b_p = V::broadcast(1.0F - s.presence_smoothing);
  const V a_d = V::broadcast(s.noise_smoothing);
  const V b_d = V::broadcast(1.0F - s.noise_smoothing);
  const V delta = V::broadcast(s.threshold);
  transform_together(
      bins(s.fft_length),
      [=](V x, V& smoothed, V& minimum, V& window_minimum, V& presence, V& estimate) {
        smoothed = a_s * smoothed + b_s * x;
        minimum = min(kWindowEnds ? window_minimum : minimum, smoothed);
        window_minimum = kWindowEnds ? smoothed : min(window_minimum, smoothed);
        // Adding zero where speech is absent leaves a probability, which is not negative, as it is.
        presence = a_p * presence + keep_where(smoothed > delta * minimum, b_p);
        const V a = a_d + b_d * presence;
        estimate = a * estimate + (one - a) * x;
      },
      power, s.power, s.minimum, s.window_minimum, s.presence, noise);
}

// (x a + y (2^31 - 1 - a)) / 2^31 in double precision. With a in 0 .. 2^31 - 1 it stays within 32 bits.
simd::Vec<double> mix(simd::Vec<double> x, simd::Vec<double> y, simd::Vec<double> a) {
  using D = simd::Vec<double>;
  return (x * a + y * (D::broadcast(2147483647.0) - a)) * D::broadcast(1.0 / 2147483648.0);
}

// The presence (present: 0 or 2^31 - 1) and the noise of Vec<double>::width bins, rounded to nearest.
void follow(const State<Kiv32s>& s, const Kiv32s* present, Kiv32s* presence, const Kiv32s* power, Kiv32s* noise) {
  using D = simd::Vec<double>;
  store_rounded(presence,
                mix(simd::load<double>(presence), simd::load<double>(present), D::broadcast(s.presence_smoothing)));
  const D share = D::broadcast((2147483647.0 - s.noise_smoothing) * (1.0 / 2147483648.0));
  const D a = D::broadcast(s.noise_smoothing) + share * simd::load<double>(presence);
  store_rounded(noise, mix(simd::load<double>(noise), simd::load<double>(power), a));
}

template <bool kWindowEnds>
void update_bins(State<Kiv32s>& s, const Kiv32s* power, Kiv32s* noise) {
  constexpr Kiv32s kOne = 2147483647;
  constexpr int kWidth = simd::Vec<double>::width;
  constexpr int kBlock = 64;  // bins between the integer half of the recursion and its half in double precision
  const NearestRounding nearest;
  const std::int64_t a_s = s.power_smoothing;
  const std::int64_t threshold = s.threshold;
  const int count = bins(s.fft_length);
  Kiv32s* const all_power = s.power;
  Kiv32s* const all_minimum = s.minimum;
  Kiv32s* const all_window_minimum = s.window_minimum;
  Kiv32s* const all_presence = s.presence;
  Kiv32s present[kBlock];
  for (int first = 0; first < count; first += kBlock) {
    const int last = std::min(first + kBlock, count);
    for (int k = first; k < last; ++k) {
      const auto smoothed = static_cast<Kiv32s>((all_power[k] * a_s + power[k] * (kOne - a_s)) >> 31);
      const Kiv32s minimum = std::min(kWindowEnds ? all_window_minimum[k] : all_minimum[k], smoothed);
      all_window_minimum[k] = kWindowEnds ? smoothed : std::min(all_window_minimum[k], smoothed);
      present[k - first] = std::int64_t{smoothed} * 32768 > threshold * minimum ? kOne : 0;
      all_power[k] = smoothed;
      all_minimum[k] = minimum;
    }
    int k = first;
    for (; k + kWidth <= last; k += kWidth) follow(s, present + (k - first), all_presence + k, power + k, noise + k);
    if (const int rest = last - k; rest > 0) {
      Kiv32s lanes[4][kWidth] = {};
      std::copy_n(present + (k - first), rest, lanes[0]);
      std::copy_n(all_presence + k, rest, lanes[1]);
      std::copy_n(power + k, rest, lanes[2]);
      std::copy_n(noise + k, rest, lanes[3]);
      follow(s, lanes[0], lanes[1], lanes[2], lanes[3]);
      std::copy_n(lanes[1], rest, all_presence + k);
      std::copy_n(lanes[3], rest, noise + k);
    }
  }
}

template <class T, class Opaque>
KivStatus update(const T* power, Opaque* opaque, T* noise) {
  return run(not_null(power, opaque, noise), [&] {
    State<T>& s = *reinterpret_cast<State<T>*>(opaque);
    const int count = bins(s.fft_length);
    assert(valid_length(s.fft_length) == kivStatusOk && s.counter >= 0 && s.counter <= s.window);
    if (s.first_frame != 0) {
      std::fill_n(s.presence, count, T{0});
      for (T* const array : {s.power, s.minimum, s.window_minimum, noise}) std::copy_n(power, count, array);
    } else if (s.counter == s.window) {
      update_bins<true>(s, power, noise);
      s.counter = 0;
    } else {
      update_bins<false>(s, power, noise);
    }
    ++s.counter;
    s.first_frame = 0;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsGetSizeMCRA_32f(int fftLen, int* pSize) { return get_size<Kiv32f>(fftLen, pSize); }
KivStatus kivsGetSizeMCRA_32s(int fftLen, int* pSize) { return get_size<Kiv32s>(fftLen, pSize); }
KivStatus kivsInitMCRA_32f(int sampleRate, int fftLen, KivsMCRAState_32f* pState) {
  return init<Kiv32f>(sampleRate, fftLen, pState);
}
KivStatus kivsInitMCRA_32s(int sampleRate, int fftLen, KivsMCRAState_32s* pState) {
  return init<Kiv32s>(sampleRate, fftLen, pState);
}
KivStatus kivsAltInitMCRA_32f(int sampleRate, int fftLen, int hop, KivsMCRAState_32f* pState) {
  return init_with_hop<Kiv32f>(sampleRate, fftLen, hop, pState);
}
KivStatus kivsAltInitMCRA_32s(int sampleRate, int fftLen, int hop, KivsMCRAState_32s* pState) {
  return init_with_hop<Kiv32s>(sampleRate, fftLen, hop, pState);
}
KivStatus kivsUpdateNoisePSDMCRA_32f_I(const Kiv32f* pPower, KivsMCRAState_32f* pState, Kiv32f* pNoise) {
  return update(pPower, pState, pNoise);
}
KivStatus kivsUpdateNoisePSDMCRA_32s_I(const Kiv32s* pPower, KivsMCRAState_32s* pState, Kiv32s* pNoise) {
  return update(pPower, pState, pNoise);
}
}
