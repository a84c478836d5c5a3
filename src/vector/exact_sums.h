// Sums of 32-bit lanes that cannot overflow: the kernel under integer sums and dot products of words.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/simd/vec.h"
#include "kivsr/types.h"

namespace kivsr {

// The sum of the lanes of vectors(0), vectors(1), ... vectors(count - 1). Lanes x + bias are taken as unsigned numbers;
// the biases come off at the end.
template <class Vectors>
inline std::int64_t sum_lanes_exactly(std::ptrdiff_t count, Kiv32u bias, Vectors vectors) {
  const auto offset = simd::Vec<Kiv32s>::broadcast(static_cast<Kiv32s>(bias));
  auto even = simd::Vec<std::int64_t>::zero();
  auto odd = even;
  std::ptrdiff_t i = 0;
  for (; i + 2 <= count; i += 2) {
    even = add_unsigned(even, vectors(i) + offset);
    odd = add_unsigned(odd, vectors(i + 1) + offset);
  }
  if (i < count) even = add_unsigned(even, vectors(i) + offset);
  const auto biases = static_cast<std::uint64_t>(count * simd::Vec<Kiv32s>::width) * bias;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(sum_lanes(even + odd)) - biases);
}

}  // namespace kivsr
