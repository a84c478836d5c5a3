// Waveform processing against its definition, on integers where samples are integers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr int kFrame = 200;

int clamped(int i) { return std::min(std::max(i, 0), kFrame - 1); }

// The weights of both sides of each sample in tenths: 8, 10 or 12; nothing for a frame that stays as it is. The ends of
// the Teager operator repeat, so that x(-1) is x(0).
template <class T>
std::vector<int> tenths_of(const std::vector<T>& x) {
  long double energy = 0;
  for (const T v : x) energy += static_cast<long double>(v) * v;
  if (!(energy >= 100) || std::isinf(energy)) return {};
  std::vector<long double> q(kFrame), s(kFrame, 0);
  for (int i = 0; i < kFrame; ++i) {
    const long double here = x[i], before = x[clamped(i - 1)], behind = x[clamped(i + 1)];
    q[i] = std::floor(std::fabs(here * here - before * behind) / 4 + 0.5L);
  }
  for (int i = 0; i < kFrame; ++i)
    for (int k = -4; k <= 4; ++k) s[i] += q[clamped(i + k)];

  std::vector<bool> pulse(kFrame, false);
  int first = 0;
  for (int i = 1; i < kFrame; ++i)
    if (s[i] > s[first]) first = i;
  if (s[first] > 0) {
    for (const int direction : {1, -1}) {
      int p = first;
      pulse[p] = true;
      while (direction > 0 ? p + 25 < kFrame : p - 25 > 0) {
        int best = p + 25 * direction;
        for (int distance = 26; distance < 80; ++distance) {
          const int i = p + distance * direction;
          if (i >= 0 && i < kFrame && s[i] >= s[best]) best = i;
        }
        pulse[p = best] = true;
      }
    }
  }
  std::vector<int> places;
  for (int i = 0; i < kFrame; ++i)
    if (pulse[i]) places.push_back(i);
  std::vector<int> weight(kFrame + 1, 4);
  for (std::size_t k = 0; places.size() > 1 && k < places.size(); ++k) {
    const std::size_t from = std::min(k, places.size() - 2);
    const int gap = places[from + 1] - places[from];
    const int length = static_cast<int>(std::ceil(0.8 * gap - 1e-9));
    for (int i = places[k] - 4; i < places[k] - 4 + length; ++i)
      if (i >= 0 && i < kFrame) weight[i] = 6;
  }
  weight[kFrame] = weight[kFrame - 1];
  std::vector<int> tenths;
  for (int i = 0; i < kFrame; ++i) tenths.push_back(weight[i] + weight[i + 1]);
  return tenths;
}

float weighed(float x, int tenths) { return x * (tenths == 8 ? 0.8F : tenths == 12 ? 1.2F : 1.0F); }
Kiv16s weighed(Kiv16s x, int tenths) {
  const double y = std::nearbyint(x * tenths / 10.0);
  return static_cast<Kiv16s>(std::fmin(32767, std::fmax(-32768, y)));
}

KivStatus process(const float* src, float* dst) { return kivsWaveProcessing_Aurora_32f(src, dst); }
KivStatus process(const Kiv16s* src, Kiv16s* dst) { return kivsWaveProcessing_Aurora_16s(src, dst); }
KivStatus process(float* x) { return kivsWaveProcessing_Aurora_32f_I(x); }
KivStatus process(Kiv16s* x) { return kivsWaveProcessing_Aurora_16s_I(x); }

template <class T>
void expect_defined(const std::vector<T>& x, const char* what) {
  const std::vector<int> tenths = tenths_of(x);
  std::vector<T> expected = x;
  for (std::size_t i = 0; i < tenths.size(); ++i) expected[i] = weighed(x[i], tenths[i]);
  for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
    const Guarded<T> source(x, guard);
    Guarded<T> result(kFrame, guard), place(x, guard);
    ASSERT_EQ(process(source.data(), result.data()), kivStatusOk);
    expect_exact(result, expected, what);
    ASSERT_EQ(process(place.data()), kivStatusOk);
    expect_exact(place, expected, what);
  }
}

// Decaying tones that begin at every `period`, and noise.
std::vector<double> pulses(Random& random, int period, int offset, double level, double noise) {
  std::vector<double> x;
  const double pitch = random.integer(20, 150) / 100.0;
  for (int i = 0; i < kFrame; ++i) {
    const int since = (i + offset) % period;
    x.push_back(level * std::sin(pitch * since + 0.5) * std::exp(-0.06 * since) +
                noise * random.integer(-100, 100) / 100);
  }
  return x;
}

