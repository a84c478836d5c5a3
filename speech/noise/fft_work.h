// The work area that a transform wants from its caller, to be kept between its calls.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

inline std::vector<Kiv8u> fft_work(const Fft32f& fft) {
  int bytes = 0;
  call<kivsFFTGetBufSize_R_32f>(fft, &bytes);
  return std::vector<Kiv8u>(static_cast<std::size_t>(std::max(bytes, 1)));  // no null pointer, which would be allocated
}

}  // namespace kivsr::speech
