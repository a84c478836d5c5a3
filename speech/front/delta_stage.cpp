#include "kivsr/speech/front/delta_stage.h"

#include <algorithm>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

// 1 / (2 sum of k^2), k = 1 .. window: the regression then gives the slope in units a frame.
float slope_factor(int window) {
  double sum = 0.0;
  for (int k = 1; k <= window; ++k) sum += static_cast<double>(k) * k;
  return static_cast<float>(0.5 / sum);
}

void repeat_last_row(FeatureMatrix& rows, int height) {
  while (rows.height() < height) {
    rows.values.insert(rows.values.end(), rows.values.end() - rows.width, rows.values.end());
  }
}

// The library completes rows as soon as the frames behind them are there. The matrix begins with the last `history`
// rows of the call before, of which the last `pending` are not complete yet.
struct StreamingWindow {
  int history;
  int pending;
  KivStatus (*run)(const float* rows, int width, float* matrix, int step, int height, int mode);
};

StreamingWindow streaming_window(Delta delta) {
  switch (delta) {
    case Delta::kWin1:
      return {3, 2, [](const float* rows, int width, float* matrix, int step, int height, int mode) {
                return kivsDeltaDelta_Win1_32f_D2(rows, width, matrix, step, height, slope_factor(1), slope_factor(1),
                                                  mode);
              }};
    case Delta::kAurora:
      return {8, 4, [](const float* rows, int, float* matrix, int step, int height, int mode) {
                return kivsDeltaDelta_Aurora_32f_D2(rows, matrix, step, height, mode);
              }};
    default:
      return {6, 4, [](const float* rows, int width, float* matrix, int step, int height, int mode) {
                return kivsDeltaDelta_Win2_32f_D2(rows, width, matrix, step, height, slope_factor(2), slope_factor(2),
                                                  mode);
              }};
  }
}

class StreamingDeltas : public RowStage {
 public:
  explicit StreamingDeltas(const FeatureParameters& parameters)
      : window_(streaming_window(parameters.delta)), matrix_{parameters.row_width(), {}} {
    waiting_.width = parameters.front_end.row_width();
  }

  void push(const FeatureMatrix& rows, FeatureMatrix& result) override {
    append_rows(rows.values, waiting_);
    const int height = waiting_.height();
    if (height < (begun_ ? 1 : window_.history)) return;
    const int first = begun_ ? window_.history - window_.pending : 0;
    const int end = (begun_ ? window_.history : 0) + height;
    run(end, height, begun_ ? 0 : KIV_DELTA_BEGIN);
    emit(first, end - window_.pending, result);
    // The last rows become the history of the next call.
    const auto kept = matrix_.values.end() - window_.history * matrix_.width;
    std::copy(kept, matrix_.values.end(), matrix_.values.begin());
    begun_ = true;
    waiting_.values.clear();
  }

  void finish(FeatureMatrix& result) override {
    const int height = waiting_.height();
    if (begun_) {
      run(window_.history, 0, KIV_DELTA_END);
      emit(window_.history - window_.pending, window_.history, result);
    } else if (height > 0) {
      repeat_last_row(waiting_, window_.history);
      run(window_.history, window_.history, KIV_DELTA_BEGIN | KIV_DELTA_END);
      emit(0, height, result);
    }
    begun_ = false;
    waiting_.values.clear();
  }

 private:
  void run(int matrix_height, int height, int mode) {
    matrix_.values.resize(static_cast<std::size_t>(matrix_height) * static_cast<std::size_t>(matrix_.width));
    const float* const rows = height > 0 ? waiting_.values.data() : matrix_.values.data();
    check(window_.run(rows, waiting_.width, matrix_.values.data(), matrix_.width, height, mode),
          "the library's streaming deltas");
  }
  void emit(int first, int end, FeatureMatrix& result) const {
    const auto width = static_cast<std::size_t>(matrix_.width);
    append_rows(std::span(matrix_.values)
                    .subspan(static_cast<std::size_t>(first) * width, static_cast<std::size_t>(end - first) * width),
                result);
  }

  StreamingWindow window_;
  FeatureMatrix matrix_;   // statics, deltas, accelerations
  FeatureMatrix waiting_;  // statics that the library has not had
  bool begun_ = false;
};

class RegressionDeltas : public RowStage {
 public:
  explicit RegressionDeltas(const FeatureParameters& parameters) : window_(parameters.delta_window) {
    rows_.width = parameters.static_width();
  }

  void push(const FeatureMatrix& rows, FeatureMatrix&) override { append_rows(rows.values, rows_); }

  void finish(FeatureMatrix& result) override {
    const int height = rows_.height();
    if (height > 0) {
      repeat_last_row(rows_, 2 * window_);
      FeatureMatrix matrix{3 * rows_.width, std::vector<float>(3 * rows_.values.size())};
      for (int t = 0; t < rows_.height(); ++t) {
        std::copy(rows_.row(t).begin(), rows_.row(t).end(), matrix.row(t).begin());
      }
      for (const int offset : {0, rows_.width}) {
        check(kivsEvalDelta_32f_D2(matrix.values.data(), matrix.height(), matrix.width, rows_.width, offset, window_,
                                   slope_factor(window_)),
              "kivsEvalDelta_32f_D2");
      }
      append_rows(
          std::span(matrix.values).first(static_cast<std::size_t>(height) * static_cast<std::size_t>(matrix.width)),
          result);
    }
    rows_.values.clear();
  }

 private:
  int window_;
  FeatureMatrix rows_;
};

}  // namespace

std::unique_ptr<RowStage> make_delta_stage(const FeatureParameters& parameters) {
  switch (parameters.delta) {
    case Delta::kNone: return nullptr;
    case Delta::kRegression: return std::make_unique<RegressionDeltas>(parameters);
    default: return std::make_unique<StreamingDeltas>(parameters);
  }
}

}  // namespace kivsr::speech
