// State scores of every arithmetic and of shortlists, against mixture densities computed in double precision from the
// parameter files.
#include "kivsr/speech/decode/mixture_scorer.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <random>

#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/models/s3_file.h"
#include "kivsr/speech/models/sendump.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

// Each arithmetic with what its scores may be off by: absolute, and relative to the score. 16 bits: an inverse variance
// around the median is off by half of 1/256 at most, and errors of the thirty-nine features average out.
struct Tolerance {
  ScoreArithmetic arithmetic;
  double absolute;
  double relative;
};
constexpr Tolerance kTolerances[] = {{ScoreArithmetic::kSinglePrecision, 1e-4, 3e-6},
                                     {ScoreArithmetic::kDoublePrecision, 1e-4, 1e-6},
                                     {ScoreArithmetic::kSixteenBits, 0.03, 5e-4}};

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

// The model en-us and its files.
struct EnUs {
  AcousticModel model = read_acoustic_model(kEnUs);
  GaussianParameters means = read_gaussian_parameters(kEnUs / "means");
  GaussianParameters variances = read_gaussian_parameters(kEnUs / "variances");
  PackedWeights weights = read_sendump(kEnUs / "sendump");

  // Score of a state by the Gaussians that are the likeliest `count` of their codebook at `centre`.
  double score(int phone, int state, std::span<const float> frame, std::span<const float> centre, int count) const {
    double result = 0.0;
    for (int stream = 0; stream < 3; ++stream) {
      const auto density = [&](std::span<const float> vector, int gaussian) {
        return log_density(means.rows(phone, stream) + 13 * gaussian, variances.rows(phone, stream) + 13 * gaussian, 13,
                           &vector[static_cast<std::size_t>(13 * stream)]);
      };
      std::vector<double> at_centre;
      for (int gaussian = 0; gaussian < 128; ++gaussian) at_centre.push_back(density(centre, gaussian));
      std::vector<double> sorted = at_centre;
      std::sort(sorted.begin(), sorted.end(), std::greater<>());
      double likelihood = 0.0;
      for (int gaussian = 0; gaussian < 128; ++gaussian) {
        if (at_centre[static_cast<std::size_t>(gaussian)] >= sorted[static_cast<std::size_t>(count - 1)]) {
          likelihood += std::exp(weights.log_weight(stream, gaussian, state) + density(frame, gaussian));
        }
      }
      result += std::log(likelihood);
    }
    return result;
  }
};

// A stream whose variances leave the numbers of the processor: nothing overflows, scores stay numbers.
TEST(MixtureScorer, ExtremeVariances) {
  for (const float inverse : {1e-30F, 1e-38F, 1e30F, 3e38F}) {
    AcousticModel model;
    model.dimension = 2;
    model.codebooks = 1;
    model.densities = 2;
    model.definition.states = model.definition.independent_states = 1;
    model.codebook_of_state = {0};
    model.streams = {{0, 2, {0.0F, 1.0F, -1.0F, 2.0F}, {inverse, 1.0F, inverse, 2.0F}, {0.0F, 0.0F}, {-0.7F, -0.7F}}};
    for (const ScoreArithmetic arithmetic : {ScoreArithmetic::kSinglePrecision, ScoreArithmetic::kSixteenBits}) {
      const auto scorer = make_mixture_scorer(model, {arithmetic, 0});
      const std::vector<float> frame{0.5F, 0.5F};
      const std::vector<int> states{0};
      std::vector<float> scores(1);
      scorer->score(frame, states, scores);
      EXPECT_FALSE(std::isnan(scores[0])) << inverse;
    }
  }
}

