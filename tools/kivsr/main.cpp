// The command-line program: reads the command line, runs the subcommand, turns a fault into one line and exit status 2.
#include <cstdio>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "kivsr/subcommands.h"
#include "support/fault.h"

namespace {

constexpr int kExitFault = 2;

int report(std::string message) {
  for (char& character : message)
    if (character == '\n' || character == '\r') character = ' ';
  std::fprintf(stderr, "kivsr: %s\n", message.c_str());
  return kExitFault;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App program("Speech features and recognition on the kivsr library", "kivsr");
  program.require_subcommand(1);
  try {
    kivsr::tools::add_features(program);
    kivsr::tools::add_info(program);
    kivsr::tools::add_recognise(program);
    program.parse(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) return report("standard output cannot be written");
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return program.exit(error);
    return report(std::string(error.what()) + " (see kivsr --help)");
  } catch (const std::bad_alloc&) {
    return report("out of memory");
  } catch (const std::exception& error) {
    return report(error.what());
  }
}
