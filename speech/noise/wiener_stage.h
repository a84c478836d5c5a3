// One stage of the two-stage mel-warped Wiener filter (ETSI ES 202 050, clauses 5.1.3 to 5.1.10): from four frames of
// 80 samples at 8 kHz the filter of the second one. Next: aurora_reduction.h, two of them in a row; voice_decision.h,
// which reads the gains of the first.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/smoothed_spectrum.h"

namespace kivsr::speech {

inline constexpr int kAuroraRate = 8000;
inline constexpr int kAuroraFrame = 80;
inline constexpr int kAuroraBands = 25;

// The four newest frames of a stage; the second is the one that is filtered.
class FrameBuffer {
 public:
  static constexpr int kFrames = 4;

  void push(std::span<const float> frame);
  void clear() { samples_.fill(0.0F); }
  const float* data() const { return samples_.data(); }
  // The one that is filtered.
  std::span<const float> second() const { return std::span(samples_).subspan(kAuroraFrame, kAuroraFrame); }

 private:
  std::array<float, kFrames * kAuroraFrame> samples_{};
};

class WienerStage {
 public:
  // gated: the noise is averaged over the frames that the caller says hold no speech. continuous: it follows every
  // frame, the slower the more the frame exceeds it.
  enum class NoiseUpdate { kGated, kContinuous };

  explicit WienerStage(NoiseUpdate update);

  void reset();
  // The gains for the buffer's second frame. may_update: the frame holds no speech (gated).
  void design(const FrameBuffer& buffer, bool may_update);
  // The filter of these gains applied to the second frame. aggression: 1 takes the gains, 0 leaves the frame alone.
  void filter(const FrameBuffer& buffer, float aggression, std::span<float> output);

  // Of the frame that was designed last; noise and clean are magnitudes, roots of power.
  std::span<const float> power() const { return power_; }
  std::span<const float> gains() const { return gains_; }
  std::span<const float> mel_gains() const { return mel_gains_; }
  std::span<const float> noise() const { return noise_; }
  std::span<const float> clean() const { return clean_; }

  // The power of white noise of variance 1 in a spectrum.
  static double window_power() { return 75.0; }

 private:
  using Spectrum = SmoothedSpectrum::Power;

  void make_inverse_transform();
  void analyse(const FrameBuffer& buffer);
  void update_noise(bool may_update);

  NoiseUpdate update_;
  int frames_ = 0;
  SmoothedSpectrum spectrum_;
  FilterBank32f bank_;
  std::vector<float> inverse_transform_;  // rows of kAuroraBands: one value of the impulse response each
  std::vector<float> tap_window_;
  Spectrum power_{};
  Spectrum previous_power_{};
  Spectrum magnitude_{};    // of this frame
  Spectrum mean_{};         // root of the mean power of this frame and the one before, zero before the first
  Spectrum noise_power_{};  // continuous
  Spectrum noise_{};
  Spectrum clean_{};
  Spectrum gains_{};
  std::array<float, kAuroraBands> mel_gains_{};
};

}  // namespace kivsr::speech
