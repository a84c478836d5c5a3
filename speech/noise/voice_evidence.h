// Whether a signal could hold speech at all, every 10 ms at 8 kHz: what a detector of sounds that stand out of the
// noise needs beside it, to tell voices from hum, tones and noise. A frame is voiced if it is periodic at a pitch of
// voices, its spectrum is neither flat nor one line, and the spectrum moves; speech has voiced frames near it, and a
// level that rises and falls with its syllables. Next: speech_segments.h, where it stands beside the detector.
#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

struct FrameEvidence {
  float periodicity = 0.0F;  // 0 .. 1
  float flatness = 1.0F;     // geometric over arithmetic mean of the power spectrum, 1: white
  float purity = 0.0F;       // share of the power around the strongest line
  float movement = 0.0F;     // 1 - cosine between the magnitudes of the spectrum here and 50 ms before
  float decibels = 0.0F;
};

class VoiceEvidence {
 public:
  VoiceEvidence();

  // Appends whether the frame around sample 80 (t + 1) could be speech, for each t whose surroundings are known: half a
  // second behind it.
  void push(std::span<const float> samples, std::vector<bool>& possible);
  // The rest, as many in all as whole frames of 80 samples, and the start of a new signal.
  void finish(std::vector<bool>& possible);

 private:
  void analyse();
  FrameEvidence measure(std::size_t start);
  void decide(std::size_t frames, std::vector<bool>& possible);
  bool could_be_speech(std::size_t frame) const;
  void reset();

  Fft32f fft_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> window_;
  std::vector<float> emphasised_;  // from the start of the next frame's samples on
  std::vector<float> smoothed_;    // the same below 1 kHz
  float last_[4] = {};             // samples before them, and before the smoothing
  std::vector<float> work_;
  std::vector<float> power_;
  std::deque<std::vector<float>> magnitudes_;  // of the frames before
  std::deque<FrameEvidence> frames_;           // from first_ on
  std::size_t first_ = 0;
  std::size_t measured_ = 0;
  std::size_t decided_ = 0;
  std::size_t received_ = 0;  // samples
};

}  // namespace kivsr::speech
