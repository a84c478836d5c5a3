// Deltas of a matrix that is complete.
#pragma once

#include <cassert>
#include <cstddef>

#include "delta_windows.h"
#include "frame/rows.h"

namespace kivsr::delta {

// Slope over `reach` frames on both sides, from the columns at `offset` into the `width` columns behind them. In the
// first `reach` rows row 0 stands for every earlier frame, in the last ones the last row for every later frame, also
// where those frames exist.
// kReach: `reach`, or 0 for any.
template <int kReach, class T, class Multiplier>
void evaluate_rows(T* matrix, std::ptrdiff_t height, int step, int width, int offset, int reach, Multiplier multiply) {
  if constexpr (kReach != 0) reach = kReach;
  assert(reach >= 1 && height >= 2 * std::ptrdiff_t{reach});
  const StepRows<T> rows{matrix + offset, step};
  for (std::ptrdiff_t t = 0; t < height; ++t) {
    const bool first_rows = t < reach;
    const bool last_rows = t >= height - reach;
    const StepRows<const T> past{rows.row(first_rows ? 0 : t), first_rows ? 0 : -rows.step};
    const StepRows<const T> future{rows.row(last_rows ? height - 1 : t), last_rows ? 0 : rows.step};
    for_columns(width, rows.row(t) + width, [&](auto at) {
      using V = Lanes<T>;
      V sum = V::zero();
#pragma GCC unroll 3
      for (int k = 1; k <= reach; ++k) {
        const V weight = V::broadcast(static_cast<Number<T>>(k));
        sum = sum + weight * (at(future.row(k)) - at(past.row(k)));
      }
      return multiply(sum, at);
    });
  }
}

template <class T, class Multiplier>
void evaluate_matrix(T* matrix, std::ptrdiff_t height, int step, int width, int offset, int reach,
                     Multiplier multiply) {
  [[maybe_unused]] const RoundingOf<T> rounding;
  const auto run = [&]<int kReach>() { evaluate_rows<kReach>(matrix, height, step, width, offset, reach, multiply); };
  switch (reach) {
    case 1: return run.template operator()<1>();
    case 2: return run.template operator()<2>();
    case 3: return run.template operator()<3>();
    default: return run.template operator()<0>();
  }
}

}  // namespace kivsr::delta
