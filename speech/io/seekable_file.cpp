#include "kivsr/speech/io/seekable_file.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kept_pipe.h"

namespace kivsr::speech {

SeekableFile::SeekableFile(ByteSource source)
    : descriptor_(source.is_pipe() ? copy_of(source) : fcntl(source.descriptor(), F_DUPFD_CLOEXEC, 0)) {
  if (descriptor_ < 0) throw Fault(std::string("no more files can be opened: ") + std::strerror(errno));
  size_ = lseek(descriptor_, 0, SEEK_END);
}

namespace {

ByteSource kept_source(const std::filesystem::path& file) {
  keep_pipe(file);
  return ByteSource(file);
}

}  // namespace

SeekableFile::SeekableFile(const std::filesystem::path& file) : SeekableFile(kept_source(file)) {}

SeekableFile::~SeekableFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

SeekableFile::SeekableFile(SeekableFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), size_(std::exchange(other.size_, 0)) {}

SeekableFile& SeekableFile::operator=(SeekableFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(size_, other.size_);
  return *this;
}

std::size_t SeekableFile::read(std::int64_t place, std::span<unsigned char> bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count =
        pread(descriptor_, bytes.data() + done, bytes.size() - done, place + static_cast<std::int64_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

}  // namespace kivsr::speech
