// Dynamic time warping: checks, copies of the sequences, and the path.
#include "kivsr/vq/dtw.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "dtw_table.h"
#include "frame/matrix_checks.h"
#include "frame/rounding_mode.h"
#include "frame/rows.h"
#include "frame/scale.h"
#include "frame/scratch.h"

namespace kivsr {
namespace {

using dtw::Band;
using dtw::kGroup;

// What every member gets: two sequences of feature vectors.
template <class Rows>
struct Pair {
  Rows first;
  int height1;
  Rows second;
  int height2;
  int width;

  template <class... P>
  KivStatus checks(const P*... pointers) const {
    return first_failure(not_null(array_of(first), array_of(second), pointers...), positive(height1, height2, width),
                         step_covers(first, width), step_covers(second, width));
  }
};
template <class Rows>
Pair(Rows, int, Rows, int, int) -> Pair<Rows>;

// The first sequence a few rows at a time and the second one in columns, in numbers of type T.
template <class T>
class Sequences {
 public:
  template <class Rows>
  explicit Sequences(const Pair<Rows>& pair)
      : tiles_(dtw::Columns<T>::room(pair.height2, pair.width)),
        rows_(kGroup * static_cast<std::size_t>(pair.width)),
        width_(pair.width) {
    if (*this) columns().fill(pair.second, pair.height2);
  }
  explicit operator bool() const { return tiles_ && rows_; }
  dtw::Columns<T> columns() { return {tiles_.data(), width_}; }

  // visit(row, values, rows) for every group; ends early when it returns false.
  template <class Rows, class Visit>
  bool for_each_group(const Pair<Rows>& pair, Visit visit) {
    for (std::ptrdiff_t row = 0; row < pair.height1; row += kGroup) {
      const int rows = static_cast<int>(std::min<std::ptrdiff_t>(kGroup, pair.height1 - row));
      for (int r = 0; r < rows; ++r) {
        const auto* const from = pair.first.row(row + r);
        std::transform(from, from + width_, rows_.data() + r * width_, [](auto x) { return static_cast<T>(x); });
      }
      if (!visit(row, rows_.data(), rows)) return false;
    }
    return true;
  }

 private:
  Scratch<T, 2048> tiles_;
  Scratch<T, 256> rows_;
  std::ptrdiff_t width_;
};

template <class Rows>
Band band_of(const Pair<Rows>& pair, int band) {
  return {pair.height1, pair.height2, band};
}

// The cells of a row; a path begins at the corner.
template <class T>
class CornerCells {
 public:
  using Table = dtw::Table<dtw::Euclidean, T, dtw::Sum<T>, dtw::NoTrace>;
  explicit CornerCells(int columns) : cells_(Table::room(columns)), count_(Table::room(columns)) {
    if (!cells_) return;
    std::fill_n(cells_.data(), count_, dtw::Sum<T>::closed());
    cells_[kGroup - 1] = {0};
  }
  explicit operator bool() const { return static_cast<bool>(cells_); }
  dtw::Sum<T>* data() { return cells_.data(); }

