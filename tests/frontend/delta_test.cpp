// Delta and acceleration coefficients: every form against its formulas on a whole utterance, then cut into blocks.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr int kBegin = KIV_DELTA_BEGIN;
constexpr int kEnd = KIV_DELTA_END;
constexpr int kAurora = 4;  // reach of the nine-frame window

// A streaming function behind one signature: `val` holds a multiplier for each output column, and forms with scalar
// multipliers take the first of each block.
template <class T>
struct StreamingForm {
  const char* name;
  int reach;
  bool accelerates, per_column;
  std::function<KivStatus(const T* src, const T* val, int width, T* dst, int step, int height, int mode, int scale)>
      call;

  int blocks() const { return accelerates ? 3 : 2; }
  int history() const { return reach == kAurora ? 8 : reach * (accelerates ? 3 : 2); }
  int frame_width(int width) const { return reach == kAurora ? width + 1 : width; }
};

#define PARAMETERS(T) const T *src, const T *val, int w, T *dst, int step, int h, int mode, [[maybe_unused]] int sf
std::vector<StreamingForm<Kiv32f>> streaming_forms(Kiv32f) {
  using T = Kiv32f;
  return {{"Delta_Win1", 1, false, false,
           [](PARAMETERS(T)) { return kivsDelta_Win1_32f_D2(src, w, dst, step, h, val[w], mode); }},
          {"Delta_Win2", 2, false, false,
           [](PARAMETERS(T)) { return kivsDelta_Win2_32f_D2(src, w, dst, step, h, val[w], mode); }},
          {"DeltaDelta_Win1", 1, true, false,
           [](PARAMETERS(T)) { return kivsDeltaDelta_Win1_32f_D2(src, w, dst, step, h, val[w], val[2 * w], mode); }},
          {"DeltaDelta_Win2", 2, true, false,
           [](PARAMETERS(T)) { return kivsDeltaDelta_Win2_32f_D2(src, w, dst, step, h, val[w], val[2 * w], mode); }},
          {"DeltaMul_Win1", 1, false, true,
           [](PARAMETERS(T)) { return kivsDeltaMul_Win1_32f_D2(src, val, w, dst, step, h, mode); }},
          {"DeltaMul_Win2", 2, false, true,
           [](PARAMETERS(T)) { return kivsDeltaMul_Win2_32f_D2(src, val, w, dst, step, h, mode); }},
          {"DeltaDeltaMul_Win1", 1, true, true,
           [](PARAMETERS(T)) { return kivsDeltaDeltaMul_Win1_32f_D2(src, val, w, dst, step, h, mode); }},
          {"DeltaDeltaMul_Win2", 2, true, true,
           [](PARAMETERS(T)) { return kivsDeltaDeltaMul_Win2_32f_D2(src, val, w, dst, step, h, mode); }},
          {"DeltaDelta_Aurora", kAurora, true, false,
           [](PARAMETERS(T)) { return (void)val, (void)w, kivsDeltaDelta_Aurora_32f_D2(src, dst, step, h, mode); }},
          {"DeltaDeltaMul_Aurora", kAurora, true, true,
           [](PARAMETERS(T)) { return (void)w, kivsDeltaDeltaMul_Aurora_32f_D2(src, val, dst, step, h, mode); }}};
}
std::vector<StreamingForm<Kiv16s>> streaming_forms(Kiv16s) {
  using T = Kiv16s;
  return {
      {"Delta_Win1", 1, false, false,
       [](PARAMETERS(T)) { return kivsDelta_Win1_16s_D2Sfs(src, w, dst, step, h, val[w], sf, mode); }},
      {"Delta_Win2", 2, false, false,
       [](PARAMETERS(T)) { return kivsDelta_Win2_16s_D2Sfs(src, w, dst, step, h, val[w], sf, mode); }},
      {"DeltaDelta_Win1", 1, true, false,
       [](PARAMETERS(T)) { return kivsDeltaDelta_Win1_16s_D2Sfs(src, w, dst, step, h, val[w], val[2 * w], sf, mode); }},
      {"DeltaDelta_Win2", 2, true, false,
       [](PARAMETERS(T)) { return kivsDeltaDelta_Win2_16s_D2Sfs(src, w, dst, step, h, val[w], val[2 * w], sf, mode); }},
      {"DeltaMul_Win1", 1, false, true,
       [](PARAMETERS(T)) { return kivsDeltaMul_Win1_16s_D2Sfs(src, val, w, dst, step, h, mode, sf); }},
      {"DeltaMul_Win2", 2, false, true,
       [](PARAMETERS(T)) { return kivsDeltaMul_Win2_16s_D2Sfs(src, val, w, dst, step, h, mode, sf); }},
      {"DeltaDeltaMul_Win1", 1, true, true,
       [](PARAMETERS(T)) { return kivsDeltaDeltaMul_Win1_16s_D2Sfs(src, val, w, dst, step, h, mode, sf); }},
      {"DeltaDeltaMul_Win2", 2, true, true,
       [](PARAMETERS(T)) { return kivsDeltaDeltaMul_Win2_16s_D2Sfs(src, val, w, dst, step, h, mode, sf); }},
      {"DeltaDelta_Aurora", kAurora, true, false,
       [](PARAMETERS(T)) { return (void)val, (void)w, kivsDeltaDelta_Aurora_16s_D2Sfs(src, dst, step, h, mode, sf); }},
      {"DeltaDeltaMul_Aurora", kAurora, true, true,
       [](PARAMETERS(T)) { return (void)w, kivsDeltaDeltaMul_Aurora_16s_D2Sfs(src, val, dst, step, h, mode, sf); }}};
}
#undef PARAMETERS

