// The search against all paths of a tiny network, written out one by one.
#include "kivsr/speech/decode/viterbi_search.h"

#include <cmath>
#include <map>
#include <random>

#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

void expect_start(const std::vector<HypothesisWord>& settled, const std::vector<HypothesisWord>& words) {
  ASSERT_LE(settled.size(), words.size());
  for (std::size_t i = 0; i < settled.size(); ++i) {
    EXPECT_EQ(settled[i].label, words[i].label) << i;
    EXPECT_EQ(settled[i].first_frame, words[i].first_frame) << i;
    EXPECT_EQ(settled[i].last_frame, words[i].last_frame) << i;
  }
}

// Any path through every choice, with and without phones in context: silence, words of one phone between others, two
// pronunciations, words that begin alike and words that are the beginning of others.
TEST(ViterbiSearch, FindsTheBestOfAllPaths) {
  const SearchWeights weights{1.5F, -1.0F, -2.0F, -3.0F};
  const Dictionary dictionary = tiny_dictionary();
  TableScorer scorer;
  std::mt19937 generator(7);
  for (const bool with_contexts : {false, true}) {
    const AcousticModel model = tiny_model(with_contexts);
    for (const char* rules : {"public <g> = (a | b | ab | ba | abab)+;",
                              "public <g> = a [b] /* x */ (/3/ ab | /1/ ba);", "public <g> = [a] b*;"}) {
      const WordNetwork words = tiny_grammar(rules);
      const SearchNetwork network = build_search_network(words, dictionary, model, weights);
      ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
      int complete = 0;
      for (std::size_t utterance = 0; utterance < 24; ++utterance) {
        const Frames frames = random_frames(generator, 1 + utterance % 6, 4.0F, model);
        std::vector<HypothesisWord> settled;
        for (const auto& frame : frames) {
          search.push(frame);
          if (utterance % 2 == 1) continue;
          const auto more = search.take_settled();
          settled.insert(settled.end(), more.begin(), more.end());
        }
        const Hypothesis found = search.finish();
        const Path best = Exhaustive(words, dictionary, model, weights, frames).best();
        ASSERT_EQ(found.complete, best.score > -1e20) << rules;
        if (!found.complete) continue;
        ++complete;
        EXPECT_NEAR(found.score, best.score, 1e-3) << rules << with_contexts;
        ASSERT_EQ(found.words.size(), best.words.size()) << rules << with_contexts;
        for (std::size_t i = 0; i < best.words.size(); ++i) {
          EXPECT_EQ(network.labels[static_cast<std::size_t>(found.words[i].label)].word, best.words[i]);
          EXPECT_EQ(found.words[i].last_frame, best.ends[i]);
          EXPECT_EQ(found.words[i].first_frame, i == 0 ? 0 : best.ends[i - 1] + 1);
        }
        expect_start(settled, found.words);
      }
      EXPECT_GT(complete, 12) << rules;
    }
  }
}

TEST(ViterbiSearch, WordsOfLoopsCostSoMuchOnAverage) {
  const AcousticModel model = tiny_model(false);
  const auto weights_of = [&](const char* rule, float word_cost) {
    SearchWeights weights{1.5F, -1.0F, -2.0F, -3.0F};
    weights.word_cost = word_cost;
    const SearchNetwork network = tiny_network(model, std::string("public <g> = ") + rule + ";", weights);
    std::map<std::string, double> result;  // of each word that may come first
    const LexiconForest& forest = *network.forest;
    const LexiconTree& tree = forest.trees[static_cast<std::size_t>(network.language->tree(0))];
    EXPECT_EQ(tree.tops, 2);
    for (int top = tree.first_top; top < tree.first_top + tree.tops; ++top) {
      const int arc = forest.arcs[static_cast<std::size_t>(forest.tops[static_cast<std::size_t>(top)].first_single)];
      const SearchLanguage::Step step = network.language->follow(0, arc);
      result[network.labels[static_cast<std::size_t>(step.label)].word] = static_cast<double>(step.weight);
    }
    return result;
  };
  const double dear = 1.5 * std::log(0.25);
  const double cheap = 1.5 * std::log(0.75);
  for (const float cost : {0.5F, 0.9F, 20.0F}) {
    const double missing = std::max(static_cast<double>(cost) + 0.25 * dear + 0.75 * cheap, 0.0);
    for (const char* loop : {"(/1/ a | /3/ b)+", "(/1/ a | /3/ b)+ ab"}) {
      const auto weights = weights_of(loop, cost);
      EXPECT_NEAR(weights.at("a"), dear - missing, 1e-5) << loop << cost;
      EXPECT_NEAR(weights.at("b"), cheap - missing, 1e-5) << loop << cost;
    }
    for (const char* once : {"/1/ a | /3/ b", "(/1/ a | /3/ b) ab+"}) {
      EXPECT_NEAR(weights_of(once, cost).at("a"), dear - 1.0, 1e-5) << once << cost;
    }
  }
  EXPECT_NEAR(weights_of("(/1/ a | /3/ b)+", 0.0F).at("a"), dear - 1.0, 1e-5);
}

