// Whether a signal could hold speech at all, every 10 ms at 8 kHz: what a detector of sounds that stand out of the
// noise needs beside it, to tell voices from hum, tones, alarms, music, many voices at once and noise. A frame is
// voiced if it is periodic at a pitch of voices and its spectrum neither flat nor one line; it glides if its period has
// changed over the last 50 ms without a jump, as that of voices does and that of notes does not. Speech has voiced
// frames near it, a level that rises and falls with its syllables, and glides where the lines of the spectrum stay or
// where the level varies as much as speech in quiet but is not as periodic. Next: speech_segments.h, where it stands
// beside the detector.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

constexpr std::size_t kEvidenceBands = 7;
// Of bands from 190 to 3900 Hz, dB, and last of the four lowest together, up to 1500 Hz.
using EvidenceLevels = std::array<float, kEvidenceBands + 1>;

struct FrameEvidence {
  float periodicity = 0.0F;  // 0 .. 1
  float lines = 0.0F;        // cosine between the lines of the spectrum here and 100 ms before
  float amplitude = 0.0F;    // square root of the power from 190 to 1500 Hz
  EvidenceLevels decibels{};
  bool voiced = false;
  bool gliding = false;
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
  struct Transform {
    explicit Transform(int order);
    // Power of the bins of a span as long as the window.
    std::span<const float> power(std::span<const float> samples);

    std::vector<float> window;
    Fft32f fft;
    std::vector<Kiv8u> fft_work;
    std::vector<float> work;
    std::vector<float> result;
  };

  void analyse();
  FrameEvidence measure(std::size_t start);
  bool glides(float periodicity, float period);
  float steadiness(std::span<const float> power);
  void decide(std::size_t frames, std::vector<bool>& possible);
  bool could_be_speech(std::size_t frame) const;
  void reset();

  Transform shape_;                       // 32 ms
  Transform fine_;                        // 64 ms
  std::vector<float> emphasised_;         // from the start of the next frame's samples on
  std::vector<float> smoothed_;           // the same below 1 kHz
  float last_[4] = {};                    // samples before them, and before the smoothing
  std::deque<std::vector<float>> lines_;  // of the frames before
  std::deque<float> periods_;             // logarithms, of the frames before
  std::size_t steps_ = 0;                 // frames in a row whose period is near the one before
  std::deque<FrameEvidence> frames_;      // from first_ on
  std::size_t first_ = 0;
  std::size_t measured_ = 0;
  std::size_t decided_ = 0;
  std::size_t received_ = 0;  // samples
};

}  // namespace kivsr::speech
