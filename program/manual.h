// Manual pages, in the language of man(7), of the same texts as --help.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace kivsr::program {

// kivsr.1.
std::string manual_of_program(const CLI::App& program);
// kivsr-<name>.1.
std::string manual_of_subcommand(const CLI::App& subcommand);

}  // namespace kivsr::program