// --- the formulas in double precision --------------------------------------------------------------------------------

// The weight of the frame k later: the slope of a regression line, order 0, or the curvature of a parabola, to six
// decimals, order 1.
double weight(int reach, int order, int k) {
  if (reach != kAurora) return k;
  return order == 0 ? k / 4.0 : std::round(1e6 * (3 * k * k - 20) / 28) / 1e6;
}

// A sum and the sum of the magnitudes of its terms.
struct Reference {
  double value = 0;
  double magnitudes = 0;
  void add(double term) {
    value += term;
    magnitudes += std::abs(term);
  }
  Reference times(double factor) const { return {value * factor, magnitudes * std::abs(factor)}; }
};

// terms: how many roundings a float may have seen.
void expect_value(Kiv32f actual, const Reference& truth, int, int terms, bool, const std::string& what) {
  ASSERT_TRUE(within_reduction<Kiv32f>(actual, truth.value, truth.magnitudes, static_cast<std::size_t>(terms))) << what;
}
// exact: the terms are multiples of 1; otherwise the weights are decimals that no number holds.
void expect_value(Kiv16s actual, const Reference& truth, int scale, int, bool exact, const std::string& what) {
  const double scaled = std::clamp(std::ldexp(truth.value, -scale), -32768.0, 32767.0);
  if (exact) {
    ASSERT_EQ(actual, std::nearbyint(scaled)) << what;
  } else {
    ASSERT_NEAR(actual, scaled, 0.5 + std::ldexp(1e-7 * truth.magnitudes, -scale)) << what;
  }
}

template <class T>
using Rows = std::vector<std::vector<T>>;

// The static of column i: a frame of the nine-frame form ends with c0 and the log energy.
template <class T>
Reference static_of(const StreamingForm<T>& form, const T* frame, int i) {
  Reference r;
  if (form.reach == kAurora && i == 12) {
    r.add(frame[12] * 0.6 / 23);
    r.add(frame[13] * 0.4);
  } else {
    r.add(frame[i]);
  }
  return r;
}

