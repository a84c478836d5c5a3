// The library's voice activity detector on what the first stage of the noise reduction knows (ETSI ES 202 050, annex
// A).
#pragma once

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/noise/aurora_reduction.h"

namespace kivsr::speech {

// The library's two forms of the detector.
enum class Arithmetic { kSinglePrecision, kSixteenBits };

class VoiceDecision {
 public:
  static constexpr int kLookAhead = 6;  // calls between a frame and its decision, and of flush behind the last

  explicit VoiceDecision(Arithmetic arithmetic);

  void reset();
  // kivVadSpeech, kivVadNoSpeech or kivVadUndecided: of the frame that the stage designed six calls before.
  int next(const GatedStage& first);
  int flush();

 private:
  Arithmetic arithmetic_;
  VoiceDetector state_;
};

}  // namespace kivsr::speech
