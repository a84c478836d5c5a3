#include "kivsr/speech/io/byte_source.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/io/kept_pipe.h"

namespace kivsr::speech {

namespace {

[[noreturn]] void fail(const std::string& name, const char* what, int error) {
  throw Fault(name + ": " + what + ": " + std::strerror(error));
}

std::atomic<bool> input_has_ended = false;

// What was looked at of standard input and not taken is exchanged for these bytes.
std::vector<unsigned char> exchange_standard_ahead(std::vector<unsigned char> bytes) {
  static std::mutex one_at_a_time;
  static std::vector<unsigned char> ahead;
  const std::lock_guard lock(one_at_a_time);
  return std::exchange(ahead, std::move(bytes));
}

// Of a file at its start the size, -1 of anything else.
std::int64_t known_size(int descriptor) {
  struct stat there {};
  if (fstat(descriptor, &there) != 0 || !S_ISREG(there.st_mode)) return -1;
  return lseek(descriptor, 0, SEEK_CUR) == 0 ? std::int64_t{there.st_size} : -1;
}

// A file from its start gets a place of its own to read at, so that it can be read again.
int open_standard_input() {
  int descriptor = open_kept("-");
  if (descriptor < 0 && known_size(STDIN_FILENO) >= 0) descriptor = open("/proc/self/fd/0", O_RDONLY | O_CLOEXEC);
  return descriptor >= 0 ? descriptor : fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
}

// Of an entry of an archive, where the descriptor then stands: what its head says.
std::int64_t wav_bytes_at(int descriptor, std::int64_t place, const std::string& name) {
  std::array<unsigned char, 8> head{};
  if (pread(descriptor, head.data(), head.size(), place) != static_cast<ssize_t>(head.size()) ||
      std::memcmp(head.data(), "RIFF", 4) != 0 || lseek(descriptor, place, SEEK_SET) < 0) {
    close(descriptor);
    throw Fault(name + ": no WAV file is at that place");
  }
  return static_cast<std::int64_t>(bits_of(std::span(head).subspan(4)) + head.size());
}

}  // namespace

void end_all_input() noexcept { input_has_ended = true; }

bool is_standard_stream(const std::filesystem::path& file) { return file == "-"; }

std::string input_name(const std::filesystem::path& file) {
  return is_standard_stream(file) ? "standard input" : file.string();
}

ByteSource::ByteSource(const std::filesystem::path& file) : name_(input_name(file)) {
  if (is_standard_stream(file)) {
    descriptor_ = open_standard_input();
  } else {
    const auto place = kaldi_place(file);
    const std::filesystem::path& content = place ? place->file : file;
    std::error_code error;
    const auto type = std::filesystem::status(content, error).type();
    if (type == std::filesystem::file_type::not_found) throw Fault(name_ + ": no such file");
    if (type == std::filesystem::file_type::directory) throw Fault(name_ + ": is a folder, not an audio file");
    descriptor_ = open_kept(content);
    if (descriptor_ < 0) descriptor_ = open(content.c_str(), O_RDONLY | O_CLOEXEC);
    if (place && descriptor_ >= 0) {
      left_ = wav_bytes_at(descriptor_, place->byte, name_);
      return;
    }
  }
  if (descriptor_ < 0) fail(name_, "cannot be read", errno);
  size_ = known_size(descriptor_);
  if (is_standard_stream(file) && is_pipe()) ahead_ = exchange_standard_ahead({});
}

std::vector<unsigned char> ByteSource::standard_front(std::size_t count) {
  ByteSource source("-");
  const auto front = source.front(count);
  std::vector<unsigned char> bytes(front.begin(), front.end());
  if (source.is_pipe()) exchange_standard_ahead(std::move(source.ahead_));
  return bytes;
}

ByteSource::~ByteSource() {
  if (descriptor_ >= 0) close(descriptor_);
}

ByteSource::ByteSource(ByteSource&& other) noexcept
    : name_(std::move(other.name_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      size_(other.size_),
      left_(other.left_),
      ahead_(std::move(other.ahead_)) {}

ByteSource& ByteSource::operator=(ByteSource&& other) noexcept {
  std::swap(name_, other.name_);
  std::swap(descriptor_, other.descriptor_);
  std::swap(size_, other.size_);
  std::swap(left_, other.left_);
  std::swap(ahead_, other.ahead_);
  return *this;
}

std::size_t ByteSource::read_on(std::span<unsigned char> bytes) {
  if (left_ >= 0) {
    const auto most = static_cast<std::int64_t>(bytes.size());
    bytes = bytes.first(static_cast<std::size_t>(std::min(left_, most)));
  }
  while (!input_has_ended) {
    const ssize_t count = ::read(descriptor_, bytes.data(), bytes.size());
    if (count >= 0 && left_ >= 0) left_ -= count;
    if (count >= 0) return static_cast<std::size_t>(count);
    if (errno != EINTR) fail(name_, "cannot be read", errno);
  }
  return 0;
}

std::span<const unsigned char> ByteSource::front(std::size_t count) {
  while (ahead_.size() < count) {
    const std::size_t before = ahead_.size();
    ahead_.resize(count);
    const std::size_t more = read_on(std::span(ahead_).subspan(before));
    ahead_.resize(before + more);
    if (more == 0) break;
  }
  return std::span(ahead_).first(std::min(count, ahead_.size()));
}

std::size_t ByteSource::read(std::span<unsigned char> bytes) {
  if (ahead_.empty()) return read_on(bytes);
  const std::size_t count = std::min(ahead_.size(), bytes.size());
  std::copy_n(ahead_.begin(), count, bytes.begin());
  ahead_.erase(ahead_.begin(), ahead_.begin() + static_cast<std::ptrdiff_t>(count));
  return count;
}

void ByteSource::skip(std::int64_t count) {
  std::array<unsigned char, 4096> block;
  while (count > 0) {
    const auto part = static_cast<std::size_t>(std::min<std::int64_t>(count, block.size()));
    const std::size_t done = read(std::span(block).first(part));
    if (done == 0) return;
    count -= static_cast<std::int64_t>(done);
  }
}

void ByteSource::drain() {
  std::array<unsigned char, 65536> block;
  while (is_pipe() && read(block) > 0) {
  }
}

}  // namespace kivsr::speech
