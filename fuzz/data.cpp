// Audio, rows of features, codebooks and coded features.
#include <vector>

#include "fuzz/target.h"
#include "kivsr/speech/front/speaker_normalisation.h"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/quantise/frame_pairs.h"
#include "kivsr/speech/quantise/quantised_stream.h"
#include "kivsr/speech/quantise/split_codebook.h"

namespace kivsr::fuzz {

namespace {

using namespace speech;

void read_rows(const std::filesystem::path& file) {
  FeatureReader reader(file);
  FeatureMatrix rows;
  for (; reader.read(rows); rows.values.clear()) {
    if (rows.values.size() % static_cast<std::size_t>(rows.width) != 0) __builtin_trap();
  }
}
const Registration npy("npy", [](Bytes bytes) { read_rows(file_of(bytes, "rows.npy")); });
const Registration htk("htk", [](Bytes bytes) { read_rows(file_of(bytes, "rows.htk")); });
const Registration mfc("mfc", [](Bytes bytes) { read_rows(file_of(bytes, "rows.mfc")); });
const Registration csv("csv", [](Bytes bytes) { read_rows(file_of(bytes, "rows.csv")); });
const Registration arff("arff", [](Bytes bytes) { read_rows(file_of(bytes, "rows.arff")); });
const Registration matrix("matrix", [](Bytes bytes) { read_rows(file_of(bytes, "rows.mat")); });

void run_archive(Bytes bytes) {
  for (const auto& [key, name] : archive_entries({.archive = file_of(bytes, "rows.ark")})) {
    if (is_feature_file(name)) read_rows(name);
  }
}
const Registration archive("archive", run_archive);

// The files of the list are none.
void run_script(Bytes bytes) {
  for (const auto& [key, name] : archive_entries({.script = file_of(bytes, "list.scp")})) kaldi_place(name);
}
const Registration script("script", run_script);

void run_sums(Bytes bytes) { read_column_sums(file_of(bytes, "sums.ark").string()); }
const Registration sums("column_sums", run_sums);

// A compressed file may hold far more than its bytes: no more than a second of a thousand blocks is read.
void read_audio(const std::filesystem::path& file, const RawFormat& raw) {
  AudioReader reader(file, raw);
  std::size_t samples = 0;
  while (samples < 2'000'000) {
    const auto block = reader.read();
    if (block.empty()) break;
    samples += block.size() * block.front().size();
  }
}
void run_audio(Bytes bytes) { read_audio(file_of(bytes, "sound"), {}); }
const Registration audio("audio", run_audio);

void run_raw(Bytes bytes) {
  if (bytes.empty()) return;
  RawFormat raw{.sample_rate = 8000 * (1 + bytes[0] % 7), .big_endian = bytes[0] > 127};
  MonoReader reader(file_of(bytes.subspan(1), "sound.raw"), 16000, raw);
  std::vector<float> samples;
  while (reader.read(samples)) {
  }
}
const Registration raw("raw", run_raw);

SplitCodebook tiny_book() {
  std::vector<GroupCodebook> groups(2);
  groups[0] = {{{0, 2}, 2}, {1.0F, 1.0F}, {0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F}};
  groups[1] = {{{1}, 1}, {1.0F}, {-1.0F, 1.0F}};
  return SplitCodebook(Recipe::of_features(3), std::move(groups));
}

void run_codebook(Bytes bytes) {
  std::vector<std::uint8_t> content(bytes.begin(), bytes.end());
  const std::uint32_t checksum = checksum_32(content);
  for (int shift = 0; shift < 32; shift += 8) content.push_back(static_cast<std::uint8_t>(checksum >> shift));
  const SplitCodebook book = SplitCodebook::read(file_of(content, "codebook"));
  const FeatureMatrix rows{book.width(), std::vector<float>(3 * static_cast<std::size_t>(book.width()), 0.5F)};
  book.decode(book.encode(rows), rows.height(), "codebook");
}
const Registration codebook("codebook", run_codebook);

// The bytes behind the magic, the book and its identity; the checksum is right.
void run_stream(Bytes bytes) {
  static const SplitCodebook book = tiny_book();
  std::vector<std::uint8_t> content(bytes.begin(), bytes.end());
  if (content.size() >= 12) {
    for (int i = 0; i < 4; ++i)
      content[8 + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(book.identity() >> (8 * i));
  }
  const std::uint32_t checksum = checksum_32(content);
  for (int shift = 0; shift < 32; shift += 8) content.push_back(static_cast<std::uint8_t>(checksum >> shift));
  const QuantisedStream stream = read_quantised(file_of(content, "stream.kvs"), book);
  decode_rows(stream, book, "stream.kvs", [](const FeatureMatrix&) {});
}
const Registration stream("stream", run_stream);

void run_pairs(Bytes bytes) {
  const ReceivedFrames received = read_pairs(bytes, "pairs");
  if (!received.frames.empty()) write_pairs(received.frames);
}
const Registration pairs("pairs", run_pairs);

}  // namespace

}  // namespace kivsr::fuzz
