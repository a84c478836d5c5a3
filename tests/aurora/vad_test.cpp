// Voice activity detection: start-up, hangovers, drain, and the two forms against each other.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "kivsr.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

struct FloatForm {
  using Element = Kiv32f;
  static constexpr auto init = kivsVADInit_Aurora_32f;
  static constexpr auto decide = kivsVADDecision_Aurora_32f;
  static constexpr auto flush = kivsVADFlush_Aurora_32f;
  static constexpr auto size = kivsVADGetBufSize_Aurora_32f;
  static constexpr double unit = 1;
};
struct WordForm {
  using Element = Kiv16s;
  static constexpr auto init = kivsVADInit_Aurora_16s;
  static constexpr auto decide = kivsVADDecision_Aurora_16s;
  static constexpr auto flush = kivsVADFlush_Aurora_16s;
  static constexpr auto size = kivsVADGetBufSize_Aurora_16s;
  static constexpr double unit = 1024;
};

template <class Form>
class Detector {
 public:
  Detector() { EXPECT_EQ(Form::init(state()), kivStatusOk); }
  int decide(const std::vector<double>& bands, const std::vector<double>& frame, int activity = 0) {
    Guarded<typename Form::Element> b(bands.size()), f(frame.size());
    for (std::size_t i = 0; i < bands.size(); ++i) b[i] = static_cast<typename Form::Element>(bands[i]);
    for (std::size_t i = 0; i < frame.size(); ++i) f[i] = static_cast<typename Form::Element>(frame[i]);
    int result = 0;
    EXPECT_EQ(Form::decide(b.data(), f.data(), activity, &result, state()), kivStatusOk);
    return result;
  }
  int quiet(int activity = 0) { return decide(std::vector<double>(25, 4), std::vector<double>(64, 0), activity); }
  int flush() {
    int result = 0;
    EXPECT_EQ(Form::flush(&result, state()), kivStatusOk);
    return result;
  }
  KivsVADState_Aurora* state() { return reinterpret_cast<KivsVADState_Aurora*>(block_.data()); }

 private:
  Guarded<Kiv8u> block_{64};
};

template <class Form>
class Vad : public ::testing::Test {};
using Forms = ::testing::Types<FloatForm, WordForm>;
TYPED_TEST_SUITE(Vad, Forms);

TYPED_TEST(Vad, StartsUndecidedAndHangsOver) {
  for (const bool early : {false, true}) {
    Detector<TypeParam> detector;
    for (int c = 1; c <= 10; ++c) EXPECT_EQ(detector.quiet(99), 4) << c;
    int frame = 10;
    const auto quiet_until = [&](int last) {
      for (; frame < last; ++frame) EXPECT_EQ(detector.quiet(), 2) << frame;
    };
    // Three active frames load the short hangover only, four the long one; if the fourth comes before frame 36 the long
    // one is 40.
    quiet_until(early ? 31 : 32);
    for (int i = 0; i < 4; ++i, ++frame) EXPECT_EQ(detector.quiet(5), i < 2 ? 2 : 1) << i;
    int speech = 0;
    while (detector.quiet() == 1 && speech < 1000) ++speech;
    // The run of four stays whole for three more frames and of three for a fourth: while R >= 4 the counter reloads,
    // while R >= 3 nothing counts down.
    EXPECT_EQ(speech, (early ? 40 : 23) + 4 - 1);
    for (int i = 0; i < 3; ++i) detector.quiet(5);
    speech = 1;
    while (detector.quiet() == 1 && speech < 1000) ++speech;
    EXPECT_EQ(speech, 1 + 4 + 5 - 1);
    for (int i = 0; i < 4; ++i) detector.quiet(4);  // not enough by itself
    EXPECT_EQ(detector.quiet(4), 2);
  }
}

TYPED_TEST(Vad, FlushDrainsTheHistoryOnce) {
  Detector<TypeParam> detector;
  for (int c = 0; c < 40; ++c) detector.quiet();
  for (int i = 0; i < 3; ++i) detector.quiet(5);
  std::vector<int> results;
  for (int i = 0; i < 12; ++i) results.push_back(detector.flush());
  // Six more frames, then drained for good. The rotating run of three breaks apart as it crosses the newest end.
  EXPECT_EQ(std::vector<int>(results.begin() + 6, results.end()), std::vector<int>(6, 4));
  for (int i = 0; i < 6; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i)], 1) << i;

  Detector<TypeParam> early;
  for (int c = 0; c < 5; ++c) early.quiet();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(early.flush(), 4) << i;  // frame count 6 .. 10
  EXPECT_EQ(early.flush(), 2);
  EXPECT_EQ(early.flush(), 4);

  int size = 0, result = 7;
  EXPECT_EQ(TypeParam::size(&size), kivStatusOk);
  EXPECT_EQ(size, 64);
  EXPECT_EQ(TypeParam::size(nullptr), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::init(nullptr), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::flush(nullptr, early.state()), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::flush(&result, nullptr), kivStatusNullPointer);
  EXPECT_EQ(TypeParam::decide(nullptr, nullptr, 0, &result, early.state()), kivStatusNullPointer);
  EXPECT_EQ(result, 7);
}

