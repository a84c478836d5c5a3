// What pitch writes: the frames of one file or of several, as they come.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/io/output_file.h"
#include "program/speech_names.h"

namespace kivsr::program {

enum class PitchFormat {
  kText,      // columns, under a line that names the file
  kCsv,       // file,time,f0,correlation,probability
  kPitchTier  // of Praat: time and frequency of the voiced frames of one file
};

// Lines for people and for other programs; write gets them as they come.
class PitchReport {
 public:
  using Write = std::function<void(std::string_view text)>;
  // Behind the last frame of kPitchTier the numbers in the head are put in their place by overwrite.
  using Overwrite = std::function<void(std::int64_t position, std::string_view text)>;

  PitchReport(PitchFormat format, double frame_seconds, Write write, Overwrite overwrite = {});

  void begin(const std::string& file);
  void append(std::span<const PitchFrame> frames);
  void end(double seconds);

 private:
  PitchFormat format_;
  double frame_seconds_;
  Write write_;
  Overwrite overwrite_;
  std::string file_;
  std::int64_t frame_ = 0;
  std::int64_t voiced_ = 0;
};

// f0, correlation, probability of each frame, as rows of features.
FeatureMatrix pitch_rows(std::span<const PitchFrame> frames);

}  // namespace kivsr::program
