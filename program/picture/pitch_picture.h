// Waveform, narrow-band spectrogram and the fundamental frequency over it as a picture.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/io/output_file.h"
#include "program/picture/reduction.h"
#include "program/speech_names.h"

namespace kivsr::program {

// What is shown is gathered as it comes; there must be at least one frame.
class PitchPicture {
 public:
  explicit PitchPicture(const PitchParameters& parameters);

  void push_samples(std::span<const float> samples);
  void push_frames(std::span<const PitchFrame> frames);
  void finish();
  // Writes the picture to the file and leaves the commit to the caller. The range is that of the spectrogram, in dB.
  void draw(OutputFile& file, const PictureOptions& options, const std::string& name) const;

 private:
  void take_spectra(std::size_t at_least);
  double seconds() const { return static_cast<double>(envelope_.samples()) / parameters_.sample_rate; }
  Range interval(const ColumnReduction& columns) const;
  void draw_spectrogram(Page& page, Panel panel, const std::optional<Range>& range) const;
  void draw_probability(Page& page, Panel panel) const;

  PitchParameters parameters_;
  int order_;  // of the FFT
  int bins_;   // shown
  Fft32f fft_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> window_;
  std::vector<float> pending_;   // from the start of the next window on
  std::vector<float> frame_;     // windowed, zeros behind
  std::vector<float> spectrum_;  // pairs
  Envelope envelope_;
  ColumnReduction decibels_;
  ColumnReduction frames_;  // frequency, 1 for voiced, probability
};

}  // namespace kivsr::program
