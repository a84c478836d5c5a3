// Runs a program and catches what it prints.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {

struct CommandResult {
  int status;  // exit status, or minus the signal
  std::string output;
  std::string errors;
};

// command: a line of the shell.
inline CommandResult run_command(const std::string& command) {
  const TemporaryFolder folder;
  const auto output = folder / "output";
  const auto errors = folder / "errors";
  const int result =
      std::system(("{ " + command + "\n} > '" + output.string() + "' 2> '" + errors.string() + "'").c_str());
  return {WIFEXITED(result) ? WEXITSTATUS(result) : -WTERMSIG(result), read_file(output), read_file(errors)};
}

inline std::string quoted(const std::filesystem::path& path) { return "'" + path.string() + "'"; }

// What ctest sets; a test that is run by hand has to be told.
inline std::filesystem::path from_environment(const char* name, const char* meaning) {
  const char* const path = std::getenv(name);
  if (path == nullptr) throw std::runtime_error(std::string(name) + " does not name " + meaning);
  return path;
}

inline std::filesystem::path kivsr_program() { return from_environment("KIVSR_EXECUTABLE", "the kivsr program"); }
inline std::filesystem::path source_folder() { return from_environment("KIVSR_SOURCE", "the source folder"); }

// The kivsr program with arguments of the shell.
inline CommandResult run_kivsr(const std::string& arguments, const std::string& before = "") {
  return run_command(before + quoted(kivsr_program()) + " " + arguments);
}

}  // namespace kivsr::speech::test
