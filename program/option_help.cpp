#include "program/option_help.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>

#include "program/report_text.h"

namespace kivsr::program {

namespace {

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> words(1);
  for (const char letter : text) {
    if (letter == at) {
      words.emplace_back();
    } else {
      words.back() += letter;
    }
  }
  return words;
}

std::vector<std::string> names_of(const CLI::Option& option) {
  if (option.get_positional() && !option.nonpositional()) return {option.get_name(true)};
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::vector<std::string> names_of(const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  for (const CLI::Option* const option : options) names.push_back(option->get_name());
  std::sort(names.begin(), names.end());
  return names;
}

// Type names are "TEXT:{text,csv}" where a set of words is checked, "NUMBER from 0 to 1" where a range is.
void describe_argument(std::string type, OptionHelp& help) {
  if (const std::size_t open = type.find('{'); open != std::string::npos) {
    const std::size_t close = type.find('}', open);
    help.choices = split(type.substr(open + 1, close - open - 1), ',');
    // Where the description tells the words, the argument has a name.
    help.argument = type.starts_with("NAME:") ? "NAME" : joined(help.choices, "|");
    return;
  }
  type = type.substr(0, type.find(':'));
  const std::size_t space = type.find(' ');
  help.argument = type.substr(0, space);
  if (space != std::string::npos) help.range = type.substr(space + 1);
}

OptionHelp described(const CLI::Option& option) {
  OptionHelp help;
  help.names = names_of(option);
  help.group = option.get_group();
  help.description = option.get_description();
  help.needs = names_of(option.get_needs());
  help.excludes = names_of(option.get_excludes());
  help.positional = option.get_positional() && !option.nonpositional();
  help.required = option.get_required();
  help.several = option.get_expected_max() == CLI::detail::expected_max_vector_size;
  help.default_value = option.get_default_str();
  if (option.get_type_size() == 0) {
    if (help.default_value == "false") help.default_value.clear();  // like every flag
    return help;
  }
  describe_argument(option.get_type_name(), help);
  if (help.default_value == "[]") help.default_value.clear();  // an empty list
  return help;
}

}  // namespace

std::string OptionHelp::remark() const {
  std::vector<std::string> remarks;
  if (!range.empty()) remarks.push_back(range);
  if (!default_value.empty()) remarks.push_back("default " + default_value);
  if (required && !positional) remarks.emplace_back("required");
  if (!needs.empty()) remarks.push_back("with " + joined(needs, ", "));
  if (!excludes.empty()) remarks.push_back("not with " + joined(excludes, ", "));
  return joined(remarks, "; ");
}

std::string OptionHelp::usage() const {
  std::string text = joined(names, ", ");
  if (!positional && !argument.empty()) text += " " + argument;
  return several ? text + " ..." : text;
}

std::vector<OptionHelp> options_of(const CLI::App& command) {
  std::vector<OptionHelp> options;
  for (const CLI::Option* const option : command.get_options()) {
    if (!option->get_group().empty()) options.push_back(described(*option));
  }
  std::stable_partition(options.begin(), options.end(), [](const OptionHelp& option) { return option.positional; });
  return options;
}

}  // namespace kivsr::program
