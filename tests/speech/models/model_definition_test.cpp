// Model definitions, text and binary, those of the packages included.
#include "kivsr/speech/models/model_definition.h"

#include <set>

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

const std::string kText =
    "# a comment\n0.3\n2 n_base\n0 n_tri\n6 n_state_map\n4 n_tied_state\n4 n_tied_ci_state\n2 n_tied_tmat\n"
    "# columns\nAA - - - n/a 0 0 1 N\nSIL - - - filler 1 2 3 N\n";

std::string half_word(int value, bool big_endian) {
  const std::string bytes{static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
  return big_endian ? std::string(bytes.rbegin(), bytes.rend()) : bytes;
}

// The same two phones, one context-dependent phone after them, and a tree of one node.
std::string binary(bool big_endian) {
  const auto words = [&](const std::vector<std::uint32_t>& values) {
    std::string bytes;
    for (const std::uint32_t value : values) bytes += word_bytes(value, big_endian);
    return bytes;
  };
  std::string bytes =
      (big_endian ? "FDMB" : "BMDF") + words({1, 5}) + "text" + '\0' + words({2, 3, 2, 4, 6, 2, 3, 3, 1, 1});
  bytes += std::string("AA\0SIL\0\0", 8) + std::string(8, 'x');
  bytes += words({1, 0}) + std::string(4, '\0') + words({0, 1}) + std::string("\1\0\0\0", 4) + words({2, 0}) +
           std::string(4, '\0');
  bytes += words({6});
  for (const int state : {2, 3, 0, 1, 4, 5}) bytes += half_word(state, big_endian);
  return bytes;
}

void expect_two_phones(const ModelDefinition& definition) {
  ASSERT_EQ(definition.phones.size(), 2U);
  EXPECT_EQ(definition.states_per_phone, 2);
  EXPECT_EQ(definition.phones[0].states, (std::vector<int>{0, 1}));
  EXPECT_EQ(definition.phones[1].states, (std::vector<int>{2, 3}));
  EXPECT_EQ(definition.phones[1].transition_matrix, 1);
  EXPECT_FALSE(definition.phones[0].filler);
  EXPECT_TRUE(definition.phones[1].filler);
  EXPECT_EQ(definition.phone_index("SIL"), 1);
  EXPECT_EQ(definition.phone_index("ZH"), -1);
}

TEST(ModelDefinition, TextAndBothBinaryOrdersAgree) {
  const TemporaryFolder folder;
  expect_two_phones(read_model_definition(folder.write("mdef", kText)));
  expect_two_phones(read_model_definition(folder.write("mdef", binary(false))));
  expect_two_phones(read_model_definition(folder.write("mdef", binary(true))));
}

TEST(ModelDefinition, BrokenFilesAreFaults) {
  const auto read = [](const std::filesystem::path& file) { read_model_definition(file); };
  expect_fault_at_every_length(binary(false), read);
  expect_fault_at_every_length(kText.substr(0, kText.find(" N\n", kText.find("SIL"))), read);
  const TemporaryFolder folder;
  const auto changed = [&](const std::string& from, const std::string& to) {
    std::string text = kText;
    text.replace(text.find(from), from.size(), to);
    return fault_of([&] { read(folder.write("mdef", text)); });
  };
  EXPECT_NE(changed("0.3", "0.9").find("mdef:2: "), std::string::npos);
  EXPECT_NE(changed("2 n_base", "x n_base").find("mdef:3: "), std::string::npos);
  EXPECT_NE(changed("filler 1", "filler 7").find("transition matrix"), std::string::npos);
  EXPECT_NE(changed("2 3 N", "2 4 N").find("no such state"), std::string::npos);
  EXPECT_NE(changed("2 3 N", "2 3 3 N").find("3 states"), std::string::npos);
  EXPECT_NE(changed("4 n_tied_state", "3 n_tied_state").find("counts 4 base states but only 3 states"),
            std::string::npos);
}

// Neighbours that were never seen fall back to the same at another place of a word, to silence, to the phone alone.
TEST(ModelDefinition, PhonesInContextFallBack) {
  std::string text = kText;
  text.replace(text.find("0 n_tri"), 1, "4");
  text.replace(text.find("4 n_tied_state"), 1, "8");
  text += "AA AA AA i n/a 0 4 5 N\nAA SIL AA b n/a 0 6 7 N\nAA AA SIL e n/a 0 4 5 N\nAA SIL SIL s n/a 0 0 1 N\n";
  const TemporaryFolder folder;
  const ModelDefinition definition = read_model_definition(folder.write("mdef", text));
  const auto first_state = [&](int left, int right, WordPosition position) {
    return definition.states_of_hmm(definition.hmm_of(0, left, right, position))[0];
  };
  EXPECT_EQ(definition.silence, 1);
  EXPECT_EQ(definition.hmms.size(), 5U) << "two base phones, and two phones in context share one of three models";
  EXPECT_EQ(first_state(0, 0, WordPosition::kInternal), 4);
  EXPECT_EQ(first_state(1, 0, WordPosition::kBegin), 6);
  EXPECT_EQ(first_state(0, 0, WordPosition::kEnd), 4) << "as inside a word";
  EXPECT_EQ(first_state(1, 0, WordPosition::kInternal), 6) << "as at the start of a word";
  EXPECT_EQ(definition.hmm_of(1, 0, 0, WordPosition::kSingle), 1) << "a filler has no neighbours";

  const auto fault = [&](const std::string& from, const std::string& to) {
    std::string changed = text;
    changed.replace(changed.find(from), from.size(), to);
    return fault_of([&] { read_model_definition(folder.write("mdef", changed)); });
  };
  EXPECT_NE(fault("AA AA AA i", "AA AA ZH i").find("mdef:12: has no base phone \"ZH\""), std::string::npos);
  EXPECT_NE(fault("AA AA AA i", "AA AA AA x").find("mdef:12: has no such position"), std::string::npos);
  EXPECT_NE(fault("6 7 N", "6 8 N").find("mdef:13: a phone in context has states"), std::string::npos);
  EXPECT_NE(fault("4 n_tri", "5 n_tri").find("truncated"), std::string::npos);
}

TEST(ModelDefinition, ReadsThePackages) {
  const ModelDefinition english = read_model_definition(kEnUs / "mdef");
  EXPECT_EQ(english.phones.size(), 42U);
  EXPECT_EQ(english.states, 5126);
  EXPECT_EQ(english.independent_states, 126);
  std::set<int> reached;
  for (int hmm = 0; hmm < static_cast<int>(english.hmms.size()); ++hmm) {
    const auto states = english.states_of_hmm(hmm);
    reached.insert(states.begin(), states.end());
  }
  EXPECT_EQ(reached.size(), 5126U);
  const ModelDefinition small = read_model_definition(kTestData / "an4_ci_cont" / "mdef");
  EXPECT_EQ(small.phones.size(), 34U);
  EXPECT_EQ(small.phone_index("ZH"), -1);
  for (const ModelDefinition& definition : {english, small}) {
    std::set<int> states;
    for (const PhoneDefinition& phone : definition.phones) states.insert(phone.states.begin(), phone.states.end());
    EXPECT_EQ(static_cast<int>(states.size()), definition.independent_states) << "every state belongs to one phone";
    EXPECT_TRUE(definition.phones[static_cast<std::size_t>(definition.phone_index("SIL"))].filler);
    EXPECT_FALSE(definition.phones[static_cast<std::size_t>(definition.phone_index("AA"))].filler);
  }
}

}  // namespace
}  // namespace kivsr::speech::test
