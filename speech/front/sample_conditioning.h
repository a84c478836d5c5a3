// Between the samples of an utterance and its frames: their scale, dither, and what frames see beyond the edges.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr/speech/front/front_end_parameters.h"

namespace kivsr::speech {

// Gaussian noise of mean 0 and standard deviation 1: a pure function of the seed and of how many values were drawn.
class GaussianNoise {
 public:
  explicit GaussianNoise(int seed) : seed_(static_cast<std::uint64_t>(seed)) { restart(); }

  void restart();
  float next();

 private:
  double uniform();

  std::uint64_t seed_;
  std::uint64_t state_ = 0;
  float second_ = 0.0F;  // values come in pairs
  bool has_second_ = false;
};

// One utterance after the other: push samples as they come, then finish, which leaves it ready for the next. What comes
// out is the same however the samples are cut into blocks.
class SampleConditioning {
 public:
  explicit SampleConditioning(const FrontEndParameters& parameters);

  // Whether the parameters ask for anything that it does.
  bool needed() const { return needed_; }
  // The next samples that frames are cut from; they stay until the next call.
  std::span<const float> push(std::span<const float> samples);
  // Those beyond the end.
  std::span<const float> finish();
  // What the last utterance left behind is dropped.
  void restart();

 private:
  void begin();
  float beyond(std::ptrdiff_t place) const;

  FrontEndParameters parameters_;
  bool needed_;
  std::ptrdiff_t left_;  // samples before the first one; below 0: as many are dropped
  GaussianNoise noise_;
  std::vector<float> held_;    // the first samples, until those beyond the left edge are known
  std::vector<float> newest_;  // the last samples, for those beyond the right edge
  std::ptrdiff_t count_ = 0;   // samples of the utterance
  bool begun_ = false;
  std::vector<float> result_;
};

}  // namespace kivsr::speech
