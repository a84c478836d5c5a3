// A progress line on standard error, drawn only when standard error is a terminal.
#pragma once

#include <string>

namespace kivsr::program {

class Progress {
 public:
  // label is the word in front of "3/30"; total < 2 shows nothing.
  Progress(std::string label, int total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Call before writing a line to standard output too: clears the progress line, which the next step draws again.
  void clear();
  void step(const std::string& item);

 private:
  std::string label_;
  int total_;
  int done_ = 0;
  bool shown_ = false;
  bool terminal_ = false;
};

}  // namespace kivsr::program
