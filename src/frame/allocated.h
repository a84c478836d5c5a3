// A block of the library's allocator for the length of a call.
#pragma once

#include <cstddef>

#include "allocator.h"

namespace kivsr {

template <class T>
class Allocated {
 public:
  explicit Allocated(std::size_t count) : data_(allocate<T>(count)) {}
  ~Allocated() { release(data_); }
  Allocated(const Allocated&) = delete;
  Allocated& operator=(const Allocated&) = delete;

  // Null when the allocator returned null: report kivStatusNoMemory.
  T* data() const { return data_; }

 private:
  T* data_;
};

}  // namespace kivsr
