// The search against all paths of a tiny network, written out one by one.
#include "kivsr/speech/decode/viterbi_search.h"

#include <cmath>
#include <random>

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

// Scores that come with the frame itself: one feature a state.
class TableScorer : public Scorer {
 public:
  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override {
    for (const int state : states) scores[static_cast<std::size_t>(state)] = frame[static_cast<std::size_t>(state)];
  }
};

// Three phones of two states, with loops, steps and skips; the third is silence.
AcousticModel tiny_model() {
  AcousticModel model;
  model.definition.states_per_phone = 2;
  model.definition.states = model.definition.independent_states = 6;
  model.definition.transition_matrices = 1;
  for (int phone = 0; phone < 3; ++phone) {
    model.definition.phones.push_back(
        {std::string(1, static_cast<char>('A' + phone)), false, 0, {2 * phone, 2 * phone + 1}});
  }
  model.log_transitions = {std::log(0.5F), std::log(0.4F), std::log(0.1F), kLogZero, std::log(0.7F), std::log(0.3F)};
  const TemporaryFolder folder;
  model.fillers = Dictionary::read(folder.write("noisedict", "<s> C\n</s> C\n<sil> C\n"));
  return model;
}

struct Path {
  double score = -1e30;
  std::vector<int> labels;  // of the words that ended, in order
  std::vector<int> ends;    // their last frames
};

// Tries everything: in which state each frame is, through which arcs of the network.
class Exhaustive {
 public:
  Exhaustive(const SearchNetwork& network, const AcousticModel& model, const std::vector<std::vector<float>>& frames)
      : network_(network), model_(model), frames_(frames) {
    enter(0, 0, 0.0);
  }
  const Path& best() const { return best_; }

 private:
  void enter(int node, std::size_t frame, double score) {
    if (frame == frames_.size()) return;
    for (const SearchEntry& entry : network_.nodes[static_cast<std::size_t>(node)].entries) {
      stay(entry.phone, 0, frame, score + entry.weight);
    }
  }

  void stay(int phone, int state, std::size_t frame, double score) {
    const SearchPhone& place = network_.phones[static_cast<std::size_t>(phone)];
    const float* transitions = model_.transitions(place.phone);
    score += frames_[frame][static_cast<std::size_t>(2 * place.phone + state)];
    const bool last_frame = frame + 1 == frames_.size();
    for (int next = state; next < 2 && !last_frame; ++next) {
      stay(phone, next, frame + 1, score + transitions[3 * state + next]);
    }
    score += transitions[3 * state + 2];
    if (place.next >= 0) {
      if (!last_frame) stay(place.next, 0, frame + 1, score);
      return;
    }
    path_.labels.push_back(place.label);
    path_.ends.push_back(static_cast<int>(frame));
    const double total = score + network_.nodes[static_cast<std::size_t>(place.target)].final_weight;
    if (last_frame && total > best_.score) {
      best_ = path_;
      best_.score = total;
    }
    enter(place.target, frame + 1, score);
    path_.labels.pop_back();
    path_.ends.pop_back();
  }

  const SearchNetwork& network_;
  const AcousticModel& model_;
  const std::vector<std::vector<float>>& frames_;
  Path path_;
  Path best_;
};

SearchNetwork tiny_network(const AcousticModel& model, const std::string& rules, const SearchWeights& weights) {
  const TemporaryFolder folder;
  const Dictionary dictionary = Dictionary::read(folder.write("dict", "a A\nb B\nab A B\nba B A\nba(2) B B A\n"));
  return build_search_network(grammar_network(parse_grammar("#JSGF V1.0; grammar g; " + rules, "g")), dictionary, model,
                              weights);
}