// All rows of an utterance: statics by the frames, deltas by the statics and accelerations by the deltas as they are
// stored.
template <class T>
void expect_rows(const Rows<T>& rows, const StreamingForm<T>& form, const std::vector<T>& frames,
                 const std::vector<T>& val, int width, int scale) {
  const int n = static_cast<int>(rows.size());
  const bool scales = form.per_column || form.reach != kAurora;
  const auto factor = [&](int block, int i) -> double {
    if (form.per_column) return val[static_cast<std::size_t>(block * width + i)];
    return scales && block > 0 ? val[static_cast<std::size_t>(block * width)] : 1;
  };
  for (int t = 0; t < n; ++t) {
    const auto& row = rows[static_cast<std::size_t>(t)];
    for (int c = 0; c < form.blocks() * width; ++c) {
      const int block = c / width;
      const int i = c % width;
      const std::string what = std::string(form.name) + " width " + std::to_string(width) + " row " +
                               std::to_string(t) + " column " + std::to_string(c);
      Reference truth;
      if (block == 0) {
        truth = static_of(form, frames.data() + t * form.frame_width(width), i);
      } else {
        const int source = block == 2 && form.reach != kAurora ? width : 0;
        for (int k = -form.reach; k <= form.reach; ++k) {
          const auto r = static_cast<std::size_t>(std::clamp(t + k, 0, n - 1));
          truth.add(weight(form.reach, block - 1, k) * rows[r][static_cast<std::size_t>(source + i)]);
        }
      }
      ASSERT_NO_FATAL_FAILURE(expect_value(row[static_cast<std::size_t>(c)], truth.times(factor(block, i)),
                                           block > 0 || form.per_column ? scale : 0, 2 * form.reach + 2,
                                           form.reach != kAurora || block == 0, what));
    }
  }
}

template <class T>
class Deltas : public ::testing::Test {
 protected:
  static constexpr bool kInteger = std::is_integral_v<T>;
  std::vector<T> frames(int n) {
    return kInteger ? random_.values<T>(static_cast<std::size_t>(n), -3000, 3000)
                    : random_.values<T>(static_cast<std::size_t>(n), -20, 20);
  }
  std::vector<T> factors(int n) {
    return kInteger ? random_.values<T>(static_cast<std::size_t>(n), -40, 40)
                    : random_.values<T>(static_cast<std::size_t>(n), -2, 2);
  }
  Random random_{7};
};
using Elements = ::testing::Types<Kiv32f, Kiv16s>;
TYPED_TEST_SUITE(Deltas, Elements);

// Runs an utterance in blocks of the given heights, the rows of the destination moved up between the calls as callers
// do, and returns the last state of every row. The padding of the rows must stay as it was.
template <class T>
Rows<T> run_blocks(const StreamingForm<T>& form, const std::vector<T>& frames, const std::vector<T>& val, int width,
                   int scale, const std::vector<int>& heights) {
  const int frame_width = form.frame_width(width);
  const int columns = form.blocks() * width;
  const int history = form.history();
  Rows<T> rows(frames.size() / static_cast<std::size_t>(frame_width));
  const Guarded<T> multipliers(std::vector<T>(val.begin(), val.begin() + (form.per_column ? columns : 2 * width + 1)));
  Rows<T> kept;
  int done = 0;
  for (std::size_t b = 0; b < heights.size(); ++b) {
    const int height = heights[b];
    const int mode = (b == 0 ? kBegin : 0) | (b + 1 == heights.size() ? kEnd : 0);
    const int top = static_cast<int>(kept.size());
    GuardedMatrix<T> matrix(top + height, columns, columns + 3);
    matrix.fill([] { return T{77}; });
    for (int r = 0; r < top; ++r) std::copy(kept[r].begin(), kept[r].end(), matrix.row(r));
    const Guarded<T> source(
        std::vector<T>(frames.begin() + done * frame_width, frames.begin() + (done + height) * frame_width));
    EXPECT_EQ(form.call(source.data(), multipliers.data(), width, matrix.data(), matrix.step(), height, mode, scale),
              kivStatusOk)
        << form.name << " block " << b;
    for (int r = 0; r < top + height; ++r) {
      rows[static_cast<std::size_t>(done - top + r)] = std::vector<T>(matrix.row(r), matrix.row(r) + columns);
    }
    done += height;
    kept.assign(rows.begin() + done - history, rows.begin() + done);
  }
  return rows;
}

