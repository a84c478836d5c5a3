// Integer results must not depend on the rounding mode that the caller left in force.
#pragma once

#include <emmintrin.h>

#include <vector>

namespace kivsr::test {

// Runs `compute`, which returns integers, under each rounding mode. The first result is that of rounding to nearest.
template <class Compute>
auto under_rounding_modes(Compute compute) {
  std::vector<decltype(compute())> results;
  const unsigned caller = _mm_getcsr();
  for (const unsigned mode : {_MM_ROUND_NEAREST, _MM_ROUND_UP, _MM_ROUND_DOWN, _MM_ROUND_TOWARD_ZERO}) {
    _mm_setcsr((caller & ~static_cast<unsigned>(_MM_ROUND_MASK)) | mode);
    results.push_back(compute());
    _mm_setcsr(caller);
  }
  return results;
}

}  // namespace kivsr::test
