// The payload of the distributed recogniser with the advanced front end (RFC 4060, RFC 3557): two frames of 10 ms and a
// check of four bits in twelve octets. The codebooks of the standard are not part of this library: what is coded here
// is decoded with the codebook file that coded it.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"
#include "kivsr/speech/quantise/split_codebook.h"

namespace kivsr::speech {

inline constexpr std::size_t kPairIndices = 7;
inline constexpr std::size_t kPairOctets = 12;

// Indices of (c1, c2), (c3, c4), ... (c11, c12), (c0, log energy).
inline constexpr std::array<int, kPairIndices> kPairIndexBits = {6, 6, 6, 6, 6, 5, 8};

struct CodedFrame {
  std::array<std::uint8_t, kPairIndices> indices{};
  bool speech = false;

  bool operator==(const CodedFrame&) const = default;
};

// Bit k of the 92 is bit k mod 8 of octet k / 8, and fields come with their least significant bit first. A frame of 44
// bits: the indices but the last two, the speech bit, the last two indices. Bits 88 to 91 are the check, the remainder
// of the 88 before it, first bit highest, by x^4 + x + 1; the last four are zero.
using FramePair = std::array<std::uint8_t, kPairOctets>;
FramePair pack_pair(const CodedFrame& first, const CodedFrame& second);
// False if the check fails.
bool unpack_pair(std::span<const std::uint8_t, kPairOctets> pair, CodedFrame& first, CodedFrame& second);

// Pairs of a whole utterance and the null pair that ends it: 88 zeros and their check. Of an odd number of frames the
// last one is there twice. Two frames of zeros in a row, which would be a null pair, get index 1 in place of the last
// 0.
std::string write_pairs(std::span<const CodedFrame> frames);

struct ReceivedFrames {
  std::vector<CodedFrame> frames;
  int pairs = 0;
  int damaged = 0;  // pairs whose check failed
};
// Of a run of damaged pairs the first half repeats the last good frame before it, the second half the first good one
// behind it. Reading ends at a null pair, or with the octets. Throws Fault, which names the source, for octets that are
// not whole pairs, hold no frame or no pair that is not damaged.
ReceivedFrames read_pairs(std::span<const std::uint8_t> octets, const std::string& source);

// The split of the payload over c1 .. c12, c0, log energy.
Split pair_split();
// Throws Fault unless the book is one for rows of the advanced front end with this split.
void require_pair_book(const SplitCodebook& book, const std::string& name);
// rows: those of the book's recipe with the speech column behind, and back.
std::vector<CodedFrame> code_frames(const FeatureMatrix& rows, const SplitCodebook& book);
FeatureMatrix decode_frames(std::span<const CodedFrame> frames, const SplitCodebook& book, const std::string& source);

}  // namespace kivsr::speech
