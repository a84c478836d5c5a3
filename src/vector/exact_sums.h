// Sums of 32-bit lanes that cannot overflow: the kernel under integer sums and dot products of words.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>

#include "frame/simd/vec.h"
#include "kivsr/types.h"

namespace kivsr {

// The sum of the lanes of vectors(i) for i = 0, kElements, 2 kElements, ... of the whole groups of kElements in len.
// Lanes x + bias are taken as unsigned numbers; the biases come off at the end.
template <std::ptrdiff_t kElements, class Vectors>
inline std::int64_t sum_lanes_exactly(std::ptrdiff_t len, Kiv32u bias, Vectors vectors) {
  assert(len >= 0);
  constexpr std::ptrdiff_t kElementsInLane = kElements / simd::Vec<Kiv32s>::width;
  const auto offset = simd::Vec<Kiv32s>::broadcast(static_cast<Kiv32s>(bias));
  const std::ptrdiff_t whole = len & -kElements;
  auto even = simd::Vec<std::int64_t>::zero();
  auto odd = even;
  std::ptrdiff_t i = 0;
  for (const std::ptrdiff_t end = len & (-2 * kElements); i != end; i += 2 * kElements) {
    even = add_unsigned(even, vectors(i) + offset);
    odd = add_unsigned(odd, vectors(i + kElements) + offset);
  }
  if (i != whole) even = add_unsigned(even, vectors(i) + offset);
  const auto biases = static_cast<std::uint64_t>(whole) / kElementsInLane * bias;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(sum_lanes(even + odd)) - biases);
}

}  // namespace kivsr
