// How subcommands say what they take. CLI11, which does it, is seen by command.cpp and by what reads the description
// again (help, manual pages, completions, configuration): its headers take longer to compile than any source here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace kivsr::program {

// An option, or an argument without hyphens. What changes it gives it back, so that changes can be chained.
class Option {
 public:
  Option() = default;
  explicit Option(CLI::Option* option) : option_(option) {}

  Option required() const;
  Option needs(const std::string& name) const;
  Option needs(Option other) const;
  Option excludes(const std::string& name) const;
  Option excludes(Option other) const;
  // Takes these words only.
  Option one_of(const std::vector<std::string>& words) const;
  // fault: what is wrong with a text; empty: nothing.
  Option check(const std::function<std::string(const std::string& text)>& fault) const;
  Option each(const std::function<void(const std::string& text)>& listener) const;
  // Takes one value each time that it is given, and leaves the next argument alone.
  Option one_value_each() const;
  Option delimiter(char letter) const;
  // For the help: the title above it, what stands for its value, what it is without being given.
  Option group(const std::string& title) const;
  Option type_name(const std::string& name) const;
  Option default_text(const std::string& text) const;

  // On the command line or in a configuration file; an empty handle is not.
  bool is_given() const;
  // What was given.
  std::string text() const;

 private:
  CLI::Option* option_ = nullptr;
};

// A subcommand, or the program itself.
class Command {
 public:
  Command(CLI::App& app) : app_(&app) {}

  Command add_subcommand(const std::string& name, const std::string& help) const;
  // One of its subcommands has to be given.
  void require_subcommand() const;
  // names: "-o,--output", or "input" for an argument without hyphens. The value is the default. Value is one of those
  // at the end of command.cpp.
  template <class Value>
  Option add_option(const std::string& names, Value& value, const std::string& help) const;
  Option add_option_function(const std::string& names, const std::function<void(const std::string&)>& take,
                             const std::string& help) const;
  // "--on,!--off".
  Option add_flag(const std::string& names, bool& value, const std::string& help) const;
  Option add_flag_function(const std::string& names, const std::function<void(std::int64_t)>& take,
                           const std::string& help) const;
  // Of those that were added.
  Option option(const std::string& name) const;
  // What is done when the command line was read.
  void callback(const std::function<void()>& run) const;

  const CLI::App& description() const { return *app_; }

 private:
  CLI::App* app_;
};

}  // namespace kivsr::program
