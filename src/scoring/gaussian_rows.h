// Row views of Gaussian scoring: matrices (frame/rows.h), one row for all (the vector, or the Gaussian, that is scored
// against many), and the missing weights of the IdVar forms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "frame/matrix_checks.h"
#include "frame/rows.h"
#include "frame/status.h"

namespace kivsr {

// The same row for every r.
template <class T>
struct OneRow {
  const T* data;
  const T* row(std::ptrdiff_t) const { return data; }
  OneRow from(std::ptrdiff_t) const { return *this; }
};
template <class T>
OneRow(const T*) -> OneRow<T>;

// Weights of one: there are none to read.
struct UnitRows {
  std::nullptr_t row(std::ptrdiff_t) const { return nullptr; }
  UnitRows from(std::ptrdiff_t) const { return {}; }
};

// Null tests of arguments and of the arrays behind views.
template <class T>
constexpr bool given(T* p) {
  return p != nullptr;
}
template <class View>
constexpr bool given(View view) {
  return array_of(view) != nullptr;
}
template <class T>
constexpr bool given(OneRow<T> view) {
  return view.data != nullptr;
}
constexpr bool given(UnitRows) { return true; }

template <class... P>
constexpr KivStatus all_given(P... arguments) {
  return require((given(arguments) && ...), kivStatusNullPointer);
}

template <class T>
constexpr KivStatus step_covers(OneRow<T>, std::int64_t) {
  return kivStatusOk;
}

// Up to N rows of a view in any order.
template <class View, int N>
class RowList {
 public:
  void set(int k, const View& view, std::ptrdiff_t r) { rows_[k] = view.row(r); }
  auto view() const { return PointerRows<std::remove_pointer_t<Row>>{rows_}; }

 private:
  using Row = decltype(std::declval<View>().row(0));
  Row rows_[N];
};
template <class T, int N>
class RowList<OneRow<T>, N> {
 public:
  void set(int, const OneRow<T>& view, std::ptrdiff_t) { row_ = view; }
  OneRow<T> view() const { return row_; }

 private:
  OneRow<T> row_;
};
template <int N>
class RowList<UnitRows, N> {
 public:
  void set(int, const UnitRows&, std::ptrdiff_t) {}
  UnitRows view() const { return {}; }
};

}  // namespace kivsr
