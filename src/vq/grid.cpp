// Choice of the cell counts and of the candidates of each cell.
#include "grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/allocator.h"

namespace kivsr::vq {
namespace {

constexpr int kLeastVectors = 11;
constexpr int kFirstCells = 4;
constexpr int kMostLists = 4096;

struct Range {
  float low;
  float high;
};

float element(const Tiles& all, std::ptrdiff_t i, int j) {
  return lane(all.values, all.width, i)[static_cast<std::ptrdiff_t>(j) * kLanes];
}

Range range_of(const Tiles& all, int j) {
  Range range{kInfinity, -kInfinity};
  for (int i = 0; i < all.count; ++i) {
    const float x = element(all, i, j);
    if (!std::isfinite(x)) return {-kInfinity, kInfinity};
    range.low = std::min(range.low, x);
    range.high = std::max(range.high, x);
  }
  return range;
}

GridAxis axis_of(Range range, int cells) {
  GridAxis axis;
  axis.cells = cells;
  axis.cell_width = std::abs(range.high - range.low) * 1.1F / static_cast<float>(cells);
  axis.lower = range.low * (range.low > 0.0F ? 0.9F : 1.1F);
  axis.upper = range.high * (range.low > 0.0F || range.high > 0.0F ? 1.1F : 0.9F);
  return axis;
}

// Occupancy: the number of codewords that share the cell of a codeword, on average.
double occupancy(const Tiles& all, const Grid& grid, Kiv32s* counts) {
  const std::ptrdiff_t lists = static_cast<std::ptrdiff_t>(grid.axes[0].cells + 2) * (grid.axes[1].cells + 2);
  std::fill_n(counts, lists, 0);
  for (int i = 0; i < all.count; ++i) {
    float x[2] = {};
    for (int j = 0; j < grid.width; ++j) x[j] = element(all, i, j);
    ++counts[grid.list(x)];
  }
  double sum = 0.0;
  for (std::ptrdiff_t k = 0; k < lists; ++k) sum += static_cast<double>(counts[k]) * counts[k];
  return sum / all.count;
}

// Bounds of the distance along one axis from the points of a cell to a codeword element.
struct Interval {
  double low;
  double high;
};

Interval interval_of(const GridAxis& axis, int cell) {
  const double width = static_cast<double>(axis.cell_width);
  const double lower = static_cast<double>(axis.lower);
  const double slack = 1e-6 * width + 1e-12 * std::abs(lower);
  return {lower + cell * width - slack, lower + (cell + 1) * width + slack};
}

double least(Interval i, double c) { return std::max({i.low - c, c - i.high, 0.0}); }
double greatest(Interval i, double c) { return std::max(std::abs(i.low - c), std::abs(i.high - c)); }

// The codewords that can be nearest to a point of the cell: those whose least distance to it does not exceed the least
// of the greatest distances, with room for the rounding of the distances that a search computes.
class CellCandidates {
 public:
  CellCandidates(const Tiles& all, const Grid& grid) : all_(all), grid_(grid) {}

  template <class Visit>
  void each(int column, int row, Visit visit) const {
    const Interval cell[2] = {interval_of(grid_.axes[0], column), interval_of(grid_.axes[1], row)};
    double reach = std::numeric_limits<double>::infinity();
    for (int i = 0; i < all_.count; ++i) reach = std::min(reach, squared(i, cell, greatest));
    reach = reach * (1.0 + 1e-5) + 1e-36;
    for (int i = 0; i < all_.count; ++i) {
      if (squared(i, cell, least) <= reach) visit(i);
    }
  }

