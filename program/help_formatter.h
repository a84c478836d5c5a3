// The text of --help.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace kivsr::program {

// Breaks at spaces into lines of at most `width` letters, each behind `indent` spaces.
std::string wrapped(const std::string& text, std::size_t indent, std::size_t width);

class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* command, std::string name, CLI::AppFormatMode mode) const override;
};

}  // namespace kivsr::program
