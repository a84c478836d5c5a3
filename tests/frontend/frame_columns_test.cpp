// Windowed frames side by side: the formula in double precision in every mode, and statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/columns.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

struct Truth {
  std::vector<double> values;
  double energy = 0;
};

Truth frame_of(const float* x, const std::vector<float>& window, double emphasis, int mode) {
  const auto length = static_cast<std::ptrdiff_t>(window.size());
  double mean = 0, mean_behind = 0;
  for (std::ptrdiff_t n = 0; n < length; ++n) mean += x[n] / static_cast<double>(length);
  if ((mode & KIV_FRAME_CENTRED) == 0) mean = 0;
  Truth truth;
  for (std::ptrdiff_t n = 0; n < length; ++n) {
    const double before = x[n == 0 && (mode & KIV_FRAME_OWN_START) != 0 ? 0 : n - 1] - mean;
    truth.values.push_back(x[n] - mean - emphasis * before);
    mean_behind += truth.values.back() / static_cast<double>(length);
    if ((mode & KIV_FRAME_WINDOWED_ENERGY) == 0) truth.energy += std::pow(x[n] - mean, 2);
  }
  for (std::size_t n = 0; n < window.size(); ++n) {
    if ((mode & KIV_FRAME_CENTRED_BEHIND) != 0) truth.values[n] -= mean_behind;
    truth.values[n] *= window[n];
    if ((mode & KIV_FRAME_WINDOWED_ENERGY) != 0) truth.energy += std::pow(truth.values[n], 2);
  }
  return truth;
}

TEST(FrameColumns, AgreeWithTheFormula) {
  Random random(3);
  const Guarded<float> untouched(1);
  for (int trial = 0; trial < 400; ++trial) {
    const int mode = trial % 16;
    const int length = random.integer(1, trial % 5 == 0 ? 500 : 40);
    const int frames = random.integer(1, 19);
    const int shift = random.integer(1, 60);
    const int step = frames + (trial % 3 == 0 ? random.integer(0, 9) : 0);
    SCOPED_TRACE(::testing::Message() << "mode " << mode << " length " << length << " frames " << frames << " shift "
                                      << shift << " step " << step);
    const float emphasis = trial % 7 == 0 ? 0.0F : random.value<float>(0.5, 1);
    const auto count = static_cast<std::size_t>((frames - 1) * shift + length + 1);
    std::vector<float> signal = random.values<float>(count, -1000, 1000);
    for (float& x : signal) x += 300;
    const std::vector<float> weights = random.values<float>(static_cast<std::size_t>(length), 0, 2);
    const Guarded<float> src(signal), window(weights);
    Guarded<float> dst(static_cast<std::size_t>(step * length)), energy(static_cast<std::size_t>(frames));
    ASSERT_EQ(kivsFrameColumns_32f(src.data(), shift, frames, dst.data(), step, window.data(), length, emphasis, mode,
                                   energy.data()),
              kivStatusOk);
    for (int c = 0; c < frames; ++c) {
      const Truth truth = frame_of(signal.data() + 1 + c * shift, weights, emphasis, mode);
      const auto actual = column(dst.values(), static_cast<std::size_t>(step), static_cast<std::size_t>(c));
      for (std::size_t n = 0; n < truth.values.size(); ++n)
        ASSERT_NEAR(actual[n], truth.values[n], 0.003) << c << " " << n;
      ASSERT_NEAR(energy[static_cast<std::size_t>(c)], truth.energy, 1e-5 * truth.energy + 0.01) << c;
      Guarded<float> alone(static_cast<std::size_t>(length));
      ASSERT_EQ(kivsFrameColumns_32f(src.data() + c * shift, 1, 1, alone.data(), 1, window.data(), length, emphasis,
                                     mode, nullptr),
                kivStatusOk);
      expect_exact(alone, actual, "alone");
    }
    // Behind the frames only the columns that fill up a group of eight or four may be written.
    for (std::size_t i = 0; i < dst.size(); ++i) {
      const auto c = static_cast<int>(i) % step;
      ASSERT_TRUE(c < (frames + 7) / 8 * 8 || same_bits(dst[i], untouched[0])) << c;
    }
  }
}

TEST(FrameColumns, Statuses) {
  const std::vector<float> signal(20, 1.0F), window(4, 1.0F);
  std::vector<float> frames(12, 7.0F), energy(3, 7.0F);
  const auto call = [&](const float* src, int shift, int count, float* dst, int step, const float* weights, int length,
                        int mode) {
    return kivsFrameColumns_32f(src, shift, count, dst, step, weights, length, 0.5F, mode, energy.data());
  };
  const float* const x = signal.data();
  float* const y = frames.data();
  const float* const w = window.data();
  EXPECT_EQ(call(nullptr, 0, 0, y, 0, w, 0, 16), kivStatusNullPointer);
  EXPECT_EQ(call(x, 0, 0, nullptr, 0, w, 0, 16), kivStatusNullPointer);
  EXPECT_EQ(call(x, 0, 0, y, 0, nullptr, 0, 16), kivStatusNullPointer);
  EXPECT_EQ(call(x, 0, 3, y, 2, w, 4, 16), kivStatusBadSize);
  EXPECT_EQ(call(x, 2, 0, y, 2, w, 4, 16), kivStatusBadSize);
  EXPECT_EQ(call(x, 2, 3, y, 2, w, 0, 16), kivStatusBadSize);
  EXPECT_EQ(call(x, 2, 3, y, 2, w, 4, 16), kivStatusBadStep);
  EXPECT_EQ(call(x, 2, 3, y, 3, w, 4, 16), kivStatusBadArgument);
  EXPECT_EQ(call(x, 2, 3, y, 3, w, 4, -1), kivStatusBadArgument);
  expect_exact(frames, std::vector<float>(12, 7.0F));
  expect_exact(energy, std::vector<float>(3, 7.0F));
}

}  // namespace
}  // namespace kivsr::test
