// State scores against the mixture density computed in double precision from the parameter files.
#include "decoder/mixture_scorer.h"

#include <cmath>
#include <random>

#include "models/s3_file.h"
#include "models/sendump.h"
#include "tools/models/model_bytes.h"

namespace kivsr::tools::test {
namespace {

// log of the density of one stream of a frame
double log_density(const float* means, const float* variances, int length, const float* frame) {
  double result = 0.0;
  for (int i = 0; i < length; ++i) {
    const double variance = std::max(static_cast<double>(variances[i]), 1e-4);
    const double distance = static_cast<double>(frame[i]) - means[i];
    result -= 0.5 * (std::log(2.0 * std::acos(-1.0) * variance) + distance * distance / variance);
  }
  return result;
}

TEST(MixtureScorer, PhoneticallyTiedMixtures) {
  const AcousticModel model = read_acoustic_model(kEnUs);
  const GaussianParameters means = read_gaussian_parameters(kEnUs / "means");
  const GaussianParameters variances = read_gaussian_parameters(kEnUs / "variances");
  const PackedWeights weights = read_sendump(kEnUs / "sendump");
  MixtureScorer scorer(model);
  std::mt19937 generator(3);
  for (const int phone : {2, 32, 41}) {
    // a frame near the Gaussians of the phone
    std::vector<float> frame;
    std::normal_distribution<float> normal(0.0F, 0.5F);
    for (int stream = 0; stream < 3; ++stream)
      for (int i = 0; i < 13; ++i) frame.push_back(means.rows(phone, stream)[13 * 5 + i] + normal(generator));
    std::vector<float> scores(126, 12345.0F);
    const std::vector<int>& states = model.definition.phones[static_cast<std::size_t>(phone)].states;
    scorer.score(frame, states, scores);
    for (int state = 0; state < 126; ++state) {
      if (std::find(states.begin(), states.end(), state) == states.end()) {
        EXPECT_EQ(scores[static_cast<std::size_t>(state)], 12345.0F) << "not asked for";
        continue;
      }
      double expected = 0.0;
      for (int stream = 0; stream < 3; ++stream) {
        double likelihood = 0.0;
        for (int density = 0; density < 128; ++density)
          likelihood += std::exp(weights.log_weight(stream, density, state) +
                                 log_density(means.rows(phone, stream) + 13 * density,
                                             variances.rows(phone, stream) + 13 * density, 13,
                                             &frame[static_cast<std::size_t>(13 * stream)]));
        expected += std::log(likelihood);
      }
      EXPECT_NEAR(scores[static_cast<std::size_t>(state)], expected, 2e-3 + 1e-5 * std::abs(expected));
    }
  }
}

TEST(MixtureScorer, SingleGaussians) {
  const std::filesystem::path folder = kTestData / "an4_ci_cont";
  const AcousticModel model = read_acoustic_model(folder);
  const GaussianParameters means = read_gaussian_parameters(folder / "means");
  const GaussianParameters variances = read_gaussian_parameters(folder / "variances");
  MixtureScorer scorer(model);
  std::vector<float> frame(means.rows(17, 0), means.rows(17, 0) + 39);
  frame[3] += 0.7F;
  std::vector<float> scores(102);
  const std::vector<int> states{0, 17, 101};
  scorer.score(frame, states, scores);
  for (const int state : states) {
    const double expected = log_density(means.rows(state, 0), variances.rows(state, 0), 39, frame.data());
    EXPECT_NEAR(scores[static_cast<std::size_t>(state)], expected, 1e-3 + 1e-5 * std::abs(expected));
  }
  EXPECT_THROW(scorer.score(std::span(frame).first(13), states, scores), Fault);
}

}  // namespace
}  // namespace kivsr::tools::test
