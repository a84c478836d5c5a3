// n-gram models as text in the ARPA form: the counts, then a section for each length with lines of log10 probability,
// words and log10 back-off weight.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "kivsr/speech/models/ngram_model.h"

namespace kivsr::speech {

NgramModel read_arpa_file(const std::filesystem::path& file);

// Gives numbers of 16 bits to values: each distinct value its own as long as there are no more than 65,536 of them,
// else even steps from the least to the greatest.
class ValueTable {
 public:
  explicit ValueTable(const std::vector<float>& values);

  const std::vector<float>& values() const { return values_; }
  std::uint16_t number(float value) const;

 private:
  std::vector<float> values_;  // ascending
};

}  // namespace kivsr::speech
