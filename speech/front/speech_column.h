// The decisions of the voice activity detector beside the rows: as their last column, or to choose among them.
#pragma once

#include <span>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

// Rows and decisions come apart, as many of one as of the other in the end.
class SpeechColumn {
 public:
  // append: rows end with 1 or 0. drop: rows without speech are left out. Neither: decisions are not waited for.
  SpeechColumn(bool append, bool drop) : append_(append), drop_(drop) {}

  bool needed() const { return append_ || drop_; }
  // Decisions about the next frames; they are taken.
  void take(std::vector<float>& speech);
  // Of rows that end with their decisions those without, in the order of the frames.
  FeatureMatrix split(const FeatureMatrix& rows);
  // Appends the rows that are complete to result.
  void push(const FeatureMatrix& rows, FeatureMatrix& result);
  // Of the utterance nothing is left.
  void reset();

 private:
  bool append_;
  bool drop_;
  std::vector<float> speech_;  // of frames whose rows have not come
  FeatureMatrix rows_;         // whose decisions have not
};

}  // namespace kivsr::speech
