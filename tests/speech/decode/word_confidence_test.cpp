// Evidence for words from a lattice written out, and from searches whose sounds are or are not what they expect.
#include "kivsr/speech/decode/word_confidence.h"

#include <cmath>
#include <random>

#include "kivsr/speech/decode/viterbi_search.h"
#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

SearchNetwork named_network() {
  SearchNetwork network;
  for (const char* const name : {"a", "b", "ba", "a"}) network.labels.push_back({name, false, 0, 0});
  network.labels.push_back({"<sil>", true, 0, 0});
  return network;
}

// start -a-> 1 -b-> end, start -b-> 1, start -ba-> end, and the other pronunciation of a beside the first.
WordLattice small_lattice() {
  WordLattice lattice;
  lattice.frames = {0, 2, 4};
  lattice.arcs = {{0, 1, 0, -1.0, -0.5, 0.4},
                  {0, 1, 1, -2.0, -0.5, 0.2},
                  {1, 2, 1, -3.0, 0.0, 0.7},
                  {0, 2, 2, -4.0, -1.0, 0.3},
                  {0, 1, 3, -1.5, -0.5, 0.1}};
  lattice.sounds = {{-0.5F, 3.0F}, {-0.25F, 5.0F}, {-1.0F, 4.0F}, {-0.5F, 4.0F}};
  return lattice;
}

TEST(WordConfidence, EvidenceIsOfTheWordAndItsFrames) {
  const std::vector<HypothesisWord> words{{0, 0, 1}, {1, 2, 3}};
  const std::vector<WordEvidence> evidence = word_evidence(small_lattice(), named_network(), words);
  ASSERT_EQ(evidence.size(), 2U);
  EXPECT_NEAR(evidence[0].posterior, 0.5, 1e-12) << "with the other pronunciation";
  EXPECT_NEAR(evidence[0].fit, (-1.0 - (-0.5 - 0.25)) / 2 / 4.0, 1e-12);
  EXPECT_EQ(evidence[0].language, -0.5);
  EXPECT_EQ(evidence[0].frames, 2);
  EXPECT_NEAR(evidence[1].posterior, 0.7, 1e-12);
  EXPECT_NEAR(evidence[1].fit, (-3.0 - (-1.0 - 0.5)) / 2 / 4.0, 1e-12);
  EXPECT_NEAR(word_evidence(small_lattice(), named_network(), std::vector<HypothesisWord>{{1, 1, 3}})[0].posterior, 0.0,
              0)
      << "no such arc";
  EXPECT_EQ(word_evidence(WordLattice(), named_network(), words)[1].posterior, 0.0);
}

TEST(WordConfidence, EveryKindOfEvidenceCounts) {
  const WordEvidence plain{0.5, -0.3, -20.0, 30, false};
  const auto confidence = [&](WordEvidence first) { return word_confidences(std::vector{first, plain})[0]; };
  const double usual = confidence(plain);
  EXPECT_GT(usual, 0.0);
  EXPECT_LT(usual, 1.0);
  WordEvidence other = plain;
  other.posterior = 0.9;
  EXPECT_GT(confidence(other), usual);
  other = plain;
  other.fit = -0.1;
  EXPECT_GT(confidence(other), usual);
  EXPECT_GT(word_confidences(std::vector{plain, other})[0], usual) << "the others of the utterance";
  other = plain;
  other.language = -30.0;
  EXPECT_LT(confidence(other), usual);
  other.language = -1e30;
  EXPECT_GT(confidence(other), 0.0) << "a rare word may be right";
  other = plain;
  other.frames = 10;
  EXPECT_LT(confidence(other), usual);

  const WordEvidence silence{0.25, -9.0, 0.0, 500, true};
  const std::vector<double> with_silence = word_confidences(std::vector{plain, silence});
  EXPECT_EQ(with_silence[1], 0.25);
  EXPECT_EQ(with_silence[0], word_confidences(std::vector{plain})[0]) << "silence says nothing about words";
  EXPECT_EQ(word_confidences(std::vector{WordEvidence()})[0], 0.0) << "of a sentence that is not complete";
}

// A grammar of one sentence leaves no choice: what tells is whether the frames are what its phones sound like.
TEST(WordConfidence, AWordThatWasForcedOnTheSoundIsUnsure) {
  const AcousticModel model = tiny_model(true);
  const SearchNetwork network =
      build_search_network(tiny_grammar("public <g> = ab;"), tiny_dictionary(), model, {0.0F, 0.0F, 0.0F, 0.0F});
  TableScorer scorer;
  ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
  search.record_lattice(1e6F);
  const auto word_of = [&](float others) {
    const std::vector<int> states{0, 0, 1, 1, 2, 2, 3, 3};
    for (const int state : states) {
      std::vector<float> frame(static_cast<std::size_t>(model.definition.states), -20.0F);
      for (std::size_t s = 6; s < frame.size(); ++s) frame[s] = -1.0F;  // whichever contexts the words have
      frame[static_cast<std::size_t>(state)] = 0.0F;
      frame[4] = others;  // what silence sounds like
      search.push(frame);
    }
    Hypothesis found = search.finish();
    EXPECT_EQ(found.lattice.sounds.size(), states.size());
    find_posteriors(found.lattice, 0.1);
    return std::pair(found, word_evidence(found.lattice, network, found.words));
  };
  const auto [heard, fitting] = word_of(-20.0F);
  const auto [forced, strange] = word_of(30.0F);
  const auto spoken = [&](const Hypothesis& found, const std::vector<WordEvidence>& evidence) {
    for (std::size_t i = 0; i < found.words.size(); ++i) {
      if (!evidence[i].filler) return i;
    }
    return found.words.size();
  };
  const std::size_t right = spoken(heard, fitting);
  const std::size_t wrong = spoken(forced, strange);
  ASSERT_LT(right, fitting.size());
  ASSERT_LT(wrong, strange.size());
  EXPECT_GT(fitting[right].posterior, 0.5);
  EXPECT_LE(fitting[right].fit, 0.0);
  EXPECT_GT(word_confidences(fitting)[right], word_confidences(strange)[wrong] + 0.3);
}

}  // namespace
}  // namespace kivsr::speech::test
