// The trials of score: which model is tried on which recording, and what is known about it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "program/speech_names.h"

namespace kivsr::program {

struct Trial {
  std::string model;
  std::string recording;
  std::optional<bool> target;
};

// Lines "model recording target|nontarget", or of the first two fields only; fields are separated by blanks, or by tabs
// where names hold blanks. Empty lines and those that start with # are passed over. Relative names are those of the
// folder. Throws Fault, which names file and line.
std::vector<Trial> read_trials(const std::string& file, const std::string& folder);

}  // namespace kivsr::program
