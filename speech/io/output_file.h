// A file that appears under its name only when it is complete: bytes go to a temporary name in the same folder,
// commit() renames it. Without a commit the destructor removes the temporary file, so a fault leaves nothing
// half-written; a program that is told to end calls remove_partial_files().
// A name that exists keeps being what it is: a symbolic link is followed, permissions stay, a file that has other names
// too (hard links) gets the bytes in place, once there is room for all of them. What may not be written is refused.
// "-" is standard output; it, pipes and devices get the bytes as they come, unless keep_until_commit() is called.
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
  // Hands on what was written so far: to a pipe, where somebody may wait for it.
  void flush();
  // Whether the bytes go where none can be taken back: then they cannot be written over, unless they are kept.
  bool is_stream() const { return stream_ && kept_for_ < 0; }
  // Before anything is written: a pipe gets its bytes at the end, from a temporary file until then.
  void keep_until_commit();
  // Writes over what lies there already: a count that is known only at the end. Not for a stream.
  void overwrite(std::int64_t position, std::string_view text);
  void commit();
  // Of the temporary file, for a library that writes through it instead. Not to be closed.
  int descriptor() const { return descriptor_; }

 private:
  void open_temporary();
  void open_stream();
  void write_all(std::string_view text, std::int64_t position);
  void write_stream(std::string_view text);
  void copy_to_target() const;
  void copy_to_stream();
  void forget_temporary();
  [[noreturn]] void fail(const char* what, int error) const;

  std::filesystem::path name_;
  std::filesystem::path target_;  // behind symbolic links
  std::filesystem::path temporary_;
  bool in_place_ = false;
  bool stream_ = false;
  int kept_for_ = -1;  // the stream, while the descriptor is that of what is kept for it
  int slot_ = -1;      // in the list of partial files
  int descriptor_ = -1;
  std::int64_t written_ = 0;  // bytes of the file
  std::string buffer_;        // those behind them
};

// Removes what every OutputFile of the process has written so far. Only for a process that ends at once; a handler of
// signals may call it.
void remove_partial_files() noexcept;

}  // namespace kivsr::speech