TEST(ViterbiSearch, BeamsLoseOnlyScore) {
  const AcousticModel model = tiny_model(true);
  const SearchNetwork network = tiny_network(model, "public <g> = (a | b | ab | ba)+;");
  TableScorer scorer;
  std::mt19937 generator(11);
  const Frames frames = random_frames(generator, 60, 6.0F, model);
  double previous = -1e30;
  bool pruned = false;
  for (const float beam : {0.5F, 8.0F, 1e5F}) {
    ViterbiSearch search(network, model, scorer, {beam, beam, beam, 0});
    for (const auto& frame : frames) search.push(frame);
    const Hypothesis found = search.finish();
    const double score = found.complete ? found.score : -1e30;
    EXPECT_GE(score, previous - 1e-3) << beam;
    pruned = pruned || score < previous - 1.0 || (previous < -1e20 && score > -1e20) || score > previous + 1.0;
    previous = score;
  }
  EXPECT_TRUE(pruned) << "a narrow beam must prune";
  EXPECT_GT(previous, -1e20);
}

// The same words with the same times whether what is settled is asked for after every frame, now and then, or never; of
// a long utterance nearly all words are settled long before its end.
TEST(ViterbiSearch, SettledWordsAreThoseOfTheEnd) {
  const AcousticModel model = tiny_model(true);
  const SearchNetwork network = tiny_network(model, "public <g> = (a | b | ab | ba)+;");
  TableScorer scorer;
  std::mt19937 generator(12);
  const Frames frames = random_frames(generator, 20000, 6.0F, model);
  ViterbiSearch search(network, model, scorer, {60.0F, 60.0F, 60.0F, 0});
  for (const auto& frame : frames) search.push(frame);
  const Hypothesis expected = search.finish();
  ASSERT_GT(expected.words.size(), 1500U);
  for (const std::size_t interval : {1U, 777U}) {
    std::vector<HypothesisWord> settled;
    for (std::size_t t = 0; t < frames.size(); ++t) {
      search.push(frames[t]);
      if (t % interval != 0) continue;
      const auto more = search.take_settled();
      settled.insert(settled.end(), more.begin(), more.end());
    }
    EXPECT_GT(settled.size(), expected.words.size() * 9 / 10);
    const Hypothesis found = search.finish();
    EXPECT_EQ(found.score, expected.score);
    EXPECT_EQ(found.words.size(), expected.words.size());
    expect_start(expected.words, found.words);
    expect_start(settled, found.words);
  }
}

TEST(ViterbiSearch, ASentenceThatCannotEndIsMarked) {
  const AcousticModel model = tiny_model(false);
  const SearchNetwork network = tiny_network(model, "public <g> = a ab ab ab;");
  TableScorer scorer;
  ViterbiSearch search(network, model, scorer, {});
  const std::vector<float> frame(6, -1.0F);
  for (int i = 0; i < 3; ++i) search.push(frame);
  EXPECT_FALSE(search.finish().complete);
  for (int i = 0; i < 7; ++i) search.push(frame);
  const Hypothesis found = search.finish();
  EXPECT_TRUE(found.complete) << "seven phones fit into seven frames, and the search starts afresh";
  EXPECT_EQ(found.words.size(), 4U);
}

