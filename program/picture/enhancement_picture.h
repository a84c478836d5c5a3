// What noise suppression did, as a picture: spectrograms before and after it, and of the noise that it estimated.
#pragma once

#include <span>
#include <string>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "program/picture/reduction.h"
#include "program/speech_names.h"

namespace kivsr::program {

// What is shown is gathered as the samples of one channel come.
class EnhancementPicture {
 public:
  explicit EnhancementPicture(int sample_rate);

  void push_before(std::span<const float> samples);
  void push_after(std::span<const float> samples);
  // The next rows of the track, which are taken out of it.
  void take(NoiseTrack& noise);
  void finish();
  // Writes the picture to the file and leaves the commit to the caller. Without a track its panel is left out. The
  // range is that of the spectrograms, in dB.
  void draw(OutputFile& file, const PictureOptions& options, const std::string& title) const;

 private:
  void gather(FeatureMatrix& power, ColumnReduction& decibels) const;

  FrontEndParameters parameters_;
  FrontEnd before_front_end_;
  FrontEnd after_front_end_;
  std::int64_t samples_ = 0;
  ColumnReduction before_;  // dB
  ColumnReduction after_;
  ColumnReduction noise_;
  int noise_hop_ = 0;
};

}  // namespace kivsr::program