TYPED_TEST(Deltas, FollowTheFormulasForEveryCuttingIntoBlocks) {
  using T = TypeParam;
  constexpr int kFrames = 40;
  for (const auto& form : streaming_forms(T{})) {
    for (int width : {1, 2, 3, 4, 5, 8, 12, 13, 16, 39}) {
      if (form.reach == kAurora && width != 13) continue;
      const auto frames = this->frames(kFrames * form.frame_width(width));
      const auto val = this->factors(3 * width);
      const int scale = this->random_.integer(-1, 7);
      const auto expected = run_blocks(form, frames, val, width, scale, {kFrames});
      ASSERT_NO_FATAL_FAILURE(expect_rows(expected, form, frames, val, width, scale));
      std::vector<std::vector<int>> cuttings = {{kFrames, 0}, {form.history(), kFrames - form.history()}};
      for (int trial = 0; trial < 6; ++trial) {
        std::vector<int> heights = {this->random_.integer(form.history(), kFrames)};
        for (int left = kFrames - heights[0]; left > 0; left -= heights.back()) {
          heights.push_back(this->random_.integer(1, std::min(left, 5)));
        }
        if (trial % 2 == 0) heights.push_back(0);
        cuttings.push_back(heights);
      }
      for (const auto& heights : cuttings) {
        EXPECT_EQ(run_blocks(form, frames, val, width, scale, heights), expected)
            << form.name << " width " << width << " blocks " << heights.size();
      }
    }
  }
}

TYPED_TEST(Deltas, KeepThePaddingOfTheRowsAndShortUtterances) {
  using T = TypeParam;
  for (const auto& form : streaming_forms(T{})) {
    const int width = form.reach == kAurora ? 13 : 6;
    const int n = form.history();
    const auto frames = this->frames(n * form.frame_width(width));
    const auto val = this->factors(3 * width);
    const int step = form.blocks() * width + 2;
    std::vector<T> matrix(static_cast<std::size_t>(n * step), T{77});
    ASSERT_EQ(form.call(frames.data(), val.data(), width, matrix.data(), step, n, kBegin | kEnd, 0), kivStatusOk);
    const auto expected = run_blocks(form, frames, val, width, 0, {n});
    ASSERT_NO_FATAL_FAILURE(expect_rows(expected, form, frames, val, width, 0));
    for (int t = 0; t < n; ++t) {
      auto row = expected[static_cast<std::size_t>(t)];
      row.insert(row.end(), {T{77}, T{77}});
      expect_exact<T>(std::vector<T>(matrix.begin() + t * step, matrix.begin() + (t + 1) * step), row, form.name);
    }
  }
}

TYPED_TEST(Deltas, ReportTheFirstFailureAndWriteNothing) {
  using T = TypeParam;
  constexpr int kMost = std::numeric_limits<int>::max();
  for (const auto& form : streaming_forms(T{})) {
    const int width = form.reach == kAurora ? 13 : 4;
    const int needed = form.blocks() * width;
    const int h = form.history();
    std::vector<T> src(static_cast<std::size_t>(20 * 14), T{1});
    std::vector<T> val(39, T{1});
    std::vector<T> dst(static_cast<std::size_t>(20 * needed), T{5});
    const auto untouched = dst;
    const auto call = [&](const T* s, const T* v, int w, T* d, int step, int height, int mode) {
      return form.call(s, v, w, d, step, height, mode, 0);
    };
    EXPECT_EQ(call(nullptr, val.data(), width, dst.data(), needed, 0, kEnd), kivStatusNullPointer);
    EXPECT_EQ(call(src.data(), val.data(), width, nullptr, 0, -1, kEnd), kivStatusNullPointer);
    if (form.per_column) {
      EXPECT_EQ(call(src.data(), nullptr, width, dst.data(), 0, -1, 0), kivStatusNullPointer);
    }
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), 0, -1, kEnd), kivStatusBadSize);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), 0, 0, 0), kivStatusBadSize);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), 0, 0, kBegin), kivStatusBadSize);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), 0, 0, 4), kivStatusBadSize);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), needed - 1, h, kBegin), kivStatusBadStep);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), needed - 1, 1, kBegin), kivStatusBadStep);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), needed, h - 1, kBegin | kEnd), kivStatusBadSize);
    EXPECT_EQ(call(src.data(), val.data(), width, dst.data(), needed, 0, kBegin | kEnd), kivStatusBadSize);
    if (form.reach != kAurora && !form.per_column) {
      // Products that an int cannot hold; the multipliers would be read at such widths.
      const std::vector<T> one(1, T{1});
      EXPECT_EQ(call(src.data(), val.data(), 0, dst.data(), needed, h, kBegin), kivStatusBadSize);
    }
    if (form.per_column && form.reach != kAurora) {
      EXPECT_EQ(call(src.data(), val.data(), kMost / 2 + 1, dst.data(), kMost, h, kBegin), kivStatusBadStep);
    }
    EXPECT_EQ(dst, untouched) << form.name;
  }
}

