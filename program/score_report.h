// What score prints: how well models fit recordings, and what the trials as a whole say.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/decode/detection_errors.h"
#include "program/speech_names.h"

namespace kivsr::program {

enum class ScoreFormat { kText, kTsv, kJson };

struct ModelScore {
  std::string model;
  double log_likelihood = 0.0;      // of a frame, the mean
  double score = 0.0;               // the same, less the background's
  std::optional<bool> target = {};  // what is known
};

struct ScoredRecording {
  std::string file;
  long long frames = 0;
  std::optional<double> background;  // its log likelihood of a frame
  std::vector<ModelScore> models;

  const ModelScore& best() const;
};

std::string score_header(ScoreFormat format);
// threshold: of the score, from which on a model is accepted.
std::string score_lines(const ScoredRecording& recording, std::optional<double> threshold, ScoreFormat format);

// The trials of all recordings.
struct TrialSummary {
  std::vector<DetectionTrial> trials;  // those of which it is known
  int identifiable = 0;                // recordings that one of their models is the target of, among others
  int identified = 0;                  // and it is the best one

  void add(const ScoredRecording& recording);
  bool has_both() const;
};
// Empty where there is nothing to say. text and json only.
std::string summary_lines(const TrialSummary& summary, const DetectionCost& cost, ScoreFormat format);

}  // namespace kivsr::program
