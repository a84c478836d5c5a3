#include "kivsr/speech/io/row_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

std::filesystem::path temporary_folder() {
  std::error_code error;
  for (const char* folder : {static_cast<const char*>(std::getenv("TMPDIR")), "/var/tmp"}) {
    if (folder != nullptr && std::filesystem::is_directory(folder, error)) return folder;
  }
  return std::filesystem::temp_directory_path();
}

[[noreturn]] void fail(const std::string& what, int error) {
  throw Fault("a temporary file " + what + ": " + std::strerror(error));
}

int open_temporary() {
  const std::filesystem::path folder = temporary_folder();
  std::string name = (folder / "kivsr-rows-XXXXXX").string();
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) fail("in " + folder.string() + " cannot be written", errno);
  unlink(name.c_str());
  return descriptor;
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
  if (descriptor_ < 0) descriptor_ = open_temporary();
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