 private:
  Scratch<dtw::Sum<T>, 512> cells_;
  std::size_t count_;
};

KivStatus status_of(double distance) { return distance < dtw::kClosed<double> ? kivStatusOk : kivStatusInfResult; }

// The sum of the best path, infinity if there is none or none up to the limit.
template <class Metric, class T, class Rows>
KivStatus best_sum(const Pair<Rows>& pair, int band, T* result, T limit) {
  Sequences<T> sequences(pair);
  CornerCells<T> cells(pair.height2);
  if (!sequences || !cells) return kivStatusNoMemory;
  dtw::Table<Metric, T, dtw::Sum<T>, dtw::NoTrace> table(sequences.columns(), band_of(pair, band), cells.data(), {});
  const bool limited = !(limit == dtw::kClosed<T>);
  const bool finished = sequences.for_each_group(pair, [&](std::ptrdiff_t row, const T* values, int rows) {
    table.add_rows(row, values, rows);
    return !limited || table.prune(limit);
  });
  const T sum = table.at(pair.height2 - 1).sum;
  *result = finished && (!limited || sum <= limit) ? sum : dtw::kClosed<T>;
  return kivStatusOk;
}

template <class Rows>
KivStatus warp(const Pair<Rows>& pair, Kiv32f* distance, int band, Kiv32f limit = dtw::kClosed<float>) {
  if (const KivStatus s = pair.checks(distance); s != kivStatusOk) return s;
  float sum;
  if (const KivStatus s = best_sum<dtw::Euclidean>(pair, band, &sum, limit); s != kivStatusOk) return s;
  *distance = sum;
  return status_of(sum);
}

template <class Metric, class Rows>
KivStatus warp_scaled(const Pair<Rows>& pair, Kiv32s* distance, int band, int scale_factor) {
  if (const KivStatus s = pair.checks(distance); s != kivStatusOk) return s;
  const NearestRounding rounding;
  double sum;
  if (const KivStatus s = best_sum<Metric>(pair, band, &sum, dtw::kClosed<double>); s != kivStatusOk) return s;
  *distance = status_of(sum) == kivStatusOk ? round_saturated<Kiv32s>(sum * double_scale(scale_factor))
                                            : std::numeric_limits<Kiv32s>::max();
  return status_of(sum);
}

// The path that leads to the last cell, from its first cell on; the number of its cells.
int trace_back(const dtw::Trace& trace, std::ptrdiff_t i, std::ptrdiff_t j, Kiv32s* path) {
  int length = 0;
  const auto add = [&] {
    path[2 * length] = static_cast<Kiv32s>(i);
    path[2 * length + 1] = static_cast<Kiv32s>(j);
    ++length;
  };
  for (add(); i > 0 || j > 0; add()) {
    const dtw::Sum<float> diagonal = trace.at(i - 1, j - 1);
    const dtw::Sum<float> above = trace.at(i - 1, j);
    const float best = dtw::best_of(diagonal, above, trace.at(i, j - 1)).sum;
    const bool up = best == diagonal.sum || best == above.sum;
    if (best == diagonal.sum || !up) --j;
    if (up) --i;
  }
  for (int k = 0; k < length / 2; ++k) std::swap_ranges(path + 2 * k, path + 2 * k + 2, path + 2 * (length - 1 - k));
  return length;
}

template <class Rows>
KivStatus warp_with_path(const Pair<Rows>& pair, Kiv32f* distance, Kiv32s* path, int* length, int band) {
  if (const KivStatus s = pair.checks(distance, path, length); s != kivStatusOk) return s;
  const Band bounds = band_of(pair, band);
  std::ptrdiff_t widest = 0;
  for (int row = 0; row < pair.height1; row += kGroup) {
    const dtw::Range range = dtw::group_columns<float>(bounds, row, std::min(kGroup, pair.height1 - row));
    widest = std::max(widest, range.end - range.begin);
  }
  const std::ptrdiff_t pitch = widest + kGroup;
  const std::uint64_t kept =
      static_cast<std::uint64_t>(pitch) * (static_cast<std::uint64_t>(pair.height1) + kGroup - 1);
  Sequences<float> sequences(pair);
  CornerCells<float> cells(pair.height2);
  Scratch<float, 2048> sums(static_cast<std::size_t>(std::min<std::uint64_t>(kept, SIZE_MAX)));
  Scratch<dtw::Range, 64> ranges(static_cast<std::size_t>(pair.height1));
  if (!sequences || !cells || !sums || !ranges) return kivStatusNoMemory;

  const dtw::Trace trace{sums.data(), ranges.data(), pitch};
  dtw::Table<dtw::Euclidean, float, dtw::Sum<float>, dtw::Trace> table(sequences.columns(), bounds, cells.data(),
                                                                       trace);
  sequences.for_each_group(pair, [&](std::ptrdiff_t row, const float* values, int rows) {
    table.add_rows(row, values, rows);
    return true;
  });
  const float sum = table.at(pair.height2 - 1).sum;
  const KivStatus status = status_of(sum);
  *distance = sum;
  *length = status == kivStatusOk ? trace_back(trace, pair.height1 - 1, pair.height2 - 1, path) : 0;
  return status;
}

template <class Rows>
KivStatus warp_open(const Pair<Rows>& pair, Kiv32f* distances, Kiv32s* starts) {
  if (const KivStatus s = pair.checks(distances, starts); s != kivStatusOk) return s;
  using Table = dtw::Table<dtw::Euclidean, float, dtw::StartedSum, dtw::NoTrace>;
  const std::size_t room = Table::room(pair.height2);
  Sequences<float> sequences(pair);
  Scratch<dtw::StartedSum, 512> cells(room);
  if (!sequences || !cells) return kivStatusNoMemory;
  // Above the first row a path of no cells ends in every column; its first cell is diagonally below.
  std::fill_n(cells.data(), room, dtw::StartedSum::closed());
  for (std::ptrdiff_t j = -1; j < pair.height2; ++j) cells[kGroup + j] = {0, static_cast<std::int32_t>(j + 1)};
  Table table(sequences.columns(), band_of(pair, -1), cells.data(), {});
  sequences.for_each_group(pair, [&](std::ptrdiff_t row, const float* values, int rows) {
    table.add_rows(row, values, rows);
    return true;
  });
  KivStatus status = kivStatusOk;
  for (std::ptrdiff_t j = 0; j < pair.height2; ++j) {
    const dtw::StartedSum cell = table.at(j);
    const KivStatus here = status_of(cell.sum);
    distances[j] = cell.sum;
    starts[j] = here == kivStatusOk ? cell.start : -1;
    if (here != kivStatusOk) status = here;
  }
  return status;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsDTW_L2_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2, int height2,
                            int width, Kiv32f* pDist, int band) {
  return warp(Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width}, pDist, band);
}
KivStatus kivsDTW_L2_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2, int height2,
                             int width, Kiv32f* pDist, int band) {
  return warp(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width}, pDist, band);
}
KivStatus kivsDTW_L2_16s32s_D2Sfs(const Kiv16s* pSrc1, int step1, int height1, const Kiv16s* pSrc2, int step2,
                                  int height2, int width, Kiv32s* pDist, int band, int scaleFactor) {
  return warp_scaled<dtw::Euclidean>(Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width},
                                     pDist, band, scaleFactor);
}
KivStatus kivsDTW_L2_16s32s_D2LSfs(const Kiv16s* const* ppSrc1, int height1, const Kiv16s* const* ppSrc2, int height2,
                                   int width, Kiv32s* pDist, int band, int scaleFactor) {
  return warp_scaled<dtw::Euclidean>(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width}, pDist,
                                     band, scaleFactor);
}
KivStatus kivsDTW_L2Low_16s32s_D2Sfs(const Kiv16s* pSrc1, int step1, int height1, const Kiv16s* pSrc2, int step2,
                                     int height2, int width, Kiv32s* pDist, int band, int scaleFactor) {
  return warp_scaled<dtw::SaturatedEuclidean>(
      Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width}, pDist, band, scaleFactor);
}
KivStatus kivsDTW_L2Low_16s32s_D2LSfs(const Kiv16s* const* ppSrc1, int height1, const Kiv16s* const* ppSrc2,
                                      int height2, int width, Kiv32s* pDist, int band, int scaleFactor) {
  return warp_scaled<dtw::SaturatedEuclidean>(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width},
                                              pDist, band, scaleFactor);
}
KivStatus kivsDTW_L2Thresh_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                  int height2, int width, Kiv32f* pDist, int band, Kiv32f thresh) {
  return warp(Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width}, pDist, band, thresh);
}
KivStatus kivsDTW_L2Thresh_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2, int height2,
                                   int width, Kiv32f* pDist, int band, Kiv32f thresh) {
  return warp(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width}, pDist, band, thresh);
}
KivStatus kivsDTW_L2Path_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                int height2, int width, Kiv32f* pDist, Kiv32s* pPath, int* pPathLen, int band) {
  return warp_with_path(Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width}, pDist, pPath,
                        pPathLen, band);
}
KivStatus kivsDTW_L2Path_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2, int height2,
                                 int width, Kiv32f* pDist, Kiv32s* pPath, int* pPathLen, int band) {
  return warp_with_path(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width}, pDist, pPath, pPathLen,
                        band);
}
KivStatus kivsDTW_L2Open_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                int height2, int width, Kiv32f* pDist, Kiv32s* pStart) {
  return warp_open(Pair{StepRows{pSrc1, step1}, height1, StepRows{pSrc2, step2}, height2, width}, pDist, pStart);
}
KivStatus kivsDTW_L2Open_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2, int height2,
                                 int width, Kiv32f* pDist, Kiv32s* pStart) {
  return warp_open(Pair{PointerRows{ppSrc1}, height1, PointerRows{ppSrc2}, height2, width}, pDist, pStart);
}
}
