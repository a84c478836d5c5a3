// What the front end does to the spectrum of each frame before the filter bank.
#ifndef KIVSR_TOOLS_FEATURES_SPECTRUM_FILTER_H
#define KIVSR_TOOLS_FEATURES_SPECTRUM_FILTER_H

#include <span>

namespace kivsr::tools {

class SpectrumFilter {
 public:
  virtual ~SpectrumFilter() = default;
  // spectrum: fft_length / 2 + 1 values, power or magnitude as the front end's parameters say; in and out.
  virtual void run(std::span<float> spectrum) = 0;
  // The next frame is the first of another utterance.
  virtual void restart() {}
};

}  // namespace kivsr::tools

#endif
