// The phones of a hypothesis against those of the best of all paths, and its score against that of its states.
#include "kivsr/speech/decode/phone_alignment.h"

#include <random>

#include "kivsr/speech/decode/viterbi_search.h"
#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

FeatureMatrix matrix_of(const Frames& frames) {
  FeatureMatrix rows{static_cast<int>(frames[0].size()), {}};
  for (const auto& frame : frames) rows.values.insert(rows.values.end(), frame.begin(), frame.end());
  return rows;
}

// Log likelihood of a path through states, without the weights of words; checks that it is one.
double score_of(const std::vector<std::vector<PhoneSegment>>& words, const AcousticModel& model, const Frames& frames) {
  double score = 0.0;
  int next_frame = 0;
  for (const auto& phones : words) {
    for (const PhoneSegment& phone : phones) {
      EXPECT_EQ(phone.first_frame, next_frame);
      EXPECT_EQ(phone.states.front().place, 0) << "phones are entered at their first state";
      const float* const transitions = model.transitions(phone.hmm);
      for (std::size_t i = 0; i < phone.states.size(); ++i) {
        const StateSegment& state = phone.states[i];
        EXPECT_EQ(state.first_frame, next_frame);
        next_frame = state.last_frame + 1;
        const int stays = state.last_frame - state.first_frame;
        const int to = i + 1 < phone.states.size() ? phone.states[i + 1].place : 2;
        score += stays * static_cast<double>(transitions[3 * state.place + state.place]) +
                 static_cast<double>(transitions[3 * state.place + to]);
        const auto column =
            static_cast<std::size_t>(model.definition.states_of_hmm(phone.hmm)[static_cast<std::size_t>(state.place)]);
        for (int frame = state.first_frame; frame <= state.last_frame; ++frame) {
          score += static_cast<double>(frames[static_cast<std::size_t>(frame)][column]);
        }
      }
      EXPECT_EQ(phone.last_frame, next_frame - 1);
    }
  }
  EXPECT_EQ(next_frame, static_cast<int>(frames.size()));
  return score;
}

TEST(PhoneAligner, FollowsTheBestOfAllPaths) {
  const SearchWeights weights{1.5F, -1.0F, -2.0F, -3.0F};
  const Dictionary dictionary = tiny_dictionary();
  const WordNetwork words = tiny_grammar("public <g> = [a] ba (b | abab) [ab];");
  TableScorer scorer;
  std::mt19937 generator(17);
  for (const bool with_contexts : {false, true}) {
    const AcousticModel model = tiny_model(with_contexts);
    const SearchNetwork network = build_search_network(words, dictionary, model, weights);
    ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
    PhoneAligner aligner(network, model, scorer);
    for (std::size_t utterance = 0; utterance < 12; ++utterance) {
      const Frames frames = random_frames(generator, 4 + utterance % 5, 4.0F, model);
      for (const auto& frame : frames) search.push(frame);
      const Hypothesis found = search.finish();
      ASSERT_TRUE(found.complete);
      const Path best = Exhaustive(words, dictionary, model, weights, frames).best();
      const auto phones = aligner.align(found.words, matrix_of(frames));
      ASSERT_EQ(phones.size(), found.words.size());
      std::vector<int> ends;
      for (const auto& word : phones) {
        for (const PhoneSegment& phone : word) ends.push_back(phone.last_frame);
      }
      EXPECT_EQ(ends, best.phone_ends) << with_contexts << utterance;
      double penalties = 0.0;
      for (const HypothesisWord& word : found.words) {
        penalties += network.labels[static_cast<std::size_t>(word.label)].filler ? -2.0 : -1.0;
      }

      EXPECT_NEAR(score_of(phones, model, frames) + penalties + 3.0 * 1.5 * std::log(0.5), found.score, 1e-3);
    }
  }
}

TEST(PhoneAligner, AWordWithoutRoomHasNoPhones) {
  const AcousticModel model = tiny_model(true);
  const SearchNetwork network = tiny_network(model, "public <g> = abab;");
  TableScorer scorer;
  std::mt19937 generator(3);
  const Frames frames = random_frames(generator, 4, 1.0F, model);
  PhoneAligner aligner(network, model, scorer);
  const HypothesisWord whole{0, 0, 3};
  const HypothesisWord cut{0, 0, 2};
  EXPECT_EQ(aligner.align({&whole, 1}, matrix_of(frames))[0].size(), 4U);
  EXPECT_TRUE(aligner.align({&cut, 1}, matrix_of(frames))[0].empty());
}

}  // namespace
}  // namespace kivsr::speech::test
