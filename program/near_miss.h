// What may have been meant by a word that the command line does not know.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kivsr::program {

// The word among `known` that is the fewest changes away (letters left out, put in, replaced, neighbours swapped), if a
// third of its letters at most need one; empty if there is none.
std::string nearest(const std::string& word, const std::vector<std::string>& known);

// By its name or an alias; null if there is none.
const CLI::App* find_subcommand(const CLI::App& program, const std::string& name);
// What to tell who typed one that is not there.
std::string unknown_subcommand(const CLI::App& program, const std::string& name);

// What to tell who typed an option that the command does not have: with the one that is meant, spelt wrongly or as
// other tools call it, if something comes close.
std::string unknown_option(const CLI::App& command, const std::string& option);

// Looks for long options with one hyphen, which would be read as short ones with a value ("-hmm" as "-h" with "mm").
// Throws Fault, with the option that was meant.
void refuse_single_hyphens(const CLI::App& command, const std::vector<std::string>& arguments);

}  // namespace kivsr::program
