// The rows of features of each file in a folder, for the next run that needs them: the parts of a pass compute them
// from audio in every pass else.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

// An entry holds what its rows depend on: name, size and time of the file, how it is read, the recipe and the build of
// the library. Rows of anything else are not used and written over. Several threads and processes may use a folder at a
// time.
class RowCache {
 public:
  // Is told of an entry that is damaged, whose rows are computed again, and of rows that cannot be kept: in
  // any thread.
  using Listener = std::function<void(const Fault& fault)>;

  // Makes the folder where it is not there; throws Fault where that cannot be.
  RowCache(std::filesystem::path folder, Listener listener);

  // As stream_utterance, from the folder if it has the rows; else it has them afterwards. What is no plain file, a pipe
  // for one, is not kept.
  void stream(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw, const RowTaker& take) const;

 private:
  std::optional<FeatureMatrix> find(const std::filesystem::path& entry, const std::string& key, int width) const;
  void keep(const std::filesystem::path& entry, const std::string& key, const FeatureMatrix& rows) const;

  std::filesystem::path folder_;
  Listener listener_;
};

}  // namespace kivsr::speech
