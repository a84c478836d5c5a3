#include "program/progress.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include <unistd.h>

#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr double kSoonestGuess = 1.0;                      // s before the time that is left is said
constexpr auto kRedrawn = std::chrono::milliseconds(100);  // no oftener

// 0:35, 12:07, 3:00:00.
std::string clock_time(double seconds) {
  const auto whole = static_cast<long long>(std::ceil(std::fmin(seconds, 1e9)));
  const long long hours = whole / 3600;
  const long long minutes = whole / 60 % 60;
  if (hours == 0) return formatted("%lld:%02lld", minutes, whole % 60);
  return formatted("%lld:%02lld:%02lld", hours, minutes, whole % 60);
}

}  // namespace

std::string ProgressState::line(const std::string& item) const {
  std::string text = label + " " + std::to_string(done) + "/" + std::to_string(total);
  if (heard > 0.0 && elapsed > 0.0) text += formatted(", %.3g x real time", heard / elapsed);
  if (share > 0.0 && elapsed >= kSoonestGuess) text += ", " + clock_time(elapsed / share * (1.0 - share)) + " left";
  return text + ": " + item;
}

Progress::Progress(std::string label, int total) : terminal_(total > 1 && isatty(STDERR_FILENO) == 1) {
  state_.label = std::move(label);
  state_.total = total;
}

Progress::~Progress() { clear(); }

void Progress::clear() {
  if (!shown_) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  shown_ = false;
  drawn_ = {};
}

void Progress::step(const std::string& item, double weight) {
  ++state_.done;
  weight_ += weight;
  if (!terminal_) return;
  const auto time = std::chrono::steady_clock::now();
  if (time - drawn_ < kRedrawn && state_.done < state_.total) return;
  drawn_ = time;
  state_.elapsed = std::chrono::duration<double>(time - start_).count();
  state_.share = expected_ > 0.0 ? std::fmin(weight_ / expected_, 1.0) : 0.0;
  std::fprintf(stderr, "\r\033[K%s", state_.line(item).c_str());
  std::fflush(stderr);
  shown_ = true;
}

}  // namespace kivsr::program
