// Row views: the two matrix layouts of the interface behind one operation, row(r).
#pragma once

#include <cstddef>

namespace kivsr {

// D2: row r starts at base + r * step elements.
template <class T>
struct StepRows {
  T* base;
  std::ptrdiff_t step;
  T* row(std::ptrdiff_t r) const { return base + r * step; }
  StepRows from(std::ptrdiff_t r) const { return {row(r), step}; }
};
template <class T>
StepRows(T*, int) -> StepRows<T>;

// D2L: an array of row pointers.
template <class T>
struct PointerRows {
  T* const* rows;
  T* row(std::ptrdiff_t r) const { return rows[r]; }
  PointerRows from(std::ptrdiff_t r) const { return {rows + r}; }
};
template <class T>
PointerRows(T* const*) -> PointerRows<T>;

}  // namespace kivsr
