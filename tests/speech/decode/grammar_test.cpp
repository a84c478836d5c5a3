// Grammars: the sentences they accept with their weights, and faults with line and column.
#include "kivsr/speech/decode/grammar.h"

#include <cmath>
#include <map>

#include "kivsr/speech/decode/word_network.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

using Sentences = std::map<std::string, double>;  // with the probability of the likeliest way to say each

// Every sentence of at most most_words words, found by walking all paths.
void collect(const WordNetwork& network, int node, const std::string& said, double probability, int words, int silent,
             Sentences& found) {
  if (node == network.final) found[said] = std::max(found[said], probability);
  for (const WordArc& arc : network.arcs) {
    if (arc.from != node) continue;
    const double next = probability * std::exp(static_cast<double>(arc.log_weight));
    if (arc.word < 0 && silent > 0) collect(network, arc.to, said, next, words, silent - 1, found);
    if (arc.word >= 0 && words > 0) {
      collect(network, arc.to, said + (said.empty() ? "" : " ") + network.words[static_cast<std::size_t>(arc.word)],
              next, words - 1, 5, found);
    }
  }
}

Sentences sentences(const std::string& rules, int most_words = 4, const std::string& rule = {}) {
  Sentences found;
  const WordNetwork network = grammar_network(parse_grammar("#JSGF V1.0;\ngrammar g;\n" + rules, "g"), rule);
  collect(network, network.start, "", 1.0, most_words, 5, found);
  return found;
}

void expect_sentences(const std::string& rules, const Sentences& expected, int most_words = 4,
                      const std::string& rule = {}) {
  const Sentences found = sentences(rules, most_words, rule);
  ASSERT_EQ(found.size(), expected.size()) << rules;
  for (const auto& [words, probability] : expected) {
    ASSERT_TRUE(found.contains(words)) << rules << ": " << words;
    EXPECT_NEAR(found.at(words), probability, 1e-6) << rules << ": " << words;
  }
}

TEST(Grammar, AcceptsWhatItSays) {
  expect_sentences("public <a> = one two three;", {{"one two three", 1.0}});
  expect_sentences("public <a> = one | two | three;", {{"one", 1.0 / 3}, {"two", 1.0 / 3}, {"three", 1.0 / 3}});
  expect_sentences("public <a> = /3/ one | /1/ two | /0/ three;", {{"one", 0.75}, {"two", 0.25}});
  expect_sentences("public <a> = go [ now ];", {{"go", 0.5}, {"go now", 0.5}});
  expect_sentences("public <a> = (a | b) c;", {{"a c", 0.5}, {"b c", 0.5}});
  expect_sentences("public <a> = a*;", {{"", 0.5}, {"a", 0.25}, {"a a", 0.125}}, 2);
  expect_sentences("public <a> = a+ b;", {{"a b", 0.5}, {"a a b", 0.25}}, 3);
  expect_sentences("public <a> = (a | b c)+;", {{"a", 0.25}, {"b c", 0.25}, {"a a", 0.0625}}, 2);
  expect_sentences("public <a> = (a*)*;", {{"", 0.5}, {"a", 0.0625}}, 1);
  expect_sentences(
      "<d> = left | right; public <a> = go <d> <d>;",
      {{"go left left", 0.25}, {"go left right", 0.25}, {"go right left", 0.25}, {"go right right", 0.25}});
  expect_sentences("public <a> = <NULL> x | <VOID> y;", {{"x", 0.5}});
  expect_sentences("public <a> = \"New York\" | caf\xC3\xA9;", {{"New York", 0.5}, {"caf\xC3\xA9", 0.5}});
  expect_sentences("public <a> = open {tag | \\} x} /* c */ it // rest\n;", {{"open it", 1.0}});
  expect_sentences("public <a> = x; public <b> = y; <c> = z;", {{"x", 0.5}, {"y", 0.5}});
  expect_sentences("public <a> = x; public <b> = y; <c> = z;", {{"z", 1.0}}, 4, "c");
  expect_sentences("public <a> = <g.b>; <b> = it's well-known;", {{"it's well-known", 1.0}});
}

