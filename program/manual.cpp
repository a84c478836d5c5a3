#include "program/manual.h"

#include <cctype>

#include <CLI/CLI.hpp>

#include "kivsr.h"
#include "program/option_help.h"

namespace kivsr::program {

namespace {

// Hyphens as they are typed, nothing that begins a line taken for a request.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char letter : text) {
    if (letter == '\\') {
      result += "\\e";
    } else if (letter == '-') {
      result += "\\-";
    } else {
      result += letter;
    }
  }
  return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string upper_case(std::string text) {
  for (char& letter : text) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  return text;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }

std::string header(const std::string& name, const std::string& purpose) {
  const KivLibraryVersion& version = *kivsrGetLibVersion();
  return ".TH \"" + escaped(upper_case(name)) + "\" 1 \"\" \"kivsr " + std::to_string(version.major) + "." +
         std::to_string(version.minor) + "\" \"kivsr\"\n.SH NAME\n" + escaped(name) + " \\- " + escaped(purpose) + "\n";
}

std::string option_text(const OptionHelp& option) {
  std::string names;
  for (const std::string& name : option.names) names += (names.empty() ? "" : ", ") + bold(name);
  if (!option.positional && !option.argument.empty()) names += " \\fI" + escaped(option.argument) + "\\fR";
  if (option.several) names += " ...";
  const std::string remark = option.remark();
  return ".TP\n" + names + "\n" + escaped(option.description) + (remark.empty() ? "" : "\n(" + escaped(remark) + ")") +
         "\n";
}

std::string files_and_status() {
  return ".SH EXIT STATUS\n0 if all was done; 2 after a fault, which one line on standard error names. Output files "
         "appear when they are complete, or not at all.\n";
}

}  // namespace

std::string manual_of_program(const CLI::App& program) {
  std::string text = header("kivsr", program.get_description()) +
                     ".SH SYNOPSIS\n.B kivsr\n.I SUBCOMMAND\n[\\fIOPTIONS\\fR] ...\n.SH SUBCOMMANDS\n";
  for (const CLI::App* const subcommand : program.get_subcommands({})) {
    text += ".TP\n" + bold("kivsr-" + subcommand->get_name()) + "(1)\n" + escaped(subcommand->get_description()) + "\n";
  }
  text += ".SH OPTIONS\n";
  for (const OptionHelp& option : options_of(program)) text += option_text(option);
  return text + files_and_status();
}

std::string manual_of_subcommand(const CLI::App& subcommand) {
  std::string text = header("kivsr-" + subcommand.get_name(), subcommand.get_description()) + ".SH SYNOPSIS\n" +
                     bold("kivsr " + subcommand.get_name()) + " [\\fIOPTIONS\\fR]";
  std::string arguments;
  std::string options;
  for (const OptionHelp& option : options_of(subcommand)) {
    (option.positional ? arguments : options) += option_text(option);
    if (option.positional) text += " \\fI" + escaped(option.names.front()) + "\\fR" + (option.several ? " ..." : "");
  }
  text += "\n";
  if (!arguments.empty()) text += ".SH ARGUMENTS\n" + arguments;
  return text + ".SH OPTIONS\n" + options + files_and_status() + ".SH SEE ALSO\n" + bold("kivsr") + "(1)\n";
}

}  // namespace kivsr::program
