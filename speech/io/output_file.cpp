#include "kivsr/speech/io/output_file.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/temporary_file.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBufferBytes = 65536;
constexpr int kMostLinks = 40;             // that a symbolic link leads over, as the kernel has it
constexpr std::size_t kLongestName = 200;  // that leaves room for what is added to it
constexpr mode_t kPermissions = 07777;

// Names of temporary files for a handler of signals, which can neither lock nor allocate. A program writes two or three
// files at a time; those beyond the list stay when it is killed.
std::array<std::atomic<const char*>, 64> partial_files{};

int list_partial_file(const char* name) {
  for (std::size_t slot = 0; slot < partial_files.size(); ++slot) {
    const char* none = nullptr;
    if (partial_files[slot].compare_exchange_strong(none, name)) return static_cast<int>(slot);
  }
  return -1;
}

// The name that a symbolic link stands for, whether there is a file or not.
std::filesystem::path behind_links(std::filesystem::path name) {
  std::error_code error;
  for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(name, error); ++links) {
    const auto next = std::filesystem::read_symlink(name, error);
    if (error) break;
    name = next.is_absolute() ? next : name.parent_path() / next;
  }
  return name;
}

}  // namespace

OutputFile::OutputFile(std::filesystem::path name) : name_(std::move(name)) {
  if (name_.empty() || !name_.has_filename()) throw Fault("'" + name_.string() + "' is not a file name to write to");
  target_ = behind_links(name_);
  struct stat there {};
  const bool standard = is_standard_stream(name_);
  const bool is_new = standard || stat(target_.c_str(), &there) != 0;
  if (standard || (!is_new && (S_ISFIFO(there.st_mode) || S_ISCHR(there.st_mode)))) {
    open_stream();
    return;
  }
  if (is_new) {
    open_temporary();
    return;
  }
  if (!S_ISREG(there.st_mode)) throw Fault(name_.string() + ": not a regular file, will not be replaced");
  if (faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail("may not be replaced", errno);
  in_place_ = there.st_nlink > 1;
  open_temporary();
  fchmod(descriptor_, there.st_mode & kPermissions);  // else the file is the same but for its permissions
}

void OutputFile::open_stream() {
  stream_ = true;
  descriptor_ = is_standard_stream(name_) ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                          : open(target_.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor_ < 0) fail("cannot be written", errno);
}

void OutputFile::keep_until_commit() {
  if (is_stream()) kept_for_ = std::exchange(descriptor_, open_temporary_file());
}

// A name of this process and attempt: two programs that write the same file do not meet.
void OutputFile::open_temporary() {
  for (int attempt = 0; descriptor_ < 0; ++attempt) {
    temporary_ = target_.parent_path() / target_.filename().string().substr(0, kLongestName);
    temporary_ += ".partial-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    slot_ = list_partial_file(temporary_.c_str());  // before it is there, so that no signal comes between
    descriptor_ = open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ >= 0) return;
    const int reason = errno;
    forget_temporary();  // it is not ours
    if (reason != EEXIST || attempt == 100) fail("cannot be written", reason);
  }
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (kept_for_ >= 0) close(kept_for_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
  forget_temporary();
}

void OutputFile::forget_temporary() {
  if (slot_ >= 0) partial_files[static_cast<std::size_t>(slot_)] = nullptr;
  slot_ = -1;
  temporary_.clear();
}

void OutputFile::write(const void* bytes, std::size_t count) {
  buffer_.append(static_cast<const char*>(bytes), count);
  if (buffer_.size() >= kBufferBytes) flush();
}

void OutputFile::overwrite(std::int64_t position, std::string_view text) {
  flush();
  write_all(text, position);
}

void OutputFile::flush() {
  if (buffer_.empty()) return;
  is_stream() ? write_stream(buffer_) : write_all(buffer_, written_);
  written_ += static_cast<std::int64_t>(buffer_.size());
  buffer_.clear();
}

void OutputFile::write_all(std::string_view text, std::int64_t position) {
  while (!text.empty()) {
    const ssize_t count = pwrite(descriptor_, text.data(), text.size(), position);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("cannot be written", errno);
    text.remove_prefix(static_cast<std::size_t>(count));
    position += count;
  }
}

void OutputFile::write_stream(std::string_view text) {
  const int target = kept_for_ >= 0 ? kept_for_ : descriptor_;
  while (!text.empty()) {
    const ssize_t count = ::write(target, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("cannot be written", errno);
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

void OutputFile::copy_to_stream() {
  std::array<char, kBufferBytes> block;
  for (off_t place = 0;;) {
    const ssize_t count = pread(descriptor_, block.data(), block.size(), place);
    if (count < 0) fail("cannot be written", errno);
    if (count == 0) break;
    write_stream({block.data(), static_cast<std::size_t>(count)});
    place += count;
  }
  close(std::exchange(kept_for_, -1));
}

// The room is taken before the first byte is replaced.
void OutputFile::copy_to_target() const {
  struct Descriptor {
    ~Descriptor() {
      if (number >= 0) close(number);
    }
    int number;
  };
  const Descriptor target{open(target_.c_str(), O_WRONLY | O_CLOEXEC)};
  if (target.number < 0) fail("may not be replaced", errno);
  const off_t size = lseek(descriptor_, 0, SEEK_END);
  const off_t before = lseek(target.number, 0, SEEK_END);
  if (size > 0) {
    if (const int error = posix_fallocate(target.number, 0, size); error != 0) {
      if (ftruncate(target.number, before) != 0) fail("cannot be replaced", errno);
      fail("cannot be written", error);
    }
  }
  std::array<char, kBufferBytes> block;
  for (off_t place = 0; place < size;) {
    const ssize_t count = pread(descriptor_, block.data(), block.size(), place);
    if (count <= 0 || pwrite(target.number, block.data(), static_cast<std::size_t>(count), place) != count) {
      fail("cannot be replaced", errno);
    }
    place += count;
  }
  if (ftruncate(target.number, size) != 0) fail("cannot be replaced", errno);
}

void OutputFile::commit() {
  flush();
  if (kept_for_ >= 0) copy_to_stream();
  if (in_place_) {
    copy_to_target();
    unlink(temporary_.c_str());
  }
  if (close(std::exchange(descriptor_, -1)) != 0) fail("cannot be written", errno);
  if (!stream_ && !in_place_ && rename(temporary_.c_str(), target_.c_str()) != 0) fail("cannot be replaced", errno);
  forget_temporary();
}

void OutputFile::fail(const char* what, int error) const {
  throw Fault((is_standard_stream(name_) ? "standard output" : name_.string()) + ": " + what + ": " +
              std::strerror(error));
}

void remove_partial_files() noexcept {
  for (const auto& name : partial_files) {
    if (const char* const file = name; file != nullptr) unlink(file);
  }
}

}  // namespace kivsr::speech
