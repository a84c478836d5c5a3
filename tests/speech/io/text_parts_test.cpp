#include "kivsr/speech/io/text_parts.h"

#include <gtest/gtest.h>

#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

using Texts = std::vector<std::string>;

Texts parts_of(std::string_view text, char separator) {
  Texts parts;
  for (std::string_view part; take_part(text, separator, part);) parts.emplace_back(part);
  return parts;
}

// An end of a line ends one, it does not begin another.
TEST(TextParts, EndWhereTheyAreSeparated) {
  EXPECT_EQ(parts_of("", ','), Texts{});
  EXPECT_EQ(parts_of("a,bc", ','), (Texts{"a", "bc"}));
  EXPECT_EQ(parts_of(",a,,b,", ','), (Texts{"", "a", "", "b"}));
  EXPECT_EQ(parts_of("one\r\n\n two", '\n'), (Texts{"one\r", "", " two"}));
}

TEST(TextParts, WordsLieBetweenBlanks) {
  EXPECT_EQ(words_of(""), Texts{});
  EXPECT_EQ(words_of(" \t\r\n\v\f"), Texts{});
  EXPECT_EQ(words_of("go"), Texts{"go"});
  EXPECT_EQ(words_of("  go\tfor\r\nward \xC3\xA4 "), (Texts{"go", "for", "ward", "\xC3\xA4"}));
  std::string_view text = "name  value of it";
  std::string_view word;
  ASSERT_TRUE(take_word(text, word));
  EXPECT_EQ(word, "name");
  EXPECT_EQ(trimmed(text), "value of it");
  EXPECT_EQ(trimmed(" \r\n"), "");
}

TEST(TextParts, TextOfAFile) {
  const TemporaryFolder folder;
  const std::string text("a\0b\n\xFF", 5);
  EXPECT_EQ(read_text_file(folder.write("text", text)), text);
  EXPECT_THROW((void)read_text_file(folder / "none"), Fault);
}

}  // namespace
}  // namespace kivsr::speech::test
