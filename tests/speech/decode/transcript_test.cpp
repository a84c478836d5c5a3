#include "kivsr/speech/decode/transcript.h"

#include <gtest/gtest.h>

#include <set>

namespace kivsr::speech::test {
namespace {

TEST(Transcript, WordsAreTakenInTheFormThatIsKnown) {
  const std::set<std::string> dictionary{"well", "don't", "U.S.", "BBC", "said", "mr."};
  const auto known = [&dictionary](const std::string& word) { return dictionary.contains(word); };
  EXPECT_EQ(words_of_text("\"Well,\" said Mr. O'Hara -- don't (BBC)\n\tU.S.!  ...", known),
            (std::vector<std::string>{"well", "said", "mr.", "o'hara", "don't", "BBC", "u.s"}));
  EXPECT_EQ(words_of_text("U.S. Well", known), (std::vector<std::string>{"U.S.", "well"}));
  EXPECT_TRUE(words_of_text(" \n - ", known).empty());
}

}  // namespace
}  // namespace kivsr::speech::test
