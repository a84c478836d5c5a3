#include "kivsr/speech/quantise/frame_pairs.h"

#include <algorithm>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kFrameBits = 44;
constexpr std::size_t kPairBits = 2 * kFrameBits;
constexpr std::size_t kCheckBits = 4;
constexpr std::size_t kBeforeSpeech = 5;  // indices in front of the speech bit
constexpr int kColumns = 14;

int bit_at(std::span<const std::uint8_t> octets, std::size_t k) { return octets[k / 8] >> (k % 8) & 1; }

// Fields one after the other, least significant bit first.
class BitWriter {
 public:
  explicit BitWriter(FramePair& pair) : pair_(pair) {}
  void put(unsigned value, int bits) {
    for (int i = 0; i < bits; ++i, ++next_) {
      pair_[next_ / 8] = static_cast<std::uint8_t>(pair_[next_ / 8] | (value >> i & 1U) << next_ % 8);
    }
  }

 private:
  FramePair& pair_;
  std::size_t next_ = 0;
};

class BitReader {
 public:
  explicit BitReader(std::span<const std::uint8_t> octets) : octets_(octets) {}
  unsigned get(int bits) {
    unsigned value = 0;
    for (int i = 0; i < bits; ++i, ++next_) value |= static_cast<unsigned>(bit_at(octets_, next_)) << i;
    return value;
  }

 private:
  std::span<const std::uint8_t> octets_;
  std::size_t next_ = 0;
};

unsigned check_of(std::span<const std::uint8_t> octets) {
  unsigned remainder = 0;
  for (std::size_t k = 0; k < kPairBits; ++k) {
    const unsigned feedback = (remainder >> 3U ^ static_cast<unsigned>(bit_at(octets, k))) & 1U;
    remainder = (remainder << 1U & 0xFU) ^ (feedback != 0 ? 0x3U : 0U);
  }
  return remainder;
}

void put_frame(const CodedFrame& frame, BitWriter& bits) {
  for (std::size_t i = 0; i < kPairIndices; ++i) {
    if (i == kBeforeSpeech) bits.put(frame.speech ? 1U : 0U, 1);
    bits.put(frame.indices[i], kPairIndexBits[i]);
  }
}

CodedFrame get_frame(BitReader& bits) {
  CodedFrame frame;
  for (std::size_t i = 0; i < kPairIndices; ++i) {
    if (i == kBeforeSpeech) frame.speech = bits.get(1) != 0;
    frame.indices[i] = static_cast<std::uint8_t>(bits.get(kPairIndexBits[i]));
  }
  return frame;
}

// Frames first to last - 1 become their nearest neighbours outside; there is one.
void conceal(std::size_t first, std::size_t last, std::vector<CodedFrame>& frames) {
  for (std::size_t t = first; t < last; ++t) {
    const bool before = last == frames.size() || (first > 0 && 2 * (t - first) < last - first);
    frames[t] = frames[before ? first - 1 : last];
  }
}

}  // namespace

FramePair pack_pair(const CodedFrame& first, const CodedFrame& second) {
  FramePair pair{};
  BitWriter bits(pair);
  put_frame(first, bits);
  put_frame(second, bits);
  bits.put(check_of(pair), kCheckBits);
  return pair;
}

bool unpack_pair(std::span<const std::uint8_t, kPairOctets> pair, CodedFrame& first, CodedFrame& second) {
  BitReader bits(pair);
  first = get_frame(bits);
  second = get_frame(bits);
  return bits.get(kCheckBits) == check_of(pair);
}

std::string write_pairs(std::span<const CodedFrame> frames) {
  std::string octets;
  const auto append = [&](const FramePair& pair) { octets.append(pair.begin(), pair.end()); };
  for (std::size_t t = 0; t < frames.size(); t += 2) {
    CodedFrame second = frames[std::min(t + 1, frames.size() - 1)];
    if (frames[t] == CodedFrame() && second == CodedFrame()) second.indices.back() = 1;
    append(pack_pair(frames[t], second));
  }
  append(pack_pair({}, {}));
  return octets;
}

