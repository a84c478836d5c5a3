#include "program/help_formatter.h"

#include <map>
#include <vector>

#include "kivsr/speech/io/text_parts.h"
#include "program/option_help.h"
#include "program/speech_names.h"

namespace kivsr::program {

namespace {

constexpr std::size_t kLine = 100;
constexpr std::size_t kColumn = 28;  // where the descriptions begin

// A name and its description in two columns; below each other where the name is long.
std::string entry(const std::string& name, const std::string& description) {
  const std::string text = wrapped(description, kColumn, kLine);
  const std::string first = "  " + name;
  if (first.size() + 1 > kColumn) return first + "\n" + text;
  return first + text.substr(first.size());
}

std::string option_entry(const OptionHelp& option) {
  const std::string remark = option.remark();
  return entry(option.usage(), remark.empty() ? option.description : option.description + " [" + remark + "]");
}

std::string usage_of(const CLI::App& command, const std::string& name, const std::vector<OptionHelp>& options) {
  // Called for its own help, a subcommand is handed its name with the program's in front.
  std::string usage = "Usage: " + (name.empty() ? command.get_name() : name);
  usage += " [OPTIONS]";
  for (const OptionHelp& option : options) {
    if (option.positional) usage += " " + (option.required ? option.usage() : "[" + option.usage() + "]");
  }
  return usage + (command.get_subcommands({}).empty() ? "" : " SUBCOMMAND");
}

}  // namespace

std::string wrapped(const std::string& text, std::size_t indent, std::size_t width) {
  std::string result;
  std::string line(indent, ' ');
  for (const std::string& word : words_of(text)) {
    if (line.size() > indent && line.size() + 1 + word.size() > width) {
      result += line + "\n";
      line.assign(indent, ' ');
    }
    line += (line.size() > indent ? " " : "") + word;
  }
  return result + line + "\n";
}

std::string HelpFormatter::make_help(const CLI::App* command, std::string name, CLI::AppFormatMode) const {
  const std::vector<OptionHelp> options = options_of(*command);
  std::string text = command->get_description() + "\n" + usage_of(*command, name, options) + "\n";
  std::vector<std::string> groups;
  std::map<std::string, std::string> entries;
  for (const OptionHelp& option : options) {
    const std::string group = option.positional ? "Arguments" : option.group;
    if (entries.find(group) == entries.end()) groups.push_back(group);
    entries[group] += option_entry(option);
  }
  for (const std::string& group : groups) text += "\n" + group + ":\n" + entries[group];
  std::string subcommands;
  for (const CLI::App* const subcommand : command->get_subcommands({})) {
    subcommands += entry(subcommand->get_name(), subcommand->get_description());
  }
  if (!subcommands.empty()) text += "\nSubcommands:\n" + subcommands;
  const std::string footer = command->get_footer();
  return footer.empty() ? text : text + "\n" + footer + "\n";
}

}  // namespace kivsr::program
