// The file of quantised features: a short header that names the codebook, the packed indices, a checksum.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "kivsr/speech/quantise/split_codebook.h"

namespace kivsr::speech {

struct QuantisedStream {
  int frames = 0;
  std::vector<std::uint8_t> bits;  // as SplitCodebook::encode packs them
};

// Codes rows as they come; what is kept of them are their bits.
class RowEncoder {
 public:
  // Told of what is decoded in the place of the rows, if anybody wants to know.
  using Listener = std::function<void(const FeatureMatrix& rows, const FeatureMatrix& decoded)>;

  explicit RowEncoder(const SplitCodebook& book, Listener listener = {});
  void push(const FeatureMatrix& rows);
  QuantisedStream finish();

 private:
  void encode_pending();

  const SplitCodebook& book_;
  Listener listener_;
  FeatureMatrix pending_;
  QuantisedStream stream_;
};

// Hands over the rows of a stream as they come. file: for faults.
void decode_rows(const QuantisedStream& stream, const SplitCodebook& book, const std::string& file,
                 const std::function<void(const FeatureMatrix& rows)>& take);

// Writes to the file and leaves the commit to the caller; returns the bytes of the whole file.
std::int64_t write_quantised(OutputFile& file, const QuantisedStream& stream, const SplitCodebook& book);

// Throws Fault for a file that is no such stream, was made with another codebook, is cut short or damaged.
QuantisedStream read_quantised(const std::filesystem::path& file, const SplitCodebook& book);

}  // namespace kivsr::speech
