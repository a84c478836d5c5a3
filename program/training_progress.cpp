#include "program/training_progress.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::program {

TrainingUtterances load_with_progress(int count, std::optional<BadFiles>& bad, const UtteranceLoader& load) {
  bad.emplace(static_cast<std::size_t>(count));
  Progress progress("read", count);
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
