// One stage of the two-stage mel-warped Wiener filter (ETSI ES 202 050, clauses 5.1.3 to 5.1.10): from four frames of
// 80 samples at 8 kHz the filter of the second one. The enhancer runs two of them in a row (aurora_enhancer.h), the
// voice activity detector reads the gains of the first (noise/speech_detector.h).
#pragma once

#include <array>
#include <span>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

inline constexpr int kAuroraRate = 8000;
inline constexpr int kAuroraFrame = 80;
inline constexpr int kAuroraSpectrum = 65;  // smoothed bins from 0 to 4000 Hz
inline constexpr int kAuroraBands = 25;

// The four newest frames of a stage; the second is the one that is filtered.
class FrameBuffer {
 public:
  static constexpr int kFrames = 4;

  void push(std::span<const float> frame);
  void clear() { samples_.fill(0.0F); }
  const float* data() const { return samples_.data(); }

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

  // Of the frame that was designed last; spectra are magnitudes (roots of power).
  std::span<const float> gains() const { return gains_; }
  std::span<const float> mel_gains() const { return mel_gains_; }
  std::span<const float> noise() const { return noise_; }
  std::span<const float> clean() const { return clean_; }

  // The power of white noise of variance 1 in a spectrum.
  static double window_power() { return 75.0; }

 private:
  using Spectrum = std::array<float, kAuroraSpectrum>;

  void make_inverse_transform();
  void analyse(const FrameBuffer& buffer);
  void update_noise(bool may_update);

  NoiseUpdate update_;
  int frames_ = 0;
  Fft32f fft_;
  FilterBank32f bank_;
  std::vector<Kiv8u> fft_work_;
  std::vector<float> window_;
  std::vector<float> inverse_transform_;  // rows of kAuroraBands: one value of the impulse response each
  std::vector<float> tap_window_;
  std::vector<float> samples_;
  std::vector<float> packed_;
  Spectrum power_{};
  Spectrum previous_power_{};
  Spectrum magnitude_{};    // of this frame
  Spectrum mean_{};         // root of the mean power of this frame and the one before
  Spectrum noise_power_{};  // continuous
  Spectrum noise_{};
  Spectrum clean_{};
  Spectrum gains_{};
  std::array<float, kAuroraBands> mel_gains_{};
};

}  // namespace kivsr::speech
