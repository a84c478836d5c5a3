#include "kivsr/speech/front/dynamics_stage.h"

#include <algorithm>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

std::size_t size_of(int count) { return static_cast<std::size_t>(count); }

// 1 / (2 sum of k^2), k = 1 .. window: the regression then gives the slope in units a frame.
float slope_factor(int window) {
  double sum = 0.0;
  for (int k = 1; k <= window; ++k) sum += static_cast<double>(k) * k;
  return static_cast<float>(0.5 / sum);
}

void repeat_last_row(FeatureMatrix& rows, int height) {
  const int missing = height - rows.height();
  for (int i = 0; i < missing; ++i) {
    rows.values.insert(rows.values.end(), rows.values.end() - rows.width, rows.values.end());
  }
}

// The library completes rows as soon as the frames behind them are there. The matrix begins with the last `history`
// rows of the call before, of which the last `pending` are not complete yet.
struct StreamingWindow {
  int history;
  int pending;
  void (*run)(const float* rows, int width, float* matrix, int step, int height, int mode);
};

StreamingWindow streaming_window(Dynamics dynamics) {
  switch (dynamics) {
    case Dynamics::kWin1:
      return {3, 2, [](const float* rows, int width, float* matrix, int step, int height, int mode) {
                call<kivsDeltaDelta_Win1_32f_D2>(rows, width, matrix, step, height, slope_factor(1), slope_factor(1),
                                                 mode);
              }};
    case Dynamics::kAurora:
      return {8, 4, [](const float* rows, int, float* matrix, int step, int height, int mode) {
                call<kivsDeltaDelta_Aurora_32f_D2>(rows, matrix, step, height, mode);
              }};
    default:
      return {6, 4, [](const float* rows, int width, float* matrix, int step, int height, int mode) {
                call<kivsDeltaDelta_Win2_32f_D2>(rows, width, matrix, step, height, slope_factor(2), slope_factor(2),
                                                 mode);
              }};
  }
}

class StreamingDynamics : public RowStage {
 public:
  explicit StreamingDynamics(const Recipe& recipe) : window_(streaming_window(recipe.dynamics)) {
    matrix_.width = 3 * recipe.static_width();
    waiting_.width = recipe.input_width();
  }

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    if (begun_) return advance(rows, result);
    append_rows(rows.values, waiting_);
    if (waiting_.height() < window_.history) return;
    advance(waiting_, result);
    waiting_.values.clear();
  }

  bool finish(FeatureMatrix& result) override {
    const int height = waiting_.height();
    if (begun_) {
      run(window_.history, matrix_, 0, KIV_DELTA_END);
      emit(window_.history - window_.pending, window_.history, result);
    } else if (height > 0) {
      repeat_last_row(waiting_, window_.history);
      run(window_.history, waiting_, window_.history, KIV_DELTA_BEGIN | KIV_DELTA_END);
      emit(0, height, result);
    }
    begun_ = false;
    waiting_.values.clear();
    return false;
  }

 private:
  void advance(const FeatureMatrix& rows, FeatureMatrix& result) {
    const int first = begun_ ? window_.history - window_.pending : 0;
    const int end = (begun_ ? window_.history : 0) + rows.height();
    run(end, rows, rows.height(), begun_ ? 0 : KIV_DELTA_BEGIN);
    emit(first, end - window_.pending, result);
    // The last rows become the history of the next call.
    std::copy(matrix_.values.end() - window_.history * matrix_.width, matrix_.values.end(), matrix_.values.begin());
    begun_ = true;
  }
  void run(int matrix_height, const FeatureMatrix& rows, int height, int mode) {
    matrix_.values.resize(size_of(matrix_height) * size_of(matrix_.width));
    window_.run(rows.values.data(), waiting_.width, matrix_.values.data(), matrix_.width, height, mode);
  }
  void emit(int first, int end, FeatureMatrix& result) const {
    const std::size_t width = size_of(matrix_.width);
    append_rows(std::span(matrix_.values).subspan(size_of(first) * width, size_of(end - first) * width), result);
  }

  StreamingWindow window_;
  FeatureMatrix matrix_;   // statics, first and second derivatives
  FeatureMatrix waiting_;  // the first statics of an utterance, fewer than the library begins with
  bool begun_ = false;
};

