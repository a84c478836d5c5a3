// What shells complete behind "kivsr": subcommands, options, the words that an option takes, files.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace kivsr::program {

std::string bash_completion(const CLI::App& program);
std::string zsh_completion(const CLI::App& program);
std::string fish_completion(const CLI::App& program);

}  // namespace kivsr::program