template <class T>
std::vector<T> samples_of(const std::vector<double>& x) {
  using L = std::numeric_limits<T>;
  std::vector<T> samples;
  for (const double v : x) samples.push_back(static_cast<T>(std::clamp<double>(v, L::lowest(), L::max())));
  return samples;
}

TEST(WaveProcessing, WeighsAsDefined) {
  Random random;
  for (const int period : {25, 33, 47, 60, 79, 80, 120, 199, 300}) {
    for (const double level : {3.0, 900.0, 3300.0, 5000.0, 30000.0}) {
      const auto x = pulses(random, period, random.integer(0, period - 1), level, level * random.integer(0, 3) / 10);
      expect_defined(samples_of<float>(x), "float");
      expect_defined(samples_of<Kiv16s>(x), "16 bits");
    }
  }
}

TEST(WaveProcessing, TiesAndEdges) {
  // Full scale alternating: the sum of nine is 9 * 2^29 everywhere but at the ends, beyond 32 bits.
  std::vector<Kiv16s> loud(kFrame);
  for (int i = 0; i < kFrame; ++i) loud[i] = i % 2 == 0 ? -32768 : 32767;
  expect_defined(loud, "alternating");
  expect_defined(std::vector<float>(loud.begin(), loud.end()), "alternating float");
  // No energy of the operator at all, and a single pulse at either end.
  expect_defined(std::vector<Kiv16s>(kFrame, -5), "constant");
  for (const int place : {0, 1, 25, 26, 100, 174, 175, 199}) {
    std::vector<float> x(kFrame, 0.0F);
    x[place] = 1000.0F;
    expect_defined(x, "one pulse");
    x[(place + 60) % kFrame] = -1000.0F;
    expect_defined(x, "two pulses");
  }
  // The least energy, from below and exactly.
  std::vector<Kiv16s> quiet(kFrame, 0);
  quiet[40] = 10;
  expect_defined(quiet, "100");
  EXPECT_FALSE(tenths_of(quiet).empty());
  quiet[40] = 9, quiet[70] = 4, quiet[90] = 1;
  expect_defined(quiet, "98");
  expect_defined(std::vector<float>(kFrame, 0.0F), "silence");
}

TEST(WaveProcessing, FramesThatAreNotFiniteStay) {
  Random random;
  for (const float bad : {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                          std::numeric_limits<float>::quiet_NaN()}) {
    auto x = samples_of<float>(pulses(random, 60, 3, 1000, 100));
    x[random.integer(0, kFrame - 1)] = bad;
    std::vector<float> y(kFrame);
    ASSERT_EQ(kivsWaveProcessing_Aurora_32f(x.data(), y.data()), kivStatusOk);
    expect_exact(y, x);
  }
  // Far beyond 16 bits every element keeps one of the three factors.
  std::vector<float> y(kFrame), x(kFrame);
  for (int i = 0; i < kFrame; ++i) x[i] = i % 3 == 0 ? 1e36F : -3e37F;
  ASSERT_EQ(kivsWaveProcessing_Aurora_32f(x.data(), y.data()), kivStatusOk);
  for (int i = 0; i < kFrame; ++i) EXPECT_TRUE(y[i] == x[i] || y[i] == 0.8F * x[i] || y[i] == 1.2F * x[i]);
}

TEST(WaveProcessing, IntegersDoNotDependOnTheRoundingMode) {
  Random random;
  const auto x = samples_of<Kiv16s>(pulses(random, 60, 3, 30000, 100));
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv16s> y(kFrame);
    EXPECT_EQ(kivsWaveProcessing_Aurora_16s(x.data(), y.data()), kivStatusOk);
    return y;
  });
  for (const auto& result : results) expect_exact(result, results[0]);
}

TEST(WaveProcessing, Checks) {
  float x[kFrame] = {};
  Kiv16s y[kFrame] = {};
  EXPECT_EQ(kivsWaveProcessing_Aurora_32f(nullptr, x), kivStatusNullPointer);
  EXPECT_EQ(kivsWaveProcessing_Aurora_32f(x, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsWaveProcessing_Aurora_32f_I(nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsWaveProcessing_Aurora_16s(y, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsWaveProcessing_Aurora_16s_I(nullptr), kivStatusNullPointer);
}

}  // namespace
}  // namespace kivsr::test
