#include "kivsr/speech/io/row_store.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/temporary_file.h"

namespace kivsr::speech {

namespace {

[[noreturn]] void fail(const std::string& what, int error) {
  throw Fault("a temporary file " + what + ": " + std::strerror(error));
}

}  // namespace

RowStore::~RowStore() {
  if (descriptor_ >= 0) close(descriptor_);
}

RowStore::RowStore(RowStore&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), size_(std::exchange(other.size_, 0)) {}

RowStore& RowStore::operator=(RowStore&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(size_, other.size_);
  return *this;
}

void RowStore::append(std::span<const float> values) {
  if (descriptor_ < 0) descriptor_ = open_temporary_file();
  const char* bytes = reinterpret_cast<const char*>(values.data());
  std::size_t left = values.size_bytes();
  auto place = static_cast<off_t>(size_ * static_cast<std::int64_t>(sizeof(float)));
  while (left > 0) {
    const ssize_t count = pwrite(descriptor_, bytes, left, place);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("cannot be written", errno);
    bytes += count;
    left -= static_cast<std::size_t>(count);
    place += count;
  }
  size_ += static_cast<std::int64_t>(values.size());
}

void RowStore::read(std::int64_t place, std::span<float> values) const {
  char* bytes = reinterpret_cast<char*>(values.data());
  std::size_t left = values.size_bytes();
  auto from = static_cast<off_t>(place * static_cast<std::int64_t>(sizeof(float)));
  while (left > 0) {
    const ssize_t count = pread(descriptor_, bytes, left, from);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) fail("cannot be read", count < 0 ? errno : EIO);
    bytes += count;
    left -= static_cast<std::size_t>(count);
    from += count;
  }
}

}  // namespace kivsr::speech