TEST(MixtureScorer, PhoneticallyTiedMixtures) {
  const EnUs files;
  for (const auto& [arithmetic, absolute, relative] : kTolerances) {
    const std::unique_ptr<Scorer> scorer = make_mixture_scorer(files.model, {arithmetic, 0, 0, 0.0F});
    std::mt19937 generator(3);
    for (const int phone : {2, 32, 41}) {
      // a frame near the Gaussians of the phone
      std::vector<float> frame;
      std::normal_distribution<float> normal(0.0F, 0.5F);
      for (int stream = 0; stream < 3; ++stream) {
        for (int i = 0; i < 13; ++i) frame.push_back(files.means.rows(phone, stream)[13 * 5 + i] + normal(generator));
      }
      std::vector<float> scores(126, 12345.0F);
      const std::vector<int>& states = files.model.definition.phones[static_cast<std::size_t>(phone)].states;
      scorer->score(frame, states, scores);
      for (int state = 0; state < 126; ++state) {
        if (std::find(states.begin(), states.end(), state) == states.end()) {
          EXPECT_EQ(scores[static_cast<std::size_t>(state)], 12345.0F) << "not asked for";
          continue;
        }
        const double expected = files.score(phone, state, frame, frame, 128);
        EXPECT_NEAR(scores[static_cast<std::size_t>(state)], expected, absolute + relative * std::abs(expected));
      }
    }
  }
}

// Far from all Gaussians of a phone its states score by the floor below the best of the other phone that is asked for.
TEST(MixtureScorer, NoGaussianLiesBelowTheDepth) {
  const EnUs files;
  std::vector<float> frame;
  for (int stream = 0; stream < 3; ++stream) {
    const float* const mean = files.means.rows(32, stream) + static_cast<std::ptrdiff_t>(13 * 7);
    frame.insert(frame.end(), mean, mean + 13);
  }
  const std::vector<int> states{files.model.definition.phones[2].states[1],
                                files.model.definition.phones[32].states[1]};
  double floor_score = 0.0;
  for (int stream = 0; stream < 3; ++stream) {
    double best = -1e30;
    double weight = 0.0;
    for (int gaussian = 0; gaussian < 128; ++gaussian) {
      for (const int phone : {2, 32}) {
        best = std::max(best, log_density(files.means.rows(phone, stream) + 13 * gaussian,
                                          files.variances.rows(phone, stream) + 13 * gaussian, 13,
                                          &frame[static_cast<std::size_t>(13 * stream)]));
      }
      weight += std::exp(files.weights.log_weight(stream, gaussian, states[0]));
    }
    floor_score += best - 0.01 + std::log(weight);
  }
  std::vector<float> scores(126);
  make_mixture_scorer(files.model, {ScoreArithmetic::kSinglePrecision, 0, 0, 0.01F})->score(frame, states, scores);
  EXPECT_NEAR(scores[static_cast<std::size_t>(states[0])], floor_score, 0.02);
  make_mixture_scorer(files.model, {ScoreArithmetic::kSinglePrecision, 0, 0, 0.0F})->score(frame, states, scores);
  EXPECT_LT(scores[static_cast<std::size_t>(states[0])], floor_score - 5.0);
}

// The first cell of each stream has the first mean of the stream as its centre.
TEST(MixtureScorer, ShortlistsHoldTheLikeliestGaussiansOfTheCell) {
  const EnUs files;
  std::vector<float> centre;
  for (int stream = 0; stream < 3; ++stream) {
    centre.insert(centre.end(), files.means.rows(0, stream), files.means.rows(0, stream) + 13);
  }
  std::vector<float> frame = centre;
  for (float& value : frame) value += 0.25F;
  std::vector<int> states(126);
  std::iota(states.begin(), states.end(), 0);
  std::vector<float> scores(126);
  const int counts[] = {1, 4, 30};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto& [arithmetic, absolute, relative] = kTolerances[i];
    make_mixture_scorer(files.model, {arithmetic, counts[i], 0, 0.0F})->score(frame, states, scores);
    for (const int phone : {0, 20, 41}) {
      for (const int state : files.model.definition.phones[static_cast<std::size_t>(phone)].states) {
        const double expected = files.score(phone, state, frame, centre, counts[i]);
        EXPECT_NEAR(scores[static_cast<std::size_t>(state)], expected, absolute + relative * std::abs(expected))
            << counts[i] << " for phone " << phone;
      }
    }
  }
}

