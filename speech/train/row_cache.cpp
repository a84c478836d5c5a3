#include "kivsr/speech/train/row_cache.h"

#include <charconv>
#include <cstdint>
#include <iterator>
#include <system_error>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/front/row_stage.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/record_file.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

constexpr const char* kKind = "kivsr-rows 1";
constexpr const char* kKey = "of";  // lines of the key

// What the rows of a file depend on, a line each; empty for what is no plain file.
std::string key_of(const std::filesystem::path& file, const Recipe& recipe, const RawFormat& raw) {
  const auto place = kaldi_place(file);
  const std::filesystem::path whole = place ? place->file : file;
  std::error_code error;
  if (!std::filesystem::is_regular_file(whole, error)) return {};
  const auto size = std::filesystem::file_size(whole, error);
  if (error) return {};
  const auto time = std::filesystem::last_write_time(whole, error);
  const std::string name = std::filesystem::absolute(file, error).lexically_normal().string();
  if (error || name.find('\n') != std::string::npos) return {};
  const KivLibraryVersion& library = *kivsrGetLibVersion();
  std::string key = "file " + name + "\n";
  key += "size " + std::to_string(size) + "\ntime " + std::to_string(time.time_since_epoch().count()) + "\n";
  key += "raw " + std::to_string(raw.sample_rate) + (raw.big_endian ? " big-endian" : "") +
         (raw.order_is_known ? " known" : "") + "\n";
  key += "library " + std::string(library.version) + " " + std::to_string(library.build) + " " +
         std::string(library.targetCpu, 2) + "\n";
  return key + recipe.text();
}

// The same for a file and a recipe whenever they change, so that the entry of a file that was written anew is too.
std::filesystem::path entry_name(const std::filesystem::path& file, const std::string& key, const Recipe& recipe) {
  const std::string name = key.substr(0, key.find('\n'));
  char digits[8];
  const std::uint32_t number = checksum_32(name + "\n" + recipe.text());
  char* const end = std::to_chars(digits, std::end(digits), number, 16).ptr;
  return file.filename().string() + "-" + std::string(digits, end) + ".rows";
}

std::string lines_of(const RecordReader& reader) {
  std::string text;
  for (const auto& [name, value] : reader.lines()) {
    if (name == kKey) text += value + "\n";
  }
  return text;
}

}  // namespace

RowCache::RowCache(std::filesystem::path folder, Listener listener)
    : folder_(std::move(folder)), listener_(std::move(listener)) {
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (!std::filesystem::is_directory(folder_)) throw Fault(folder_.string() + ": cannot be made a folder of rows");
}

std::optional<FeatureMatrix> RowCache::find(const std::filesystem::path& entry, const std::string& key,
                                            int width) const {
  std::error_code error;
  if (!std::filesystem::exists(entry, error)) return std::nullopt;
  try {
    RecordReader reader(entry, kKind);
    if (lines_of(reader) != key) return std::nullopt;
    int rows = 0;
    if (!read_number(reader.value("rows"), rows) || rows < 1) reader.fail("has no number of rows");
    const std::uint64_t values = static_cast<std::uint64_t>(rows) * static_cast<std::uint64_t>(width);
    reader.require_numbers(values * sizeof(float), "rows");
    FeatureMatrix result{width, std::vector<float>(static_cast<std::size_t>(values))};
    reader.get(result.values, "rows");
    reader.finish();
    require_finite(result, entry);
    return result;
  } catch (const Fault& fault) {
    listener_(Fault(std::string(fault.what()) + "; its rows are computed again"));
    return std::nullopt;
  }
}

void RowCache::keep(const std::filesystem::path& entry, const std::string& key, const FeatureMatrix& rows) const {
  RecordWriter writer(kKind);
  std::string_view lines = key;
  for (std::string_view line; take_line(lines, line);) writer.line(kKey, line);
  writer.line("rows", std::to_string(rows.height()));
  writer.end_header();
  writer.put(rows.values);
  try {
    writer.write(entry);
  } catch (const Fault& fault) {
    listener_(fault);
  }
}

void RowCache::stream(const std::filesystem::path& file, FeatureChain& chain, const RawFormat& raw,
                      const RowTaker& take) const {
  const std::string key = key_of(file, chain.recipe(), raw);
  if (key.empty()) {
    stream_utterance(file, chain, raw, take);
    return;
  }
  const std::filesystem::path entry = folder_ / entry_name(file, key, chain.recipe());
  if (const auto rows = find(entry, key, chain.recipe().width())) return take(*rows);
  FeatureMatrix rows{chain.recipe().width(), {}};
  stream_utterance(file, chain, raw, [&](const FeatureMatrix& more) { append_rows(more.values, rows); });
  keep(entry, key, rows);
  take(rows);
}

}  // namespace kivsr::speech
