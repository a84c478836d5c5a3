// SIMD wrapper: matrices whose columns are signals of their own, a lane each. Rows of some eight numbers are the rule.
//
//   for_column_groups(columns, [&](int c, auto group) {   // c: the first column of as many as there are lanes, or fewer
//     const ColumnVec v = group.load(row + c);
//     group.store(row + c, v);
//   });
#pragma once

#include "short_rows.h"

namespace kivsr::simd {

using ColumnVec = ShortVec<float>;

struct WholeGroup {
  static constexpr int count = ColumnVec::width;
  static ColumnVec load(const float* p) { return load_short<float>(p); }
  static void store(float* p, ColumnVec v) { simd::store(p, v); }
};
struct PartOfGroup {
  int count;
  ColumnVec load(const float* p) const { return load_some_short<float>(p, count); }
  void store(float* p, ColumnVec v) const { store_some(p, v, count); }
};

template <class F>
inline void for_column_groups(int columns, F f) {
  int c = 0;
  for (; columns - c >= ColumnVec::width; c += ColumnVec::width) f(c, WholeGroup{});
  if (c < columns) f(c, PartOfGroup{columns - c});
}

}  // namespace kivsr::simd
