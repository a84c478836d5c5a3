// Word errors against cases worked by hand.
#include "kivsr/speech/decode/word_errors.h"

#include <sstream>

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

std::vector<std::string> split(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

TEST(WordErrors, WorkedByHand) {
  const struct {
    const char* reference;
    const char* hypothesis;
    int substitutions, deletions, insertions;
  } cases[] = {
      {"", "", 0, 0, 0},
      {"a b c", "a b c", 0, 0, 0},
      {"a b c", "", 0, 3, 0},
      {"", "a b", 0, 0, 2},
      {"a b c", "a x c", 1, 0, 0},
      {"a b c", "a c", 0, 1, 0},
      {"a c", "a b c", 0, 0, 1},
      {"a b c d", "b c d e", 0, 1, 1},
      {"a b", "b a", 2, 0, 0},
      {"ten of clubs", "ten clubs of", 2, 0, 0},
      {"five five", "five", 0, 1, 0},
      {"go forward ten meters", "forward ten two meters now", 0, 1, 2},
      {"a b c d e f g", "a x c d f g h", 1, 1, 1},
  };
  for (const auto& expected : cases) {
    const WordErrors errors = count_word_errors(split(expected.reference), split(expected.hypothesis));
    EXPECT_EQ(errors.substitutions, expected.substitutions) << expected.reference << " / " << expected.hypothesis;
    EXPECT_EQ(errors.deletions, expected.deletions) << expected.reference << " / " << expected.hypothesis;
    EXPECT_EQ(errors.insertions, expected.insertions) << expected.reference << " / " << expected.hypothesis;
    EXPECT_EQ(errors.words, static_cast<int>(split(expected.reference).size()));
  }
}

TEST(References, FindsUtterancesByTheEndOfTheirPath) {
  const TemporaryFolder folder;
  const References references = References::read(
      folder.write("t", "<s> ten of clubs </s> (001)\n\nfive(2) five (set/002)\r\n(003)\none (a.b)\n"));
  EXPECT_EQ(references.find("/data/cards/001.wav"), split("ten of clubs"));
  EXPECT_EQ(references.find("x/set/002.raw"), split("five five"));
  EXPECT_TRUE(references.find("003.wav").empty());
  EXPECT_EQ(references.find("a.b.wav"), split("one"));
  EXPECT_NE(fault_of([&] { references.find("x/002.raw"); }).find("no utterance 002"), std::string::npos);
  EXPECT_NE(fault_of([&] { References::read(folder.write("t", "a (1)\nb c\n")); }).find("t:2: "), std::string::npos);
  EXPECT_NE(fault_of([&] { References::read(folder.write("t", "a (1)\nb (1)\n")); }).find("t:2: "), std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
