// Search grids over full-search books of width 1 and 2: each cell lists the codewords that can be nearest to a point in
// it, so that a search compares a few candidates and finds the codeword that the exhaustive search finds.
#pragma once

#include "index.h"

namespace kivsr::vq {

struct GridAxis {
  int cells;
  float cell_width;
  float lower;  // lower bound of cell 0
  float upper;  // bound above the data

  // -1 below the lower bound, `cells` beyond the last cell and for NaN.
  int cell(float x) const {
    if (x < lower) return -1;
    const double position = (static_cast<double>(x) - static_cast<double>(lower)) / static_cast<double>(cell_width);
    return position < cells ? static_cast<int>(position) : cells;
  }
};

struct Grid {
  int width;             // 1 or 2
  GridAxis axes[2];      // of width 1 the second has one cell
  CandidateLists lists;  // (cells + 2) per axis, the first axis slowest; an empty list stands for the whole book

  int list(const float* x) const {
    const int column = axes[0].cell(x[0]) + 1;
    return width == 1 ? column : column * (axes[1].cells + 2) + axes[1].cell(x[1]) + 1;
  }
};

// Decides whether a grid pays for the book and builds it. *grid stays null if it does not; false if memory ran out.
bool build_grid(const Tiles& all, Grid** grid);

}  // namespace kivsr::vq
