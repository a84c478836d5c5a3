// The recursions over an utterance's chain against the sum over every single path, which silences are taken included.
#include "kivsr/speech/train/state_chain.h"

#include <cmath>
#include <functional>

#include "speech/train/training_data.h"

namespace kivsr::speech::test {
namespace {

struct EveryPath {
  double likelihood = 0.0;
  double best = 0.0;
  std::vector<double> shares;      // [frame][state of the model]
  std::vector<double> stay_count;  // [state of the model]
  std::vector<int> best_states;
};

// Writes out every sequence of states that the words allow; silence (state 0) is optional with 1/2 at each place.
EveryPath sum_over_paths(const WordModel& model, const std::vector<int>& words,
                         const std::vector<std::vector<double>>& state_likelihoods) {
  const std::size_t frames = state_likelihoods.size();
  EveryPath result;
  result.shares.resize(frames * model.states.size());
  result.stay_count.resize(model.states.size());
  std::vector<int> path;
  const std::function<void(std::vector<int>, double)> walk = [&](const std::vector<int>& states, double half) {
    // all ways to spread the frames over this sequence of states
    const std::function<void(std::size_t, double)> spread = [&](std::size_t place, double likelihood) {
      const auto state = static_cast<std::size_t>(states[place]);
      const double emitted = likelihood * state_likelihoods[path.size()][state];
      path.push_back(static_cast<int>(place));
      const double stay = static_cast<double>(model.states[state].stay);
      if (path.size() < frames) {
        spread(place, emitted * stay);
        if (place + 1 < states.size()) spread(place + 1, emitted * (1.0 - stay));
      } else if (place + 1 == states.size()) {
        const double total = emitted * (1.0 - stay);
        result.likelihood += total;
        std::vector<int> visited;
        for (std::size_t t = 0; t < frames; ++t) {
          const int at = states[static_cast<std::size_t>(path[t])];
          visited.push_back(at);
          result.shares[t * model.states.size() + static_cast<std::size_t>(at)] += total;
          if (t > 0 && path[t] == path[t - 1]) result.stay_count[static_cast<std::size_t>(at)] += total;
        }
        if (total > result.best) {
          result.best = total;
          result.best_states = visited;
        }
      }
      path.pop_back();
    };
    spread(0, half);
  };
  for (unsigned silences = 0; silences < 1U << (words.size() + 1); ++silences) {
    std::vector<int> states;
    for (std::size_t i = 0; i <= words.size(); ++i) {
      if ((silences >> i & 1U) != 0) states.push_back(0);
      if (i == words.size()) break;
      const WordUnit& unit = model.units[static_cast<std::size_t>(words[i])];
      for (int s = 0; s < unit.states; ++s) states.push_back(unit.first_state + s);
    }
    walk(states, std::pow(0.5, static_cast<double>(words.size() + 1)));
  }
  return result;
}

TEST(StateChain, BothMethodsAgainstTheSumOverEveryPath) {
  const WordModel model = small_model();
  std::mt19937 generator(11);
  std::normal_distribution<double> normal(-3.0, 2.0);
  for (const std::vector<int>& words : {std::vector<int>{1}, {1, 2}, {1, 1, 2}}) {
    for (const int frames : {7, 9}) {
      std::vector<std::vector<double>> likelihoods(static_cast<std::size_t>(frames));
      const StateChain chain = utterance_chain(model, words);
      std::vector<double> emissions;
      for (auto& row : likelihoods) {
        std::vector<double> logs;
        for (std::size_t s = 0; s < model.states.size(); ++s) logs.push_back(normal(generator));
        for (const double value : logs) row.push_back(std::exp(value));
        for (const int state : chain.states) emissions.push_back(logs[static_cast<std::size_t>(state)]);
      }
      const EveryPath expected = sum_over_paths(model, words, likelihoods);
      const auto in_states = [&](const Occupation& occupation) {
        std::vector<double> shares(expected.shares.size());
        for (int t = 0; t < frames; ++t) {
          for (int place = 0; place < chain.places(); ++place) {
            shares[static_cast<std::size_t>(t) * model.states.size() +
                   static_cast<std::size_t>(chain.states[static_cast<std::size_t>(place)])] +=
                occupation.shares[static_cast<std::size_t>(t * chain.places() + place)];
          }
        }
        return shares;
      };
      const Occupation all = occupy(chain, emissions, AlignmentMethod::kBaumWelch);
      ASSERT_TRUE(all.possible);
      EXPECT_NEAR(all.log_likelihood, std::log(expected.likelihood), 1e-5);
      const std::vector<double> shares = in_states(all);
      for (std::size_t i = 0; i < shares.size(); ++i) {
        EXPECT_NEAR(shares[i], expected.shares[i] / expected.likelihood, 1e-5) << i;
      }
      std::vector<double> stay(model.states.size());
      for (int place = 0; place < chain.places(); ++place) {
        stay[static_cast<std::size_t>(chain.states[static_cast<std::size_t>(place)])] +=
            all.stay_count[static_cast<std::size_t>(place)];
      }
      for (std::size_t s = 0; s < stay.size(); ++s) {
        EXPECT_NEAR(stay[s], expected.stay_count[s] / expected.likelihood, 1e-5) << s;
      }

      const Occupation best = occupy(chain, emissions, AlignmentMethod::kViterbi);
      ASSERT_TRUE(best.possible);
      EXPECT_NEAR(best.log_likelihood, std::log(expected.best), 1e-9);
      for (int t = 0; t < frames; ++t) {
        EXPECT_EQ(chain.states[best.place(t)], expected.best_states[static_cast<std::size_t>(t)]) << t;
      }
    }
  }
}

// Scores as low as those of an outlier, over many frames: nothing may overflow or lose the sum of 1 in each frame.
TEST(StateChain, LongAndUnlikely) {
  const WordModel model = small_model();
  const std::vector<int> words(20, 2);
  const StateChain chain = utterance_chain(model, words);
  constexpr int kFrames = 3000;
  std::mt19937 generator(3);
  std::uniform_real_distribution<double> likelihood(-2000.0, -1000.0);
  std::vector<double> emissions(static_cast<std::size_t>(kFrames * chain.places()));
  for (double& value : emissions) value = likelihood(generator);
  for (const auto method : {AlignmentMethod::kBaumWelch, AlignmentMethod::kViterbi}) {
    const Occupation occupation = occupy(chain, emissions, method);
    ASSERT_TRUE(occupation.possible);
    EXPECT_LT(occupation.log_likelihood, -1000.0 * kFrames);
    for (int t = 0; t < kFrames; t += 100) {
      double sum = 0.0;
      for (int place = 0; place < chain.places(); ++place) {
        sum += occupation.shares[static_cast<std::size_t>(t * chain.places() + place)];
      }
      EXPECT_NEAR(sum, 1.0, 1e-5);
    }
  }
  EXPECT_EQ(shortest_path(model, words), 60);
}

}  // namespace
}  // namespace kivsr::speech::test
