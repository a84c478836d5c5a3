// The nearest codeword of the rows of a matrix: through the grid, the groups of the cluster tree or the whole book.
#pragma once

#include <algorithm>

#include "frame/scratch.h"
#include "grid.h"

namespace kivsr::vq {

// The expanded form for N rows of differences x' (width elements each, one after the other).
// Returns for each row the nearest codeword, or -1 where another comes too close to be told from it.
template <int N>
void nearest_centred(const FullIndex& index, const float* differences, const float* norms, int* nearest);

// x - mean, and sum w (x - mean)^2.
float centre(const FullIndex& index, const float* x, float* differences);

// The nearest codeword among the groups of a trained book, and among all of it.
int nearest_in_groups(const Groups& groups, const Tiles& all, const float* x);
int nearest_in_grid(const Grid& grid, const Tiles& all, const float* x);
inline int nearest_of_all(const Tiles& all, const float* x) { return std::max(nearest(all, x).index, 0); }

// Rows searched together by the expanded form: as many as registers hold.
#if defined(__i386__)
inline constexpr int kRows = 2;
#else
inline constexpr int kRows = 4;
#endif

// Memory of a search, private to the call: a book may be searched by many threads at once.
class SearchMemory {
 public:
  struct Needs {
    std::size_t index_bytes = 0;  // of the index of a book in caller memory
    std::size_t row_floats = 0;
    template <class T>
    void cover(const Codebook<T>& book) {
      row_floats = std::max(row_floats, static_cast<std::size_t>(book.width) * 2 * kRows);
      if (stored_index(book) != nullptr) return;
      Layout layout;
      const FullIndexLayout parts(layout, book.width, book.count);
      index_bytes = std::max(index_bytes, layout.overflow() ? static_cast<std::size_t>(-1) : layout.bytes());
    }
  };
  template <class T>
  explicit SearchMemory(const Codebook<T>& book) : SearchMemory(needs_of(book)) {}
  explicit SearchMemory(Needs needs) : index_(needs.index_bytes), rows_(needs.row_floats) {}
  // False: an allocation failed.
  explicit operator bool() const { return static_cast<bool>(index_) && static_cast<bool>(rows_); }
  void* index() { return index_.data(); }
  float* rows() { return rows_.data(); }

 private:
  template <class T>
  static Needs needs_of(const Codebook<T>& book) {
    Needs needs;
    needs.cover(book);
    return needs;
  }
  Scratch<char, 16384> index_;
  Scratch<float, 128 * 2 * kRows> rows_;
};

// Searches of one book.
template <class T>
class Searcher {
 public:
  Searcher(const Codebook<T>& book, SearchMemory& memory)
      : book_(book), index_(stored_index(book)), rows_(memory.rows()) {
    if (index_ != nullptr) {
      full_ = index_->full;
    } else {
      Layout layout;
      full_ = FullIndexLayout(layout, book.width, book.count).fill(memory.index(), book);
    }
  }
  const Tiles& all() const { return full_.all; }

  // The vector as floats; stays valid until the next call.
  const float* as_floats(const T* src, int slot = 0) {
    if constexpr (std::is_same_v<T, float>) {
      return src;
    } else {
      float* const dst = rows_ + static_cast<std::ptrdiff_t>(kRows + slot) * book_.width;
      for (int j = 0; j < book_.width; ++j) dst[j] = static_cast<float>(src[j]);
      return dst;
    }
  }

  int nearest_codeword(const float* x) const {
    if ((book_.flags & kGridFlag) != 0) return nearest_in_grid(*book_.grid, full_.all, x);
    if (index_ != nullptr && index_->groups != nullptr) return nearest_in_groups(*index_->groups, full_.all, x);
    return nearest_of_all(full_.all, x);
  }

  // found(r, index, x) for each row, x its elements as floats.
  template <class Found>
  void each_row(const T* src, std::ptrdiff_t step, int height, Found found) {
    const bool centred =
        full_.centred != nullptr && (book_.flags & kGridFlag) == 0 && (index_ == nullptr || index_->groups == nullptr);
    int r = 0;
    if (centred) {
      for (; r + kRows <= height; r += kRows) centred_rows<kRows>(src, step, r, found);
      for (; r < height; ++r) centred_rows<1>(src, step, r, found);
    }
    for (; r < height; ++r) {
      const float* const x = as_floats(src + r * step);
      found(r, nearest_codeword(x), x);
    }
  }

 private:
  template <int N, class Found>
  void centred_rows(const T* src, std::ptrdiff_t step, int r, Found found) {
    const float* x[N];
    float norms[N];
    int index[N];
    for (int n = 0; n < N; ++n) {
      x[n] = as_floats(src + (r + n) * step, n);
      norms[n] = centre(full_, x[n], rows_ + static_cast<std::ptrdiff_t>(n) * book_.width);
    }
    nearest_centred<N>(full_, rows_, norms, index);
    for (int n = 0; n < N; ++n) found(r + n, index[n] >= 0 ? index[n] : nearest_of_all(full_.all, x[n]), x[n]);
  }

  const Codebook<T>& book_;
  const SearchIndex* index_;
  float* rows_;  // kRows differences, then kRows rows as floats
  FullIndex full_;
};

}  // namespace kivsr::vq
