// Temporary memory for the length of a call, released on every path: the first N elements on the stack, more from the
// library allocator. With N = 0 every call allocates, even for one element, as functions that are said to allocate do.
#pragma once

#include <cstddef>
#include <utility>

#include "allocator.h"

namespace kivsr {

template <class T, int N = 0>
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
  const T* data() const { return data_; }
  T& operator[](std::ptrdiff_t i) { return data_[i]; }

 private:
  alignas(kBlockAlignment) T stack_[N];
  T* data_;
};

// Nothing on the stack.
template <class T>
class Scratch<T, 0> {
 public:
  explicit Scratch(std::size_t count) : data_(allocate<T>(count)) {}
  ~Scratch() { release(data_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::ptrdiff_t i) { return data_[i]; }
  // Hands the memory to a state object, which releases it.
  T* take() { return std::exchange(data_, nullptr); }

 private:
  T* data_;
};

}  // namespace kivsr
