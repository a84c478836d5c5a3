#include "kivsr/speech/io/seekable_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/temporary_file.h"

namespace kivsr::speech {

namespace {

int copy_of(ByteSource& source) {
  const int kept = open_temporary_file();
  try {
    std::array<unsigned char, 65536> block;
    while (const std::size_t count = source.read(block)) {
      for (std::size_t done = 0; done < count;) {
        const ssize_t part = write(kept, block.data() + done, count - done);
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) throw Fault(std::string("no room for what comes through the pipe: ") + std::strerror(errno));
        done += static_cast<std::size_t>(part);
      }
    }
  } catch (...) {
    close(kept);
    throw;
  }
  return kept;
}

// The descriptor of the copy of a pipe, closed with the process.
using Identity = std::pair<dev_t, ino_t>;
std::mutex kept_mutex;
std::map<Identity, int>& kept_files() {
  static std::map<Identity, int> files;
  return files;
}

int descriptor_of(const std::filesystem::path& file) {
  struct stat there {};
  const int known = is_standard_stream(file) ? fstat(STDIN_FILENO, &there) : stat(file.c_str(), &there);
  const std::lock_guard lock(kept_mutex);
  const auto kept = known == 0 ? kept_files().find({there.st_dev, there.st_ino}) : kept_files().end();
  if (kept != kept_files().end() && !S_ISREG(there.st_mode)) return fcntl(kept->second, F_DUPFD_CLOEXEC, 0);
  ByteSource source(file);
  if (!source.is_pipe()) return fcntl(source.descriptor(), F_DUPFD_CLOEXEC, 0);
  const int copy = copy_of(source);
  kept_files()[{there.st_dev, there.st_ino}] = copy;
  return fcntl(copy, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

SeekableFile::SeekableFile(ByteSource source)
    : descriptor_(source.is_pipe() ? copy_of(source) : fcntl(source.descriptor(), F_DUPFD_CLOEXEC, 0)) {
  if (descriptor_ < 0) throw Fault(std::string("no more files can be opened: ") + std::strerror(errno));
  size_ = lseek(descriptor_, 0, SEEK_END);
}

SeekableFile::SeekableFile(const std::filesystem::path& file) : descriptor_(descriptor_of(file)) {
  if (descriptor_ < 0) throw Fault(std::string("no more files can be opened: ") + std::strerror(errno));
  size_ = lseek(descriptor_, 0, SEEK_END);
}

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
