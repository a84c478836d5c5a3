#include "kivsr/speech/train/training_list.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/front/feature_transform.h"
#include "kivsr/speech/io/batch.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/in_order.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {

std::vector<TrainingItem> read_training_list(const TrainingListFiles& files, bool with_words) {
  const std::string text = read_text_file(files.list);
  const bool words_in_list = with_words && files.transcripts.empty();
  References references;
  if (with_words && !words_in_list) references = References::read(files.transcripts);
  const std::filesystem::path folder = files.folder.empty() ? files.list.parent_path() : files.folder;
  std::vector<TrainingItem> items;
  int number = 0;
  std::string_view lines = text;
  for (std::string_view line; take_line(lines, line);) {
    ++number;
    line = trimmed(line);
    if (line.empty() || line.front() == '#') continue;
    std::string name(line);
    TrainingItem item;
    item.line = number;
    if (files.transcripts.empty()) {
      const std::size_t tab = line.find('\t');
      const std::size_t blank = words_in_list && tab == std::string::npos ? line.find(' ') : tab;
      const std::size_t end = std::min(blank, line.size());
      name = trimmed(line.substr(0, end));
      if (words_in_list) item.words = spoken_words(line.substr(end));
    }
    item.file = folder / (name + files.extension);
    if (with_words && !words_in_list) item.words = references.find(item.file);
    items.push_back(std::move(item));
  }
  if (items.empty()) throw Fault(files.list.string() + ": lists no files");
  return items;
}

std::uint32_t list_checksum(const std::vector<TrainingItem>& items) {
  std::string text;
  for (const TrainingItem& item : items) {
    text += item.file.filename().string();
    for (const std::string& word : item.words) text += " " + word;
    text += "\n";
  }
  return checksum_32(text);
}

bool TrainingShare::has(std::size_t item, const ListBlocks& blocks) const {
  if (team != nullptr) return rank_of(blocks.of(item), *team) == team->rank();
  return item % static_cast<std::size_t>(parts) == static_cast<std::size_t>(part);
}

int TrainingShare::count(std::size_t items) const {
  int result = 0;
  for (std::size_t item = 0; item < items; ++item) result += has(item, {items}) ? 1 : 0;
  return result;
}

void TrainingUtterances::add(const std::filesystem::path& file, const std::vector<int>& words, std::size_t item) {
  all_.push_back({file, words, item, frames(), 0});
}

std::vector<std::size_t> TrainingUtterances::block_begins() const {
  const ListBlocks list = blocks();
  std::vector<std::size_t> begins;
  for (std::size_t block = 0; block <= list.count(); ++block) {
    const auto first = std::partition_point(all_.begin(), all_.end(), [&](const TrainingUtterance& utterance) {
      return block == list.count() || utterance.item < list.first(block);
    });
    begins.push_back(static_cast<std::size_t>(first - all_.begin()));
  }
  return begins;
}

void TrainingUtterances::append(const FeatureMatrix& rows) {
  width_ = rows.width;
  frames_ += rows.height();
  store_.append(rows.values);
  all_.back().frames += rows.height();
}

void TrainingUtterances::transform(std::span<const float> matrix) {
  if (all_.empty()) return;
  RowStore store;
  const int width = static_cast<int>(matrix.size()) / width_;
  for (const TrainingUtterance& utterance : all_) {
    FeatureMatrix rows{width, {}};
    transform_rows(matrix, this->rows(utterance), rows);
    store.append(rows.values);
  }
  store_ = std::move(store);
  width_ = width;
}

void TrainingUtterances::append_rows_of(const TrainingUtterance& utterance, int first, int count,
                                        FeatureMatrix& rows) const {
  rows.width = width_;
  const std::size_t before = rows.values.size();
  rows.values.resize(before + static_cast<std::size_t>(count) * static_cast<std::size_t>(width_));
  store_.read((utterance.first_row + first) * width_, std::span(rows.values).subspan(before));
}

FeatureMatrix TrainingUtterances::rows(const TrainingUtterance& utterance) const {
  FeatureMatrix rows;
  append_rows_of(utterance, 0, utterance.frames, rows);
  return rows;
}

namespace {

// The rows of an item, or why there are none.
struct LoadedItem {
  FeatureMatrix rows;
  std::optional<Fault> fault;
};

LoadedItem load_item(const TrainingItem& item, const RowSource& source, FeatureChain& chain) {
  LoadedItem result;
  result.rows.width = chain.recipe().width();
  const RowTaker append = [&](const FeatureMatrix& rows) { append_rows(rows.values, result.rows); };
  try {
    if (source.cache != nullptr) {
      source.cache->stream(item.file, chain, source.raw, append);
    } else {
      stream_utterance(item.file, chain, source.raw, append);
    }
  } catch (const Fault& fault) {
    result.fault = fault;
  }
  return result;
}

}  // namespace

TrainingUtterances load_utterances(const std::vector<TrainingItem>& items, const Recipe& recipe,
                                   const WordNumbers& words, const RowSource& source, const FileListener& begin,
                                   const TrainingShare& share, const FaultListener& left_out) {
  TrainingUtterances utterances(items.size(), share.team);
  std::vector<std::size_t> own;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (share.has(i, {items.size()})) own.push_back(i);
  }
  const auto take = [&](std::size_t turn, const LoadedItem& loaded) {
    const TrainingItem& item = items[own[turn]];
    std::vector<int> numbers;
    std::optional<Fault> fault = loaded.fault;
    try {
      numbers = words(item);
    } catch (const Fault& unknown) {
      fault = unknown;
    }
    if (fault && !left_out) throw Fault(*fault);
    if (fault) return left_out(*fault);
    utterances.add(item.file, numbers, own[turn]);
    utterances.append(loaded.rows);
  };
  const std::size_t threads = batch_threads(std::max(source.jobs, 1), own.size());
  InOrder<LoadedItem> loaded(threads, take);
  std::vector<std::optional<FeatureChain>> chains(threads);
  run_batch(own.size(), threads, [&](std::size_t worker, std::size_t turn) {
    try {
      const TrainingItem& item = items[own[turn]];
      if (begin) loaded.alone([&] { begin(item.file); });
      if (!chains[worker]) chains[worker].emplace(recipe);
      loaded.put(turn, load_item(item, source, *chains[worker]));
    } catch (...) {
      loaded.stop();
      throw;
    }
  });
  return utterances;
}

TrainingUtterances load_utterances(const std::vector<TrainingItem>& items, const WordModel& model,
                                   const RowSource& source, const FileListener& begin, const TrainingShare& share,
                                   const FaultListener& left_out) {
  const WordNumbers words = [&](const TrainingItem& item) {
    std::vector<int> numbers;
    if (model.plain_mixture) return numbers;
    for (const std::string& word : item.words) {
      numbers.push_back(model.find_unit(word));
      if (numbers.back() < 0) throw Fault(item.file.string() + ": the model does not have the word \"" + word + "\"");
    }
    return numbers;
  };
  return load_utterances(items, model.recipe, words, source, begin, share, left_out);
}

}  // namespace kivsr::speech
