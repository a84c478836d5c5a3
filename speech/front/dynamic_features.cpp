#include "kivsr/speech/front/dynamic_features.h"

#include <algorithm>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kWindow = 3;  // frames that an acceleration looks ahead and back

}  // namespace

void subtract_utterance_mean(FeatureMatrix& cepstra) {
  const int height = cepstra.height();
  if (height == 0) return;
  std::vector<float> mean(static_cast<std::size_t>(cepstra.width), 0.0F);
  for (int t = 0; t < height; ++t) {
    check(kivsAdd_32f_I(cepstra.row(t).data(), mean.data(), cepstra.width), "kivsAdd_32f_I");
  }
  check(kivsMulC_32f_I(1.0F / static_cast<float>(height), mean.data(), cepstra.width), "kivsMulC_32f_I");
  for (int t = 0; t < height; ++t) {
    check(kivsSub_32f_I(mean.data(), cepstra.row(t).data(), cepstra.width), "kivsSub_32f_I");
  }
}

FeatureMatrix append_dynamics(const FeatureMatrix& cepstra) {
  const int width = cepstra.width;
  const int height = cepstra.height();
  FeatureMatrix rows;
  rows.width = 3 * width;
  rows.values.resize(3 * cepstra.values.size());
  if (height == 0) return rows;

  const auto column = static_cast<std::size_t>(width);
  std::vector<float> later_slope(column);
  std::vector<float> earlier_slope(column);
  for (int t = 0; t < height; ++t) {
    const auto frame = [&](int offset) { return cepstra.row(std::clamp(t + offset, 0, height - 1)).data(); };
    // destination = later - earlier
    const auto difference = [&](const float* later, const float* earlier, float* destination) {
      check(kivsCopy_32f(later, destination, width), "kivsCopy_32f");
      check(kivsSub_32f_I(earlier, destination, width), "kivsSub_32f_I");
    };
    float* const row = rows.row(t).data();
    check(kivsCopy_32f(frame(0), row, width), "kivsCopy_32f");
    difference(frame(kWindow - 1), frame(1 - kWindow), row + column);
    difference(frame(kWindow), frame(kWindow - 4), later_slope.data());
    difference(frame(4 - kWindow), frame(-kWindow), earlier_slope.data());
    difference(later_slope.data(), earlier_slope.data(), row + 2 * column);
  }
  return rows;
}

FeatureMatrix utterance_features(FeatureMatrix cepstra) {
  subtract_utterance_mean(cepstra);
  return append_dynamics(cepstra);
}

FeatureMatrix utterance_features(const FrontEndParameters& parameters, std::span<const float> samples) {
  return utterance_features(FrontEnd(parameters).run(samples));
}

}  // namespace kivsr::speech