// Over a recording: what scores lose by quantisation, and the best state of a frame by shortlists, on average.
TEST(MixtureScorer, LossesOverSpeech) {
  const AcousticModel model = read_acoustic_model(kEnUs);
  FeatureChain chain(model.recipe);
  const FeatureMatrix features = load_utterance(kTestData / "goforward.raw", chain).features;
  std::vector<int> states(126);
  std::iota(states.begin(), states.end(), 0);
  const auto all_scores = [&](const ScorerOptions& options) {
    const std::unique_ptr<Scorer> scorer = make_mixture_scorer(model, options);
    std::vector<std::vector<float>> result;
    for (int frame = 0; frame < features.height(); ++frame) {
      result.emplace_back(126);
      scorer->score(features.row(frame), states, result.back());
    }
    return result;
  };
  const auto exact = all_scores({ScoreArithmetic::kDoublePrecision, 0, 0, 0.0F});
  const auto quantised = all_scores({ScoreArithmetic::kSixteenBits, 0, 0, 0.0F});
  double squares = 0.0;
  for (std::size_t frame = 0; frame < exact.size(); ++frame) {
    for (std::size_t state = 0; state < 126; ++state) {
      squares += std::pow(static_cast<double>(quantised[frame][state]) - static_cast<double>(exact[frame][state]), 2);
    }
  }
  EXPECT_LT(std::sqrt(squares / static_cast<double>(126 * exact.size())), 0.01);

  EXPECT_EQ(all_scores({ScoreArithmetic::kSinglePrecision, 128}), all_scores({}));
  double last_loss = 4.0;
  for (const int count : {4, 32}) {
    const auto listed = all_scores({ScoreArithmetic::kSinglePrecision, count, 0, 0.0F});
    double loss = 0.0;
    for (std::size_t frame = 0; frame < exact.size(); ++frame) {
      for (std::size_t state = 0; state < 126; ++state) {
        ASSERT_LE(listed[frame][state], exact[frame][state] + 1e-3F) << "a part of the mixture is above all of it";
      }
      loss += static_cast<double>(*std::max_element(exact[frame].begin(), exact[frame].end()) -
                                  *std::max_element(listed[frame].begin(), listed[frame].end()));
    }
    loss /= static_cast<double>(exact.size());
    EXPECT_LT(loss, last_loss / 1.3) << count;
    last_loss = loss;
  }
  EXPECT_LT(last_loss, 0.4);
}

// How many states of a codebook a frame asks for decides how they are summed, and changes no bit.
TEST(MixtureScorer, StatesAloneAndTogether) {
  const AcousticModel model = read_acoustic_model(kEnUs);
  const auto count = static_cast<std::size_t>(model.definition.states);
  std::vector<float> frame(39);
  std::mt19937 generator(8);
  std::normal_distribution<float> normal;
  for (float& value : frame) value = normal(generator);
  for (const ScoreArithmetic arithmetic : {ScoreArithmetic::kSinglePrecision, ScoreArithmetic::kDoublePrecision}) {
    for (const int top : {3, 4, 9}) {
      const std::unique_ptr<Scorer> scorer = make_mixture_scorer(model, {arithmetic, 0, top, 0.0F});
      std::vector<int> states(count);
      std::iota(states.begin(), states.end(), 0);
      std::vector<float> together(count);
      scorer->score(frame, states, together);
      std::vector<float> alone(count);
      for (std::size_t state = 0; state < count; state += 61) {
        scorer->score(frame, std::span(states).subspan(state, 1), alone);
        ASSERT_EQ(alone[state], together[state]) << state;
      }
    }
  }
}

TEST(MixtureScorer, SingleGaussians) {
  const std::filesystem::path folder = kTestData / "an4_ci_cont";
  const AcousticModel model = read_acoustic_model(folder);
  const GaussianParameters means = read_gaussian_parameters(folder / "means");
  const GaussianParameters variances = read_gaussian_parameters(folder / "variances");
  std::vector<float> frame(means.rows(17, 0), means.rows(17, 0) + 39);
  frame[3] += 0.7F;
  std::vector<float> scores(102);
  const std::vector<int> states{0, 17, 101};
  for (const auto& [arithmetic, absolute, relative] : kTolerances) {
    const std::unique_ptr<Scorer> scorer = make_mixture_scorer(model, {arithmetic, 8});  // of one Gaussian
    scorer->score(frame, states, scores);
    for (const int state : states) {
      const double expected = log_density(means.rows(state, 0), variances.rows(state, 0), 39, frame.data());
      EXPECT_NEAR(scores[static_cast<std::size_t>(state)], expected, absolute + relative * std::abs(expected));
    }
    EXPECT_THROW(scorer->score(std::span(frame).first(13), states, scores), Fault);
  }
}

}  // namespace
}  // namespace kivsr::speech::test