void expect_start(const std::vector<HypothesisWord>& settled, const std::vector<HypothesisWord>& words) {
  ASSERT_LE(settled.size(), words.size());
  for (std::size_t i = 0; i < settled.size(); ++i) {
    EXPECT_EQ(settled[i].label, words[i].label) << i;
    EXPECT_EQ(settled[i].first_frame, words[i].first_frame) << i;
    EXPECT_EQ(settled[i].last_frame, words[i].last_frame) << i;
  }
}

TEST(ViterbiSearch, FindsTheBestOfAllPaths) {
  const AcousticModel model = tiny_model();
  TableScorer scorer;
  std::mt19937 generator(7);
  std::normal_distribution<float> normal(-5.0F, 4.0F);
  SearchWeights weights{1.5F, -1.0F, -2.0F, -3.0F};
  for (const char* rules :
       {"public <g> = (a | b | ab | ba)+;", "public <g> = a [b] /* x */ (/3/ ab | /1/ ba);", "public <g> = [a] b*;"}) {
    const SearchNetwork network = tiny_network(model, rules, weights);
    ViterbiSearch search(network, model, scorer, {1e6F, 1e6F});
    int complete = 0;
    for (int utterance = 0; utterance < 20; ++utterance) {
      std::vector<std::vector<float>> frames(static_cast<std::size_t>(1 + utterance % 7), std::vector<float>(6));
      for (auto& frame : frames) {
        for (float& value : frame) value = normal(generator);
      }
      std::vector<HypothesisWord> settled;
      for (const auto& frame : frames) {
        search.push(frame);
        if (utterance % 2 == 1) continue;
        const auto more = search.take_settled();
        settled.insert(settled.end(), more.begin(), more.end());
      }
      const Hypothesis found = search.finish();
      const Path best = Exhaustive(network, model, frames).best();
      ASSERT_EQ(found.complete, best.score > -1e20) << rules;
      if (!found.complete) continue;
      ++complete;
      EXPECT_NEAR(found.score, best.score, 1e-3) << rules;
      ASSERT_EQ(found.words.size(), best.labels.size()) << rules;
      for (std::size_t i = 0; i < best.labels.size(); ++i) {
        EXPECT_EQ(found.words[i].label, best.labels[i]);
        EXPECT_EQ(found.words[i].last_frame, best.ends[i]);
        EXPECT_EQ(found.words[i].first_frame, i == 0 ? 0 : best.ends[i - 1] + 1);
      }
      expect_start(settled, found.words);
    }
    EXPECT_GT(complete, 8) << rules;
  }
}

TEST(ViterbiSearch, BeamsLoseOnlyScore) {
  const AcousticModel model = tiny_model();
  const SearchNetwork network = tiny_network(model, "public <g> = (a | b | ab | ba)+;", {});
  TableScorer scorer;
  std::mt19937 generator(11);
  std::normal_distribution<float> normal(-5.0F, 6.0F);
  std::vector<std::vector<float>> frames(60, std::vector<float>(6));
  for (auto& frame : frames) {
    for (float& value : frame) value = normal(generator);
  }
  double previous = -1e30;
  bool pruned = false;
  for (const float beam : {0.5F, 8.0F, 1e5F}) {
    ViterbiSearch search(network, model, scorer, {beam, beam});
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
  const AcousticModel model = tiny_model();
  const SearchNetwork network = tiny_network(model, "public <g> = (a | b | ab | ba)+;", {});
  TableScorer scorer;
  std::mt19937 generator(12);
  std::normal_distribution<float> normal(-5.0F, 6.0F);
  std::vector<std::vector<float>> frames(20000, std::vector<float>(6));
  for (auto& frame : frames) {
    for (float& value : frame) value = normal(generator);
  }
  ViterbiSearch search(network, model, scorer, {60.0F, 60.0F});
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
  const AcousticModel model = tiny_model();
  const SearchNetwork network = tiny_network(model, "public <g> = a ab ab ab;", {});
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

TEST(SearchNetwork, NamesWordsThatCannotBePronounced) {
  const AcousticModel model = tiny_model();
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
