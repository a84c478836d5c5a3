// n-gram models of both forms: probabilities of sentences against the recursion written out over a table of text, the
// packed model of the package against itself as text, and files that contradict themselves.
#include "kivsr/speech/models/ngram_model.h"

#include <cmath>
#include <map>
#include <random>
#include <sstream>

#include "kivsr/speech/models/arpa_file.h"
#include "kivsr/speech/models/ngram_mixture.h"
#include "kivsr/speech/models/packed_ngram_file.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

const std::vector<std::string> kWords{"<s>", "</s>", "a", "b", "c"};

using Words = std::vector<std::string>;

std::string joined(const Words& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

// A model of n-grams drawn at random, each of whose contexts it holds, as a table and as text.
struct RandomModel {
  std::map<std::string, std::pair<double, double>> entries;  // log10 probability and back-off weight
  std::string text;
  std::size_t order;

  RandomModel(std::size_t order, unsigned seed, const Words& words = kWords) : order(order) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> uniform(-3.0, -0.1);
    std::vector<std::vector<Words>> levels(1, {{}});
    std::string sections;
    text = "a comment\n\n\\data\\\n";
    for (std::size_t length = 1; length <= order; ++length) {
      std::vector<Words>& level = levels.emplace_back();
      sections += "\n\\" + std::to_string(length) + "-grams:\n";
      for (const Words& context : levels[length - 1]) {
        for (const std::string& word : words) {
          if (length > 1 && generator() % 3 != 0) continue;
          Words ngram = context;
          ngram.push_back(word);
          const auto& [probability, backoff] = entries[joined(ngram)] = {uniform(generator), uniform(generator) / 4};
          std::ostringstream line;
          line.precision(9);
          line << probability << "\t" << joined(ngram);
          if (length < order) line << "\t" << backoff;
          sections += line.str() + "\n";
          level.push_back(ngram);
        }
      }
      text += "ngram " + std::to_string(length) + "=" + std::to_string(level.size()) + "\n";
    }
    text += sections + "\n\\end\\\n";
  }

  double probability(Words context, const std::string& word) const {
    Words ngram = context;
    ngram.push_back(word);
    if (const auto found = entries.find(joined(ngram)); found != entries.end()) return found->second.first;
    const auto shorter = entries.find(joined(context));
    const double backoff = shorter == entries.end() ? 0.0 : shorter->second.second;
    context.erase(context.begin());
    return backoff + probability(context, word);
  }

  // The probability itself after any words, 0 for a word that the model lacks.
  double share_of(Words history, const std::string& word) const {
    if (!entries.contains(word)) return 0.0;
    while (history.size() >= order) history.erase(history.begin());
    return std::pow(10.0, probability(history, word));
  }
};

TEST(NgramModel, SentencesOfEveryOrder) {
  const TemporaryFolder folder;
  std::mt19937 generator(1);
  for (std::size_t order = 1; order <= 5; ++order) {
    const RandomModel random(order, static_cast<unsigned>(order));
    const NgramModel model = read_ngram_model(folder.write("lm.arpa", random.text).string());
    ASSERT_EQ(model.order(), static_cast<int>(order));
    EXPECT_EQ(model.find_word("nothing"), -1);
    for (int sentence = 0; sentence < 50; ++sentence) {
      int state = 0;
      Words history;
      for (int i = 0; i < 8; ++i) {
        const std::string& word = kWords[generator() % kWords.size()];
        const NgramModel::Step step = model.follow(state, model.find_word(word));
        while (history.size() >= order) history.erase(history.begin());
        EXPECT_NEAR(step.log_probability, std::log(10.0) * random.probability(history, word), 2e-5)
            << word << " after " << joined(history);
        ASSERT_LT(step.next, model.states());
        state = step.next;
        history.push_back(word);
      }
    }
  }
}

