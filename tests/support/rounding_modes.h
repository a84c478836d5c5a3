// Integer results must not depend on the rounding mode that the caller left in force.
#pragma once

#include <cfenv>

#include <vector>

namespace kivsr::test {

// Runs `compute`, which returns integers, under each rounding mode. The first result is that of rounding to nearest.
template <class Compute>
auto under_rounding_modes(Compute compute) {
  std::vector<decltype(compute())> results;
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    results.push_back(compute());
    std::fesetround(FE_TONEAREST);
  }
  return results;
}

}  // namespace kivsr::test
