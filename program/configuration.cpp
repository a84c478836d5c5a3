#include "program/configuration.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"
#include "program/near_miss.h"
#include "program/speech_names.h"

namespace kivsr::program {

namespace {

constexpr const char* kOption = "--config";

std::optional<std::filesystem::path> from_environment(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return value;
}

// Empty: none.
std::filesystem::path configuration_file(const std::vector<std::string>& arguments) {
  if (arguments.front() == kOption) return arguments[1];
  if (subcommand_place(arguments) == 1) return arguments.front().substr(std::string(kOption).size() + 1);
  if (const auto named = from_environment("KIVSR_CONFIG")) return *named;
  std::filesystem::path folder = from_environment("XDG_CONFIG_HOME").value_or("");
  if (folder.empty()) {
    const auto home = from_environment("HOME");
    if (!home || home->empty()) return {};
    folder = *home / ".config";
  }
  const std::filesystem::path file = folder / "kivsr" / "config";
  std::error_code error;
  return std::filesystem::exists(file, error) ? file : std::filesystem::path();
}

struct Line {
  std::string place;    // of a fault
  std::string section;  // subcommand; empty: of all
  std::string name;
  std::string value;
};

// A comment begins the line or follows a blank; in "a#b" the sign belongs to the value.
std::string_view without_comment(std::string_view line) {
  for (std::size_t sign = line.find('#'); sign != std::string_view::npos; sign = line.find('#', sign + 1)) {
    if (sign == 0 || line[sign - 1] == ' ' || line[sign - 1] == '\t') return line.substr(0, sign);
  }
  return line;
}

std::vector<Line> read_lines(const CLI::App& program, const std::filesystem::path& file) {
  const std::string text = read_text_file(file);
  std::vector<Line> lines;
  std::string section;
  std::string_view rest = text;
  std::string_view line;
  for (int number = 1; take_line(rest, line); ++number) {
    const std::string place = file.string() + ", line " + std::to_string(number) + ": ";
    line = trimmed(without_comment(line));
    if (line.empty()) continue;
    if (line.front() == '[' && line.back() == ']') {
      section = std::string(trimmed(line.substr(1, line.size() - 2)));
      const CLI::App* const subcommand = find_subcommand(program, section);
      if (subcommand == nullptr) throw Fault(place + unknown_subcommand(program, section));
      section = subcommand->get_name();
      continue;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
      throw Fault(place + "\"" + std::string(line) + "\" is not like \"option = value\"");
    }
    lines.push_back(
        {place, section, std::string(trimmed(line.substr(0, equals))), std::string(trimmed(line.substr(equals + 1)))});
  }
  return lines;
}

// Null where the command has no such option.
const CLI::Option* option_of(const CLI::App& command, const std::string& name) {
  const CLI::Option* const option = command.get_option_no_throw("--" + name);
  return option == command.get_help_ptr() ? nullptr : option;
}

void require_known(const CLI::App& program, const Line& line) {
  if (line.name == "help") throw Fault(line.place + "help is no setting; the command line asks for it");
  if (!line.section.empty()) {
    const CLI::App& command = *find_subcommand(program, line.section);
    if (option_of(command, line.name) == nullptr) throw Fault(line.place + unknown_option(command, "--" + line.name));
    return;
  }
  const auto commands = program.get_subcommands({});
  const auto has = [&](const CLI::App* command) { return option_of(*command, line.name) != nullptr; };
  if (std::none_of(commands.begin(), commands.end(), has)) {
    throw Fault(line.place + "no command has an option --" + line.name);
  }
}

// What the arguments behind the subcommand give.
std::set<const CLI::Option*> given_options(const CLI::App& command, const std::vector<std::string>& arguments,
                                           std::size_t first) {
  std::set<const CLI::Option*> given;
  for (std::size_t i = first; i < arguments.size() && arguments[i] != "--"; ++i) {
    const std::string& argument = arguments[i];
    if (argument.size() < 2 || argument[0] != '-') continue;
    const std::string name =
        argument[1] == '-' ? argument.substr(0, argument.find('=')) : argument.substr(0, 2);  // -j4
    if (const CLI::Option* const option = command.get_option_no_throw(name)) given.insert(option);
  }
  return given;
}

bool excluded(const CLI::Option& option, const std::set<const CLI::Option*>& given) {
  const auto& excludes = option.get_excludes();
  return std::any_of(excludes.begin(), excludes.end(),
                     [&](const CLI::Option* other) { return given.count(other) > 0; });
}

// "--jobs=4"; empty for a flag that is off.
std::string argument_of(const CLI::Option& option, const Line& line) {
  if (option.get_expected_max() > 0) {
    if (option.get_expected_max() > 1) throw Fault(line.place + line.name + " takes many values: on the command line");
    return "--" + line.name + "=" + line.value;
  }
  if (line.value == "yes") return "--" + line.name;
  if (line.value != "no") throw Fault(line.place + line.name + " is \"" + line.value + "\", neither yes nor no");
  return option.check_lname("no-" + line.name) ? "--no-" + line.name : "";
}

}  // namespace

std::size_t subcommand_place(const std::vector<std::string>& arguments) {
  if (arguments.empty()) return 0;
  if (arguments.front() == kOption) return std::min<std::size_t>(2, arguments.size());
  return arguments.front().starts_with(std::string(kOption) + "=") ? 1 : 0;
}

std::vector<std::string> with_configuration(const CLI::App& program, std::vector<std::string> arguments) {
  const std::size_t place = subcommand_place(arguments);
  if (place >= arguments.size()) return arguments;
  const CLI::App* const command = find_subcommand(program, arguments[place]);
  const std::filesystem::path file = command == nullptr ? "" : configuration_file(arguments);
  if (file.empty()) return arguments;

  const auto given = given_options(*command, arguments, place + 1);
  const std::vector<Line> lines = read_lines(program, file);
  std::map<const CLI::Option*, std::string> added;  // a section's own line counts, wherever the line for all stands
  for (const bool of_all : {true, false}) {
    for (const Line& line : lines) {
      if (line.section.empty() != of_all) continue;
      require_known(program, line);
      const CLI::Option* const option = option_of(*command, line.name);
      if (option == nullptr || (!of_all && line.section != command->get_name())) continue;
      if (given.count(option) == 0 && !excluded(*option, given)) added[option] = argument_of(*option, line);
    }
  }
  auto behind = arguments.begin() + static_cast<std::ptrdiff_t>(place) + 1;
  for (const auto& [option, argument] : added) {
    if (!argument.empty()) behind = arguments.insert(behind, argument) + 1;
  }
  return arguments;
}

}  // namespace kivsr::program
