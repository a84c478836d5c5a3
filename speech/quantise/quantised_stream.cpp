#include "kivsr/speech/quantise/quantised_stream.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/little_endian.h"

namespace kivsr::speech {

namespace {

constexpr std::string_view kMagic = "KVQS";
constexpr std::uint32_t kVersion = 1;
constexpr int kBlockRows = 1024;  // whole bytes, whatever the bits of a row

std::string hexadecimal(std::uint32_t value) {
  char text[8];
  const std::string digits(text, std::to_chars(text, text + sizeof text, value, 16).ptr);
  return std::string(sizeof text - digits.size(), '0') + digits;
}

// Everything in front of the checksum.
LittleEndianBytes content(const QuantisedStream& stream, const SplitCodebook& book) {
  LittleEndianBytes bytes;
  bytes.put_text(kMagic);
  bytes.put_32(kVersion);
  bytes.put_32(book.identity());
  bytes.put_32(static_cast<std::uint32_t>(stream.frames));
  bytes.put_16(static_cast<std::uint32_t>(book.width()));
  bytes.put_16(static_cast<std::uint32_t>(book.groups().size()));
  for (const GroupCodebook& group : book.groups()) bytes.put_8(static_cast<std::uint32_t>(group.group.bits));
  bytes.put_bytes(stream.bits);
  return bytes;
}

}  // namespace

RowEncoder::RowEncoder(const SplitCodebook& book, Listener listener) : book_(book), listener_(std::move(listener)) {
  pending_.width = book.width();
}

void RowEncoder::push(const FeatureMatrix& rows) {
  for (int t = 0; t < rows.height(); ++t) {
    pending_.values.insert(pending_.values.end(), rows.row(t).begin(), rows.row(t).end());
    if (pending_.height() == kBlockRows) encode_pending();
  }
}

void RowEncoder::encode_pending() {
  const std::vector<std::uint8_t> bits = book_.encode(pending_);
  if (listener_) listener_(pending_, book_.decode(bits, pending_.height(), ""));
  stream_.frames += pending_.height();
  stream_.bits.insert(stream_.bits.end(), bits.begin(), bits.end());
  pending_.values.clear();
}

QuantisedStream RowEncoder::finish() {
  if (pending_.height() > 0) encode_pending();
  return std::exchange(stream_, {});
}

void decode_rows(const QuantisedStream& stream, const SplitCodebook& book, const std::string& file,
                 const std::function<void(const FeatureMatrix& rows)>& take) {
  for (int first = 0; first < stream.frames; first += kBlockRows) {
    const auto begin = static_cast<std::size_t>(SplitCodebook::encoded_bytes(first, book.row_bits()));
    take(book.decode(std::span(stream.bits).subspan(begin), std::min(kBlockRows, stream.frames - first), file));
  }
}

std::int64_t write_quantised(OutputFile& file, const QuantisedStream& stream, const SplitCodebook& book) {
  LittleEndianBytes bytes = content(stream, book);
  bytes.put_32(bytes.checksum());
  file.write(bytes.text());
  return static_cast<std::int64_t>(bytes.text().size());
}

QuantisedStream read_quantised(const std::filesystem::path& name, const SplitCodebook& book) {
  BinaryFile file(name);
  const auto magic = file.read_bytes(static_cast<std::int64_t>(kMagic.size()), "magic");
  if (!std::equal(magic.begin(), magic.end(), kMagic.begin())) file.fail("not a stream of kivsr quantise");
  const std::uint32_t version = file.read_word("version");
  if (version != kVersion) file.fail("stream of version " + std::to_string(version) + ", this program reads 1");
  const std::uint32_t identity = file.read_word("codebook");
  if (identity != book.identity()) {
    file.fail("made with the codebook " + hexadecimal(identity) + ", not with " + hexadecimal(book.identity()));
  }
  QuantisedStream stream;
  stream.frames = file.read_count("number of frames");
  const int width = file.read_half_word("features of a frame");
  const int groups = file.read_half_word("number of groups");
  const auto bits = file.read_bytes(groups, "bits of the groups");
  const bool fits =
      std::equal(bits.begin(), bits.end(), book.groups().begin(), book.groups().end(),
                 [](std::uint8_t stated, const GroupCodebook& group) { return stated == group.group.bits; });
  if (width != book.width() || !fits) file.fail("damaged: the header does not fit its codebook");
  const auto packed = file.read_bytes(SplitCodebook::encoded_bytes(stream.frames, book.row_bits()),
                                      std::to_string(stream.frames) + " frames");
  stream.bits.assign(packed.begin(), packed.end());
  const std::uint32_t checksum = file.read_word("checksum");
  file.expect_end();
  if (content(stream, book).checksum() != checksum) file.fail("damaged: the checksum does not fit the content");
  return stream;
}

}  // namespace kivsr::speech
