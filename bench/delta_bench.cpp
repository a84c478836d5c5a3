// Delta and acceleration coefficients, streaming and of a whole matrix, beside plain loops.
#include <cstdint>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

constexpr int kWidth = 13;
constexpr int kStep = 3 * kWidth;
constexpr int kFrames = 100;
constexpr int kHistory = 8;  // of the longest window

// One block in the middle of an utterance, statics copied, then each derivative of the rows that it completes.
template <class T, class Slope, class Scale>
void plain_block(const T* src, T* dst, int height, int history, int reach, Slope slope, Scale scale) {
  for (int f = 0; f < height; ++f) {
    for (int i = 0; i < kWidth; ++i) dst[(history + f) * kStep + i] = src[f * kWidth + i];
  }
  const int lag[] = {0, reach, 2 * reach};
  for (int block = 1; block < 3; ++block) {
    for (int t = history - lag[block]; t < history + height - lag[block]; ++t) {
      const T* const x = dst + t * kStep + (block - 1) * kWidth;
      T* const d = dst + t * kStep + block * kWidth;
      for (int i = 0; i < kWidth; ++i) d[i] = scale(slope(x + i));
    }
  }
}

void streaming(int height) {
  const float* const src = array<float>(14 * kFrames, [](int i) { return noise(i); });
  float* const dst = array<float>((kFrames + kHistory) * kStep, [](int) { return 0.5; });
  measure("DeltaDelta_Win2_32f", "ours", height,
          [=] { kivsDeltaDelta_Win2_32f_D2(src, kWidth, dst, kStep, height, 0.1F, 0.1F, 0); });
  measure("DeltaDelta_Win2_32f", "loop", height, [=] {
    plain_block(
        src, dst, height, 6, 2,
        [](const float* x) {
          const float e = x[2 * kStep] - x[-2 * kStep];
          return x[kStep] - x[-kStep] + e + e;
        },
        [](float d) { return d * 0.1F; });
  });

  measure("DeltaDelta_Aurora_32f", "ours", height, [=] { kivsDeltaDelta_Aurora_32f_D2(src, dst, kStep, height, 0); });
  measure("DeltaDelta_Aurora_32f", "loop", height, [=] {
    for (int f = 0; f < height; ++f) {
      const float* const x = src + f * 14;
      float* const row = dst + (f + 8) * kStep;
      for (int i = 0; i < 12; ++i) row[i] = x[i];
      row[12] = x[12] * 0.6F / 23.0F + x[13] * 0.4F;
    }
    for (int t = 4; t < 4 + height; ++t) {
      float* const row = dst + t * kStep;
      for (int i = 0; i < kWidth; ++i) {
        const float* const x = row + i;
        const auto at = [&](int k) { return x[k * kStep]; };
        row[kWidth + i] = -at(-4) - 0.75F * at(-3) - 0.5F * at(-2) - 0.25F * at(-1) + 0.25F * at(1) + 0.5F * at(2) +
                          0.75F * at(3) + at(4);
        row[2 * kWidth + i] = at(-4) + 0.25F * at(-3) - 0.285714F * at(-2) - 0.607143F * at(-1) - 0.714286F * at(0) -
                              0.607143F * at(1) - 0.285714F * at(2) + 0.25F * at(3) + at(4);
      }
    }
  });

  const std::int16_t* const words = array<std::int16_t>(14 * kFrames, [](int i) { return 4000 * noise(i); });
  std::int16_t* const rows = array<std::int16_t>((kFrames + kHistory) * kStep, [](int) { return 100; });
  measure("DeltaDelta_Win2_16s", "ours", height,
          [=] { kivsDeltaDelta_Win2_16s_D2Sfs(words, kWidth, rows, kStep, height, 13, 13, 7, 0); });
  measure("DeltaDelta_Win2_16s", "loop", height, [=] {
    plain_block(
        words, rows, height, 6, 2,
        [](const std::int16_t* x) {
          return std::int64_t{x[kStep]} - x[-kStep] + 2 * (std::int64_t{x[2 * kStep]} - x[-2 * kStep]);
        },
        [](std::int64_t d) {
          const std::int64_t y = 13 * d;
          const std::int64_t rounded = (y + 63 + ((y >> 7) & 1)) >> 7;
          return static_cast<std::int16_t>(rounded > 32767 ? 32767 : rounded < -32768 ? -32768 : rounded);
        });
  });
}

void matrix(int height) {
  float* const m = array<float>(height * kStep, [](int i) { return noise(i); });
  measure("EvalDelta_32f", "ours", height, [=] { kivsEvalDelta_32f_D2(m, height, kStep, kWidth, 0, 2, 0.1F); });
  measure("EvalDelta_32f", "loop", height, [=] {
    for (int t = 0; t < height; ++t) {
      for (int i = 0; i < kWidth; ++i) {
        float sum = 0;
        for (int k = 1; k <= 2; ++k) {
          const int later = t >= height - 2 ? height - 1 : t + k;
          const int earlier = t < 2 ? 0 : t - k;
          sum += static_cast<float>(k) * (m[later * kStep + i] - m[earlier * kStep + i]);
        }
        m[t * kStep + kWidth + i] = 0.1F * sum;
      }
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kivsr::bench::streaming(1);
  kivsr::bench::streaming(kivsr::bench::kFrames);
  kivsr::bench::matrix(kivsr::bench::kFrames);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
