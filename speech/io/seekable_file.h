// A file that is read at any place. What comes through a pipe (a FIFO, standard input) is kept in a temporary file
// without a name; of a pipe that is opened by its name as kept_pipe.h says, so that whoever looks at it again finds the
// same bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

#include "kivsr/speech/io/byte_source.h"

namespace kivsr::speech {

class SeekableFile {
 public:
  // Of a source of which nothing was taken. Waits for the end of a pipe; throws Fault where there is no room for it.
  explicit SeekableFile(ByteSource source);
  // The same by name; "-" is standard input.
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
