// Configuration files: options that a command has without being told on the command line.
//
//   jobs = 0                  # of every command that has the option
//   [features]
//   preset = kaldi-mfcc
//   unit-area = yes
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kivsr::program {

// Where the subcommand stands in the arguments, behind a --config of the program; their number if there is none.
std::size_t subcommand_place(const std::vector<std::string>& arguments);

// The arguments with those options of the file that they neither give nor exclude, behind the subcommand. The file is
// that of --config in front of the subcommand; else the one that $KIVSR_CONFIG names, where an empty name means none;
// else kivsr/config in $XDG_CONFIG_HOME or ~/.config, if it is there. Throws Fault with the line that is wrong.
std::vector<std::string> with_configuration(const CLI::App& program, std::vector<std::string> arguments);

}  // namespace kivsr::program
