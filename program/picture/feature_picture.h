// Waveform, mel spectrogram and cepstra of a signal as a picture.
#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/output_file.h"
#include "program/picture/reduction.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Throws Fault unless the name ends in .png.
void check_picture_name(const std::filesystem::path& file);

// What is shown is gathered as the samples come; there must be at least one frame.
class FeaturePicture {
 public:
  // Of the front end that rows come from; its own choice of output and of c0 does not matter.
  explicit FeaturePicture(const FrontEndParameters& parameters);

  void push(std::span<const float> samples);
  void finish();
  // Writes a PNG to the file and leaves the commit to the caller.
  void draw(OutputFile& file, const std::string& name) const;

 private:
  double seconds() const { return static_cast<double>(envelope_.samples()) / parameters_.sample_rate; }
  Range interval(const ColumnReduction& columns) const;
  void draw_spectrogram(Page& page, Panel panel) const;
  void draw_zeroth(Page& page, Panel panel, const FeatureMatrix& cepstra) const;
  void draw_others(Page& page, Panel panel, const FeatureMatrix& cepstra) const;

  FrontEndParameters parameters_;
  FrontEnd mel_;
  FrontEnd cepstral_;
  Envelope envelope_;
  ColumnReduction energies_;
  ColumnReduction cepstra_;
};

}  // namespace kivsr::program
