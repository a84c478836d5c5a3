#include "kivsr/speech/io/output_file.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBufferBytes = 65536;

// An existing name keeps being what it is: a link is followed, so that the file behind it is replaced.
std::filesystem::path final_name(const std::filesystem::path& name) {
  std::error_code error;
  const auto target = std::filesystem::weakly_canonical(name, error);
  return error || target.empty() ? name : target;
}

}  // namespace

OutputFile::OutputFile(std::filesystem::path name) : name_(std::move(name)) {
  if (name_.empty() || !name_.has_filename()) throw Fault("'" + name_.string() + "' is not a file name to write to");
  const auto target = final_name(name_);
  std::error_code error;
  if (std::filesystem::exists(target, error) && !std::filesystem::is_regular_file(target, error)) {
    throw Fault(name_.string() + ": not a regular file, will not be replaced");
  }
  // A name of this process and attempt: two programs that write the same file do not meet.
  for (int attempt = 0; descriptor_ < 0; ++attempt) {
    temporary_ = target;
    temporary_ += ".partial-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && (errno != EEXIST || attempt == 100)) {
      const int reason = errno;
      temporary_.clear();  // it is not ours
      fail("cannot be written", reason);
    }
  }
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
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
  write_all(buffer_, written_);
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

void OutputFile::commit() {
  flush();
  if (close(std::exchange(descriptor_, -1)) != 0) fail("cannot be written", errno);
  if (rename(temporary_.c_str(), final_name(name_).c_str()) != 0) fail("cannot be replaced", errno);
  temporary_.clear();
}

void OutputFile::fail(const char* what, int error) const {
  throw Fault(name_.string() + ": " + what + ": " + std::strerror(error));
}

}  // namespace kivsr::speech
