// A file that appears under its name only when it is complete: bytes go to a temporary name in the same folder,
// commit() renames it. Without a commit the destructor removes the temporary file, so a fault leaves nothing
// half-written.
#ifndef KIVSR_TOOLS_SUPPORT_OUTPUT_FILE_H
#define KIVSR_TOOLS_SUPPORT_OUTPUT_FILE_H

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string_view>

namespace kivsr::tools {

class OutputFile {
 public:
  explicit OutputFile(std::filesystem::path name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  void write(const void* bytes, std::size_t count);
  void write(std::string_view text) { write(text.data(), text.size()); }
  void commit();
  // Of the temporary file, for a library that writes through it instead. Not to be closed.
  int descriptor() const;

 private:
  [[noreturn]] void fail(const char* what, int error) const;

  std::filesystem::path name_;
  std::filesystem::path temporary_;
  std::FILE* file_ = nullptr;
};

}  // namespace kivsr::tools

#endif
