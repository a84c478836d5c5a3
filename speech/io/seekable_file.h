// A file that is read at any place. What comes through a pipe (a FIFO, /dev/stdin) can be read once only: it is kept in
// a temporary file without a name, for as long as the process runs, so that whoever looks at the pipe again, to know
// its rate first or to draw it, finds the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace kivsr::speech {

class SeekableFile {
 public:
  // Waits for the end of a pipe. Throws Fault for what is not there, a folder, or what may not be read.
  explicit SeekableFile(const std::filesystem::path& file);
  ~SeekableFile();
  SeekableFile(SeekableFile&& other) noexcept;
  SeekableFile& operator=(SeekableFile&& other) noexcept;

  std::int64_t size() const { return size_; }
  // As many bytes from that place on as there are and have room; fewer than asked for only at the end or where the
  // file cannot be read.
  std::size_t read(std::int64_t place, std::span<unsigned char> bytes) const;

 private:
  int descriptor_ = -1;
  std::int64_t size_ = 0;
};

}  // namespace kivsr::speech
