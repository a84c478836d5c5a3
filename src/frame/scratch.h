// Scratch memory: the first N elements on the stack, more from the library allocator; released on every path.
#pragma once

#include <cstddef>

#include "allocator.h"

namespace kivsr {

template <class T, int N>
class Scratch {
 public:
  explicit Scratch(std::size_t count) : data_(count <= N ? stack_ : allocate<T>(count)) {}
  ~Scratch() {
    if (data_ != stack_) release(data_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  // False when the allocator returned null: report kivStatusNoMemory.
  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  T& operator[](std::ptrdiff_t i) { return data_[i]; }

 private:
  alignas(32) T stack_[N];
  T* data_;
};

}  // namespace kivsr
