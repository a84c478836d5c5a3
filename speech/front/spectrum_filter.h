// What the front end does to the spectrum of each frame before the filter bank.
#pragma once

#include <algorithm>
#include <span>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

class SpectrumFilter {
 public:
  virtual ~SpectrumFilter() = default;
  // spectrum: fft_length / 2 + 1 values, power or magnitude as the front end's parameters say; in and out.
  virtual void run(std::span<float> spectrum) = 0;
  // The next frame is the first of another utterance.
  virtual void restart() {}
};

// Keeps the spectra of all frames and leaves them as they are.
class SpectrumRecorder : public SpectrumFilter {
 public:
  void run(std::span<float> spectrum) override {
    spectra.width = static_cast<int>(spectrum.size());
    spectra.values.insert(spectra.values.end(), spectrum.begin(), spectrum.end());
  }
  FeatureMatrix spectra;
};

// Puts the rows of a matrix in the place of the spectra. There are as many of them.
class SpectrumPlayer : public SpectrumFilter {
 public:
  explicit SpectrumPlayer(const FeatureMatrix& spectra) : spectra_(spectra) {}
  void run(std::span<float> spectrum) override {
    const auto row = spectra_.row(next_++);
    std::copy(row.begin(), row.end(), spectrum.begin());
  }

 private:
  const FeatureMatrix& spectra_;
  int next_ = 0;
};

}  // namespace kivsr::speech