// Rows that depend on so many frames before and behind; frames beyond either end repeat the first or the last.
class NeighbourStage : public RowStage {
 public:
  NeighbourStage(int width, int reach) : reach_(reach) { frames_.width = width; }

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    if (frames_.values.empty()) {
      for (int i = 0; i < reach_; ++i) append_rows(rows.row(0), frames_);
    }
    append_rows(rows.values, frames_);
    emit(result);
  }

  bool finish(FeatureMatrix& result) override {
    if (!frames_.values.empty()) repeat_last_row(frames_, frames_.height() + reach_);
    emit(result);
    frames_.values.clear();
    return false;
  }

 protected:
  const FeatureMatrix& frames() const { return frames_; }
  int width() const { return frames_.width; }
  int reach() const { return reach_; }

 private:
  // Appends the row of a frame that has its neighbours.
  virtual void complete(int t, FeatureMatrix& result) = 0;

  // All frames that have reach_ others on both sides; the last 2 reach_ stay for the next call.
  void emit(FeatureMatrix& result) {
    const int count = std::max(0, frames_.height() - 2 * reach_);
    for (int t = 0; t < count; ++t) complete(t + reach_, result);
    frames_.values.erase(frames_.values.begin(), frames_.values.begin() + count * frames_.width);
  }

  int reach_;
  FeatureMatrix frames_;
};

// Columns of [c, d, dd, l] in the order of a row: the first three groups as they stand, or the streams [c1 ..], [d1 ..,
// l1 ..], [c0, d0, dd0], [dd1 ..].
std::vector<std::size_t> difference_columns(Dynamics dynamics, std::size_t width) {
  std::vector<std::size_t> columns;
  const auto add = [&](int group, std::size_t first, std::size_t last) {
    for (std::size_t i = first; i < last; ++i) columns.push_back(size_of(group) * width + i);
  };
  const bool streams = dynamics == Dynamics::kStreams;
  if (streams) {
    for (const int group : {0, 1, 3}) add(group, 1, width);
  }
  for (const int group : {0, 1, 2}) add(group, 0, streams ? 1 : width);
  if (streams) add(2, 1, width);
  return columns;
}

// c, d(t) = c(t+2) - c(t-2), dd(t) = (c(t+3) - c(t-1)) - (c(t+1) - c(t-3)) and l(t) = c(t+4) - c(t-4).
class DifferencesStage : public NeighbourStage {
 public:
  explicit DifferencesStage(const Recipe& recipe)
      : NeighbourStage(recipe.input_width(), recipe.dynamics == Dynamics::kStreams ? 4 : 3),
        columns_(difference_columns(recipe.dynamics, size_of(width()))),
        groups_(4 * size_of(width())),
        earlier_(size_of(width())) {}

 private:
  void complete(int t, FeatureMatrix& result) override {
    derive(t);
    const std::size_t first = result.values.size();
    result.values.resize(first + columns_.size());
    for (std::size_t i = 0; i < columns_.size(); ++i) result.values[first + i] = groups_[columns_[i]];
  }
  void derive(int t) {
    const auto group = [&](int index) { return groups_.data() + index * width(); };
    call<kivsCopy_32f>(frames().row(t).data(), group(0), width());
    subtract(t + 2, t - 2, group(1));
    subtract(t + 3, t - 1, group(2));
    subtract(t + 1, t - 3, earlier_.data());
    call<kivsSub_32f_I>(earlier_, group(2), width());
    if (reach() == 4) subtract(t + 4, t - 4, group(3));
  }
  void subtract(int later, int earlier, float* difference) const {
    call<kivsCopy_32f>(frames().row(later).data(), difference, width());
    call<kivsSub_32f_I>(frames().row(earlier).data(), difference, width());
  }

