// What to train from: a list of files and what is said in them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/row_store.h"
#include "kivsr/speech/models/word_model.h"
#include "kivsr/speech/train/row_cache.h"
#include "kivsr/speech/train/training_team.h"

namespace kivsr::speech {

struct TrainingListFiles {
  std::filesystem::path list;         // lines "file word word ..."; a tab after a file name that holds spaces
  std::filesystem::path transcripts;  // lines "words (utterance-id)"; the lines of list are file names then
  std::filesystem::path folder;       // of relative names; empty: that of the list
  std::string extension;              // added to names
};

struct TrainingItem {
  std::filesystem::path file;
  std::vector<std::string> words;
  int line = 0;  // of the list
};

// Without words the lines are file names; what follows a tab does not count. Empty lines and those that start with #
// are passed over.
std::vector<TrainingItem> read_training_list(const TrainingListFiles& files, bool with_words);
// Of names and words, to notice that a training goes on with another list. The folders are left out.
std::uint32_t list_checksum(const std::vector<TrainingItem>& items);

struct TrainingUtterance {
  std::filesystem::path file;
  std::vector<int> words;      // units of the model
  std::size_t item = 0;        // of the list
  std::int64_t first_row = 0;  // in the order of all utterances
  int frames = 0;
};

// Which items of a list somebody works on: every parts-th from part on, or what a team gives this member.
struct TrainingShare {
  int part = 0;
  int parts = 1;
  TrainingTeam* team = nullptr;

  bool has(std::size_t item, const ListBlocks& blocks) const;
  int count(std::size_t items) const;
};

// Utterances with their rows, which are computed once and wait in a temporary file: memory holds what is asked for.
class TrainingUtterances {
 public:
  TrainingUtterances() = default;
  // Of a list of so many items.
  explicit TrainingUtterances(std::size_t items, TrainingTeam* team = nullptr) : items_(items), team_(team) {}

  // In the order of the items. Rows that are appended belong to the utterance that was added last.
  void add(const std::filesystem::path& file, const std::vector<int>& words, std::size_t item);
  void add(const std::filesystem::path& file, const std::vector<int>& words) { add(file, words, all_.size()); }
  void append(const FeatureMatrix& rows);
  // Rows become what a matrix [new column][column] makes of them.
  void transform(std::span<const float> matrix);

  const std::vector<TrainingUtterance>& all() const { return all_; }
  std::int64_t frames() const { return frames_; }
  // The blocks of the list, and the first utterance of each; last the number of utterances.
  ListBlocks blocks() const { return {items_ > 0 ? items_ : all_.size()}; }
  std::vector<std::size_t> block_begins() const;
  TrainingTeam* team() const { return team_; }  // whose share these are; null: nobody's
  FeatureMatrix rows(const TrainingUtterance& utterance) const;
  // Appends count rows from the frame first on.
  void append_rows_of(const TrainingUtterance& utterance, int first, int count, FeatureMatrix& rows) const;

 private:
  std::size_t items_ = 0;  // 0: as many as utterances
  TrainingTeam* team_ = nullptr;
  int width_ = 0;
  std::int64_t frames_ = 0;
  std::vector<TrainingUtterance> all_;
  RowStore store_;
};

// Is told of each file before it is worked on.
using FileListener = std::function<void(const std::filesystem::path& file)>;

// Is told of each file that cannot be used, and why.
using FaultListener = std::function<void(const Fault& fault)>;

// How files become rows.
struct RowSource {
  RawFormat raw;
  const RowCache* cache = nullptr;
  int jobs = 1;  // files that are worked on at a time
};

// A file that cannot be read, or has a word that the model does not have, is left out if somebody is told of it; else
// its Fault is thrown on.
TrainingUtterances load_utterances(const std::vector<TrainingItem>& items, const WordModel& model,
                                   const RowSource& source, const FileListener& begin = {},
                                   const TrainingShare& share = {}, const FaultListener& left_out = {});

// The same with words that are numbered by somebody else, who throws Fault for one that he does not have. He is asked
// in the order of the items.
using WordNumbers = std::function<std::vector<int>(const TrainingItem& item)>;
TrainingUtterances load_utterances(const std::vector<TrainingItem>& items, const Recipe& recipe,
                                   const WordNumbers& words, const RowSource& source, const FileListener& begin,
                                   const TrainingShare& share, const FaultListener& left_out);

}  // namespace kivsr::speech
