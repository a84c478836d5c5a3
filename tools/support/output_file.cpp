#include "support/output_file.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "support/fault.h"

namespace kivsr::tools {

namespace {

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
  if (std::filesystem::exists(target, error) && !std::filesystem::is_regular_file(target, error))
    throw Fault(name_.string() + ": not a regular file, will not be replaced");
  // A name of this process and attempt: two programs that write the same file do not meet.
  for (int attempt = 0; file_ == nullptr; ++attempt) {
    temporary_ = target;
    temporary_ += ".partial-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    const int descriptor = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor >= 0) {
      file_ = fdopen(descriptor, "wb");
      if (file_ != nullptr) break;
      const int reason = errno;
      close(descriptor);
      unlink(temporary_.c_str());
      fail("cannot be written", reason);
    }
    if (errno != EEXIST || attempt == 100) fail("cannot be written", errno);
  }
}

OutputFile::~OutputFile() {
  if (file_ != nullptr) std::fclose(file_);
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

void OutputFile::write(const void* bytes, std::size_t count) {
  if (count != 0 && std::fwrite(bytes, 1, count, file_) != count) fail("cannot be written", errno);
}

int OutputFile::descriptor() const { return fileno(file_); }

void OutputFile::commit() {
  std::FILE* const file = std::exchange(file_, nullptr);
  const bool flushed = std::fflush(file) == 0;
  const int reason = errno;
  if (std::fclose(file) != 0 || !flushed) fail("cannot be written", flushed ? errno : reason);
  if (std::rename(temporary_.c_str(), final_name(name_).c_str()) != 0) fail("cannot be replaced", errno);
  temporary_.clear();
}

void OutputFile::fail(const char* what, int error) const {
  throw Fault(name_.string() + ": " + what + ": " + std::strerror(error));
}

}  // namespace kivsr::tools
