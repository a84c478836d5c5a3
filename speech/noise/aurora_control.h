// What steers the two-stage Wiener filter from frame to frame: which frames may update the noise, and how hard the
// second stage filters (ETSI ES 202 050, clauses 5.1.6 and 5.1.8).
#pragma once

#include <array>
#include <span>

namespace kivsr::speech {

// Compares the energy of each frame with its long-term mean, with a hangover of 15 frames behind five loud ones.
class NoiseGate {
 public:
  // frame: 80 samples. True if the frame may hold speech.
  bool speech(std::span<const float> frame);
  // Frames above the threshold in a row, up to now.
  int loud_frames() const { return loud_frames_; }

 private:
  void follow(float energy);

  int frames_ = 0;
  float mean_energy_ = 0.0F;  // in steps of 1/16 octave of power
  int loud_frames_ = 0;
  int hangover_ = 0;
};

// The share of the second stage's gains that is applied: little in speech, much in noise, by the ratio of the energy
// behind the first stage to the noise that is left in it.
class Aggression {
 public:
  // Magnitude spectra: what the first stage left of each frame, from its first one on,
  void add(std::span<const float> clean);
  // and the noise of the second stage, once that has begun.
  float next(std::span<const float> noise);

 private:
  int frames_ = 0;
  std::array<float, 3> energies_{};  // of the last frames, the newest last
  float low_ratio_ = 0.0F;           // tracked in the quiet, dB
  float value_ = 0.8F;
};

}  // namespace kivsr::speech
