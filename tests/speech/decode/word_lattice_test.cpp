// Lattices of a search against all sentences of a tiny language, and their sums against all paths written out.
#include "kivsr/speech/decode/word_lattice.h"

#include <cmath>
#include <map>
#include <random>
#include <set>

#include "kivsr/speech/decode/viterbi_search.h"
#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

std::vector<std::string> names_of(const std::vector<HypothesisWord>& words, const SearchNetwork& network) {
  std::vector<std::string> names;
  for (const HypothesisWord& word : words) {
    const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
    if (!label.filler) names.push_back(label.word);
  }
  return names;
}

// The first sentence is the search's own, no other is better than the best alignment of its words, and of few frames
// nearly all sentences that are possible are found.
TEST(WordLattice, SentencesAreThoseOfTheLanguage) {
  const SearchWeights weights{0.0F, -1.0F, -2.0F, -3.0F};
  const Dictionary dictionary = tiny_dictionary();
  TableScorer scorer;
  std::mt19937 generator(21);
  for (const bool with_contexts : {false, true}) {
    const AcousticModel model = tiny_model(with_contexts);
    const SearchNetwork network =
        build_search_network(tiny_grammar("public <g> = (a | b | ab | ba)+;"), dictionary, model, weights);
    ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
    search.record_lattice(1e6F);
    std::size_t exact = 0;
    std::size_t all = 0;
    for (std::size_t utterance = 0; utterance < 8; ++utterance) {
      const Frames frames = random_frames(generator, 3 + utterance % 3, 4.0F, model);
      for (const auto& frame : frames) search.push(frame);
      const Hypothesis found = search.finish();
      ASSERT_TRUE(found.complete);
      const std::vector<Sentence> sentences = best_sentences(found.lattice, network, 1000);
      ASSERT_FALSE(sentences.empty());
      EXPECT_EQ(names_of(sentences[0].words, network), names_of(found.words, network));
      EXPECT_NEAR(sentences[0].score, found.score, 1e-3);
      std::set<std::vector<std::string>> seen;
      double last = sentences[0].score;
      for (const Sentence& sentence : sentences) {
        EXPECT_LE(sentence.score, last + 1e-6);
        last = sentence.score;
        const auto names = names_of(sentence.words, network);
        EXPECT_TRUE(seen.insert(names).second) << "no sentence comes twice";
        if (names.empty()) continue;
        const Path best = Exhaustive(word_sequence(names, "one"), dictionary, model, weights, frames).best();
        EXPECT_LE(sentence.score, best.score + 1e-3);
        exact += sentence.score > best.score - 1e-3 ? 1U : 0U;
        ++all;
      }
      EXPECT_GE(seen.size(), 8U);
    }
    EXPECT_GT(exact, all * 3 / 4) << all;
  }
}

TEST(WordLattice, ABeamKeepsTheBestAndDropsArcs) {
  const AcousticModel model = tiny_model(true);
  const SearchNetwork network = tiny_network(model, "public <g> = (a | b | ab | ba)+;");
  TableScorer scorer;
  std::mt19937 generator(22);
  const Frames frames = random_frames(generator, 40, 4.0F, model);
  std::size_t arcs = 0;
  for (const float beam : {0.0F, 10.0F, 40.0F}) {
    ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
    search.record_lattice(beam);
    for (const auto& frame : frames) search.push(frame);
    const Hypothesis found = search.finish();
    EXPECT_GT(found.lattice.arcs.size(), arcs);
    arcs = found.lattice.arcs.size();
    if (beam == 0.0F) {
      EXPECT_EQ(arcs, found.words.size());
    }
    EXPECT_NEAR(best_sentences(found.lattice, network, 1)[0].score, found.score, 1e-3);
  }
}

// start -a-> 1 -b-> end, start -b-> 1, start -ba-> end: three sentences of four frames.
WordLattice small_lattice() {
  WordLattice lattice;
  lattice.frames = {0, 2, 4};
  lattice.arcs = {
      {0, 1, 0, -1.0, -0.5, 0.0}, {0, 1, 1, -2.0, -0.5, 0.0}, {1, 2, 1, -3.0, 0.0, 0.0}, {0, 2, 2, -4.0, -1.0, 0.0}};
  return lattice;
}

TEST(WordLattice, PosteriorsAreSharesOfAllPaths) {
  WordLattice lattice = small_lattice();
  find_posteriors(lattice, 0.5);
  const double first = std::exp(0.5 * -4.5);
  const double second = std::exp(0.5 * -5.5);
  const double third = std::exp(0.5 * -5.0);
  const double sum = first + second + third;
  EXPECT_NEAR(lattice.arcs[0].posterior, first / sum, 1e-12);
  EXPECT_NEAR(lattice.arcs[1].posterior, second / sum, 1e-12);
  EXPECT_NEAR(lattice.arcs[2].posterior, (first + second) / sum, 1e-12);
  EXPECT_NEAR(lattice.arcs[3].posterior, third / sum, 1e-12);
}

TEST(WordLattice, TextHasNodesAndLinks) {
  SearchNetwork network;
  for (const char* const name : {"a", "b", "garden hose"}) network.labels.push_back({name, false, 0, 0});
  EXPECT_EQ(lattice_text(small_lattice(), network, "u 1", 0.01),
            "VERSION=1.0\nUTTERANCE=u\\ 1\nbase=2.718281828\nlmscale=1\nacscale=1\nN=3 L=4\n"
            "I=0 t=0.000\nI=1 t=0.020\nI=2 t=0.040\n"
            "J=0 S=0 E=1 W=a a=-1.000 l=-0.500 p=0.00000\nJ=1 S=0 E=1 W=b a=-2.000 l=-0.500 p=0.00000\n"
            "J=2 S=1 E=2 W=b a=-3.000 l=0.000 p=0.00000\nJ=3 S=0 E=2 W=garden\\ hose a=-4.000 l=-1.000 p=0.00000\n");
  EXPECT_TRUE(best_sentences(WordLattice(), network, 3).empty());
}

}  // namespace
}  // namespace kivsr::speech::test
