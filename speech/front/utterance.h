// The one way from a file to the rows of a recipe: audio goes through the whole chain, a file of features through what
// follows the front end.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

struct UtteranceInfo {
  double seconds = 0.0;  // of a file of features: at the distance of the recipe's frames
  std::int64_t frames = 0;
  int file_channels = 1;     // of audio: before mixing down
  int file_sample_rate = 0;  // before resampling; 0: a file of features
  std::string remark;        // AudioReader::remark
};

// Hears the samples at the recipe's rate before they become rows.
using SampleTaker = std::function<void(std::span<const float> samples)>;

// Hands the rows to take as they come; memory does not grow with the length of the file unless the recipe needs the
// whole utterance. Throws Fault for a file that cannot be read, has rows of another width, holds a value that is not
// finite or has no frame, and for audio where the recipe starts from features. block: samples that are read at a time;
// 0: as suits.
UtteranceInfo stream_utterance(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw,
                               const RowTaker& take, std::size_t block = 0, const SampleTaker& listen = {});

struct Utterance {
  FeatureMatrix features;
  UtteranceInfo info;
};
Utterance load_utterance(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw = {},
                         std::size_t block = 0);

// Throws Fault at the first value that is infinite or NaN. first_frame: number of the first row in the file.
void require_finite(const FeatureMatrix& rows, const std::filesystem::path& file, std::int64_t first_frame = 0);

}  // namespace kivsr::speech
