// Rows of codeword indices, one index for each codebook: the three formats of split VQ and vector forming.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kivsr/types.h"

namespace kivsr::vq {

// One element an index, row r at r * step elements.
template <class I>
struct ElementRows {
  I* base;
  std::ptrdiff_t step;
  static constexpr bool packed = false;
  std::int64_t start(std::ptrdiff_t r) const { return static_cast<std::int64_t>(r) * step; }
  static std::int64_t next(std::int64_t place, int /*bits*/) { return place + 1; }
  int get(std::int64_t place, int /*bits*/) const { return base[place]; }
  void put(std::int64_t place, int /*bits*/, int index) const { base[place] = static_cast<I>(index); }
};

// Fields of so many bits without gaps, the most significant bit first, row r at bit r * step. Other bits are left
// alone.
template <class Byte>
struct PackedRows {
  Byte* base;
  std::ptrdiff_t step;
  static constexpr bool packed = true;
  std::int64_t start(std::ptrdiff_t r) const { return static_cast<std::int64_t>(r) * step; }
  static std::int64_t next(std::int64_t place, int bits) { return place + bits; }
  int get(std::int64_t place, int bits) const {
    int index = 0;
    for (int b = 0; b < bits;) {
      const Part part(place + b, bits - b);
      index = index << part.bits | (base[part.byte] >> part.shift & part.mask());
      b += part.bits;
    }
    return index;
  }
  void put(std::int64_t place, int bits, int index) const {
    for (int b = 0; b < bits;) {
      const Part part(place + b, bits - b);
      b += part.bits;
      const int field = index >> (bits - b) & part.mask();
      const int others = base[part.byte] & ~(part.mask() << part.shift);
      base[part.byte] = static_cast<Byte>(others | field << part.shift);
    }
  }

 private:
  // The part of a field that one byte holds.
  struct Part {
    Part(std::int64_t bit, int wanted)
        : byte(static_cast<std::ptrdiff_t>(bit / 8)),
          bits(wanted < 8 - static_cast<int>(bit % 8) ? wanted : 8 - static_cast<int>(bit % 8)),
          shift(8 - static_cast<int>(bit % 8) - bits) {}
    int mask() const { return (1 << bits) - 1; }
    std::ptrdiff_t byte;
    int bits;
    int shift;
  };
};

}  // namespace kivsr::vq
