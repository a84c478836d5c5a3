// Argument checks of operations that serve both matrix layouts: what a row view (frame/rows.h) can be asked before any
// row is touched.
#pragma once

#include "frame/rows.h"
#include "frame/status.h"

namespace kivsr {

// The array that the caller passed: to be tested for null.
template <class T>
constexpr T* array_of(StepRows<T> rows) {
  return rows.base;
}
template <class T>
constexpr T* const* array_of(PointerRows<T> rows) {
  return rows.rows;
}

// Rows of `width` elements fit their step; row pointers have none.
template <class T>
constexpr KivStatus step_covers(StepRows<T> rows, std::int64_t width) {
  return step_covers(static_cast<std::int64_t>(rows.step), width);
}
template <class T>
constexpr KivStatus step_covers(PointerRows<T>, std::int64_t) {
  return kivStatusOk;
}

}  // namespace kivsr
