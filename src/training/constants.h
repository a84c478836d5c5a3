// Two values of ln(2 pi) that the results of training depend on.
#pragma once

namespace kivsr {

// Cut to thirteen decimals: Gaussian constants and merging have always been computed with it.
inline constexpr double kShortLogTwoPi = 1.8378770664093;
// The double next to ln(2 pi), one last place off the nearest: cluster likelihoods.
inline constexpr double kLogTwoPi = 1.8378770664093456;

}  // namespace kivsr
