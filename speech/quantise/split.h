// How rows of features are split: which columns share a codebook, and how many bits each codebook's index takes.
#pragma once

#include <string>
#include <vector>

namespace kivsr::speech {

struct SplitGroup {
  std::vector<int> columns;  // counted from 0
  int bits = 0;
};
using Split = std::vector<SplitGroup>;

constexpr int kMostSplitBits = 13;  // the library makes codebooks of up to 16383 codewords

// Groups between commas: columns "3", a range "1-2" or a list "0+13", then ":" and the bits, as in "0:6,1-2:7,3-4:7".
// Every column of the width belongs to one group. Throws Fault for anything else.
Split parse_split(const std::string& text, int width);
std::string split_text(const SplitGroup& group);

// Neighbouring columns in pairs of 7 bits; of an odd number the first alone, 6 bits.
Split default_split(int width);

}  // namespace kivsr::speech
