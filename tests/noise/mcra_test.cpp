// MCRA noise tracking against its recursion and its promises.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

struct FloatForm {
  using Element = Kiv32f;
  using Opaque = KivsMCRAState_32f;
  static constexpr auto size = kivsGetSizeMCRA_32f;
  static constexpr auto init = kivsInitMCRA_32f;
  static constexpr auto alt_init = kivsAltInitMCRA_32f;
  static constexpr auto update = kivsUpdateNoisePSDMCRA_32f_I;
  static constexpr double unit = 1.0;
};
struct WordForm {
  using Element = Kiv32s;
  using Opaque = KivsMCRAState_32s;
  static constexpr auto size = kivsGetSizeMCRA_32s;
  static constexpr auto init = kivsInitMCRA_32s;
  static constexpr auto alt_init = kivsAltInitMCRA_32s;
  static constexpr auto update = kivsUpdateNoisePSDMCRA_32s_I;
  static constexpr double unit = 1.0 / 2147483648.0;
};

template <class Form>
class Tracker {
 public:
  Tracker(int rate, int length, int hop) : length_(length), block_((bytes(length) + 7) / 8) {
    EXPECT_EQ(hop > 0 ? Form::alt_init(rate, length, hop, state()) : Form::init(rate, length, state()), kivStatusOk);
  }
  void update(const std::vector<double>& power, Guarded<typename Form::Element>& noise) {
    Guarded<typename Form::Element> p(power.size());
    for (std::size_t i = 0; i < power.size(); ++i) p[i] = static_cast<typename Form::Element>(power[i]);
    ASSERT_EQ(Form::update(p.data(), state(), noise.data()), kivStatusOk);
  }
  template <class T>
  T word(int i) {
    T value;
    std::memcpy(&value, reinterpret_cast<const char*>(block_.data()) + 4 * i, sizeof value);
    return value;
  }
  typename Form::Opaque* state() { return reinterpret_cast<typename Form::Opaque*>(block_.data()); }

 private:
  static std::size_t bytes(int length) {
    int size = 0;
    EXPECT_EQ(Form::size(length, &size), kivStatusOk);
    EXPECT_EQ(size, 52 + 4 * static_cast<int>(sizeof(void*)) + 4 * (4 * (length / 2) + 4));
    return static_cast<std::size_t>(size);
  }
  int length_;
  Guarded<Kiv64s> block_;  // aligned for the pointers of the record
};

template <class Form>
class Mcra : public ::testing::Test {};
using Forms = ::testing::Types<FloatForm, WordForm>;
TYPED_TEST_SUITE(Mcra, Forms);

TYPED_TEST(Mcra, DerivesItsConstants) {
  struct Case {
    int rate, length, hop, order, window;
  };
  for (const Case& c : {Case{8000, 256, 0, 8, 62}, Case{16000, 512, 0, 9, 62}, Case{16000, 400, 0, 8, 125},
                        Case{16000, 512, 160, 9, 100}, Case{48000, 8192, 100, 13, 480}, Case{11025, 8, 3, 3, 3675}}) {
    Tracker<TypeParam> tracker(c.rate, c.length, c.hop);
    const int hop = c.hop > 0 ? c.hop : c.length / 2;
    EXPECT_EQ(tracker.template word<Kiv32s>(2), c.order);
    EXPECT_EQ(tracker.template word<Kiv32s>(4), hop);
    EXPECT_EQ(tracker.template word<Kiv32s>(5), c.window) << c.rate << " " << c.length << " " << c.hop;
    EXPECT_EQ(tracker.template word<Kiv32s>(7), 1);
    const double units = 125.0 * hop / c.rate;
    const double bases[] = {0.7, 0.2, 0.8};
    for (int i = 0; i < 3; ++i) {
      const double factor = tracker.template word<typename TypeParam::Element>(8 + i) * TypeParam::unit;
      EXPECT_NEAR(factor, std::pow(bases[i], units), 1e-6);
    }
  }
}

