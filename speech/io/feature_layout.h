// What a file of features says about its rows, beside their values.
// Next: feature_reader.h, which finds it; feature_writer.h, which writes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kivsr::speech {

// Kinds of HTK: the base in the low six bits, then the qualifiers.
inline constexpr unsigned kHtkBase = 077;
inline constexpr unsigned kHtkLpCepstra = 3;
inline constexpr unsigned kHtkMfcc = 6;
inline constexpr unsigned kHtkFilterBank = 7;
inline constexpr unsigned kHtkUser = 9;
inline constexpr unsigned kHtkPlp = 11;
inline constexpr unsigned kHtkEnergy = 0100;
inline constexpr unsigned kHtkWithoutEnergy = 0200;  // but its derivatives
inline constexpr unsigned kHtkDeltas = 0400;
inline constexpr unsigned kHtkAccelerations = 01000;
inline constexpr unsigned kHtkCompressed = 02000;
inline constexpr unsigned kHtkZeroMean = 04000;
inline constexpr unsigned kHtkChecksum = 010000;
inline constexpr unsigned kHtkZeroth = 020000;
inline constexpr unsigned kHtkIndex = 040000;  // of a codebook, behind the row
inline constexpr unsigned kHtkThird = 0100000;

// "MFCC_E_D_A".
std::string htk_kind_name(unsigned kind);

struct FeatureLayout {
  int width = 0;
  double frame_seconds = 0.01;
  std::vector<std::string> columns = {};  // their names; empty where nothing names them
  unsigned htk_kind = kHtkUser;
  std::vector<std::size_t> htk_order = {};  // the column at each place of a row of HTK; empty: as they are
  std::string name = {};                    // of the sound, for the formats that tell it
};

}  // namespace kivsr::speech
