// Codebooks by one k-means, where the library's training runs one after every split.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// At most count codewords [codeword][column] of the rows, fewer where fewer rows differ, for the distance
// D(x, c) = sum of weights[j] (x[j] - c[j])^2. The first ones are rows that are drawn with a probability in proportion
// to their distance from those drawn before, the best of a few draws each time (D. Arthur, S. Vassilvitskii, k-means++:
// the advantages of careful seeding, SODA 2007). The same rows give the same codewords.
std::vector<float> k_means(const FeatureMatrix& rows, std::span<const float> weights, int count);

}  // namespace kivsr::speech
