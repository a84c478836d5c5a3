// MCRA noise tracking against its recursion and its promises; spectral gains against their curves.
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

TEST(WienerGain, ComputesFromClampedRatios) {
  for (const int len : test_lengths()) {
    Random random(static_cast<unsigned>(len));
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<float> snr(random.values<float>(n, 0, 50)), gain(n);
    Guarded<Kiv32s> snr32(random.values<Kiv32s>(n, 0, 2147483647)), gain32(n);
    ASSERT_EQ(kivsFilterUpdateWiener_32f(snr.data(), gain.data(), len), kivStatusOk);
    ASSERT_EQ(kivsFilterUpdateWiener_32s(snr32.data(), gain32.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(gain[i], snr[i] / (snr[i] + 1));
      EXPECT_NEAR(gain32[i] / 2147483648.0, snr32[i] / (snr32[i] + 32768.0), 1e-9);
    }
    const std::size_t last = n - 1;
    snr[last] = -1e-30F;
    snr32[last] = -2;
    ASSERT_EQ(kivsFilterUpdateWiener_32f(snr.data(), gain.data(), len), kivStatusBadArgument);
    ASSERT_EQ(kivsFilterUpdateWiener_32s(snr32.data(), gain32.data(), len), kivStatusBadArgument);
    EXPECT_EQ(gain[last], 0);
    EXPECT_EQ(gain32[last], 0);
  }
  float x = 1;
  EXPECT_EQ(kivsFilterUpdateWiener_32f(nullptr, &x, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsFilterUpdateWiener_32f(&x, &x, 0), kivStatusBadLength);
  EXPECT_EQ(kivsFilterUpdateWiener_32f(&x, &x, 65536), kivStatusBadLength);
}

// The factor of the minimum mean-square error amplitude estimator, by the Bessel functions of the library.
double amplitude_factor(double v) {
  const double z = v / 2;
  const double i0 = std::cyl_bessel_i(0, z), i1 = std::cyl_bessel_i(1, z);
  return std::sqrt(M_PI / v) / 2 * std::exp(-z) * ((1 + v) * i0 + v * i1);
}

TEST(AmplitudeGain, FollowsItsCurve) {
  const auto gain_at = [](float v) {
    const float one = 1;
    float result;
    EXPECT_EQ(kivsFilterUpdateEMNS_32f(&one, &v, &result, 1), kivStatusOk);
    return result;
  };
  double worst_direct = 0, worst = 0;
  float before = 3e38F;
  for (double v = 131.5 / 4194304; v < 100; v *= 1.003) {
    const float gain = gain_at(static_cast<float>(v));
    const double deviation = std::abs(gain / amplitude_factor(std::trunc(v * 4194304) / 4194304) - 1);
    (v * 4194304 < 129 ? worst_direct : worst) = std::max(v * 4194304 < 129 ? worst_direct : worst, deviation);
    EXPECT_LT(gain, before * 1.015) << v;  // falls, but for the seams of the octaves
    before = gain;
  }
  EXPECT_LT(worst, 0.0062);
  // Entries of the direct table, reached with a small prior.
  const float small = 1.0F / 256;
  for (const auto& [q, entry] : {std::pair{1, 1815.0F}, {2, 1283.0F}, {3, 1048.0F}, {128, 160.0F}}) {
    const float snr = (static_cast<float>(q) + 0.25F) * 256 / 4194304;
    float gain;
    ASSERT_EQ(kivsFilterUpdateEMNS_32f(&small, &snr, &gain, 1), kivStatusOk);
    EXPECT_EQ(gain, entry / 256) << q;
  }
  EXPECT_NEAR(gain_at(128.5F / 4194304) / gain_at(129.5F / 4194304), 1, 0.01);  // the switch
  EXPECT_EQ(gain_at(1000), gain_at(100));
  EXPECT_EQ(gain_at(0), gain_at(0.000031F));
  EXPECT_EQ(gain_at(std::nanf("")), gain_at(0));
}

TEST(AmplitudeGain, BothFormsAndTheirChecks) {
  Random random;
  for (const int len : test_lengths()) {
    const std::size_t n = static_cast<std::size_t>(len);
    Guarded<Kiv32s> prior32(random.values<Kiv32s>(n, 1 << 20, 2147483647)),
        snr32(random.values<Kiv32s>(n, 40, 4000000)), gain32(n);
    Guarded<float> prior(n), snr(n), gain(n);
    for (std::size_t i = 0; i < n; ++i) {
      prior[i] = static_cast<float>(prior32[i] / 2147483648.0);
      snr[i] = static_cast<float>(snr32[i] / 32768.0);
    }
    ASSERT_EQ(kivsFilterUpdateEMNS_32f(prior.data(), snr.data(), gain.data(), len), kivStatusOk);
    ASSERT_EQ(kivsFilterUpdateEMNS_32s(prior32.data(), snr32.data(), gain32.data(), len), kivStatusOk);
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_NEAR(gain32[i] / 2147483648.0, std::min(1.0F, gain[i]), 0.01 * std::min(1.0F, gain[i]));
    }
  }
  const float priors[] = {0, 1, 2}, snr[] = {0, 1, 1};
  float gain[] = {7, 7, 7};
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 2), kivStatusOk);
  EXPECT_EQ(gain[0], 0);
  const float tiny = 1e-5F;
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(&tiny, snr, gain, 1), kivStatusOk);
  EXPECT_EQ(gain[0], tiny * 2147483648.0F);  // q = 0: the table's first entry
  gain[0] = 7;
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 3), kivStatusOutOfRange);
  const float nan = std::nanf("");
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(&nan, snr, gain, 1), kivStatusOutOfRange);
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, snr, gain, 65536), kivStatusBadLength);
  EXPECT_EQ(kivsFilterUpdateEMNS_32f(priors, nullptr, gain, 0), kivStatusNullPointer);
  EXPECT_EQ(gain[0], 7);
  const Kiv32s negative = -1, ratio = 1;
  Kiv32s gain32 = 7;
  EXPECT_EQ(kivsFilterUpdateEMNS_32s(&negative, &ratio, &gain32, 1), kivStatusOutOfRange);
  EXPECT_EQ(gain32, 7);
}

}  // namespace
}  // namespace kivsr::test
