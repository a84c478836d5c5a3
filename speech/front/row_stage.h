// A step between the rows of the front end and the rows that come out of a recipe.
#pragma once

#include <algorithm>
#include <functional>
#include <utility>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// One utterance after the other: push rows as they come, then finish until it says that no more rows wait, which leaves
// the stage ready for the next. Both append the rows that are complete to result, which has the stage's width. The rows
// are the same bits however they are cut into blocks.
class RowStage {
 public:
  virtual ~RowStage() = default;
  virtual void push(const FeatureMatrix& rows, FeatureMatrix& result) = 0;
  virtual bool finish(FeatureMatrix& result) = 0;
};

inline void append_rows(std::span<const float> rows, FeatureMatrix& result) {
  result.values.insert(result.values.end(), rows.begin(), rows.end());
}

// Keeps the rows of an utterance until it ends, changes them all at once and passes them on in blocks.
class WholeUtterance : public RowStage {
 public:
  // act gets at least one row; it may make the rows wider.
  WholeUtterance(int width, std::function<void(FeatureMatrix&)> act) : width_(width), act_(std::move(act)) {
    rows_.width = width_;
  }

  void push(const FeatureMatrix& rows, FeatureMatrix&) override { append_rows(rows.values, rows_); }
  bool finish(FeatureMatrix& result) override {
    if (passed_on_ == 0 && rows_.height() > 0) act_(rows_);
    const int count = std::min(rows_.height() - passed_on_, kBlockRows);
    const auto width = static_cast<std::size_t>(rows_.width);
    append_rows(std::span(rows_.values)
                    .subspan(static_cast<std::size_t>(passed_on_) * width, static_cast<std::size_t>(count) * width),
                result);
    passed_on_ += count;
    if (passed_on_ < rows_.height()) return true;
    passed_on_ = 0;
    rows_ = {width_, {}};
    return false;
  }

 private:
  static constexpr int kBlockRows = 1024;

  int width_;
  FeatureMatrix rows_;
  int passed_on_ = 0;
  std::function<void(FeatureMatrix&)> act_;
};

}  // namespace kivsr::speech
