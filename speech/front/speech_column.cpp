#include "kivsr/speech/front/speech_column.h"

#include <algorithm>

#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

void SpeechColumn::take(std::vector<float>& speech) {
  speech_.insert(speech_.end(), speech.begin(), speech.end());
  speech.clear();
}

FeatureMatrix SpeechColumn::split(const FeatureMatrix& rows) {
  FeatureMatrix features{rows.width - 1, {}};
  for (int t = 0; t < rows.height(); ++t) {
    const auto row = rows.row(t);
    append_rows(row.first(row.size() - 1), features);
    speech_.push_back(row.back());
  }
  return features;
}

void SpeechColumn::push(const FeatureMatrix& rows, FeatureMatrix& result) {
  rows_.width = rows.width;
  append_rows(rows.values, rows_);
  const int complete = std::min(rows_.height(), static_cast<int>(speech_.size()));
  for (int t = 0; t < complete; ++t) {
    const float speech = speech_[static_cast<std::size_t>(t)];
    if (drop_ && speech == 0.0F) continue;
    append_rows(rows_.row(t), result);
    if (append_) result.values.push_back(speech);
  }
  speech_.erase(speech_.begin(), speech_.begin() + complete);
  rows_.values.erase(rows_.values.begin(), rows_.values.begin() + complete * rows_.width);
}

void SpeechColumn::reset() {
  speech_.clear();
  rows_.values.clear();
}

}  // namespace kivsr::speech