// The sum of both probabilities by definition after any words, of models of every two orders; words that one lacks.
TEST(NgramModel, MixturesAreSumsWhateverTheWordsBefore) {
  const TemporaryFolder folder;
  std::mt19937 generator(3);
  const Words all{"<s>", "</s>", "a", "b", "c", "d", "e"};
  for (std::size_t orders = 0; orders < 25; ++orders) {
    const RandomModel first(1 + orders / 5, static_cast<unsigned>(orders));
    const RandomModel second(1 + orders % 5, static_cast<unsigned>(100 + orders), {"e", "b", "</s>", "<s>", "d", "a"});
    const NgramMixture mixture(read_arpa_file(folder.write("first", first.text)),
                               read_arpa_file(folder.write("second", second.text)), 0.3);
    ASSERT_EQ(mixture.words(), 7);
    EXPECT_EQ(mixture.find_word("nothing"), -1);
    for (int sentence = 0; sentence < 20; ++sentence) {
      int state = 0;
      Words history;
      for (int i = 0; i < 10; ++i) {
        const std::string& word = all[generator() % all.size()];
        const int index = mixture.find_word(word);
        ASSERT_EQ(mixture.word(index), word);
        const NgramModel::Step step = mixture.follow(state, index);
        const double sum = 0.3 * first.share_of(history, word) + 0.7 * second.share_of(history, word);
        EXPECT_NEAR(step.log_probability, std::log(sum), 3e-4)
            << orders << ": " << word << " after " << joined(history);
        ASSERT_LT(step.next, mixture.states());
        state = step.next;
        history.push_back(word);
      }
    }
  }
}

TEST(NgramModel, ManyValuesAreSteppedFinely) {
  std::mt19937 generator(2);
  std::vector<float> values;
  for (int i = 0; i < 200000; ++i) values.push_back(-20.0F * static_cast<float>(generator() % 1000003) / 1000003.0F);
  const ValueTable table(values);
  EXPECT_EQ(table.values().size(), 65536U);
  for (const float value : values) ASSERT_NEAR(table.values()[table.number(value)], value, 1.6e-4);
}

TEST(NgramModel, TextsThatContradictThemselves) {
  const std::string text =
      "\\data\\\nngram 1=3\nngram 2=2\n\n\\1-grams:\n-1 <s> -0.5\n-1 a -0.5\n-1 b\n\n\\2-grams:\n-0.5 <s> a\n-0.5 a b\n"
      "\n\\end\\\n";
  const TemporaryFolder folder;
  const auto fault = [&](const std::string& from, const std::string& to) {
    std::string changed = text;
    changed.replace(changed.find(from), from.size(), to);
    return fault_of([&] { read_arpa_file(folder.write("lm", changed)); });
  };
  EXPECT_EQ(fault("-1 b", "-1 b"), "");
  EXPECT_NE(fault("ngram 1=3", "ngram 1=4").find("lm:10: the section before holds 3 n-grams, but counts 4"),
            std::string::npos);
  EXPECT_NE(fault("ngram 2=2", "ngram 2=1").find("lm:12: holds more n-grams than its count 1"), std::string::npos);
  EXPECT_NE(fault("ngram 2=2", "ngram 2=99999999").find("lm:3: the file is too short"), std::string::npos);
  EXPECT_NE(fault("ngram 2", "ngram 3").find("lm:3: expected \"ngram 2=COUNT\""), std::string::npos);
  EXPECT_NE(fault("-0.5 a b", "-0.5 a c").find("lm:12: the word \"c\" is no unigram"), std::string::npos);
  EXPECT_NE(fault("-0.5 a b", "-0.5 <s> a").find("twice"), std::string::npos);
  EXPECT_NE(fault("-1 b", "-1 a").find("holds the word \"a\" twice"), std::string::npos);
  EXPECT_NE(fault("-0.5 a b", "nan a b").find("not a log probability"), std::string::npos);
  EXPECT_NE(fault("-0.5 a b", "-0.5 a").find("fewer words"), std::string::npos);
  EXPECT_NE(fault("\\end\\", "").find("truncated"), std::string::npos);
  EXPECT_NE(fault_of([&] { read_ngram_model("no-such-model"); }).find("no-such-model: no such file"),
            std::string::npos);
}

