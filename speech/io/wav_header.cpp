#include "kivsr/speech/io/wav_header.h"

#include <cstring>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/byte_order.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kLongestHead = std::size_t{1} << 20U;
constexpr std::size_t kRiffHead = 12;
constexpr std::size_t kChunkHead = 8;
constexpr std::uint32_t kNearlyEndless = 0x7FFF0000U;
constexpr unsigned kIntegers = 1;
constexpr unsigned kFloats = 3;
constexpr unsigned kExtensible = 0xFFFE;

std::uint32_t little_endian(std::span<const unsigned char> bytes) { return static_cast<std::uint32_t>(bits_of(bytes)); }

bool is(std::span<const unsigned char> bytes, const char* name) { return std::memcmp(bytes.data(), name, 4) == 0; }

std::optional<WavSamples> samples_of(unsigned tag, unsigned bits) {
  if (tag == kIntegers && bits == 8) return WavSamples::kUnsigned8;
  if (tag == kIntegers && bits == 16) return WavSamples::kSigned16;
  if (tag == kIntegers && bits == 24) return WavSamples::kSigned24;
  if (tag == kIntegers && bits == 32) return WavSamples::kSigned32;
  if (tag == kFloats && bits == 32) return WavSamples::kFloat;
  if (tag == kFloats && bits == 64) return WavSamples::kDouble;
  return std::nullopt;
}

// What "fmt " says, if it is of plain samples.
std::optional<WavHeader> format_of(std::span<const unsigned char> chunk) {
  constexpr std::size_t kExtended = 40;  // with the number of bits that count and the tag in a longer name
  if (chunk.size() < 16) return std::nullopt;
  const auto field = [&](std::size_t place, std::size_t size) { return little_endian(chunk.subspan(place, size)); };
  unsigned tag = field(0, 2);
  const unsigned channels = field(2, 2);
  const std::uint32_t rate = field(4, 4);
  const unsigned bits = field(14, 2);
  if (tag == kExtensible) {
    if (chunk.size() < kExtended || field(18, 2) != bits) return std::nullopt;
    tag = field(24, 2);
  }
  const auto samples = samples_of(tag, bits);
  if (!samples || channels < 1 || channels > 1024 || rate < 1 || rate > 0x7FFFFFFFU) return std::nullopt;
  if (field(12, 2) != channels * (bits / 8)) return std::nullopt;
  return WavHeader{*samples, static_cast<int>(channels), static_cast<int>(rate), 0, std::nullopt};
}

// A stated size of 0 means an empty file only where the whole file says so too.
bool is_unknown(std::uint32_t data_bytes, std::uint32_t riff_bytes, std::size_t offset) {
  if (data_bytes >= kNearlyEndless) return true;
  return data_bytes == 0 && (riff_bytes <= offset - kChunkHead || riff_bytes >= kNearlyEndless);
}

}  // namespace

int bytes_of(WavSamples samples) {
  switch (samples) {
    case WavSamples::kUnsigned8: return 1;
    case WavSamples::kSigned16: return 2;
    case WavSamples::kSigned24: return 3;
    case WavSamples::kSigned32:
    case WavSamples::kFloat: return 4;
    default: return 8;
  }
}

std::optional<WavHeader> read_wav_header(ByteSource& source) {
  const auto riff = source.front(kRiffHead);
  if (riff.size() < kRiffHead || !is(riff, "RIFF") || !is(riff.subspan(8), "WAVE")) return std::nullopt;
  const std::uint32_t riff_bytes = little_endian(riff.subspan(4, 4));
  std::optional<WavHeader> header;
  for (std::size_t place = kRiffHead; place + kChunkHead <= kLongestHead;) {
    const auto front = source.front(place + kChunkHead);
    if (front.size() < place + kChunkHead) return std::nullopt;
    const auto chunk = front.subspan(place);
    const std::uint32_t size = little_endian(chunk.subspan(4, 4));
    const bool is_format = is(chunk, "fmt ");
    const bool is_data = is(chunk, "data");
    place += kChunkHead;
    if (is_data) {
      if (!header) return std::nullopt;
      header->offset = static_cast<std::int64_t>(place);
      if (!is_unknown(size, riff_bytes, place)) header->data_bytes = size;
      return header;
    }
    if (size > kLongestHead) return std::nullopt;
    if (is_format) {
      const auto whole = source.front(place + size);
      if (whole.size() < place + size || !(header = format_of(whole.subspan(place)))) return std::nullopt;
    }
    place += size + (size & 1U);
  }
  return std::nullopt;
}

void decode_wav(WavSamples samples, std::span<const unsigned char> bytes, std::span<float> values) {
  const auto count = static_cast<int>(values.size());
  switch (samples) {
    case WavSamples::kUnsigned8:
      for (std::size_t i = 0; i < values.size(); ++i) values[i] = 256.0F * static_cast<float>(bytes[i] - 128);
      return;
    case WavSamples::kSigned16:
      call<kivsConvert_16s32f>(reinterpret_cast<const Kiv16s*>(bytes.data()), values, count);
      return;
    case WavSamples::kSigned24:
      for (std::size_t i = 0; i < values.size(); ++i) {
        const std::uint32_t bits = little_endian(bytes.subspan(3 * i, 3)) << 8U;
        values[i] = static_cast<float>(static_cast<std::int32_t>(bits)) / 65536.0F;
      }
      return;
    case WavSamples::kSigned32:
      call<kivsConvert_32s32f_Sfs>(reinterpret_cast<const Kiv32s*>(bytes.data()), values, count, 16);
      return;
    case WavSamples::kFloat: std::memcpy(values.data(), bytes.data(), values.size_bytes()); break;
    case WavSamples::kDouble:
      call<kivsConvert_64f32f>(reinterpret_cast<const Kiv64f*>(bytes.data()), values, count);
      break;
  }
  call<kivsMulC_32f_I>(32768.0F, values, count);
}

}  // namespace kivsr::speech
