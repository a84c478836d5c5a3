// What the families of training share about diagonal Gaussians.
#pragma once

namespace kivsr {

// What a vector of variances holds.
enum class Variances { kInverse, kDirect };

// ln(2 pi) of Gaussian constants and of merging, to thirteen decimals. Every Gaussian of a length has the same multiple
// of it, which cancels wherever scores are compared.
inline constexpr double kShortLogTwoPi = 1.8378770664093;
// ln(2 pi) rounded up to a double: a cluster's likelihood is not raised by the rounding of its constant.
inline constexpr double kLogTwoPi = 1.8378770664093456;

}  // namespace kivsr
