// A progress line on standard error, drawn only when standard error is a terminal: how many are done of how many, how
// fast in sound a second where that is known, the time that is left.
#pragma once

#include <chrono>
#include <string>

#include "program/speech_names.h"

namespace kivsr::program {

// What the line says: "features 12/300, 210 x real time, 0:35 left: a.wav".
struct ProgressState {
  std::string label;
  int done = 0;
  int total = 0;
  double elapsed = 0.0;  // s
  double heard = 0.0;    // s of sound; 0: unknown
  double share = 0.0;    // of the work, 0 to 1

  std::string line(const std::string& item) const;
};

class Progress {
 public:
  // label is the word in front of "3/30"; total < 2 shows nothing.
  Progress(std::string label, int total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Call before writing a line to standard output too: clears the progress line, which the next step draws again.
  void clear();
  // Of the next item so much work was expected.
  void expect(double weight) { expected_ += weight; }
  void heard(double seconds) { state_.heard += seconds; }
  // One item more is done, or begun where nothing was expected.
  void step(const std::string& item, double weight = 0.0);
  bool shows() const { return terminal_; }

 private:
  ProgressState state_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point drawn_{};
  double expected_ = 0.0;
  double weight_ = 0.0;  // done
  bool shown_ = false;
  bool terminal_ = false;
};

}  // namespace kivsr::program
