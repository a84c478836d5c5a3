// What a user should know about the options of a subcommand, in words: help, manual pages and completions are made of
// it.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kivsr::program {

struct OptionHelp {
  std::vector<std::string> names;    // "-o", "--output"; of a positional argument one name without hyphens
  std::string argument;              // "TEXT", "NUMBER", "text|csv"; empty: a flag
  std::vector<std::string> choices;  // where only certain words are taken
  std::string range;                 // "from 0 to 1"
  std::string default_value;
  std::string description;
  std::string group;               // title under which the help lists it
  std::vector<std::string> needs;  // other options
  std::vector<std::string> excludes;
  bool positional = false;
  bool required = false;
  bool several = false;

  // "REQUIRED", "from 0 to 1", "default 0.2", ... as one remark in brackets; empty if there is none.
  std::string remark() const;
  // "-o, --output TEXT", "audio ...".
  std::string usage() const;
};

// In the order in which they were added, positional arguments first.
std::vector<OptionHelp> options_of(const CLI::App& command);

}  // namespace kivsr::program
