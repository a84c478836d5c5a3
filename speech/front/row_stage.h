// A step between the rows of the front end and the rows that come out of a recipe.
#pragma once

#include <functional>
#include <utility>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// One utterance after the other: push rows as they come, then finish, which leaves the stage ready for the next.
// Both append the rows that are complete to result, which has the stage's width. The rows are the same bits however
// they are cut into blocks.
class RowStage {
 public:
  virtual ~RowStage() = default;
  virtual void push(const FeatureMatrix& rows, FeatureMatrix& result) = 0;
  virtual void finish(FeatureMatrix& result) = 0;
};

inline void append_rows(std::span<const float> rows, FeatureMatrix& result) {
  result.values.insert(result.values.end(), rows.begin(), rows.end());
}

// Keeps the rows of an utterance until it ends, changes them all at once and passes them on.
class WholeUtterance : public RowStage {
 public:
  // act gets at least one row; it may make the rows wider.
  WholeUtterance(int width, std::function<void(FeatureMatrix&)> act) : width_(width), act_(std::move(act)) {
    rows_.width = width_;
  }

  void push(const FeatureMatrix& rows, FeatureMatrix&) override { append_rows(rows.values, rows_); }
  void finish(FeatureMatrix& result) override {
    if (rows_.height() > 0) act_(rows_);
    append_rows(rows_.values, result);
    rows_.width = width_;
    rows_.values.clear();
  }

 private:
  int width_;
  FeatureMatrix rows_;
  std::function<void(FeatureMatrix&)> act_;
};

}  // namespace kivsr::speech
