#include "kivsr/speech/io/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

std::filesystem::path temporary_folder() {
  std::error_code error;
  for (const char* folder : {static_cast<const char*>(std::getenv("TMPDIR")), "/var/tmp"}) {
    if (folder != nullptr && std::filesystem::is_directory(folder, error)) return folder;
  }
  return std::filesystem::temp_directory_path();
}

}  // namespace

int open_temporary_file() {
  const std::filesystem::path folder = temporary_folder();
  std::string name = (folder / "kivsr-XXXXXX").string();
  const int descriptor = mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) {
    throw Fault("a temporary file in " + folder.string() + " cannot be written: " + std::strerror(errno));
  }
  unlink(name.c_str());
  return descriptor;
}

}  // namespace kivsr::speech
