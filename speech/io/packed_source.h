// Rows of numbers of one size, one behind the other to the end of the file.
#pragma once

#include <cstdint>
#include <span>

#include "kivsr/speech/io/feature_source.h"

namespace kivsr::speech {

// The number that up to 8 bytes are.
std::uint64_t bits_of(std::span<const std::uint8_t> bytes, bool big_endian);

class PackedSource : public FeatureSource {
 public:
  using FeatureSource::FeatureSource;
  // That many values must be the rest of the file.
  void expect_rows(std::int64_t height, int width, int value_bytes);
  void read(FeatureMatrix& rows) override;

 private:
  std::int64_t left_ = 0;  // rows
  int value_bytes_ = 4;
};

}  // namespace kivsr::speech
