// Rows that are needed again and again but are too many for memory: they wait in a temporary file.
#pragma once

#include <cstdint>
#include <span>

namespace kivsr::speech {

// The file lies in the folder that TMPDIR names, else in /var/tmp, else in the system's folder for temporary files. It
// has no name and ends with the store.
class RowStore {
 public:
  RowStore() = default;
  ~RowStore();
  RowStore(RowStore&& other) noexcept;
  RowStore& operator=(RowStore&& other) noexcept;

  // Throws Fault where there is no room.
  void append(std::span<const float> values);
  std::int64_t size() const { return size_; }  // values
  // As many values as there is room for, from that place on; all of them must be there.
  void read(std::int64_t place, std::span<float> values) const;

 private:
  int descriptor_ = -1;
  std::int64_t size_ = 0;
};

}  // namespace kivsr::speech
