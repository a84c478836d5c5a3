// Many files, one after another. The fault of one is said on standard error at once and the others go on; the program
// ends with status 2 all the same. The fault of an only file is the program's.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "kivsr/speech/io/fault.h"
#include "program/progress.h"
#include "program/speech_names.h"

namespace kivsr::program {

class FileLoop {
 public:
  // label: of the progress line.
  FileLoop(std::string label, int files) : progress_(std::move(label), files), files_(files) {}

  // Calls work(file) for each. What it leaves behind when it throws is its own to undo. Throws Fault if no file is
  // good.
  template <class Work>
  void run(const std::vector<std::string>& files, Work work) {
    for (const std::string& file : files) {
      progress_.step(file);
      if (files.size() == 1) {
        work(file);
        continue;
      }
      try {
        work(file);
      } catch (const Fault& fault) {
        say(fault.what());
      }
    }
    progress_.clear();
    require_one();
  }

  Progress& progress() { return progress_; }
  // The fault of one more file.
  void say(const std::string& fault) {
    progress_.clear();
    std::fprintf(stderr, "kivsr: %s\n", fault.c_str());
    ++bad_;
  }
  void require_one() const {
    if (bad_ > 0 && bad_ >= files_) throw Fault("none of the " + std::to_string(files_) + " files can be used");
  }
  // When everything about the good files is written. Throws Fault if there was a bad one.
  void finish() const {
    if (bad_ == 0) return;
    throw Fault(std::to_string(bad_) + " of " + std::to_string(files_) + " files cannot be used, the others are done");
  }

 private:
  Progress progress_;
  int files_;
  int bad_ = 0;
};

}  // namespace kivsr::program
