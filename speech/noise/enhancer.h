// Noise suppression of one channel, in blocks of any size. Methods: mcra_enhancer.h and the others of this folder; all
// are made by name with make_enhancer.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// The noise that a method took each frame to hold: row t is the power spectrum at sample t * hop, its values at equal
// distances from 0 Hz to half the sampling rate (both included). White noise of variance v has the value v everywhere.
struct NoiseTrack {
  int hop = 0;
  FeatureMatrix power;
};

// One signal after the other: push its samples as they come, then finish, which leaves the enhancer ready for the next.
// Samples are in units of a 16-bit integer. The output has as many samples as the input, without a shift in time, and
// is the same bits however the input is cut into blocks.
class Enhancer {
 public:
  virtual ~Enhancer() = default;

  virtual int sample_rate() const = 0;
  // Output that may be outstanding after a push, in samples.
  virtual int delay() const = 0;
  // Appends the output that these samples complete.
  virtual void push(std::span<const float> samples, std::vector<float>& output) = 0;
  // Appends the rest of the output and ends the signal. A signal without samples has none.
  virtual void finish(std::vector<float>& output) = 0;

  // From here on appends each frame's noise to the track, which the caller keeps; null ends it.
  void record_noise(NoiseTrack* track) { track_ = track; }

  // A whole signal at once.
  std::vector<float> run(std::span<const float> samples) {
    std::vector<float> output;
    output.reserve(samples.size());
    push(samples, output);
    finish(output);
    return output;
  }

 protected:
  NoiseTrack* track_ = nullptr;
};

// Throws Fault for an unknown method and for a sampling rate that the method does not allow.
std::unique_ptr<Enhancer> make_enhancer(const std::string& method, int sample_rate);
std::vector<std::string> enhancement_methods();

}  // namespace kivsr::speech
