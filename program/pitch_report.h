// What pitch writes: the frames of a file, as they come.
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

// The first line of a table of several files.
std::string pitch_header(PitchFormat format);

// Lines about one file, for people and for other programs; write gets them as they come.
class PitchReport {
 public:
  using Write = std::function<void(std::string_view text)>;
  // Behind the last frame of kPitchTier the numbers in the head are put in their place by overwrite.
  using Overwrite = std::function<void(std::int64_t position, std::string_view text)>;

  PitchReport(PitchFormat format, const std::string& file, double frame_seconds, Write write, Overwrite overwrite = {});

  // Nothing is written before the first frames: the file has shown then that it is audio.
  void append(std::span<const PitchFrame> frames);
  void end(double seconds);

 private:
  void begin();

  PitchFormat format_;
  std::string file_;
  double frame_seconds_;
  Write write_;
  Overwrite overwrite_;
  bool begun_ = false;
  std::int64_t frame_ = 0;
  std::int64_t voiced_ = 0;
};

// f0, correlation, probability of each frame, as rows of features.
FeatureMatrix pitch_rows(std::span<const PitchFrame> frames);

}  // namespace kivsr::program
