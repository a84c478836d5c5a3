#include "program/progress.h"

#include <cstdio>
#include <utility>

#include <unistd.h>

namespace kivsr::program {

Progress::Progress(std::string label, int total)
    : label_(std::move(label)), total_(total), terminal_(total > 1 && isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() { clear(); }

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
}

void Progress::step(const std::string& item) {
  ++done_;
  if (!terminal_) return;
  std::fprintf(stderr, "\r\033[K%s %d/%d %s", label_.c_str(), done_, total_, item.c_str());
  std::fflush(stderr);
  shown_ = true;
}

}  // namespace kivsr::program
