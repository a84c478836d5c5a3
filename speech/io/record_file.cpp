#include "kivsr/speech/io/record_file.h"

#include <algorithm>
#include <bit>
#include <fstream>

#include "kivsr/speech/io/byte_order.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/io/output_file.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kChecksumBytes = 4;

}  // namespace

RecordWriter::RecordWriter(std::string_view kind) {
  bytes_.put_text(kind);
  bytes_.put_text("\n");
}

void RecordWriter::line(std::string_view name, std::string_view value) {
  for (const std::string_view part : {name, std::string_view(" "), value, std::string_view("\n")})
    bytes_.put_text(part);
}

void RecordWriter::end_header() { bytes_.put_text("end\n"); }

void RecordWriter::put(std::span<const float> values) {
  for (const float value : values) bytes_.put_float(value);
}

void RecordWriter::put(std::span<const double> values) {
  for (const double value : values) bytes_.put_double(value);
}

void RecordWriter::write(const std::filesystem::path& file) const {
  LittleEndianBytes tail;
  tail.put_32(checksum());
  OutputFile output(file);
  output.write(bytes_.text());
  output.write(tail.text());
  output.commit();
}

RecordReader::RecordReader(const std::filesystem::path& file, std::string_view kind) : file_(file) {
  const std::vector<std::uint8_t> bytes = read_whole_file(file);
  if (!is_record_file(file, kind)) fail("does not start with the line \"" + std::string(kind) + "\"");
  const std::size_t size = bytes.size() - std::min(bytes.size(), kChecksumBytes);
  std::uint32_t stored = 0;
  for (std::size_t i = size; i < bytes.size(); ++i) stored |= std::uint32_t{bytes[i]} << (8 * (i - size));
  if (stored != checksum_32(std::span(bytes).first(size))) fail("damaged: the checksum does not fit");
  file_.read_line("kind of file");
  for (std::string line = file_.read_line("header"); line != "end"; line = file_.read_line("header")) {
    const std::size_t space = std::min(line.find(' '), line.size());
    lines_.emplace_back(line.substr(0, space), line.substr(std::min(space + 1, line.size())));
  }
}

const std::string& RecordReader::value(std::string_view name) const {
  const auto found = std::find_if(lines_.begin(), lines_.end(), [&](const auto& line) { return line.first == name; });
  if (found == lines_.end()) fail("the header has no line " + std::string(name));
  return found->second;
}

void RecordReader::require_numbers(std::uint64_t bytes, std::string_view what) const {
  if (bytes > (std::uint64_t{1} << 40)) fail(std::string(what) + ": impossible size");
  file_.require(static_cast<std::int64_t>(bytes + kChecksumBytes), what);
}

template <class Bits, class Number>
void RecordReader::get_numbers(std::span<Number> values, std::string_view what) {
  constexpr std::size_t kBlock = 8192;
  require_numbers(values.size_bytes(), what);
  while (!values.empty()) {
    const auto block = values.first(std::min(kBlock, values.size()));
    const auto bytes = file_.read_bytes(static_cast<std::int64_t>(block.size_bytes()), what);
    for (std::size_t i = 0; i < block.size(); ++i) {
      const auto own = bytes.subspan(i * sizeof(Number)).template first<sizeof(Number)>();
      block[i] = std::bit_cast<Number>(static_cast<Bits>(bits_of(own)));
    }
    values = values.subspan(block.size());
  }
}

void RecordReader::get(std::span<float> values, std::string_view what) { get_numbers<std::uint32_t>(values, what); }

void RecordReader::get(std::span<double> values, std::string_view what) { get_numbers<std::uint64_t>(values, what); }

void RecordReader::finish() {
  file_.read_bytes(kChecksumBytes, "checksum");
  file_.expect_end();
}

bool is_record_file(const std::filesystem::path& file, std::string_view kind) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return false;
  std::ifstream stream(file, std::ios::binary);
  std::string line(kind.size() + 1, '\0');
  stream.read(line.data(), static_cast<std::streamsize>(line.size()));
  return stream && line == std::string(kind) + '\n';
}

}  // namespace kivsr::speech
