// Every option of every command that takes a number: its range stands in the help, and nothing else is taken.
#include "program/numbers.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <functional>
#include <set>

#include "program/subcommands.h"

namespace kivsr::program::test {

namespace {

using Visit = std::function<void(const std::vector<std::string>& words, const CLI::Option& option)>;

void visit_options(CLI::App& app, std::vector<std::string>& words, const Visit& visit) {
  for (const CLI::Option* option : app.get_options()) visit(words, *option);
  for (CLI::App* inner : app.get_subcommands([](CLI::App*) { return true; })) {
    words.push_back(inner->get_name());
    visit_options(*inner, words, visit);
    words.pop_back();
  }
}

void add_all(CLI::App& app) {
  for (auto add : {add_align, add_enhance, add_features, add_info, add_mix, add_phones, add_pitch, add_quantise,
                   add_recognise, add_show, add_spot, add_train, add_vad}) {
    add(app);
  }
}

void for_all_options(const Visit& visit) {
  CLI::App app("test", "kivsr");
  add_all(app);
  std::vector<std::string> words;
  visit_options(app, words, visit);
}

// What the command line says of an option with that value. All commands are described once: that takes as long as
// parsing a hundred lines.
std::string answer(std::vector<std::string> words, const std::string& option, const std::string& value) {
  static CLI::App app("test", "kivsr");
  static const bool described = (add_all(app), true);
  EXPECT_TRUE(described);
  words.push_back(option + "=" + value);
  std::reverse(words.begin(), words.end());
  try {
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    return error.what();
  }
  return "taken";
}

bool is_number(const CLI::Option& option) {
  return option.get_type_name().starts_with("NUMBER") || option.get_type_name().starts_with("INTEGER");
}

}  // namespace

TEST(Numbers, EveryNumericOptionHasARange) {
  std::set<std::string> seen;
  for_all_options([&](const auto& words, const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::string name = option.get_name();
    if (is_number(option)) {
      seen.insert(words.front() + name);
      EXPECT_NE(type.find(" from "), std::string::npos) << name;
    } else {
      // The fields of a recipe have their own check, in recipe_options.
      for (const char* number : {"INT", "UINT", "FLOAT", "DOUBLE"}) {
        EXPECT_TRUE(type != number || answer(words, name, "nan").find("not a ") != std::string::npos)
            << words.front() << " " << name;
      }
    }
  });
  for (const char* name :
       {"mix--snr", "recognise--language-weight", "recognise--insertion-penalty", "recognise--variance-floor",
        "recognise--silence-penalty", "vad--trim", "vad--minimum-pause"}) {
    EXPECT_TRUE(seen.contains(name)) << name;
  }
}

TEST(Numbers, NothingElseIsTaken) {
  for_all_options([&](const auto& words, const CLI::Option& option) {
    if (!is_number(option)) return;
    const std::string name = option.get_name();
    for (const char* text : {"nan", "-nan", "inf", "-inf", "infinity", "1e999", "-1e300", "1e300", "", " ", "x", "1x",
                             "0x10", "1,5", "--", "1e", "++1"}) {
      EXPECT_NE(answer(words, name, text), "taken") << name << "=" << text;
    }
    for (const char* text : {"nan", "inf", "1e999"}) {
      EXPECT_NE(answer(words, name, text).find("is not a "), std::string::npos) << name << "=" << text;
    }
  });
}

TEST(Numbers, RangesIncludeTheirEnds) {
  const NumberRange share{0.0, 1.0, false};
  for (const char* text : {"0", "1", "0.5", "+0.25", "1e-3", "-0"}) EXPECT_EQ(share.fault(text), "") << text;
  EXPECT_EQ(share.fault("1.0000001"), "\"1.0000001\" is not a number from 0 to 1");
  const NumberRange count{-3.0, 40.0, true};
  for (const char* text : {"-3", "40", "+7", "007"}) EXPECT_EQ(count.fault(text), "") << text;
  for (const char* text : {"-4", "41", "1.0", "1e1"}) {
    EXPECT_EQ(count.fault(text), "\"" + std::string(text) + "\" is not a whole number from -3 to 40");
  }
}

}  // namespace kivsr::program::test