// Two words, one pair of them: 2 + 16 + 2 + ... bits an entry, as read_packed_ngrams describes.
std::string packed(std::uint32_t first_pair = 0, std::uint32_t pairs = 1, std::uint8_t order = 2) {
  const auto value = [](float ln) { return word_bytes(float_word(ln / static_cast<float>(std::log(1.0001))), false); };
  std::string bytes = "Trie Language Model" + std::string(1, static_cast<char>(order)) + word_bytes(2, false) +
                      word_bytes(pairs, false) + word_bytes(1, false);
  for (int i = 0; i < 65536; ++i) bytes += value(static_cast<float>(-i) / 1000.0F);
  bytes += value(-1.0F) + value(-0.25F) + word_bytes(first_pair, false);
  bytes += value(-2.0F) + value(-0.5F) + word_bytes(first_pair, false);
  bytes += value(0.0F) + value(0.0F) + word_bytes(1, false);
  // the pair "a b" hangs on its last word: word 0 in 2 bits, then the number 700
  const std::uint32_t entry = 0U | 700U << 2U;
  std::string entries = word_bytes(entry, false);
  entries.resize((static_cast<std::size_t>(pairs) + 1) * 18 / 8 + 1 + 8);
  if (((static_cast<std::size_t>(pairs) + 1) * 18 + 7) / 8 + 8 != entries.size()) entries.pop_back();
  return bytes + entries + word_bytes(4, false) + std::string("a\0b\0", 4);
}

TEST(NgramModel, PackedFilesEntryByEntry) {
  const TemporaryFolder folder;
  const NgramModel model = read_ngram_model(folder.write("lm.bin", packed()).string());
  ASSERT_EQ(model.order(), 2);
  const NgramModel::Step a = model.follow(0, model.find_word("a"));
  EXPECT_NEAR(a.log_probability, -1.0F, 1e-5);
  EXPECT_NEAR(model.follow(a.next, model.find_word("b")).log_probability, -0.7F, 1e-5);
  EXPECT_NEAR(model.follow(a.next, model.find_word("a")).log_probability, -1.25F, 1e-5);
  const auto read = [](const std::filesystem::path& file) { read_packed_ngrams(file); };
  expect_fault_at_every_length(packed(), read, 1777);
  EXPECT_NE(fault_of([&] { read(folder.write("lm", packed(2))); }).find("out of their order"), std::string::npos);
  EXPECT_NE(fault_of([&] { read(folder.write("lm", packed(0, 1, 9))); }).find("n-grams of 9 words"), std::string::npos);
  EXPECT_NE(fault_of([&] { read(folder.write("lm", packed() + "x")); }).find("left over"), std::string::npos);
}

// Numbers of some bits each, the lowest first, and the eight bytes that end a section.
class BitWriter {
 public:
  void put(std::uint32_t value, int bits) {
    for (int i = 0; i < bits; ++i) bits_.push_back((value >> i & 1U) != 0);
  }
  std::string bytes() const {
    std::string bytes((bits_.size() + 7) / 8 + 8, '\0');
    for (std::size_t i = 0; i < bits_.size(); ++i) {
      if (bits_[i]) bytes[i / 8] = static_cast<char>(bytes[i / 8] | 1 << i % 8);
    }
    return bytes;
  }

 private:
  std::vector<bool> bits_;
};

