// Which files a command works on and what they become: arguments, a list, a folder for the results.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct FileTask {
  std::string input;
  std::string output;    // empty: none of its own
  std::string place;     // "files.txt:3: " in front of a fault, if the file comes from a list
  std::string key = {};  // of an entry of an archive

  // The key, or the name without folder and extension.
  std::string utterance() const;
};

// What the command line says; "-" is standard input.
struct FileOptions {
  std::vector<std::string> files;
  std::string list;
  std::string output;
  std::string output_folder;
  int jobs = 1;
  bool stop_at_fault = false;
};

enum class Outputs {
  kOneEach,        // every file becomes one: of two arguments without --output, --output-folder and --list the second
  kOneEachOrNone,  // the same, but nothing need be written
  kShared          // all arguments are inputs; --output, or standard output, is for all of them, a folder for one each
};

// The arguments, --output, --list, --output-folder, --jobs and --stop-at-fault. help: of the arguments.
void add_file_options(Command command, FileOptions& options, Outputs outputs, const std::string& help,
                      const std::string& output_help);

// The files in the order of the command line, those of the list behind. Of an archive of Kaldi, or its list
// (kaldi_archive.h), each entry is a file. extension: with the dot, of what an input
// becomes in the folder. Throws Fault for a list that cannot be read, naming its line, for no file at all, an output
// that is missing, two inputs with one output and an output that is another's input too. Makes the folder.
std::vector<FileTask> file_tasks(const FileOptions& options, Outputs outputs,
                                 const std::function<std::string(const std::string& input)>& extension);

// The names alone, and back.
std::vector<std::string> inputs_of(const std::vector<FileTask>& tasks);
std::vector<FileTask> tasks_of(const std::vector<std::string>& inputs);

}  // namespace kivsr::program
