// Placement of the parts of a state object in one block. The same description computes the size (GetSize) and places
// the parts (Init), so that the two cannot disagree:
//
//   Layout layout;                                  // each part starts on a 32-byte boundary
//   const auto header = layout.add<State>(1);
//   const auto table = layout.add<float>(count);
//   layout.bytes_from_any_start()                   // what GetSize returns
//   State* state = header.in(aligned);              // aligned = align_up(caller's block)
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace kivsr {

inline constexpr std::size_t kPartAlignment = 32;

constexpr std::size_t round_up(std::size_t x, std::size_t multiple) { return (x + multiple - 1) / multiple * multiple; }

inline void* align_up(void* block) {
  return reinterpret_cast<void*>(round_up(reinterpret_cast<std::uintptr_t>(block), kPartAlignment));
}

template <class T>
struct Part {
  std::size_t offset;
  T* in(void* block) const { return reinterpret_cast<T*>(static_cast<char*>(block) + offset); }
};

class Layout {
 public:
  template <class T>
  Part<T> add(std::size_t count) {
    const Part<T> part = append<T>(count);
    end_ = round_up(end_, kPartAlignment);
    return part;
  }

  // Right behind the part before it, for records whose places are laid down; the block starts where the caller says.
  template <class T>
  Part<T> append(std::size_t count) {
    const std::size_t offset = end_;
    const std::size_t room = std::numeric_limits<std::size_t>::max() - 2 * kPartAlignment - offset;
    if (overflow_ || count > room / sizeof(T)) {
      overflow_ = true;
      return {0};
    }
    end_ = offset + count * sizeof(T);
    apart_ += count * sizeof(T) + kPartAlignment;
    return {offset};
  }
  template <class T>
  Part<T> add(std::size_t rows, std::size_t columns) {
    const std::size_t most = std::numeric_limits<std::size_t>::max();
    return add<T>(columns != 0 && rows > most / columns ? most : rows * columns);
  }

  bool overflow() const { return overflow_; }
  // From a block that starts on a 32-byte boundary, or of appended parts only.
  std::size_t bytes() const { return end_; }
  // From a block of any alignment.
  std::size_t bytes_from_any_start() const { return end_ + kPartAlignment - 1; }
  // The parts counted with room to align each by itself: never less than from any start.
  std::size_t bytes_apart() const { return apart_; }
  // Whether the size can be reported through an int.
  bool fits_int() const {
    return !overflow_ && bytes_from_any_start() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
  }

 private:
  std::size_t end_ = 0;
  std::size_t apart_ = 0;
  bool overflow_ = false;
};

}  // namespace kivsr
