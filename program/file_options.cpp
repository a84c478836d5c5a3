#include "program/file_options.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "program/command.h"
#include "program/numbers.h"

namespace kivsr::program {

namespace {

constexpr std::size_t kLongestLine = 65536;
constexpr const char* kBlanks = " \t\r";

// The names of a line: between tabs if there are any, else between blanks, where quotation marks hold one together.
std::vector<std::string> names_of_line(const std::string& line, const std::string& place) {
  std::vector<std::string> names;
  const bool tabs = line.find('\t') != std::string::npos;
  const char* const between = tabs ? "\t\r" : kBlanks;
  for (std::size_t at = line.find_first_not_of(between); at < line.size(); at = line.find_first_not_of(between, at)) {
    const bool in_marks = line[at] == '"';
    const std::size_t end = in_marks ? line.find('"', at + 1) : std::min(line.find_first_of(between, at), line.size());
    if (end == std::string::npos) throw Fault(place + "a quotation mark is open");
    names.push_back(line.substr(at + (in_marks ? 1 : 0), end - at - (in_marks ? 1 : 0)));
    at = end + (in_marks ? 1 : 0);
  }
  return names;
}

std::vector<FileTask> read_list(const std::string& list) {
  std::ifstream file;
  if (list != "-") {
    file.open(list);
    if (!file || std::filesystem::is_directory(list)) throw Fault(list + ": cannot be read");
  }
  std::istream& lines = list == "-" ? std::cin : file;
  const std::string name = list == "-" ? "standard input" : list;
  std::vector<FileTask> tasks;
  std::string line;
  for (int number = 1; std::getline(lines, line); ++number) {
    const std::string place = name + ":" + std::to_string(number) + ": ";
    if (line.size() > kLongestLine) throw Fault(place + "longer than names can be");
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string::npos || line[first] == '#') continue;
    const std::vector<std::string> names = names_of_line(line, place);
    if (names.size() > 2) {
      throw Fault(place + std::to_string(names.size()) +
                  " names, an input and its output are two (blanks in names: quotation marks, or tabs between them)");
    }
    tasks.push_back({names[0], names.size() == 2 ? names[1] : "", place});
  }
  if (lines.bad()) throw Fault(name + ": cannot be read");
  if (tasks.empty()) throw Fault(name + ": lists no files");
  return tasks;
}

// Each entry of an archive in the place of its archive.
std::vector<FileTask> with_entries(std::vector<FileTask> tasks) {
  std::vector<FileTask> all;
  for (FileTask& task : tasks) {
    const auto specifier = kaldi_specifier(task.input);
    if (!specifier) {
      all.push_back(std::move(task));
      continue;
    }
    const auto entries = archive_entries(*specifier);
    if (entries.empty()) throw Fault(task.place + task.input + ": has no entries");
    for (const auto& [key, name] : entries) all.push_back({name, task.output, task.place, key});
  }
  return all;
}

std::string name_in_folder(const FileOptions& options, const FileTask& task, const std::string& extension) {
  std::string name = task.utterance();
  std::replace(name.begin(), name.end(), '/', '_');  // in keys
  return (std::filesystem::path(options.output_folder) / (name + extension)).string();
}

void give_outputs(const FileOptions& options, Outputs outputs,
                  const std::function<std::string(const std::string& input)>& extension, std::vector<FileTask>& tasks) {
  const bool each = outputs != Outputs::kShared;
  if (each && !options.output.empty() && tasks.size() > 1) {
    throw Fault(options.output + ": takes what one input becomes, give --output-folder for " +
                std::to_string(tasks.size()));
  }
  for (FileTask& task : tasks) {
    if (!task.output.empty()) continue;
    if (!options.output_folder.empty()) {
      task.output = name_in_folder(options, task, extension(task.input));
    } else if (each) {
      task.output = options.output;
    }
    if (task.output.empty() && outputs == Outputs::kOneEach) {
      throw Fault(task.place + task.input + ": no output is given, with --output or --output-folder");
    }
  }
}

std::string absolute_name(const std::string& file) {
  return std::filesystem::absolute(file).lexically_normal().string();
}

void check_collisions(const std::vector<FileTask>& tasks) {
  std::map<std::string, const FileTask*> writers;
  for (const FileTask& task : tasks) {
    if (task.output.empty()) continue;
    const auto [other, is_new] = writers.try_emplace(absolute_name(task.output), &task);
    if (!is_new) {
      throw Fault(task.place + other->second->input + " and " + task.input + " would both become " + task.output);
    }
  }
  if (tasks.size() < 2) return;
  for (const FileTask& task : tasks) {
    const auto writer = writers.find(absolute_name(task.input));
    if (writer != writers.end() && writer->second != &task && task.input != "-") {
      throw Fault(task.place + task.input + ": would be read and written over by what " + writer->second->input +
                  " becomes");
    }
  }
}

}  // namespace

std::string FileTask::utterance() const {
  if (!key.empty()) return key;
  return input == "-" ? "standard-input" : std::filesystem::path(input).stem().string();
}

void add_file_options(Command command, FileOptions& options, Outputs outputs, const std::string& help,
                      const std::string& output_help) {
  command.add_option(
      "audio", options.files,
      help + "; - is standard input" +
          (outputs == Outputs::kShared
               ? ""
               : ". Two names are an input and its output, without --output, --output-folder and --list"));
  command.add_option("-o,--output", options.output, output_help + "; - is standard output");
  command.add_option("--list", options.list,
                     "File of further files, an input a line, or input and output; lines after # are comments; - is "
                     "standard input");
  command.add_option("--output-folder", options.output_folder,
                     "Folder for what each file becomes, under its name; made if it is missing");
  add_number(command, "--jobs,-j", options.jobs, 0, 256, "Files at a time, 0: as many as there are processors");
  command.add_flag("--stop-at-fault,!--keep-going", options.stop_at_fault,
                   "End at the first bad file, instead of naming it and doing the others");
}

std::vector<FileTask> file_tasks(const FileOptions& options, Outputs outputs,
                                 const std::function<std::string(const std::string& input)>& extension) {
  std::vector<FileTask> tasks = tasks_of(options.files);
  const bool is_pair = outputs != Outputs::kShared && tasks.size() == 2 && options.output.empty() &&
                       options.output_folder.empty() && options.list.empty();
  if (is_pair) {
    tasks[0].output = tasks[1].input;
    tasks.pop_back();
  }
  if (!options.list.empty()) {
    for (FileTask& task : read_list(options.list)) tasks.push_back(std::move(task));
  }
  tasks = with_entries(std::move(tasks));
  if (tasks.empty()) throw Fault("no audio file is given, as an argument or with --list");
  if (!options.output.empty() && !options.output_folder.empty()) throw Fault("give --output or --output-folder");
  give_outputs(options, outputs, extension, tasks);
  check_collisions(tasks);
  if (!options.output_folder.empty()) {
    std::error_code error;
    std::filesystem::create_directories(options.output_folder, error);
    if (error) throw Fault(options.output_folder + ": cannot be made: " + error.message());
  }
  return tasks;
}

std::vector<std::string> inputs_of(const std::vector<FileTask>& tasks) {
  std::vector<std::string> names;
  for (const FileTask& task : tasks) names.push_back(task.input);
  return names;
}

std::vector<FileTask> tasks_of(const std::vector<std::string>& inputs) {
  std::vector<FileTask> tasks;
  for (const std::string& input : inputs) tasks.push_back({input, "", ""});
  return tasks;
}

}  // namespace kivsr::program
