// Rows of numbers of one size, one behind the other to the end of the file.
#pragma once

#include <cstdint>

#include "kivsr/speech/io/feature_source.h"

namespace kivsr::speech {

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
