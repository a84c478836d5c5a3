// Every parameter of the front end as a command-line option, over a preset or a model's feat.params.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"
#include "program/speech_names.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kivsr::program {

class FrontEndOptions {
 public:
  explicit FrontEndOptions(CLI::App& command);

  // After the command line was read: the preset with the options applied, checked.
  // Another sampling rate alone keeps the window and the shift in seconds and the band within half the rate.
  FrontEndParameters parameters() const;
  // The name of the preset, empty if a model's feat.params takes its place.
  std::string preset() const { return feature_parameters_.empty() ? preset_ : ""; }

 private:
  template <class Value>
  CLI::Option* add(CLI::App& command, const std::string& name, Value FrontEndParameters::*member,
                   const std::string& text);
  template <class Value>
  void add_choice(CLI::App& command, const std::string& name, Value FrontEndParameters::*member,
                  const std::vector<std::pair<std::string, Value>>& choices, const std::string& text);
  void add_switch(CLI::App& command, const std::string& name, bool FrontEndParameters::*member,
                  const std::string& text);

  std::string preset_ = "sphinx-en-us";
  std::string feature_parameters_;
  std::vector<std::function<void(FrontEndParameters&)>> changes_;
  CLI::Option* window_length_ = nullptr;
  CLI::Option* shift_ = nullptr;
  CLI::Option* fft_length_ = nullptr;
  CLI::Option* high_frequency_ = nullptr;
};

}  // namespace kivsr::program
