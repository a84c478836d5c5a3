// The recursions over an utterance's graph against the sum over every single path, which silences are taken included;
// beams against exact sums.
#include "kivsr/speech/train/occupation.h"

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

// Scores from a table: [frame][state].
class TableScorer : public FrameScorer {
 public:
  explicit TableScorer(std::vector<std::vector<double>> table) : table_(std::move(table)) {}
  void begin(int frame) override { frame_ = static_cast<std::size_t>(frame); }
  double log_likelihood(int state) override {
    ++calls;
    return table_[frame_][static_cast<std::size_t>(state)];
  }

  int calls = 0;

 private:
  std::vector<std::vector<double>> table_;
  std::size_t frame_ = 0;
};

struct StateShares {
  std::vector<double> shares;  // [frame][state of the model]
  std::vector<double> stay;    // [state of the model]
};

StateShares in_states(const Occupation& occupation, const UtteranceGraph& graph, int frames, std::size_t states) {
  StateShares result{std::vector<double>(static_cast<std::size_t>(frames) * states), std::vector<double>(states)};
  for (const PlaceShare& share : occupation.shares) {
    const auto state = static_cast<std::size_t>(graph.states[static_cast<std::size_t>(share.place)]);
    result.shares[static_cast<std::size_t>(share.frame) * states + state] += share.share;
    result.stay[state] += share.stay;
  }
  return result;
}

TEST(Occupation, BothMethodsAgainstTheSumOverEveryPath) {
  const WordModel model = small_model();
  const std::size_t states = model.states.size();
  std::mt19937 generator(11);
  std::normal_distribution<double> normal(-3.0, 2.0);
  OccupationFinder finder(0.0);
  for (const std::vector<int>& words : {std::vector<int>{1}, {1, 2}, {1, 1, 2}}) {
    for (const int frames : {7, 9}) {
      std::vector<std::vector<double>> logs(static_cast<std::size_t>(frames), std::vector<double>(states));
      std::vector<std::vector<double>> likelihoods = logs;
      for (std::size_t t = 0; t < logs.size(); ++t) {
        for (std::size_t s = 0; s < states; ++s) likelihoods[t][s] = std::exp(logs[t][s] = normal(generator));
      }
      const UtteranceGraph graph = utterance_graph(model, words);
      TableScorer scorer(logs);
      const EveryPath expected = sum_over_paths(model, words, likelihoods);
      const Occupation& all = finder.find(graph, frames, scorer, AlignmentMethod::kBaumWelch);
      ASSERT_EQ(all.outcome, Occupation::Outcome::kDone);
      EXPECT_NEAR(all.log_likelihood, std::log(expected.likelihood), 1e-9);
      const StateShares found = in_states(all, graph, frames, states);
      for (std::size_t i = 0; i < found.shares.size(); ++i) {
        EXPECT_NEAR(found.shares[i], expected.shares[i] / expected.likelihood, 1e-9) << i;
      }
      for (std::size_t s = 0; s < states; ++s) {
        EXPECT_NEAR(found.stay[s], expected.stay_count[s] / expected.likelihood, 1e-9) << s;
      }

      const Occupation& best = finder.find(graph, frames, scorer, AlignmentMethod::kViterbi);
      ASSERT_EQ(best.outcome, Occupation::Outcome::kDone);
      EXPECT_NEAR(best.log_likelihood, std::log(expected.best), 1e-9);
      for (const PlaceShare& share : best.shares) {
        EXPECT_EQ(graph.states[static_cast<std::size_t>(share.place)],
                  expected.best_states[static_cast<std::size_t>(share.frame)])
            << share.frame;
      }
    }
  }
}

// Scores as low as those of an outlier, over many frames: nothing may overflow or lose the sum of 1 in each frame.
TEST(Occupation, LongAndUnlikely) {
  const WordModel model = small_model();
  const std::vector<int> words(20, 2);
  const UtteranceGraph graph = utterance_graph(model, words);
  EXPECT_EQ(shortest_path(graph), 60);
  constexpr int kFrames = 3000;
  std::mt19937 generator(3);
  std::uniform_real_distribution<double> likelihood(-2000.0, -1000.0);
  std::vector<std::vector<double>> table(kFrames, std::vector<double>(model.states.size()));
  for (auto& row : table) {
    for (double& value : row) value = likelihood(generator);
  }
  TableScorer scorer(table);
  OccupationFinder finder;
  for (const auto method : {AlignmentMethod::kBaumWelch, AlignmentMethod::kViterbi}) {
    const Occupation& occupation = finder.find(graph, kFrames, scorer, method);
    ASSERT_EQ(occupation.outcome, Occupation::Outcome::kDone);
    EXPECT_LT(occupation.log_likelihood, -1000.0 * kFrames);
    std::vector<double> sums(kFrames);
    for (const PlaceShare& share : occupation.shares) sums[static_cast<std::size_t>(share.frame)] += share.share;
    for (const double sum : sums) EXPECT_NEAR(sum, 1.0, 1e-9);
  }
}

