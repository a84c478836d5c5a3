// A step between the rows of the front end and the rows that are written.
#pragma once

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

}  // namespace kivsr::speech
