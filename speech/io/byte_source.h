// The bytes of a file, a pipe or standard input from the front to the end, once, as they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace kivsr::speech {

// "-" for standard input and standard output.
bool is_standard_stream(const std::filesystem::path& file);
// What messages call it.
std::string input_name(const std::filesystem::path& file);

// For handlers of signals: from now on whatever is read has ended, as if its writer had closed it.
void end_all_input() noexcept;

class ByteSource {
 public:
  // "-" is standard input; a place in an archive (kaldi_archive.h) is its WAV file alone, read like a pipe. Throws
  // Fault for what is not there, a folder, or what may not be read.
  explicit ByteSource(const std::filesystem::path& file);
  ~ByteSource();
  ByteSource(ByteSource&& other) noexcept;
  ByteSource& operator=(ByteSource&& other) noexcept;

  // The first bytes of standard input, which stay the first of the next source of it.
  static std::vector<unsigned char> standard_front(std::size_t count);

  // Whether the end is known only when it comes.
  bool is_pipe() const { return size_ < 0; }
  std::int64_t size() const { return size_; }  // of a file

  // The next bytes, which stay the next: fewer than count only at the end.
  std::span<const unsigned char> front(std::size_t count);
  // Some of them, at least one: what has come; 0 at the end. Throws Fault where they cannot be read.
  std::size_t read(std::span<unsigned char> bytes);
  void skip(std::int64_t count);
  // The rest, for whoever wrote it to end in peace.
  void drain();

  int descriptor() const { return descriptor_; }

 private:
  std::size_t read_on(std::span<unsigned char> bytes);

  std::string name_;
  int descriptor_ = -1;
  std::int64_t size_ = -1;
  std::int64_t left_ = -1;            // to the end of the entry of an archive; -1: there is none
  std::vector<unsigned char> ahead_;  // read, but still the next
};

}  // namespace kivsr::speech
