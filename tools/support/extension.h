// The extension of a file's name, which names its format.
#ifndef KIVSR_TOOLS_SUPPORT_EXTENSION_H
#define KIVSR_TOOLS_SUPPORT_EXTENSION_H

#include <filesystem>
#include <string>

namespace kivsr::tools {

// With the dot, in lower case; empty if there is none.
std::string lower_extension(const std::filesystem::path& file);

}  // namespace kivsr::tools

#endif
