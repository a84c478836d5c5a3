// Many files, several at a time, with results in the order of the files and the same bytes for any number of threads.
// The fault of one is said on standard error and the others go on; the program ends with status 2 all the same. The
// fault of an only file is the program's.
//
//   FileLoop loop("features", files, options.jobs, options.stop_at_fault);
//   loop.run([&] {                                    // once on each thread
//     return [&, chain = FeatureChain(recipe)](const FileTask& file, FileTurn& turn) mutable {
//       ...                                           // its own output file, at any time
//       turn.print(text);                             // standard output, when it is the file's turn
//     };
//   });
//   loop.finish();
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "program/file_options.h"
#include "program/progress.h"
#include "program/speech_names.h"

namespace kivsr::program {

class FileOrder;

// How many of the files cannot be used.
class BadFiles {
 public:
  explicit BadFiles(std::size_t files) : files_(files) {}
  // On standard error, of one more.
  void say(const std::string& fault, Progress& progress);
  // Throws Fault if no file is good.
  void require_one() const;
  // When everything about the good files is written. Throws Fault if there was a bad one.
  void finish() const;

 private:
  std::size_t files_;
  std::size_t bad_ = 0;
};

// How the work on one file reaches what all files share: in their order. What comes before the turn of the file waits,
// up to 64 MB for all files; beyond that the work does.
class FileTurn {
 public:
  FileTurn(FileOrder& order, std::size_t file) : order_(order), file_(file) {}

  // Acts of different files never run at a time. bytes: that wait with it.
  void post(std::function<void()> act, std::size_t bytes = 0);
  // To standard output.
  void print(std::string text);
  // The same, unless standard output is what the file becomes.
  void print_beside(const std::string& output, std::string text) {
    if (output != "-") print(std::move(text));
  }
  // A line on standard error.
  void say(const std::string& line);
  // So much sound is done, for the rate that the progress line shows.
  void heard(double seconds);

 private:
  FileOrder& order_;
  std::size_t file_;
};

class FileLoop {
 public:
  using Work = std::function<void(const FileTask& file, FileTurn& turn)>;

  // label: of the progress line.
  FileLoop(std::string label, const std::vector<FileTask>& files, int jobs = 1, bool stop_at_fault = false);
  ~FileLoop();

  // Each thread asks once for what it works with. Throws Fault if no file is good, or at the first fault if it is to
  // stop there: then the files before it are done, and some behind it may be.
  void run(const std::function<Work()>& make_work);
  // The same on one thread.
  void run_in_turn(const Work& work) {
    run([&] { return work; });
  }
  // To clear it before something is written in the turn of a file, or behind the loop.
  Progress& progress();
  // BadFiles::finish.
  void finish() const;

 private:
  std::optional<std::string> fault_of(const Work& work, std::size_t file) const;

  const std::vector<FileTask>& files_;
  int jobs_;
  bool keep_going_;
  std::unique_ptr<FileOrder> order_;
};

}  // namespace kivsr::program
