// Grammars whose slots n-grams fill, beside the n-grams alone and the sentences that the search found.
#include <random>

#include <gtest/gtest.h>

#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/packed_ngram_file.h"
#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

constexpr SearchWeights kWeights{.language_weight = 1.5F, .insertion_penalty = -1.0F, .silence_penalty = -2.0F};

constexpr const char* kPairs =
    "\\data\\\nngram 1=6\nngram 2=4\n\n\\1-grams:\n-0.8 </s>\n-99 <s> -0.2\n-0.5 a -0.3\n-0.7 b -0.1\n-0.9 ab\n-1.1 "
    "ba\n\n"
    "\\2-grams:\n-0.3 <s> b\n-0.4 a b\n-0.2 b a\n-0.6 b </s>\n\n\\end\\\n";
constexpr const char* kSingles = "\\data\\\nngram 1=4\n\n\\1-grams:\n-0.8 </s>\n-99 <s>\n-0.5 a\n-0.7 b\n\n\\end\\\n";

class GrammarSlots : public testing::TestWithParam<bool> {
 protected:
  GrammarSlots() : model_(tiny_model(GetParam())) { folder_.write("dict", "a A\nb B\nab A B\nba B A\n"); }

  NgramMixture ngrams(const char* text) { return read_ngram_model(folder_.write("model.arpa", text).string()); }

  SearchNetwork mixed(const std::string& rules, const char* text) {
    std::vector<std::string> unknown;
    return build_mixed_network(tiny_grammar(rules), tiny_dictionary(), ngrams(text), {}, folder_ / "dict", model_,
                               kWeights, unknown);
  }

  Hypothesis found(const SearchNetwork& network, const Frames& frames) {
    ViterbiSearch search(network, model_, scorer_, {1e6F, 1e6F, 1e6F, 0});
    for (const auto& frame : frames) search.push(frame);
    return search.finish();
  }

  static std::vector<std::string> spoken(const Hypothesis& hypothesis, const SearchNetwork& network) {
    std::vector<std::string> words;
    for (const HypothesisWord& word : hypothesis.words) {
      const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
      if (!label.filler) words.push_back(label.word);
    }
    return words;
  }

  TemporaryFolder folder_;
  AcousticModel model_;
  TableScorer scorer_;
};

TEST_P(GrammarSlots, ASlotAloneIsTheModel) {
  for (const char* const text : {kPairs, kSingles}) {
    std::vector<std::string> unknown;
    const SearchNetwork plain = build_ngram_network(ngrams(text), {}, folder_ / "dict", model_, kWeights, unknown);
    const SearchNetwork slot = mixed("public <g> = <NGRAMS>;", text);
    std::mt19937 generator(3);
    int compared = 0;
    for (std::size_t i = 0; i < 10; ++i) {
      const Frames frames = random_frames(generator, 6 + i, 4.0F, model_);
      const Hypothesis expected = found(plain, frames);
      const Hypothesis heard = found(slot, frames);
      if (spoken(expected, plain).empty()) continue;  // a slot has a word at least
      EXPECT_EQ(spoken(heard, slot), spoken(expected, plain));
      EXPECT_NEAR(heard.score, expected.score, 1e-3);
      ++compared;
    }
    EXPECT_GE(compared, 5);
  }
}

// The words around a slot are there, one at least is in it, and the score is that of the words, aligned, with the
// weights of the model: no sentence of three words is better.
TEST_P(GrammarSlots, WordsAroundASlot) {
  const SearchNetwork network = mixed("public <g> = a <NGRAMS> b;", kPairs);
  NgramMixture model = ngrams(kPairs);
  const auto score_of = [&](const std::vector<std::string>& words, const Frames& frames) {
    double weight = 0.0;
    int state = model.follow(0, model.find_word("<s>")).next;
    for (std::size_t i = 1; i <= words.size() - 1; ++i) {
      const auto step = model.follow(state, model.find_word(i + 1 < words.size() ? words[i] : "</s>"));
      weight += static_cast<double>(kWeights.language_weight * step.log_probability);
      state = step.next;
    }
    return Exhaustive(word_sequence(words, "said"), tiny_dictionary(), model_, kWeights, frames).best().score + weight;
  };
  std::mt19937 generator(4);
  for (std::size_t i = 0; i < 10; ++i) {
    const Frames frames = random_frames(generator, 7 + i % 3, 4.0F, model_);
    const Hypothesis heard = found(network, frames);
    ASSERT_TRUE(heard.complete);
    const std::vector<std::string> words = spoken(heard, network);
    ASSERT_GE(words.size(), 3U);
    EXPECT_EQ(words.front(), "a");
    EXPECT_EQ(words.back(), "b");
    EXPECT_NEAR(heard.score, score_of(words, frames), 1e-3);
    for (const char* const inside : {"a", "b", "ab", "ba"}) {
      EXPECT_GE(heard.score, score_of({"a", inside, "b"}, frames) - 1e-3) << inside;
    }
  }
}

TEST_P(GrammarSlots, SlotsThatFollowEachOtherAndFaults) {
  const SearchNetwork network = mixed("public <g> = ([a] <NGRAMS>)+;", kPairs);
  std::mt19937 generator(5);
  const Hypothesis heard = found(network, random_frames(generator, 12, 4.0F, model_));
  EXPECT_TRUE(heard.complete);
  EXPECT_FALSE(spoken(heard, network).empty());
  EXPECT_THROW(tiny_network(model_, "public <g> = a <NGRAMS>;"), Fault) << "nothing to fill it";
  EXPECT_THROW(tiny_grammar("public <NGRAMS> = a;"), Fault);
}

INSTANTIATE_TEST_SUITE_P(Contexts, GrammarSlots, testing::Bool());

}  // namespace
}  // namespace kivsr::speech::test