  std::vector<std::size_t> columns_;
  std::vector<float> groups_;  // of a frame
  std::vector<float> earlier_;
};

// c(t-W), ..., c(t), ..., c(t+W).
class SpliceStage : public NeighbourStage {
 public:
  explicit SpliceStage(const Recipe& recipe) : NeighbourStage(recipe.input_width(), recipe.regression_window) {}

 private:
  void complete(int t, FeatureMatrix& result) override {
    for (int offset = -reach(); offset <= reach(); ++offset) append_rows(frames().row(t + offset), result);
  }
};

// The statics become the left third of a matrix whose other two the library fills.
void append_regression(FeatureMatrix& rows, int window) {
  const int height = rows.height();
  repeat_last_row(rows, 2 * window);
  FeatureMatrix matrix{3 * rows.width, std::vector<float>(3 * rows.values.size())};
  for (int t = 0; t < rows.height(); ++t) std::copy(rows.row(t).begin(), rows.row(t).end(), matrix.row(t).begin());
  for (const int offset : {0, rows.width}) {
    call<kivsEvalDelta_32f_D2>(matrix.values, matrix.height(), matrix.width, rows.width, offset, window,
                               slope_factor(window));
  }
  matrix.values.resize(size_of(height) * size_of(matrix.width));
  rows = std::move(matrix);
}

// Third derivatives by a regression over five frames of the second; frames beyond either end repeat the first or the
// last. Then the columns that stay.
class ColumnsStage : public NeighbourStage {
 public:
  explicit ColumnsStage(const Recipe& recipe)
      : NeighbourStage(3 * recipe.static_width(), recipe.derivatives == 3 ? 2 : 0),
        statics_(recipe.static_width()),
        kept_(size_of((1 + recipe.derivatives) * statics_)),
        dropped_(recipe.drop_energy ? recipe.front_end.energy_column() : -1) {}

 private:
  void complete(int t, FeatureMatrix& result) override {
    const auto row = frames().row(t);
    row_.assign(row.begin(), row.end());
    for (std::size_t i = 2 * size_of(statics_); reach() > 0 && i < 3 * size_of(statics_); ++i) {
      const auto second = [&](int offset) { return frames().row(t + offset)[i]; };
      row_.push_back(slope_factor(2) * (second(1) - second(-1) + 2.0F * (second(2) - second(-2))));
    }
    row_.resize(kept_);
    if (dropped_ >= 0) row_.erase(row_.begin() + dropped_);
    append_rows(row_, result);
  }

  int statics_;
  std::size_t kept_;
  int dropped_;  // column; below 0: none
  std::vector<float> row_;
};

}  // namespace

std::unique_ptr<RowStage> make_columns_stage(const Recipe& recipe) {
  if (recipe.dynamics == Dynamics::kNone || (recipe.derivatives == 2 && !recipe.drop_energy)) return nullptr;
  return std::make_unique<ColumnsStage>(recipe);
}

std::unique_ptr<RowStage> make_dynamics_stage(const Recipe& recipe) {
  switch (recipe.dynamics) {
    case Dynamics::kNone: return nullptr;
    case Dynamics::kDifferences:
    case Dynamics::kStreams: return std::make_unique<DifferencesStage>(recipe);
    case Dynamics::kSplice: return std::make_unique<SpliceStage>(recipe);
    case Dynamics::kRegression:
      return std::make_unique<WholeUtterance>(
          recipe.input_width(),
          [window = recipe.regression_window](FeatureMatrix& rows) { append_regression(rows, window); });
    default: return std::make_unique<StreamingDynamics>(recipe);
  }
}

}  // namespace kivsr::speech
