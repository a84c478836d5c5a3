// From samples, or from decisions about frames of 10 ms, to segments of speech with times.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/noise/speech_detector.h"
#include "kivsr/speech/noise/voice_evidence.h"

namespace kivsr::speech {

// What counts as speech.
enum class SpeechMethod {
  kVoices,  // what the detector of the standard finds, where voices can be (voice_evidence.h)
  kEtsi     // every sound that the detector of the standard finds
};

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

// Energies of the frames that a SpeechDetector decides on, dB over a sample of 1: samples at 8 kHz. One signal after
// the other.
class FrameDecibels {
 public:
  void push(std::span<const float> samples, std::vector<float>& decibels);
  // A last frame of half a length or more counts.
  void finish(std::vector<float>& decibels);

 private:
  std::vector<float> pending_;
  bool begun_ = false;  // the frames start half a frame behind the signal
};
std::vector<float> frame_decibels(std::span<const float> samples);

// Segments by the rules, each as soon as the pause behind it is long enough. Only the energies of a segment that is
// still open are kept. One signal after the other.
class SegmentFinder {
 public:
  explicit SegmentFinder(const SegmentRules& rules) : rules_(rules) {}

  // Decisions and energies of the frames in their order; either may be ahead of the other.
  void push(const std::vector<bool>& speech, std::span<const float> decibels, std::vector<SpeechSegment>& segments);
  // seconds: duration of the signal.
  void finish(double seconds, std::vector<SpeechSegment>& segments);

 private:
  void step(bool speech, float decibels, std::vector<SpeechSegment>& segments);
  void close(std::vector<SpeechSegment>& segments);

  SegmentRules rules_;
  std::vector<bool> speech_;     // of frames whose energy is not there yet
  std::vector<float> decibels_;  // of frames whose decision is not there yet
  std::size_t frames_ = 0;
  std::size_t first_ = 0;    // frame of the open segment
  std::size_t last_ = 0;     // behind its last frame of speech; first_: none is open
  std::vector<float> open_;  // energies from first_ on
  double seconds_ = 0.0;     // of the signal, once it has ended
};

// All frames of a signal at once: one decision and one energy each.
std::vector<SpeechSegment> speech_segments(const std::vector<bool>& speech, std::span<const float> decibels,
                                           double seconds, const SegmentRules& rules);

// Samples at 8 kHz in, segments out: a detector, its energies and the rules together. One signal after the other.
class SpeechSegmenter {
 public:
  SpeechSegmenter(Arithmetic arithmetic, const SegmentRules& rules, SpeechMethod method = SpeechMethod::kEtsi)
      : detector_(arithmetic), finder_(rules) {
    if (method == SpeechMethod::kVoices) evidence_.emplace();
  }

  // Appends the segments that are known to be complete.
  void push(std::span<const float> samples, std::vector<SpeechSegment>& segments);
  void finish(std::vector<SpeechSegment>& segments);

  // Is told the decisions and the energies as they come; the decisions come later.
  std::function<void(const std::vector<bool>& speech, std::span<const float> decibels)> listener;

 private:
  void pass_on(std::vector<SpeechSegment>& segments);

  SpeechDetector detector_;
  FrameDecibels energies_;
  SegmentFinder finder_;
  std::size_t samples_ = 0;
  std::vector<bool> speech_;
  std::vector<float> decibels_;
  std::optional<VoiceEvidence> evidence_;
  std::vector<bool> possible_;
};

}  // namespace kivsr::speech
