// Where the library is that the program runs on.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <dlfcn.h>

#include "kivsr.h"

namespace kivsr::program {

// The file that the dynamic loader mapped. The version record lies in it, whatever the linker did to function
// addresses.
inline std::string library_file() {
  Dl_info where{};
  if (dladdr(kivsrGetLibVersion(), &where) == 0 || where.dli_fname == nullptr) return "unknown";
  std::error_code error;
  const auto real = std::filesystem::canonical(where.dli_fname, error);
  return error ? where.dli_fname : real.string();
}

}  // namespace kivsr::program