template <class T>
KivStatus evaluate(T* m, int height, int step, const T* val, bool per_column, int width, int offset, int reach,
                   int scale) {
  if constexpr (std::is_integral_v<T>) {
    return per_column ? kivsEvalDeltaMul_16s_D2Sfs(m, height, step, val, width, offset, reach, scale)
                      : kivsEvalDelta_16s_D2Sfs(m, height, step, width, offset, reach, val[0], scale);
  } else {
    return per_column ? kivsEvalDeltaMul_32f_D2(m, height, step, val, width, offset, reach)
                      : kivsEvalDelta_32f_D2(m, height, step, width, offset, reach, val[0]);
  }
}

struct MatrixShape {
  bool per_column;
  int reach, height, width;
  int offset() const { return width % 3; }
  int columns() const { return offset() + 2 * width; }
};
std::vector<MatrixShape> matrix_shapes() {
  std::vector<MatrixShape> shapes;
  for (const int reach : {1, 2, 3, 5}) {
    for (const int height : {2 * reach, 2 * reach + 1, 17}) {
      for (const int width : {1, 3, 4, 7, 13, 16}) {
        for (const bool per_column : {false, true}) shapes.push_back({per_column, reach, height, width});
      }
    }
  }
  return shapes;
}

// Element (t, c) of the matrix `after` the call by the one `before`: columns that are no deltas stay.
template <class T>
void expect_matrix_element(const Rows<T>& before, T after, const MatrixShape& shape, const std::vector<T>& val, int t,
                           int c) {
  const std::string what = "reach " + std::to_string(shape.reach) + " row " + std::to_string(t) + " column " +
                           std::to_string(c) + " of " + std::to_string(shape.columns());
  const int i = c - shape.offset() - shape.width;
  if (i < 0) {
    ASSERT_EQ(after, before[static_cast<std::size_t>(t)][static_cast<std::size_t>(c)]) << what;
    return;
  }
  Reference truth;
  const auto add = [&](int r, double factor) {
    truth.add(factor * before[static_cast<std::size_t>(r)][static_cast<std::size_t>(shape.offset() + i)]);
  };
  for (int k = 1; k <= shape.reach; ++k) {
    add(t >= shape.height - shape.reach ? shape.height - 1 : t + k, k);
    add(t < shape.reach ? 0 : t - k, -k);
  }
  const double factor = val[shape.per_column ? static_cast<std::size_t>(i) : 0];
  expect_value(after, truth.times(factor), shape.reach, 2 * shape.reach + 2, true, what);
}

TYPED_TEST(Deltas, OfAMatrixReplaceThePastByTheFirstRowAndTheFutureByTheLast) {
  using T = TypeParam;
  for (const MatrixShape& shape : matrix_shapes()) {
    GuardedMatrix<T> matrix(shape.height, shape.columns(), shape.columns() + shape.width % 2);
    matrix.fill([&] { return this->frames(1)[0]; });
    const auto val = this->factors(shape.width);
    Rows<T> before;
    for (int t = 0; t < shape.height; ++t) before.emplace_back(matrix.row(t), matrix.row(t) + shape.columns());
    ASSERT_EQ(evaluate(matrix.data(), shape.height, static_cast<int>(matrix.step()), val.data(), shape.per_column,
                       shape.width, shape.offset(), shape.reach, shape.reach),
              kivStatusOk);
    for (int t = 0; t < shape.height; ++t) {
      for (int c = 0; c < shape.columns(); ++c) {
        ASSERT_NO_FATAL_FAILURE(expect_matrix_element(before, matrix.at(t, c), shape, val, t, c));
      }
    }
  }
}

