// Arrays that end right before an unreadable page, so that a read or write one element behind them crashes at once.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

namespace kivsr::test {

enum class GuardAt { kEnd, kStart };

// n elements of T. With GuardAt::kEnd the element behind the last one is unreadable (the start's alignment follows from
// n, so lengths sweep alignments too); with kStart the element before the first one is.
template <class T>
class Guarded {
 public:
  explicit Guarded(std::size_t n, GuardAt guard = GuardAt::kEnd) : size_(n) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t data_pages = (n * sizeof(T) + page - 1) / page + 1;
    bytes_ = (data_pages + 2) * page;
    map_ = static_cast<char*>(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (map_ == MAP_FAILED) throw std::bad_alloc();
    mprotect(map_, page, PROT_NONE);
    mprotect(map_ + bytes_ - page, page, PROT_NONE);
    std::memset(map_ + page, 0xA5, data_pages * page);
    char* const start = guard == GuardAt::kEnd ? map_ + bytes_ - page - n * sizeof(T) : map_ + page;
    data_ = reinterpret_cast<T*>(start);
  }
  explicit Guarded(const std::vector<T>& values, GuardAt guard = GuardAt::kEnd) : Guarded(values.size(), guard) {
    if (size_ != 0) std::memcpy(data_, values.data(), size_ * sizeof(T));
  }
  ~Guarded() { munmap(map_, bytes_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  T* data() { return data_; }
  const T* data() const { return data_; }
  std::size_t size() const { return size_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  T* begin() { return data_; }
  T* end() { return data_ + size_; }
  std::vector<T> values() const { return std::vector<T>(data_, data_ + size_); }

 private:
  std::size_t size_;
  std::size_t bytes_;
  char* map_;
  T* data_;
};

// Calls visit(array, length) with the data at the end of its page (every length gives another alignment) and at the
// start.
template <class T, class Visit>
void at_both_guards(const std::vector<T>& data, Visit visit) {
  for (const GuardAt guard : {GuardAt::kEnd, GuardAt::kStart}) {
    const Guarded<T> array(data, guard);
    visit(array.data(), static_cast<int>(data.size()));
  }
}

// A D2 matrix whose last row ends at the guard (the padding of the last row does not exist), and its D2L row pointers.
template <class T>
class GuardedMatrix {
 public:
  GuardedMatrix(int height, int width, int step)
      : height_(height),
        width_(width),
        step_(step),
        cells_(static_cast<std::size_t>(height - 1) * static_cast<std::size_t>(step) +
               static_cast<std::size_t>(width)) {
    for (int r = 0; r < height; ++r) rows_.push_back(row(r));
  }
  T* data() { return cells_.data(); }
  T* row(int r) { return cells_.data() + static_cast<std::ptrdiff_t>(r) * step_; }
  T** rows() { return rows_.data(); }
  const T** const_rows() { return const_cast<const T**>(rows_.data()); }
  T& at(int r, int c) { return row(r)[c]; }
  int height() const { return height_; }
  int width() const { return width_; }
  int step() const { return step_; }
  template <class F>
  void fill(F next) {
    for (int r = 0; r < height_; ++r) {
      for (int c = 0; c < width_; ++c) at(r, c) = next();
    }
  }

 private:
  int height_, width_, step_;
  Guarded<T> cells_;
  std::vector<T*> rows_;
};

}  // namespace kivsr::test
