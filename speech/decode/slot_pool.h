// Arrays of indices that come and go: lengths are rounded up to powers of two, and each length has its list of free
// ones.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

namespace kivsr::speech {

class SlotPool {
 public:
  // Slots that hold -1; where the first one is.
  int allocate(int count) {
    const auto size_class = static_cast<int>(std::bit_width(static_cast<unsigned>(std::max(count, 1) - 1)));
    std::vector<int>& free = free_[static_cast<std::size_t>(size_class)];
    int first = 0;
    if (free.empty()) {
      first = static_cast<int>(slots_.size()) + 1;
      slots_.push_back(size_class);
      slots_.resize(slots_.size() + (std::size_t{1} << size_class), -1);
    } else {
      first = free.back();
      free.pop_back();
      std::fill_n(slots_.begin() + first, count, -1);
    }
    return first;
  }

  void release(int first) { free_[static_cast<std::size_t>((*this)[first - 1])].push_back(first); }

  int& operator[](int slot) { return slots_[static_cast<std::size_t>(slot)]; }
  int operator[](int slot) const { return slots_[static_cast<std::size_t>(slot)]; }

  void clear() {
    slots_.clear();
    for (std::vector<int>& free : free_) free.clear();
  }

 private:
  std::vector<int> slots_;                 // before each array its size class
  std::array<std::vector<int>, 32> free_;  // [size class]
};

}  // namespace kivsr::speech
