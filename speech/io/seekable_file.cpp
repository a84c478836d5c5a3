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

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what, int error = 0) {
  throw Fault(file.string() + ": " + what + (error != 0 ? std::string(": ") + std::strerror(error) : ""));
}

// Closed with the process.
int copy_of(int descriptor, const std::filesystem::path& file) {
  const int kept = open_temporary_file();
  std::array<char, 65536> block;
  while (true) {
    const ssize_t count = read(descriptor, block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count == 0) return kept;
    for (ssize_t done = 0; done < count;) {
      const ssize_t part = write(kept, block.data() + done, static_cast<std::size_t>(count - done));
      if (part < 0 && errno == EINTR) continue;
      if (part <= 0) {
        close(kept);
        fail(file, "no room for what comes through the pipe", errno);
      }
      done += part;
    }
    if (count < 0) {
      close(kept);
      fail(file, "cannot be read", errno);
    }
  }
}

// The descriptor of the copy of a pipe, for one more reader.
using Identity = std::pair<dev_t, ino_t>;
std::mutex kept_mutex;
std::map<Identity, int>& kept_files() {
  static std::map<Identity, int> files;
  return files;
}

int descriptor_of_pipe(const std::filesystem::path& file, const Identity& pipe) {
  const std::lock_guard lock(kept_mutex);
  int& kept = kept_files().try_emplace(pipe, -1).first->second;
  if (kept < 0) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail(file, "cannot be read", errno);
    try {
      kept = copy_of(descriptor, file);
    } catch (...) {
      close(descriptor);
      throw;
    }
    close(descriptor);
  }
  return fcntl(kept, F_DUPFD_CLOEXEC, 0);
}

}  // namespace

SeekableFile::SeekableFile(const std::filesystem::path& file) {
  struct stat there {};
  if (stat(file.c_str(), &there) != 0) fail(file, errno == ENOENT ? "no such file" : std::strerror(errno));
  if (S_ISDIR(there.st_mode)) fail(file, "is a folder, not an audio file");
  descriptor_ = S_ISREG(there.st_mode) ? open(file.c_str(), O_RDONLY | O_CLOEXEC)
                                       : descriptor_of_pipe(file, {there.st_dev, there.st_ino});
  if (descriptor_ < 0) fail(file, "cannot be read", errno);
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
