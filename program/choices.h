// Options that take one of a few words, each of which stands for an enumerator.
#pragma once

#include <algorithm>
#include <map>
#include <string>

#include <CLI/CLI.hpp>

namespace kivsr::program {

// value: where the choice goes, and the default.
template <class Value>
CLI::Option* add_choice(CLI::App& command, const std::string& name, Value& value,
                        const std::map<std::string, Value>& choices, const std::string& help) {
  const auto is_default = [&](const auto& choice) { return choice.second == value; };
  const auto choose = [&value, choices](const std::string& word) { value = choices.at(word); };
  return command.add_option_function<std::string>(name, choose, help)
      ->check(CLI::IsMember(choices))
      ->default_str(std::find_if(choices.begin(), choices.end(), is_default)->first);
}

}  // namespace kivsr::program
