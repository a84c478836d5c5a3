// Argument checks of operations that serve both matrix layouts: what a row view (frame/rows.h) can be asked before any
// row is touched.
#pragma once

#include "rows.h"
#include "status.h"

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

// The usual order: pointers, sizes, step.
template <class Rows, class... P>
constexpr KivStatus matrix_checks(Rows rows, int height, int width, const P*... pointers) {
  return first_failure(not_null(array_of(rows), pointers...), positive(width, height), step_covers(rows, width));
}

}  // namespace kivsr
