// Words of a stream with the installed model: which, when they are known, and that blocks do not matter.
#include "kivsr/speech/decode/streaming_recogniser.h"

#include <gtest/gtest.h>

#include <string>

#include "kivsr/speech/decode/grammar.h"
#include "kivsr/speech/decode/mixture_scorer.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

constexpr int kRate = 16000;

// A model and what may be said.
struct Task {
  explicit Task(const WordNetwork& words) : model(read_acoustic_model(find_model_folder("en-us"))) {
    const auto vocabulary = words.vocabulary();
    network =
        build_search_network(words, Dictionary::read(find_model_dictionary(model.folder), &vocabulary), model, {});
  }

  AcousticModel model;
  SearchNetwork network;
};

const Task& commands() {
  static const Task task(
      word_loop({"go", "forward", "backward", "ten", "two", "meters", "three", "nine", "four", "zero"}, "words"));
  return task;
}

struct Heard {
  std::string text;
  double start = 0.0;
  double end = 0.0;
  double at = 0.0;  // s of the stream when it was told

  bool operator==(const Heard&) const = default;
};

struct Results {
  std::vector<Heard> partials;
  std::vector<Heard> finals;

  bool operator==(const Results&) const = default;
};

class Listener {
 public:
  explicit Listener(const Task& task, const StreamingRules& rules = {})
      : network_(task.network),
        recogniser(task.network, task.model, make_mixture_scorer(task.model), default_beams(task.model),
                   task.model.recipe, rules) {
    recogniser.on_partial = [this](const auto& words) {
      results_.partials.push_back(heard(words, recogniser.start()));
    };
    recogniser.on_final = [this](FinalWords&& words) {
      EXPECT_EQ(words.rows.height() > 0, keeps_rows);
      results_.finals.push_back(heard(words.hypothesis.words, words.start));
    };
    keeps_rows = rules.keep_rows;
  }

  Results listen(std::span<const float> signal, std::size_t block) {
    results_ = {};
    for (std::size_t start = 0; start < signal.size(); start += block) {
      recogniser.push(signal.subspan(start, std::min(block, signal.size() - start)));
    }
    recogniser.finish();
    return results_;
  }

 private:
  Heard heard(const std::vector<HypothesisWord>& words, double start) const {
    Heard result;
    result.at = recogniser.heard();
    for (const HypothesisWord& word : words) {
      const SearchLabel& label = network_.labels[static_cast<std::size_t>(word.label)];
      if (label.filler) continue;
      if (result.text.empty()) result.start = start + 0.01 * word.first_frame;
      result.text += (result.text.empty() ? "" : " ") + label.word;
      result.end = start + 0.01 * (word.last_frame + 1);
    }
    return result;
  }

  const SearchNetwork& network_;
  Results results_;

 public:
  StreamingRecogniser recogniser;
  bool keeps_rows = false;
};

std::vector<float> command(const char* name) { return read_audio(kRecordings / name).samples; }

void append(std::vector<float>& signal, std::span<const float> more) {
  signal.insert(signal.end(), more.begin(), more.end());
}

std::vector<float> faint_noise(int samples) {
  std::vector<float> signal = noise(samples);
  for (float& sample : signal) sample = std::round(sample * 0.01F);
  return signal;
}

std::vector<float> two_commands() {
  std::vector<float> signal = faint_noise(kRate);
  append(signal, command("goforward.raw"));
  append(signal, faint_noise(kRate));
  append(signal, command("tidigits/dhd.2934z.raw"));
  append(signal, faint_noise(kRate));
  return signal;
}

TEST(StreamingRecogniser, WordsAreKnownSoonBehindTheirEnd) {
  Listener listener(commands());
  const Results results = listener.listen(two_commands(), 160);
  std::string text;
  for (const Heard& words : results.finals) {
    text += words.text + " ";
    EXPECT_LE(words.at - words.end, 0.3) << words.text;
    EXPECT_GT(words.at, words.end);
  }
  EXPECT_EQ(text, "go forward ten meters two nine three four zero ");
  ASSERT_GE(results.finals.size(), 2U);
  EXPECT_NEAR(results.finals.front().start, 1.46, 0.1);
  // the guess that first has all words of the first result
  const auto all = std::find_if(results.partials.begin(), results.partials.end(),
                                [&](const Heard& guess) { return guess.text == "go forward ten meters"; });
  ASSERT_NE(all, results.partials.end());
  EXPECT_LE(all->at - results.finals.front().end, 0.2);
  EXPECT_GT(results.partials.size(), 8U) << "the guess grows word by word";
}

TEST(StreamingRecogniser, BlocksOfAnySizeGiveTheSame) {
  const std::vector<float> signal = two_commands();
  Listener listener(commands());
  const Results expected = listener.listen(signal, 160);
  for (const std::size_t block : {97U, 4096U, 1000000U}) {
    listener.recogniser.reset();
    EXPECT_TRUE(listener.listen(signal, block) == expected) << block;
  }
  // without a reset the mean goes on from the signal before: other scores, the same words
  EXPECT_EQ(listener.listen(signal, 4096).finals.front().text, expected.finals.front().text);
}

// A sentence that cannot end waits at a pause for its rest; one that nobody ends is told as it is.
TEST(StreamingRecogniser, PausesWithinASentence) {
  const Task task(grammar_network(
      parse_grammar("#JSGF V1.0; grammar g; public <g> = go (forward | backward) (ten | two) (meters | meter);", "g"),
      ""));
  const std::vector<float> said = command("goforward.raw");
  const auto middle = said.begin() + static_cast<std::ptrdiff_t>(1.16 * kRate);  // behind "forward"
  std::vector<float> signal = faint_noise(kRate);
  signal.insert(signal.end(), said.begin(), middle);
  append(signal, faint_noise(kRate / 2));
  signal.insert(signal.end(), middle, said.end());
  append(signal, faint_noise(2 * kRate));
  signal.insert(signal.end(), said.begin(), middle);
  append(signal, faint_noise(3 * kRate));
  Listener listener(task, {.new_sentence = 0.5, .keep_rows = true});
  const auto finals = listener.listen(signal, 800).finals;
  std::string text;
  for (const Heard& heard : finals) text += heard.text + "; ";
  EXPECT_EQ(text, "go forward ten meters; go forward; ");
}

// Speech without a pause is cut.
TEST(StreamingRecogniser, NoStretchIsLongerThanTheLongest) {
  std::vector<float> words = command("tidigits/dhd.2934z.raw");
  words = {words.begin() + kRate / 2, words.begin() + 2 * kRate};
  std::vector<float> signal;
  for (int i = 0; i < 8; ++i) append(signal, words);
  Listener listener(commands(), {.pause = 5.0, .longest = 3.0});
  const auto finals = listener.listen(signal, 1600).finals;
  EXPECT_GE(finals.size(), 4U);
  for (const Heard& heard : finals) EXPECT_LE(heard.end - heard.start, 3.2);
}

}  // namespace
}  // namespace kivsr::speech::test
