#include "program/completion.h"

#include <CLI/CLI.hpp>

#include "program/option_help.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

std::string subcommand_names(const CLI::App& program) {
  std::vector<std::string> names;
  for (const CLI::App* const subcommand : program.get_subcommands({})) names.push_back(subcommand->get_name());
  return joined(names);
}

// In single quotes of a shell. Brackets and colons have a meaning in zsh's descriptions.
std::string quoted(const std::string& text, const std::string& escape = "") {
  std::string result;
  for (const char letter : text) {
    if (letter == '\'') {
      result += "'\\''";
    } else {
      if (escape.find(letter) != std::string::npos) result += '\\';
      result += letter;
    }
  }
  return result;
}

}  // namespace

std::string bash_completion(const CLI::App& program) {
  std::string options;
  std::string values;
  for (const CLI::App* const subcommand : program.get_subcommands({})) {
    std::vector<std::string> names;
    for (const OptionHelp& option : options_of(*subcommand)) {
      if (option.positional) continue;
      names.insert(names.end(), option.names.begin(), option.names.end());
      if (option.choices.empty()) continue;
      for (const std::string& name : option.names) {
        values += "    " + subcommand->get_name() + ":" + name + ") words=\"" + joined(option.choices) + "\" ;;\n";
      }
    }
    options += "    " + subcommand->get_name() + ") words=\"" + joined(names) + "\" ;;\n";
  }
  return R"(# bash completion for kivsr
_kivsr() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} subcommand=${COMP_WORDS[1]} words=
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    COMPREPLY=($(compgen -W ")" +
         subcommand_names(program) + R"( --help --version" -- "$current"))
    return
  fi
  case $subcommand:$previous in
)" + values +
         R"(  esac
  if [ -n "$words" ]; then
    COMPREPLY=($(compgen -W "$words" -- "$current"))
    return
  fi
  case $current in
    -*) ;;
    *)
      compopt -o filenames 2>/dev/null
      COMPREPLY=($(compgen -f -- "$current"))
      return ;;
  esac
  case $subcommand in
)" + options +
         R"(  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -F _kivsr kivsr
)";
}

std::string zsh_completion(const CLI::App& program) {
  std::string names;
  std::string cases;
  for (const CLI::App* const subcommand : program.get_subcommands({})) {
    names += "    '" + subcommand->get_name() + ":" + quoted(subcommand->get_description(), ":") + "'\n";
    cases += "    " + subcommand->get_name() + ")\n      _arguments";
    for (const OptionHelp& option : options_of(*subcommand)) {
      if (option.positional) continue;
      for (const std::string& name : option.names) {
        cases += " \\\n        '" + std::string(option.several ? "*" : "") + name + "[" +
                 quoted(option.description, "[]:") + "]";
        if (!option.argument.empty()) {
          cases += ":" + quoted(option.names.back().substr(option.names.back().rfind('-') + 1)) + ":";
          cases += option.choices.empty() ? "_files" : "(" + joined(option.choices) + ")";
        }
        cases += "'";
      }
    }
    cases += " \\\n        '*:file:_files' ;;\n";
  }
  return "#compdef kivsr\n_kivsr() {\n  local -a subcommands\n  subcommands=(\n" + names +
         "  )\n  if (( CURRENT == 2 )); then\n    _describe subcommand subcommands\n    return\n  fi\n"
         "  local subcommand=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $subcommand in\n" +
         cases + "  esac\n}\n_kivsr \"$@\"\n";
}

std::string fish_completion(const CLI::App& program) {
  const std::string all = subcommand_names(program);
  std::string text = "# fish completion for kivsr\n";
  const std::string none = "complete -c kivsr -n 'not __fish_seen_subcommand_from " + all + "' ";
  for (const CLI::App* const subcommand : program.get_subcommands({})) {
    text += none + "-f -a " + subcommand->get_name() + " -d '" + quoted(subcommand->get_description(), "\\") + "'\n";
    for (const OptionHelp& option : options_of(*subcommand)) {
      if (option.positional) continue;
      text += "complete -c kivsr -n '__fish_seen_subcommand_from " + subcommand->get_name() + "'";
      for (const std::string& name : option.names) {
        text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      if (!option.choices.empty()) {
        text += " -x -a '" + joined(option.choices) + "'";
      } else if (!option.argument.empty()) {
        text += " -r";
      }
      text += " -d '" + quoted(option.description, "\\") + "'\n";
    }
  }
  return text;
}

}  // namespace kivsr::program
