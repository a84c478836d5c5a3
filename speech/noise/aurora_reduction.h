// The noise reduction of the advanced front end, frame by frame at 8 kHz (ETSI ES 202 050, clause 5.1). Enhancer,
// features and voice activity detection stand on it.
#pragma once

#include <span>

#include "kivsr/speech/noise/aurora_control.h"
#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

inline constexpr int kAuroraStageDelay = 2;  // frames between the newest one of a stage and the one that it filters

// The standard's chain begins with the first frame that is not all zeros.
bool is_silent(std::span<const float> frame);

// The first stage: its noise is that of the frames that hold no speech.
class GatedStage {
 public:
  GatedStage() : stage_(WienerStage::NoiseUpdate::kGated) {}

  void reset();
  // A frame of 80 samples; true, from the third on, when the gains of the one two before are there.
  bool push(std::span<const float> frame);
  void filter(std::span<float> output) { stage_.filter(buffer_, 1.0F, output); }

  const WienerStage& stage() const { return stage_; }
  // Frames in a row, up to that one, whose energy is above the gate's threshold.
  int loud_frames() const { return gate_.loud_frames(); }
  int frames() const { return frames_; }

 private:
  WienerStage stage_;
  FrameBuffer buffer_;
  NoiseGate gate_;
  int frames_ = 0;
};

// Both stages and the offset compensation. The second one works on what is left and filters hard in noise only.
class AuroraReduction {
 public:
  static constexpr int kDelay = 2 * kAuroraStageDelay;

  AuroraReduction() : second_(WienerStage::NoiseUpdate::kContinuous) {}

  void reset();
  // A frame of 80 samples; true, from the fifth on, when the one four before was written to output.
  bool push(std::span<const float> frame, std::span<float> output);

  // The frame before the newest two.
  const GatedStage& first() const { return first_; }
  bool first_ran() const { return first_.frames() > kAuroraStageDelay; }

 private:
  GatedStage first_;
  WienerStage second_;
  FrameBuffer buffer_;  // of the second stage
  Aggression aggression_;
  float offset_input_ = 0.0F;   // last sample before the offset compensation
  float offset_output_ = 0.0F;  // and behind it
};

}  // namespace kivsr::speech
