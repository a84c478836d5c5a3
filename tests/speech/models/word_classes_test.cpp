// Files of word classes in both forms, and what contradicts itself in them.
#include "kivsr/speech/models/word_classes.h"

#include <gtest/gtest.h>

#include <string>

#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

std::string listed(const WordClasses& classes) {
  std::string text;
  for (const auto& [name, members] : classes.classes()) {
    text += name + ":";
    for (const auto& member : members) text += " " + member.word + "=" + std::to_string(member.probability);
    text += "\n";
  }
  return text;
}

TEST(WordClasses, BothForms) {
  const TemporaryFolder folder;
  const std::string expected = "[day]: friday=0.500000 monday=0.500000\n[digit]: one=0.250000 two=0.750000\n";
  const auto lines =
      folder.write("lines", "# days and digits\n[digit] 0.25 one\r\n\n[day] friday\n[digit] 0.75 two\n[day] monday\n");
  const auto blocks = folder.write("blocks",
                                   "LMCLASS [digit]\none 0.25\ntwo\t0.75\nEND [digit]\n"
                                   "LMCLASS [day]\n  friday\nmonday\nEND [day]");
  EXPECT_EQ(listed(WordClasses::read(lines)), expected);
  EXPECT_EQ(listed(WordClasses::read(blocks)), expected);
  // A word that looks like a number is one where nothing stands behind it.
  EXPECT_EQ(listed(WordClasses::read(folder.write("number", "[n] 0.5\n"))), "[n]: 0.5=1.000000\n");
}

TEST(WordClasses, FaultsNameTheLine) {
  const TemporaryFolder folder;
  const std::pair<const char*, const char*> cases[] = {
      {"", "has no class of words"},
      {"# nothing\n", "has no class of words"},
      {"[a]\n", ":1: expected a class"},
      {"[a] one\n[a] 0 two\n", ":2: 0 is no probability"},
      {"[a] 1.5 one\n", ":1: 1.5 is no probability"},
      {"[a] new york\n", ":1: a class has single words"},
      {"[a] 0.5 new york\n", ":1: a class has single words"},
      {"[a] 0.5 one\n[a] two\n", ":2: either all words of [a]"},
      {"[a] 0.7 one\n[a] 0.7 two\n", "[a] add up to 1.4"},
      {"LMCLASS [a]\none\n", "[a] has no END"},
      {"LMCLASS [a]\nEND [b]\n", ":2: unexpected END"},
      {"LMCLASS [a]\nLMCLASS [b]\n", ":2: unexpected LMCLASS"},
      {"END [a]\n", ":1: unexpected END"},
      {"LMCLASS [a]\none nan\nEND [a]\n", ":2: nan is no probability"},
      {"LMCLASS [a]\none 0.5 two\nEND [a]\n", ":2: expected a word and its probability"},
  };
  for (const auto& [text, message] : cases) {
    const auto file = folder.write("classes", text);
    try {
      (void)WordClasses::read(file);
      ADD_FAILURE() << text;
    } catch (const Fault& fault) {
      EXPECT_NE(std::string(fault.what()).find(message), std::string::npos) << fault.what();
      EXPECT_EQ(std::string(fault.what()).find(file.string()), 0U) << fault.what();
    }
  }
}

}  // namespace
}  // namespace kivsr::speech::test
