// MCRA noise tracking against its recursion and its promises.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

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

TEST(McraForms, FloatMatchesTheRecursionAndTheIntegerForm) {
  Random random(9);
  for (const int length : {8, 30, 64, 400}) {
    const std::size_t bins = static_cast<std::size_t>(length / 2 + 1);
    Tracker<FloatForm> floats(8000, length, 4);
    Tracker<WordForm> words(8000, length, 4);
    Guarded<Kiv32f> noise(bins);
    Guarded<Kiv32s> noise32(bins);
    std::vector<double> s(bins), least(bins), window(bins), presence(bins, 0), estimate(bins);
    const double as = std::pow(0.8, 0.0625), ap = std::pow(0.2, 0.0625), ad = std::pow(0.7, 0.0625);
    int counter = 0, near = 0, total = 0;
    const int window_frames = floats.word<Kiv32s>(5);
    for (int t = 0; t < 2300; ++t) {
      std::vector<double> power(bins);
      for (double& p : power) p = std::round(1e7 * random.uniform(0.2, 2) * (t % 300 < 40 ? 60 : 1));
      floats.update(power, noise);
      words.update(power, noise32);
      const bool ends = t > 0 && counter == window_frames;
      for (std::size_t k = 0; k < bins; ++k) {
        if (t == 0) {
          s[k] = least[k] = window[k] = estimate[k] = power[k];
          continue;
        }
        s[k] = as * s[k] + (1 - as) * power[k];
        least[k] = std::min(ends ? window[k] : least[k], s[k]);
        window[k] = ends ? s[k] : std::min(window[k], s[k]);
        presence[k] = ap * presence[k] + (s[k] > 5 * least[k] ? 1 - ap : 0);
        const double a = ad + (1 - ad) * presence[k];
        estimate[k] = a * estimate[k] + (1 - a) * power[k];
        near += std::abs(10 * std::log10(noise[k] / estimate[k])) < 0.1 &&
                std::abs(10 * std::log10(noise32[k] / static_cast<double>(noise[k]))) < 0.1;
        ++total;
      }
      counter = ends ? 1 : counter + 1;
    }
    EXPECT_GT(near, total * 0.999) << length;  // a presence decision on the edge may fall either way
  }
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
