// What the voice activity detector makes of a signal, as a picture: waveform, energy and the segments of speech.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "program/picture/reduction.h"
#include "program/speech_names.h"

namespace kivsr::program {

// What is shown is gathered as it comes.
class SpeechPicture {
 public:
  explicit SpeechPicture(int sample_rate) : sample_rate_(sample_rate) {}

  void push_samples(std::span<const float> samples) { envelope_.add(samples); }
  // Of the frames of 10 ms, as the detector decided.
  void push_frames(const std::vector<bool>& speech, std::span<const float> decibels);
  bool has_frames() const { return energies_.rows() > 0; }
  // Writes the picture to the file and leaves the commit to the caller. segments: after the rules. There must be a
  // frame. The range is that of the energy.
  void draw(OutputFile& file, const PictureOptions& options, const std::string& name,
            const std::vector<SpeechSegment>& segments) const;

 private:
  Range interval(const ColumnReduction& columns) const;
  void draw_energy(Page& page, Panel panel, const std::optional<Range>& range) const;
  void draw_decisions(Page& page, Panel panel, const std::vector<SpeechSegment>& segments) const;

  int sample_rate_;
  Envelope envelope_;
  ColumnReduction energies_;
  ColumnReduction decisions_;
};

}  // namespace kivsr::program