// Two words, "b a" and "a b", which hang on their last words, and "first a b", which hangs on the latter.
struct PackedTriple {
  std::uint32_t first = 1;                   // 0: a, 1: b
  std::vector<std::uint32_t> next{0, 0, 1};  // of the pairs and the entry behind them: the first triple
  std::string bytes() const {
    const auto value = [](float ln) {
      return word_bytes(float_word(ln / static_cast<float>(std::log(1.0001))), false);
    };
    std::string bytes = "Trie Language Model\3" + word_bytes(2, false) + word_bytes(2, false) + word_bytes(1, false) +
                        word_bytes(1, false);
    for (const float unit : {1000.0F, -1000.0F, 500.0F}) {  // pairs, their back-off, triples
      for (int i = 0; i < 65536; ++i) bytes += value(static_cast<float>(-i) / unit);
    }
    bytes += value(-1.0F) + value(-0.25F) + word_bytes(0, false);
    bytes += value(-2.0F) + value(-0.5F) + word_bytes(1, false);
    bytes += value(0.0F) + value(0.0F) + word_bytes(2, false);
    BitWriter pairs, triples;
    const std::uint32_t words[] = {1, 0, 0};
    for (std::size_t i = 0; i < 3; ++i) {
      pairs.put(words[i], 2);
      pairs.put(125, 16);  // back-off
      pairs.put(700, 16);
      pairs.put(next[i], 1);
    }
    triples.put(first, 2);
    triples.put(300, 16);
    triples.put(0, 18);
    return bytes + pairs.bytes() + triples.bytes() + word_bytes(4, false) + std::string("a\0b\0", 4);
  }
};

TEST(NgramModel, PackedTriplesEntryByEntry) {
  const TemporaryFolder folder;
  const NgramModel model = read_ngram_model(folder.write("lm.bin", PackedTriple{}.bytes()).string());
  ASSERT_EQ(model.order(), 3);
  const int a = model.find_word("a");
  const int b = model.find_word("b");
  const NgramModel::Step after_b = model.follow(model.follow(0, b).next, a);
  EXPECT_NEAR(after_b.log_probability, -0.7F, 1e-5);
  EXPECT_NEAR(model.follow(after_b.next, b).log_probability, -0.6F, 1e-5);
  EXPECT_NEAR(model.follow(after_b.next, a).log_probability, 0.125F - 0.25F - 1.0F, 1e-5);
  const auto fault = [&](const PackedTriple& triple) {
    return fault_of([&] { read_packed_ngrams(folder.write("lm", triple.bytes())); });
  };
  EXPECT_NE(fault({.first = 2}).find("has no word 2"), std::string::npos);
  EXPECT_NE(fault({.first = 0}).find("\"a a\""), std::string::npos) << fault({.first = 0});
  EXPECT_NE(fault({.next = {0, 1, 0}}).find("out of their order"), std::string::npos);
}

// Probabilities of the installed model by another reader, sphinx_lm_eval of the package sphinxbase-utils.
TEST(NgramModel, TheInstalledModel) {
  const NgramModel model = read_ngram_model("en-us");
  EXPECT_EQ(model.order(), 3);
  EXPECT_EQ(model.words(), 72547);
  const std::pair<const char*, int> sentence[] = {{"and", -32952},       {"mister", -138451}, {"john", -99284},
                                                  {"dashwood", -173609}, {"had", -60489},     {"then", -82764},
                                                  {"leisure", -138274},  {"to", -47254},      {"consider", -72569},
                                                  {"how", -39790},       {"much", -14001},    {"</s>", -36092}};
  int place = model.follow(0, model.find_word("<s>")).next;
  for (const auto& [word, logarithm] : sentence) {
    const NgramModel::Step step = model.follow(place, model.find_word(word));
    EXPECT_NEAR(step.log_probability / std::log(1.0001), logarithm, 3.0) << word;
    place = step.next;
  }
  double total = 0.0;
  for (int state = 0; state < model.states(); state += 400000) {
    double sum = 0.0;
    for (int word = 0; word < model.words(); ++word) sum += std::exp(model.follow(state, word).log_probability);
    EXPECT_GT(sum, 0.9) << state;
    EXPECT_LT(sum, 1.1) << state;
    total += sum;
  }
  EXPECT_GT(total, 3.0);
}

}  // namespace
}  // namespace kivsr::speech::test
