// Rows of features, one a frame, packed.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace kivsr::speech {

struct FeatureMatrix {
  int width = 0;
  std::vector<float> values;

  int height() const { return width > 0 ? static_cast<int>(values.size() / static_cast<std::size_t>(width)) : 0; }
  std::span<const float> row(int index) const {
    return {values.data() + offset(index), static_cast<std::size_t>(width)};
  }
  std::span<float> row(int index) { return {values.data() + offset(index), static_cast<std::size_t>(width)}; }

 private:
  std::size_t offset(int index) const { return static_cast<std::size_t>(index) * static_cast<std::size_t>(width); }
};

}  // namespace kivsr::speech
