// The extension of a file's name, which names its format.
#pragma once

#include <filesystem>
#include <string>

namespace kivsr::speech {

// With the dot, in lower case; empty if there is none.
std::string lower_extension(const std::filesystem::path& file);

}  // namespace kivsr::speech
