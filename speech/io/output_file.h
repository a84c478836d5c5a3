// A file that appears under its name only when it is complete: bytes go to a temporary name in the same folder,
// commit() renames it. Without a commit the destructor removes the temporary file, so a fault leaves nothing
// half-written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace kivsr::speech {

class OutputFile {
 public:
  explicit OutputFile(std::filesystem::path name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(const void* bytes, std::size_t count);
  void write(std::string_view text) { write(text.data(), text.size()); }
  // Writes over what lies there already: a count that is known only at the end.
  void overwrite(std::int64_t position, std::string_view text);
  void commit();
  // Of the temporary file, for a library that writes through it instead. Not to be closed.
  int descriptor() const { return descriptor_; }

 private:
  void flush();
  void write_all(std::string_view text, std::int64_t position);
  [[noreturn]] void fail(const char* what, int error) const;

  std::filesystem::path name_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
  std::int64_t written_ = 0;  // bytes of the file
  std::string buffer_;        // those behind them
};

}  // namespace kivsr::speech
