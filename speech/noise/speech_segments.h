// From decisions about frames of 10 ms to segments of speech with times.
#pragma once

#include <span>
#include <vector>

namespace kivsr::speech {

struct SpeechSegment {
  double start;  // seconds
  double end;
  double duration() const { return end - start; }
};

struct SegmentRules {
  double minimum_pause = 0.2;   // shorter pauses are closed, s
  double minimum_speech = 0.1;  // shorter segments are dropped, s
  double trim = 30.0;           // frames this far below the loudest of their segment are cut, dB; 0: none are
  double margin = 0.1;          // but for those so close to a louder one, s
};

// Energies of the frames that a SpeechDetector decides on, dB over a sample of 1: samples at 8 kHz.
std::vector<float> frame_decibels(std::span<const float> samples);

// speech and decibels: one value a frame. seconds: duration of the signal.
std::vector<SpeechSegment> speech_segments(const std::vector<bool>& speech, std::span<const float> decibels,
                                           double seconds, const SegmentRules& rules);

}  // namespace kivsr::speech