ReceivedFrames read_pairs(std::span<const std::uint8_t> octets, const std::string& source) {
  if (octets.size() % kPairOctets != 0) {
    throw Fault(source + ": cut short or not of frame pairs: " + std::to_string(octets.size()) +
                " octets are not a multiple of 12");
  }
  ReceivedFrames received;
  std::size_t good = 0;  // frames up to the last one that is not damaged
  for (; !octets.empty(); octets = octets.subspan(kPairOctets)) {
    CodedFrame first;
    CodedFrame second;
    const bool intact = unpack_pair(octets.first<kPairOctets>(), first, second);
    if (intact && first == CodedFrame() && second == CodedFrame()) break;
    ++received.pairs;
    const std::size_t place = received.frames.size();
    received.frames.push_back(first);
    received.frames.push_back(second);
    if (!intact) {
      ++received.damaged;
      continue;
    }
    conceal(good, place, received.frames);
    good = received.frames.size();
  }
  if (received.frames.empty()) throw Fault(source + ": no frame");
  if (good == 0) throw Fault(source + ": damaged: no frame pair passes its check");
  conceal(good, received.frames.size(), received.frames);
  return received;
}

Split pair_split() {
  Split split;
  for (int i = 0; i < static_cast<int>(kPairIndices); ++i) {
    split.push_back({{2 * i, 2 * i + 1}, kPairIndexBits[static_cast<std::size_t>(i)]});
  }
  return split;
}

void require_pair_book(const SplitCodebook& book, const std::string& name) {
  const Split split = pair_split();
  const bool fits = std::equal(split.begin(), split.end(), book.groups().begin(), book.groups().end(),
                               [](const SplitGroup& wanted, const GroupCodebook& group) {
                                 return wanted.columns == group.group.columns && wanted.bits == group.group.bits;
                               });
  const Recipe& recipe = book.recipe();
  const bool rows = recipe.front_end.kind == FrontEndKind::kEtsiAfe && recipe.width() == kColumns;
  if (!rows || recipe.drop_frames || !fits) {
    throw Fault(name + ": no codebook for frame pairs: kivsr quantise train --bitstream makes one");
  }
}

std::vector<CodedFrame> code_frames(const FeatureMatrix& rows, const SplitCodebook& book) {
  FeatureMatrix features{kColumns, {}};
  std::vector<CodedFrame> frames(static_cast<std::size_t>(rows.height()));
  for (int t = 0; t < rows.height(); ++t) {
    const auto row = rows.row(t);
    features.values.insert(features.values.end(), row.begin(), row.begin() + kColumns);
    frames[static_cast<std::size_t>(t)].speech = row[kColumns] != 0.0F;
  }
  // The book packs the most significant bit of an index and of a byte first.
  const std::vector<std::uint8_t> packed = book.encode(features);
  std::size_t next = 0;
  for (CodedFrame& frame : frames) {
    for (std::size_t i = 0; i < kPairIndices; ++i) {
      unsigned index = 0;
      for (int bit = 0; bit < kPairIndexBits[i]; ++bit, ++next) {
        index = 2 * index + (packed[next / 8] >> (7 - next % 8) & 1U);
      }
      frame.indices[i] = static_cast<std::uint8_t>(index);
    }
  }
  return frames;
}

FeatureMatrix decode_frames(std::span<const CodedFrame> frames, const SplitCodebook& book, const std::string& source) {
  const int height = static_cast<int>(frames.size());
  std::vector<std::uint8_t> packed(static_cast<std::size_t>(SplitCodebook::encoded_bytes(height, book.row_bits())),
                                   std::uint8_t{0});
  std::size_t next = 0;
  for (const CodedFrame& frame : frames) {
    for (std::size_t i = 0; i < kPairIndices; ++i) {
      for (int bit = kPairIndexBits[i] - 1; bit >= 0; --bit, ++next) {
        packed[next / 8] =
            static_cast<std::uint8_t>(packed[next / 8] | (frame.indices[i] >> bit & 1) << (7 - next % 8));
      }
    }
  }
  const FeatureMatrix features = book.decode(packed, height, source);
  FeatureMatrix rows{kColumns + 1, {}};
  for (int t = 0; t < height; ++t) {
    const auto row = features.row(t);
    rows.values.insert(rows.values.end(), row.begin(), row.end());
    rows.values.push_back(frames[static_cast<std::size_t>(t)].speech ? 1.0F : 0.0F);
  }
  return rows;
}

}  // namespace kivsr::speech