 private:
  template <class Distance>
  double squared(int i, const Interval* cell, Distance distance) const {
    double sum = 0.0;
    for (int j = 0; j < grid_.width; ++j) {
      const double d = distance(cell[j], static_cast<double>(element(all_, i, j)));
      sum += (all_.weights == nullptr ? 1.0 : static_cast<double>(all_.weights[j])) * d * d;
    }
    return sum;
  }
  const Tiles& all_;
  const Grid& grid_;
};

// The interior cells of a grid: visit(column, row, place of the list).
template <class Visit>
void each_cell(const Grid& grid, Visit visit) {
  const bool line = grid.width == 1;
  const int rows = line ? 1 : grid.axes[1].cells;
  const std::ptrdiff_t step = line ? 1 : rows + 2;
  const int first = line ? 0 : 1;
  for (int column = 0; column < grid.axes[0].cells; ++column) {
    for (int row = 0; row < rows; ++row) visit(column, row, (column + 1) * step + row + first);
  }
}

std::ptrdiff_t lists_of(const Grid& grid) {
  const std::ptrdiff_t columns = grid.axes[0].cells + 2;
  return grid.width == 1 ? columns : columns * (grid.axes[1].cells + 2);
}

// Places the lists: interior cells hold their candidates, unless those are most of the book; outer cells stay empty.
bool build_lists(const Tiles& all, const Grid& cells, Kiv32s* sizes, Grid** grid) {
  const CellCandidates candidates(all, cells);
  const std::ptrdiff_t lists = lists_of(cells);
  std::fill_n(sizes, lists, 0);
  std::ptrdiff_t tiles = 0;
  each_cell(cells, [&](int column, int row, std::ptrdiff_t k) {
    Kiv32s size = 0;
    candidates.each(column, row, [&size](int) { ++size; });
    sizes[k] = size > all.count / 2 ? 0 : size;
    tiles += tiles_of(sizes[k]);
  });

  Layout layout;
  const auto header = layout.add<Grid>(1);
  const CandidateListsLayout parts(layout, lists, tiles, all.width);
  void* const block = layout.overflow() ? nullptr : allocate_bytes(layout.bytes());
  if (block == nullptr) return false;
  Grid* const result = header.in(block);
  *result = cells;
  result->lists = parts.in(block);
  result->lists.set_sizes(sizes, lists);
  each_cell(cells, [&](int column, int row, std::ptrdiff_t k) {
    if (sizes[k] == 0) return;
    int n = 0;
    candidates.each(column, row, [&](int i) { result->lists.set(all, k, n++, i); });
    result->lists.finish(all, k);
  });
  *grid = result;
  return true;
}

// The grid of the first choice of cells; false if the codewords allow none.
bool first_cells(const Tiles& all, Range* ranges, Grid& grid) {
  grid = {};
  grid.width = all.width;
  ranges[0] = range_of(all, 0);
  ranges[1] = all.width == 2 ? range_of(all, 1) : Range{0.0F, 1.0F};
  grid.axes[0] = axis_of(ranges[0], kFirstCells);
  grid.axes[1] = axis_of(ranges[1], all.width == 2 ? kFirstCells : 1);
  for (int j = 0; j < all.width; ++j) {
    const GridAxis& axis = grid.axes[j];
    const bool usable = std::isfinite(ranges[j].high - ranges[j].low) && std::isfinite(axis.cell_width) &&
                        std::isfinite(axis.lower) && axis.cell_width > 0.0F;
    if (!usable) return false;
  }
  return true;
}

// One more cell along one axis, the better one. Returns the occupancy, infinite where no list is left for it.
double add_cells(const Tiles& all, const Range* ranges, Grid& grid, Kiv32s* counts) {
  const Grid before = grid;
  double least_measure = std::numeric_limits<double>::infinity();
  for (int j = 0; j < all.width; ++j) {
    Grid candidate = before;
    candidate.axes[j] = axis_of(ranges[j], before.axes[j].cells + 1);
    if ((candidate.axes[0].cells + 2) * (candidate.axes[1].cells + 2) > kMostLists) continue;
    const double m = occupancy(all, candidate, counts);
    if (j == 0 || tolerant_less(m, least_measure)) {
      least_measure = m;
      grid = candidate;
    }
  }
  return least_measure;
}

}  // namespace

bool build_grid(const Tiles& all, Grid** grid) {
  if (all.width > 2 || all.count < kLeastVectors) return true;
  Range ranges[2];
  Grid chosen;
  if (!first_cells(all, ranges, chosen)) return true;
  // Cells are added while that lowers the measure by more than 5 %: 20 to 60 an axis.
  Kiv32s counts[kMostLists];
  double measure = occupancy(all, chosen, counts);
  for (;;) {
    Grid next = chosen;
    const double next_measure = add_cells(all, ranges, next, counts);
    if (!(measure - next_measure > 0.05 * measure)) break;
    chosen = next;
    measure = next_measure;
  }
  const double limit = all.count / (all.width == 1 ? 5.0 : 10.0);
  if (!(tolerant_less(measure, limit) || tolerant_equal(measure, limit))) return true;
  return build_lists(all, chosen, counts, grid);
}

}  // namespace kivsr::vq