TYPED_TEST(Mcra, ConvergesAndFollowsAStep) {
  Random random(3);
  const int bins = 129;
  Tracker<TypeParam> tracker(16000, 256, 128);  // 125 frames a window
  Guarded<typename TypeParam::Element> noise(bins);
  const auto run = [&](int frames, double level) {
    for (int t = 0; t < frames; ++t) {
      std::vector<double> power(bins);
      for (double& p : power) p = level * -std::log(random.uniform(1e-9, 1));
      tracker.update(power, noise);
    }
    double mean = 0;
    for (int k = 0; k < bins; ++k) mean += noise[static_cast<std::size_t>(k)] / static_cast<double>(bins);
    return 10 * std::log10(mean / level);
  };
  EXPECT_NEAR(run(600, 1e5), 0, 1.0);
  EXPECT_NEAR(run(300, 1e6), 0, 1.0);  // a step of 10 dB, within two windows
  EXPECT_NEAR(run(400, 1e4), 0, 1.0);

  Tracker<TypeParam> constant(8000, 8, 0);
  Guarded<typename TypeParam::Element> same(5);
  for (int t = 0; t < 200; ++t) constant.update({5, 1e6, 2e9, 0, 77}, same);
  const double expected[] = {5, 1e6, 2e9, 0, 77};
  for (std::size_t k = 0; k < 5; ++k) EXPECT_NEAR(same[k], expected[k], 1e-6 * expected[k]);
}

// Calls frame(t, power, window ends) for frames of noise with bursts, the flag by the definition of the window.
template <class Frame>
void for_frames(std::size_t bins, int window, int frames, Frame frame) {
  Random random(9);
  int counter = 0;
  for (int t = 0; t < frames; ++t) {
    std::vector<double> power(bins);
    for (double& p : power) p = std::round(1e7 * random.uniform(0.2, 2) * (t % 300 < 40 ? 60 : 1));
    if (t < 50) power[1] = 0;  // digital silence is not above its own minimum
    const bool ends = t > 0 && counter == window;
    frame(t, power, ends);
    counter = ends ? 1 : counter + 1;
  }
}

// Every bin of the float form bit for bit: the recursion, rounded after each operation.
TEST(McraForms, FloatIsExact) {
  for (const int length : {8, 14, 30, 64, 400}) {
    const std::size_t bins = static_cast<std::size_t>(length / 2 + 1);
    Tracker<FloatForm> tracker(8000, length, 4);
    Guarded<Kiv32f> noise(bins);
    const float ad = tracker.word<float>(8), ap = tracker.word<float>(9), as = tracker.word<float>(10);
    std::vector<float> s(bins), least(bins), window(bins), presence(bins, 0), estimate(bins);
    int present = 0;
    for_frames(bins, tracker.word<Kiv32s>(5), 2300, [&](int t, const std::vector<double>& power, bool ends) {
      tracker.update(power, noise);
      for (std::size_t k = 0; k < bins; ++k) {
        const float x = static_cast<float>(power[k]);
        if (t == 0) {
          s[k] = least[k] = window[k] = estimate[k] = x;
          continue;
        }
        s[k] = as * s[k] + (1 - as) * x;
        least[k] = std::min(ends ? window[k] : least[k], s[k]);
        window[k] = ends ? s[k] : std::min(window[k], s[k]);
        presence[k] = ap * presence[k] + (s[k] > 5 * least[k] ? 1 - ap : 0);
        present += s[k] > 5 * least[k] ? 1 : 0;
        const float a = ad + (1 - ad) * presence[k];
        estimate[k] = a * estimate[k] + (1 - a) * x;
      }
      expect_exact(noise, estimate, "noise");
    });
    EXPECT_GT(present, 1000);
  }
}