// A chain of places with states of their own.
UtteranceGraph chain_of(int places) {
  GraphBuilder builder;
  for (int place = 0; place < places; ++place) {
    builder.add_place(place, 0.6);
    if (place > 0) builder.add_arc(place - 1, place, 1.0);
  }
  builder.add_begin(0, 1.0);
  builder.add_end(places - 1, 1.0);
  return builder.finish();
}

// Speech that follows its words, as far as a beam is meant for: the shares are those of all places, from far fewer
// scores.
TEST(Occupation, BeamsAgainstExactSums) {
  constexpr int kPlaces = 100;
  constexpr int kFrames = 4 * kPlaces;
  const UtteranceGraph graph = chain_of(kPlaces);
  std::mt19937 generator(5);
  std::normal_distribution<double> normal(0.0, 4.0);
  std::vector<std::vector<double>> table(kFrames);
  for (int t = 0; t < kFrames; ++t) {
    for (int s = 0; s < kPlaces; ++s) {
      table[static_cast<std::size_t>(t)].push_back(normal(generator) - (s == t / 4 ? 5.0 : 25.0));
    }
  }
  for (const auto method : {AlignmentMethod::kBaumWelch, AlignmentMethod::kViterbi}) {
    TableScorer scorer(table);
    OccupationFinder exact(0.0);
    const Occupation& whole = exact.find(graph, kFrames, scorer, method);
    ASSERT_EQ(whole.outcome, Occupation::Outcome::kDone);
    const StateShares expected = in_states(whole, graph, kFrames, kPlaces);
    const int calls = scorer.calls;
    for (const double beam : {kDefaultBeam, 1e-30}) {
      scorer.calls = 0;
      OccupationFinder finder(beam);
      const Occupation& pruned = finder.find(graph, kFrames, scorer, method);
      ASSERT_EQ(pruned.outcome, Occupation::Outcome::kDone);
      EXPECT_LT(2 * scorer.calls, calls) << beam;
      EXPECT_NEAR(pruned.log_likelihood, whole.log_likelihood, 1e-8);
      const StateShares found = in_states(pruned, graph, kFrames, kPlaces);
      for (std::size_t i = 0; i < found.shares.size(); ++i) EXPECT_NEAR(found.shares[i], expected.shares[i], 1e-8);
    }
  }
}

// The first place is so much likelier than all others that the beam leaves it alone, from where no path ends in time;
// the likelihood of those that do is far below the least double.
TEST(Occupation, WidensABeamThatLeavesNoPath) {
  constexpr int kPlaces = 6;
  constexpr int kFrames = 40;
  const UtteranceGraph graph = chain_of(kPlaces);
  std::vector<std::vector<double>> table(kFrames, std::vector<double>(kPlaces, -1000.0));
  for (auto& row : table) row[0] = -1.0;
  TableScorer scorer(table);
  OccupationFinder finder;
  const Occupation& found = finder.find(graph, kFrames, scorer, AlignmentMethod::kBaumWelch);
  ASSERT_EQ(found.outcome, Occupation::Outcome::kDone);
  // 35 frames in the first place and one in each other, the last of which is left
  const double best = 35.0 * -1.0 + 5.0 * -1000.0 + 34.0 * std::log(0.6) + 6.0 * std::log(0.4);
  EXPECT_NEAR(found.log_likelihood, best, 1e-6);
  // too few frames for any path
  EXPECT_EQ(finder.find(graph, kPlaces - 1, scorer, AlignmentMethod::kBaumWelch).outcome,
            Occupation::Outcome::kImpossible);
  EXPECT_EQ(finder.find(graph, kPlaces - 1, scorer, AlignmentMethod::kViterbi).outcome,
            Occupation::Outcome::kImpossible);
}

}  // namespace
}  // namespace kivsr::speech::test