TEST(Grammar, FaultsTellLineAndColumn) {
  const std::pair<const char*, const char*> cases[] = {
      {"grammar g;", "1:1: "},
      {"#JSGF\n", "1:6: "},
      {"#JSGF V1.0\ngrammar g;", "1:1: "},
      {"#JSGF V1.0;\nrule g;", "2:1: expected the line"},
      {"#JSGF V1.0;\ngrammar g", "2:10: expected ;"},
      {"#JSGF V1.0;\ngrammar g;\n", "3:1: the grammar has no rules"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> = one two", "3:21: expected ;"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> = one |;", "3:19: expected a word"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> = (one;", "3:18: expected )"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> = [one;", "3:18: expected ]"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> =\n  \xC3\xA9t\xC3\xA9 <b>;", "4:7: the rule <b> is not defined"},
      {"#JSGF V1.0;\ngrammar g;\npublic <a> = x <b>;\n<b> = y [<a>];", "4:10: the rule <a> refers to itself"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = x;\n<a> = y;", "4:1: the rule <a> is defined twice"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = /-1/ x | /2/ y;", "3:7: the weight"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = /0/ x | /0.0/ y;", "3:7: all weights"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = x /2/;", "3:9: a weight stands only"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = \"x;\n", "3:7: this quoted token"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = x; /* open", "3:10: this comment"},
      {"#JSGF V1.0;\ngrammar g;\n<a> = x {open;", "3:9: this tag"},
      {"#JSGF V1.0;\ngrammar g;\n<a = x;", "3:1: this rule name"},
      {"#JSGF V1.0;\ngrammar g;\nimport <x.y>;\n<a> = x;", "3:1: imports"},
      {"#JSGF V1.0;\ngrammar g;\n<a> x;", "3:5: expected ="},
      {"#JSGF V1.0;\ngrammar g;\n<a> = *;", "3:7: expected a word"},
  };
  for (const auto& [text, expected] : cases) {
    const std::string message = fault_of([&, t = text] { parse_grammar(t, "file.gram"); });
    EXPECT_TRUE(message.starts_with(std::string("file.gram:") + expected)) << text << "\n" << message;
  }
}

TEST(Grammar, RefusesWhatCannotBeUsed) {
  EXPECT_NE(fault_of([] { sentences("<a> = x;"); }).find("no public rule"), std::string::npos);
  EXPECT_NE(fault_of([] { sentences("public <a> = x;", 1, "b"); }).find("no rule <b>"), std::string::npos);
  std::string doubling = "public <r0> = <r1> <r1>;";
  for (int i = 1; i < 40; ++i) {
    doubling += "<r" + std::to_string(i) + "> = <r" + std::to_string(i + 1) + "> <r" + std::to_string(i + 1) + ">;";
  }
  EXPECT_NE(fault_of([&] { sentences(doubling + "<r40> = x;", 1); }).find("too large"), std::string::npos);
  const std::string nested = "public <a> = " + std::string(100000, '(') + "x";
  EXPECT_NE(fault_of([&] { sentences(nested); }).find("nested more than 200 deep"), std::string::npos);
  // Nothing can be said, so that no arc is laid; but the parts are.
  std::string silent = "public <r0> = <r1> <r1>;";
  for (int i = 1; i < 40; ++i) {
    silent += "<r" + std::to_string(i) + "> = <r" + std::to_string(i + 1) + "> | <r" + std::to_string(i + 1) + ">;";
  }
  EXPECT_NE(fault_of([&] { sentences(silent + "<r40> = <VOID>;", 1); }).find("too large"), std::string::npos);
}

// References are followed along a list, not the processor's stack, and found by name at once.
TEST(Grammar, LongAndDeepGrammars) {
  constexpr int kRules = 100'000;
  std::string chain;
  for (int i = 0; i < kRules; ++i) {
    chain += "<r" + std::to_string(i) + "> = <r" + std::to_string(i + 1) + ">;\n";
  }
  expect_sentences(chain + "public <r100000> = x;", {{"x", 1.0}}, 1, "r0");
  const std::string message = fault_of([&] { sentences(chain + "<r100000> = <r0>;", 1); });
  EXPECT_NE(message.find("the rule <r0> refers to itself"), std::string::npos) << message;

  std::string deep;
  for (int i = 0; i < 2000; ++i) {
    deep += "<d" + std::to_string(i) + "> = " + std::string(150, '[') + "<d" + std::to_string(i + 1) + ">" +
            std::string(150, ']') + ";\n";
  }
  const Grammar grammar = parse_grammar("#JSGF V1.0;\ngrammar g;\n" + deep + "public <d2000> = x;", "deep.gram");
  EXPECT_EQ(grammar_network(grammar, "d0").arcs.size(), 150U * 2000U + 1U);
  EXPECT_TRUE(fault_of([&] {
                sentences("public <a> = " + std::string(2000, '[') + "x" + std::string(2000, ']') + ";");
              }).find(": brackets are nested more than 200 deep") != std::string::npos);
}

// An alternative without a weight beside one with counts 1.
TEST(Grammar, SomeAlternativesWithWeights) {
  expect_sentences("public <a> = /3/ light | /1/ radio | \"garden hose\";",
                   {{"light", 0.6}, {"radio", 0.2}, {"garden hose", 0.2}});
  expect_sentences("public <a> = light | /3/ radio;", {{"light", 0.25}, {"radio", 0.75}});
}

TEST(WordLoop, AnyNumberOfAnyWord) {
  const WordNetwork network = word_loop({"a", "b", "a"}, "list");
  Sentences found;
  collect(network, network.start, "", 1.0, 2, 3, found);
  EXPECT_EQ(found.size(), 2U + 4U);
  EXPECT_NEAR(found.at("b a"), 0.25, 1e-6);
  EXPECT_NE(fault_of([] { word_loop({}, "list"); }), "");
}

}  // namespace
}  // namespace kivsr::speech::test