// The beam between words is for those that go on: the end of a sentence may lie far behind a word in its middle.
TEST(ViterbiSearch, ASentenceEndsOutsideTheWordBeam) {
  const AcousticModel model = tiny_model(false);
  const WordNetwork words = tiny_grammar("public <g> = ab ab ab | ba;");
  const SearchNetwork network = build_search_network(words, tiny_dictionary(), model, {});
  TableScorer scorer;
  ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 5.0F, 0});
  for (int frame = 0; frame < 5; ++frame) {  // as "ab" sounds; three of them do not fit
    std::vector<float> scores(6, -20.0F);
    scores[frame < 2 ? 0 : 2] = scores[frame < 2 ? 1 : 3] = 0.0F;
    search.push(scores);
  }
  const Hypothesis found = search.finish();
  EXPECT_TRUE(found.complete);
  ASSERT_EQ(found.words.size(), 1U);
  EXPECT_EQ(network.labels[static_cast<std::size_t>(found.words[0].label)].word, "ba");
}

// Before the end: the best path of the frames so far, with the silence behind its words; and after a pause.
TEST(ViterbiSearch, TellsTheBestPathOfAnUtteranceThatGoesOn) {
  const AcousticModel model = tiny_model(false);
  const SearchNetwork network = tiny_network(model, "public <g> = a b;");
  TableScorer scorer;
  ViterbiSearch search(network, model, scorer, {});
  // ten frames of each phone in turn: silence, A, silence, B, silence
  const auto say = [&](std::size_t phone, int frames) {
    std::vector<float> frame(6, -20.0F);
    frame[2 * phone] = frame[2 * phone + 1] = 0.0F;
    for (int i = 0; i < frames; ++i) search.push(frame);
  };
  const auto names = [&](const std::vector<HypothesisWord>& words) {
    std::string text;
    for (const HypothesisWord& word : words) text += network.labels[static_cast<std::size_t>(word.label)].word + " ";
    return text;
  };
  EXPECT_TRUE(search.best_path().words.empty());
  say(2, 10);
  EXPECT_EQ(search.best_path().silent_frames, 10);
  EXPECT_FALSE(search.best_path().may_end);
  say(0, 10);
  EXPECT_EQ(names(search.best_path().words), "<sil> a ") << "in its last phone the word is told";
  EXPECT_EQ(search.best_path().silent_frames, 0);
  say(2, 10);
  EXPECT_EQ(names(search.best_path().words), "<sil> a ");
  EXPECT_EQ(search.best_path().words.back().last_frame, 19);
  EXPECT_EQ(search.best_path().silent_frames, 10);
  EXPECT_FALSE(search.best_path().may_end);
  say(1, 10);
  say(2, 10);
  EXPECT_TRUE(search.best_path().may_end);
  EXPECT_EQ(names(search.pause().words), "<sil> a <sil> b <sil> ");
  say(0, 10);
  EXPECT_EQ(names(search.best_path().words), "a ") << "a sentence of a grammar begins again";
  search.restart();
  EXPECT_TRUE(search.best_path().words.empty());
}

TEST(SearchNetwork, NamesWordsThatCannotBePronounced) {
  const AcousticModel model = tiny_model(false);
  const TemporaryFolder folder;
  const Dictionary dictionary = Dictionary::read(folder.write("dict", "a A\nz ZH\nmixed ZH\nmixed(2) B\n"));
  WordNetwork words =
      grammar_network(parse_grammar("#JSGF V1.0; grammar g;\npublic <g> = a |\n  z | mixed;", "f.gram"));
  EXPECT_TRUE(fault_of([&] {
                build_search_network(words, dictionary, model, {});
              }).starts_with("f.gram:3:3: the word \"z\" has the phone ZH"));
  EXPECT_EQ(remove_unpronounceable(words, dictionary, model), std::vector<std::string>{"z"});
  EXPECT_EQ(fault_of([&] { build_search_network(words, dictionary, model, {}); }), "");
  WordNetwork unknown = word_loop({"a", "foo"}, "list");
  EXPECT_NE(
      fault_of([&] { build_search_network(unknown, dictionary, model, {}); }).find("\"foo\" is not in the dictionary"),
      std::string::npos);
  WordNetwork nothing = grammar_network(parse_grammar("#JSGF V1.0; grammar g; public <g> = a <VOID>;", "g"));
  EXPECT_NE(fault_of([&] { build_search_network(nothing, dictionary, model, {}); }).find("no sentence is possible"),
            std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