TYPED_TEST(Deltas, OfAMatrixCheckInOrder) {
  using T = TypeParam;
  constexpr int kMost = std::numeric_limits<int>::max();
  std::vector<T> m(64, T{1});
  const std::vector<T> val(8, T{1});
  for (const bool mul : {false, true}) {
    const auto call = [&](T* matrix, int height, int step, int width, int offset, int reach) {
      return evaluate(matrix, height, step, val.data(), mul, width, offset, reach, 0);
    };
    EXPECT_EQ(call(nullptr, 0, 0, 0, -1, 0), kivStatusNullPointer);
    if (mul) {
      EXPECT_EQ(evaluate<T>(m.data(), 4, 8, nullptr, true, 2, 0, 1, 0), kivStatusNullPointer);
    }
    EXPECT_EQ(call(m.data(), 0, 0, 2, 0, 1), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 4, 0, 0, 0, 1), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 4, 0, 2, 0, 0), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 4, 0, 2, -1, 1), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 3, 0, 2, 0, 2), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 4, 8, 2, 0, kMost), kivStatusBadSize);
    EXPECT_EQ(call(m.data(), 4, 4, 2, 1, 2), kivStatusBadStep);
    EXPECT_EQ(call(m.data(), 4, kMost, kMost / 2 + 1, 8, 2), kivStatusBadStep);
    EXPECT_EQ(std::count(m.begin(), m.end(), T{1}), 64);
  }
}

TEST(Deltas16s, RoundToEvenSaturateAndTakeAnyScaleFactor) {
  // Static, delta: (x[1] - x[0]) * val = 5, 7, -5, 65535 * 32767.
  const std::vector<Kiv16s> frames = {0, 0, 0, -32768, 5, 7, -5, 32767};
  const auto deltas = [&](Kiv16s val, int scale) {
    std::vector<Kiv16s> rows(16);
    EXPECT_EQ(kivsDelta_Win1_16s_D2Sfs(frames.data(), 4, rows.data(), 8, 2, val, scale, kBegin | kEnd), kivStatusOk);
    return std::vector<Kiv16s>(rows.begin() + 4, rows.begin() + 8);
  };
  EXPECT_EQ(deltas(1, 1), (std::vector<Kiv16s>{2, 4, -2, 32767}));
  EXPECT_EQ(deltas(32767, 16), (std::vector<Kiv16s>{2, 3, -2, 32767}));
  EXPECT_EQ(deltas(-32768, 16), (std::vector<Kiv16s>{-2, -4, 2, -32768}));
  EXPECT_EQ(deltas(1, std::numeric_limits<int>::max()), (std::vector<Kiv16s>{0, 0, 0, 0}));
  EXPECT_EQ(deltas(1, std::numeric_limits<int>::min()), (std::vector<Kiv16s>{32767, 32767, -32768, 32767}));
}

// One frame of ones among zeros gives the weights themselves, from the latest frame to the earliest.
TEST(DeltasAurora, OfAnImpulseAreTheWeights) {
  std::vector<Kiv32f> frames(12 * 14);
  std::fill_n(frames.begin() + 5 * 14, 12, 1.0F);
  std::vector<Kiv32f> rows(12 * 39);
  ASSERT_EQ(kivsDeltaDelta_Aurora_32f_D2(frames.data(), rows.data(), 39, 12, kBegin | kEnd), kivStatusOk);
  const auto constant = [](std::uint32_t pattern) { return std::bit_cast<Kiv32f>(pattern); };
  const Kiv32f a = constant(0xBE92491BU);  // -0.285714
  const Kiv32f b = constant(0xBF1B6DB9U);  // -0.607143
  const Kiv32f curvature[] = {1, 0.25F, a, b, constant(0xBF36DB73U), b, a, 0.25F, 1};
  for (int k = -4; k <= 4; ++k) {
    const auto row = rows.begin() + (5 - k) * 39;
    EXPECT_EQ(row[13], static_cast<Kiv32f>(k) / 4) << k;
    EXPECT_EQ(row[26], curvature[k + 4]) << k;
  }
}

TEST(DeltasAurora, OfAConstantVanishUpToTheRoundingOfTheWeights) {
  std::vector<Kiv32f> frames(12 * 14, 3.0F);
  std::vector<Kiv32f> rows(12 * 39);
  ASSERT_EQ(kivsDeltaDelta_Aurora_32f_D2(frames.data(), rows.data(), 39, 12, kBegin | kEnd), kivStatusOk);
  for (int t = 0; t < 12; ++t) {
    for (int i = 0; i < 13; ++i) {
      EXPECT_EQ(rows[static_cast<std::size_t>(t * 39 + 13 + i)], 0.0F);
      EXPECT_NEAR(rows[static_cast<std::size_t>(t * 39 + 26 + i)], 0.0F, 1e-5F);
    }
  }
}

}  // namespace
}  // namespace kivsr::test
