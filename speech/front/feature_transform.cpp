#include "kivsr/speech/front/feature_transform.h"

#include <vector>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

class TransformStage : public RowStage {
 public:
  explicit TransformStage(const Recipe& recipe) : matrix_(recipe.feature_transform) {}

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override { transform_rows(matrix_, rows, result); }
  bool finish(FeatureMatrix&) override { return false; }

 private:
  std::vector<float> matrix_;
};

}  // namespace

void transform_rows(std::span<const float> matrix, const FeatureMatrix& rows, FeatureMatrix& result) {
  std::size_t place = result.values.size();
  const auto width = static_cast<std::size_t>(result.width);
  result.values.resize(place + static_cast<std::size_t>(rows.height()) * width);
  for (int t = 0; t < rows.height(); ++t, place += width) {
    call<kivsMatVecMul_32f_D2>(matrix.data(), rows.width, rows.row(t).data(), rows.width, result.values.data() + place,
                               result.width);
  }
}

std::unique_ptr<RowStage> make_transform_stage(const Recipe& recipe) {
  if (recipe.feature_transform.empty()) return nullptr;
  return std::make_unique<TransformStage>(recipe);
}

}  // namespace kivsr::speech
