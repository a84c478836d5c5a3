// The file of quantised features: a short header that names the codebook, the packed indices, a checksum.
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "kivsr/speech/quantise/split_codebook.h"

namespace kivsr::speech {

struct QuantisedStream {
  int frames = 0;
  std::vector<std::uint8_t> bits;  // as SplitCodebook::encode packs them
};

// Writes to the file and leaves the commit to the caller; returns the bytes of the whole file.
std::int64_t write_quantised(OutputFile& file, const QuantisedStream& stream, const SplitCodebook& book);

// Throws Fault for a file that is no such stream, was made with another codebook, is cut short or damaged.
QuantisedStream read_quantised(const std::filesystem::path& file, const SplitCodebook& book);

}  // namespace kivsr::speech
