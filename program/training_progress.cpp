#include "program/training_progress.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::program {

TrainingUtterances load_with_progress(std::size_t items, const TrainingShare& share, std::optional<BadFiles>& bad,
                                      const UtteranceLoader& load) {
  const int own = share.count(items);
  const std::size_t count = share.team == nullptr ? static_cast<std::size_t>(own) : items;
  bad.emplace(count);
  Progress progress("read", own);
  const auto step = [&](const std::filesystem::path& file) { progress.step(file.string()); };
  const auto left_out = [&](const Fault& fault) {
    if (count == 1) throw fault;
    bad->say(fault.what(), progress);
  };
  TrainingUtterances utterances = load(step, left_out);
  progress.clear();
  bad->require_one();
  return utterances;
}

void say_of_kept_rows(const Fault& fault) { std::fprintf(stderr, "kivsr: %s\n", fault.what()); }

TrainingListener listener_of(Progress& progress, bool warnings) {
  TrainingListener listener;
  listener.begin = [&](const std::filesystem::path& file) { progress.step(file.string()); };
  if (warnings) {
    listener.left_out = [&](const std::filesystem::path& file, const std::string& reason) {
      progress.clear();
      std::fprintf(stderr, "kivsr: %s %s and is left out\n", file.c_str(), reason.c_str());
    };
  }
  return listener;
}

}  // namespace kivsr::program
