// Options that take one of a few words, each of which stands for an enumerator.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "program/command.h"

namespace kivsr::program {

// value: where the choice goes, and the default.
template <class Value>
Option add_choice(Command command, const std::string& name, Value& value, const std::map<std::string, Value>& choices,
                  const std::string& help) {
  const auto is_default = [&](const auto& choice) { return choice.second == value; };
  std::vector<std::string> words;
  for (const auto& choice : choices) words.push_back(choice.first);
  const auto choose = [&value, choices](const std::string& word) { value = choices.at(word); };
  return command.add_option_function(name, choose, help)
      .one_of(words)
      .default_text(std::find_if(choices.begin(), choices.end(), is_default)->first);
}

}  // namespace kivsr::program