// The integer form: the smoothed power and its minima on integers, presence and noise to nearest. The reference goes on
// from the tracker's own noise, so that only the rounding of one frame is between them.
TEST(McraForms, IntegersAreRoundedToNearest) {
  constexpr Kiv64s kOne = 2147483647;
  for (const int length : {8, 14, 64, 400}) {
    const std::size_t bins = static_cast<std::size_t>(length / 2 + 1);
    Tracker<WordForm> tracker(8000, length, 4);
    Guarded<Kiv32s> noise(bins);
    const Kiv64s ad = tracker.word<Kiv32s>(8), ap = tracker.word<Kiv32s>(9), as = tracker.word<Kiv32s>(10);
    std::vector<Kiv64s> s(bins), least(bins), window(bins), presence(bins, 0);
    for_frames(bins, tracker.word<Kiv32s>(5), 2300, [&](int t, const std::vector<double>& power, bool ends) {
      const std::vector<Kiv32s> before = noise.values();
      tracker.update(power, noise);
      for (std::size_t k = 0; k < bins; ++k) {
        const Kiv64s x = static_cast<Kiv64s>(power[k]);
        if (t == 0) {
          s[k] = least[k] = window[k] = x;
          ASSERT_EQ(noise[k], x);
          continue;
        }
        s[k] = (s[k] * as + x * (kOne - as)) / (kOne + 1);
        least[k] = std::min(ends ? window[k] : least[k], s[k]);
        window[k] = ends ? s[k] : std::min(window[k], s[k]);
        const Kiv64s p = presence[k] * ap + (s[k] > 5 * least[k] ? kOne * (kOne - ap) : 0);
        presence[k] = (p + (kOne + 1) / 2) / (kOne + 1);
        const long double unit = 2147483648.0L;
        const long double a = ad + (kOne - ad) * static_cast<long double>(presence[k]) / unit;
        const long double exact = (before[k] * a + x * (kOne - a)) / unit;
        ASSERT_NEAR(noise[k], static_cast<double>(exact), 0.501) << "bin " << k << " of frame " << t;
      }
    });
  }
}

TEST(McraForms, IntegersIgnoreTheCallersRoundingMode) {
  Random random;
  const auto frames = random.values<Kiv32s>(5 * 33, 0, 1000000);
  const auto results = under_rounding_modes([&] {
    Tracker<WordForm> tracker(8000, 64, 32);
    std::vector<Kiv32s> noise(33);
    for (int f = 0; f < 5; ++f) kivsUpdateNoisePSDMCRA_32s_I(frames.data() + 33 * f, tracker.state(), noise.data());
    return noise;
  });
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

TYPED_TEST(Mcra, ChecksInOrder) {
  int size = 5;
  EXPECT_EQ(TypeParam::size(7, nullptr), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::size(7, &size), kivStatusBadSize);
  EXPECT_EQ(TypeParam::size(8193, &size), kivStatusBadSize);
  EXPECT_EQ(size, 5);
  Tracker<TypeParam> tracker(8000, 8, 0);
  EXPECT_EQ(TypeParam::init(7999, 7, nullptr), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::init(7999, 7, tracker.state()), kivStatusOutOfRange);
  EXPECT_EQ(TypeParam::init(48001, 8, tracker.state()), kivStatusOutOfRange);
  EXPECT_EQ(TypeParam::init(8000, 7, tracker.state()), kivStatusBadSize);
  EXPECT_EQ(TypeParam::alt_init(8000, 7, 4, tracker.state()), kivStatusOutOfRange);
  EXPECT_EQ(TypeParam::alt_init(8000, 8, 0, tracker.state()), kivStatusOutOfRange);
  EXPECT_EQ(TypeParam::alt_init(8000, 7, 3, tracker.state()), kivStatusBadSize);
  EXPECT_EQ(TypeParam::update(nullptr, tracker.state(), nullptr), kivStatusNullPointer);
}

}  // namespace
}  // namespace kivsr::test
