// Keywords among phones: the search hears a keyword exactly where its phones, weighed by the threshold, are better.
#include "kivsr/speech/decode/phone_loop.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/decode/viterbi_search.h"
#include "speech/decode/tiny_search.h"

namespace kivsr::speech::test {
namespace {

std::vector<std::string> heard(const SearchNetwork& network, const AcousticModel& model, const Frames& frames) {
  TableScorer scorer;
  ViterbiSearch search(network, model, scorer, {1e6F, 1e6F, 1e6F, 0});
  for (const auto& frame : frames) search.push(frame);
  std::vector<std::string> words;
  for (const HypothesisWord& word : search.finish().words) {
    const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
    words.push_back(label.filler ? "-" : label.word);
  }
  return words;
}

// Two frames in each of some phones.
Frames spoken(const std::vector<std::size_t>& phones) {
  Frames frames;
  for (const std::size_t phone : phones) {
    for (std::size_t state = 2 * phone; state < 2 * phone + 2; ++state) {
      frames.emplace_back(6, -10.0F);
      frames.back()[state] = 0.0F;
    }
  }
  return frames;
}

TEST(PhoneLoop, PhonesAreWords) {
  const AcousticModel model = tiny_model(false);
  const SearchNetwork network = build_phone_loop(model, {});
  EXPECT_EQ(heard(network, model, spoken({0, 1, 1, 2})), (std::vector<std::string>{"A", "B", "B", "-"}))
      << "the third phone is silence";
}

TEST(PhoneLoop, KeywordsWeighAsTheirPhonesOverTheThreshold) {
  const AcousticModel model = tiny_model(false);
  const SearchWeights weights{2.0F, -1.0F, -2.0F, -3.0F};
  const Dictionary dictionary = tiny_dictionary();
  const auto found = [&](double threshold, const std::string& text, const std::vector<std::size_t>& phones) {
    const auto words =
        heard(build_keyword_loop({{text, threshold, false}}, dictionary, model, weights), model, spoken(phones));
    return std::find(words.begin(), words.end(), text) != words.end();
  };
  EXPECT_TRUE(found(0.9, "abab", {0, 1, 0, 1}));
  EXPECT_FALSE(found(1.1, "abab", {0, 1, 0, 1})) << "the same phones are likelier";
  EXPECT_FALSE(found(0.9, "abab", {0, 1, 1, 1}));
  // one of the four phones is another: at least one frame that is 10 less likely, at most two
  EXPECT_TRUE(found(std::exp(-20.1), "abab", {0, 1, 1, 1}));
  EXPECT_FALSE(found(std::exp(-9.9), "abab", {0, 1, 1, 1}));
  const auto each = heard(build_keyword_loop({{"abab", std::exp(-5.1), true}}, dictionary, model, weights), model,
                          spoken({0, 1, 1, 1}));
  EXPECT_EQ(each.front(), "abab") << "a quarter of the threshold for each of four phones";
  EXPECT_TRUE(found(0.9, "a ba", {0, 1, 0})) << "a keyword of two words";
  EXPECT_NE(fault_of([&] {
              build_keyword_loop({{"foo", 1.0, false}}, dictionary, model, weights);
            }).find("\"foo\""),
            std::string::npos);
  EXPECT_NE(fault_of([&] {
              build_keyword_loop({{"a", 1.0, false}, {"a", 2.0, false}}, dictionary, model, weights);
            }).find("is there twice"),
            std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
