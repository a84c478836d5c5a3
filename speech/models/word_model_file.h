// The file of a word model: header lines with the features, the units and the record of the training, then the numbers
// of each state as floats. docs/guide/train.md describes it to the byte.
#pragma once

#include <cstdint>
#include <filesystem>

#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

bool is_word_model_file(const std::filesystem::path& file);
// Throws Fault for a file that is damaged or contradicts itself.
WordModel read_word_model(const std::filesystem::path& file);
void write_word_model(const std::filesystem::path& file, const WordModel& model);
// Tells models apart: the checksum that the file of the model would have.
std::uint32_t word_model_checksum(const WordModel& model);

}  // namespace kivsr::speech
