// Integer results must not depend on the rounding mode that the caller left in force.
#pragma once

#include <cfenv>
#include <vector>

namespace kivsr::test {

// A rounding mode for its lifetime, also when a test gives up.
class RoundingMode {
 public:
  explicit RoundingMode(int mode) : caller_(std::fegetround()) { std::fesetround(mode); }
  ~RoundingMode() { std::fesetround(caller_); }
  RoundingMode(const RoundingMode&) = delete;
  RoundingMode& operator=(const RoundingMode&) = delete;

 private:
  int caller_;
};

// Runs `compute`, which returns integers, under each rounding mode. The first result is that of rounding to nearest.
template <class Compute>
auto under_rounding_modes(Compute compute) {
  std::vector<decltype(compute())> results;
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    const RoundingMode in_force(mode);
    results.push_back(compute());
  }
  return results;
}

}  // namespace kivsr::test
