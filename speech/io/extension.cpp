#include "kivsr/speech/io/extension.h"

#include <algorithm>
#include <cctype>

namespace kivsr::speech {

std::string lower_extension(const std::filesystem::path& file) {
  std::string extension = file.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

}  // namespace kivsr::speech
