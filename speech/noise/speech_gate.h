// Lets the parts of a signal through that hold speech, as it comes: what opens and shuts it is the voice activity
// detector (speech_detector.h), where the signal is not far fainter than speech was before, since the detector hangs
// over. Some of the signal before goes through too, as the detector is sure only behind the start.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "kivsr/speech/io/resampler.h"
#include "kivsr/speech/noise/speech_detector.h"
#include "kivsr/speech/noise/speech_segments.h"

namespace kivsr::speech {

struct GateRules {
  double before = 0.3;  // s of the signal in front of the first frame of speech
  double behind = 0.3;  // s without speech until it shuts
  double held = 1.0;    // the same while it is held
  double faint = 30.0;  // dB below the loudest speech, which is forgotten by 1 dB/s: where nothing is speech
  double rise = 4.0;    // dB above the faintest of the signal, which rises by 3 dB/s: the same
};

// One signal after the other. It looks at the signal in steps of 10 ms: what it does, and when, is the same however the
// signal is cut into blocks.
class SpeechGate {
 public:
  enum class Event { kOpen, kSamples, kShut };
  // The samples of kSamples; the parts between kOpen and kShut follow each other without a gap.
  using Taker = std::function<void(Event event, std::span<const float> samples)>;

  explicit SpeechGate(int sample_rate, const GateRules& rules = {});

  void push(std::span<const float> samples, const Taker& take);
  // Shuts, and begins a new signal.
  void finish(const Taker& take);

  // Whoever waits for the rest of something holds it.
  void hold(bool held) { is_held_ = held; }
  std::int64_t opened_at() const { return opened_at_; }  // sample that it opened with last
  std::int64_t heard() const { return heard_; }          // samples that were looked at
  // Whether anything between two times, s, was loud enough for speech. What is older than a minute was.
  bool was_loud(double from, double to) const;

 private:
  void start();
  std::int64_t start_of(std::int64_t step) const;  // its first sample
  std::span<const float> kept(std::int64_t from, std::int64_t to) const;
  void pass(const Taker& take);
  bool is_loud(float level) const;
  void listen(std::span<const float> slow);
  void remember_levels();
  void decide(bool detected, const Taker& take);
  void decide_all(const Taker& take);
  void step(const Taker& take);
  void drop_old();

  int rate_;
  GateRules rules_;
  std::size_t before_;  // steps
  std::size_t behind_;
  std::size_t held_;
  bool is_held_ = false;
  SpeechDetector detector_;
  std::optional<Resampler> resampler_;
  std::vector<float> slow_;      // at the detector's rate
  std::vector<bool> decisions_;  // that nobody looked at
  FrameDecibels energies_;
  std::vector<float> new_levels_;
  std::deque<float> levels_;     // of the last frames, dB
  std::size_t first_level_ = 0;  // frame of the first
  float loudest_ = 0.0F;
  float faintest_ = 0.0F;
  std::size_t decided_ = 0;  // that were looked at
  std::size_t silent_ = 0;   // without speech, the last of them
  bool open_ = false;
  std::vector<float> kept_;     // samples that may still go through, and those behind them
  std::int64_t kept_from_ = 0;  // number of the first
  std::int64_t steps_ = 0;
  std::int64_t heard_ = 0;
  std::int64_t passed_ = 0;  // samples before this one went through, or never will
  std::int64_t opened_at_ = 0;
};

}  // namespace kivsr::speech