// Gains of a Wiener filter: at their floor in digital silence, scattered above it in noise, near 1 in the bands of
// speech.
TYPED_TEST(Vad, JudgesTheGainsOfTheWienerFilter) {
  Random random(11);
  const auto judge = [&](Detector<TypeParam>& detector, double low, double spread, int bands_of_speech) {
    std::vector<double> bands(25), gains(64);
    const auto gain = [&](bool speech) {
      return std::floor((speech ? 0.9 : low + spread * random.uniform(0, 1)) * TypeParam::unit * 4096) / 4096;
    };
    for (int i = 0; i < 25; ++i) bands[static_cast<std::size_t>(i)] = gain(i < bands_of_speech);
    for (int i = 0; i < 64; ++i) gains[static_cast<std::size_t>(i)] = gain(i < 2 * bands_of_speech);
    return detector.decide(bands, gains);
  };
  const double floor = 0.07943282 / 1.07943282;
  Detector<TypeParam> silence, noise;
  for (int c = 1; c <= 200; ++c) {
    EXPECT_EQ(judge(silence, floor, 0, 0), c <= 10 ? kivVadUndecided : kivVadNoSpeech) << c;
    EXPECT_EQ(judge(noise, floor, 0.05, 0), c <= 10 ? kivVadUndecided : kivVadNoSpeech) << c;
  }
  for (int i = 0; i < 3; ++i) EXPECT_EQ(judge(silence, floor, 0, 12), i < 2 ? kivVadNoSpeech : kivVadSpeech) << i;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(judge(noise, floor, 0.05, 12), i < 2 ? kivVadNoSpeech : kivVadSpeech) << i;

  // Bands that are no gains: a sum of zero is below the bias of 3, and every frame counts as active.
  Detector<FloatForm> misused;
  int speech = 0;
  for (int c = 0; c < 200; ++c) speech += misused.decide(std::vector<double>(25, 0), std::vector<double>(64, 0)) == 1;
  EXPECT_EQ(speech, 200 - 10 - 2);
}

// The result of a call is about the frame of six calls before: the seven frames from there on are what it looks at.
TYPED_TEST(Vad, DecidesSixCallsLater) {
  constexpr int kFrames = 80, kFirst = 60;
  Detector<TypeParam> detector;
  std::vector<int> results;
  for (int frame = 1; frame <= kFrames; ++frame) {
    results.push_back(detector.quiet(frame >= kFirst && frame < kFirst + 3 ? 5 : 0));
  }
  for (int i = 0; i < 6; ++i) results.push_back(detector.flush());
  EXPECT_EQ(detector.flush(), kivVadUndecided);
  std::vector<int> of_frame(1 + kFrames, kivVadUndecided);  // from frame 1
  for (int frame = 5; frame <= kFrames; ++frame) {
    of_frame[static_cast<std::size_t>(frame)] = results[static_cast<std::size_t>(frame + 6 - 1)];
  }
  for (int i = 0; i < 10; ++i) EXPECT_EQ(results[static_cast<std::size_t>(i)], kivVadUndecided) << i;
  for (int frame = 5; frame <= kFrames; ++frame) {
    // Speech as soon as all three are among the seven, while they all are, and for a short hangover of four more.
    const bool speech = frame >= kFirst - 4 && frame <= kFirst + 4;
    EXPECT_EQ(of_frame[static_cast<std::size_t>(frame)], speech ? kivVadSpeech : kivVadNoSpeech) << frame;
  }
}

TEST(Vad, BothFormsFindBurstsInNoise) {
  Random random(5);
  Detector<FloatForm> floats;
  Detector<WordForm> words;
  int equal = 0, frames = 0, hits = 0, bursts = 0, alarms = 0;
  for (int t = 0; t < 3000; ++t) {
    const bool burst = t > 100 && t % 150 < 40;
    const double level = burst ? 12 : 1;
    std::vector<double> bands(25), frame(64);
    for (double& b : bands) b = std::round(40 * level * (1 + 0.1 * random.normal()));
    for (double& x : frame) x = std::round(20 * level * random.normal());
    const int a = floats.decide(bands, frame), b = words.decide(bands, frame);
    if (a == 4) continue;
    ++frames;
    equal += a == b ? 1 : 0;
    bursts += burst ? 1 : 0;
    hits += burst && a == 1 ? 1 : 0;
    alarms += t > 100 && t % 150 > 110 && a == 1 ? 1 : 0;  // long after a burst
  }
  EXPECT_GT(hits, bursts * 9 / 10);
  EXPECT_EQ(alarms, 0);
  EXPECT_GT(equal, frames * 98 / 100);
}

}  // namespace
}  // namespace kivsr::test
