// Model files put together byte by byte in either byte order, without the readers under test.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {

inline const std::filesystem::path kTestData = "/usr/share/pocketsphinx/test/data";
inline const std::filesystem::path kEnUs = "/usr/share/pocketsphinx/model/en-us/en-us";

inline std::string word_bytes(std::uint32_t word, bool big_endian) {
  std::string bytes;
  for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<char>(word >> (big_endian ? 24 - 8 * i : 8 * i) & 0xFFU));
  return bytes;
}

inline std::uint32_t float_word(float value) {
  std::uint32_t word = 0;
  std::memcpy(&word, &value, sizeof word);
  return word;
}

// counts, then the number of values, the values and the checksum
inline std::string s3_bytes(const std::vector<std::uint32_t>& counts, const std::vector<float>& values,
                            bool big_endian = false, bool checksum = true) {
  std::vector<std::uint32_t> words = counts;
  words.push_back(static_cast<std::uint32_t>(values.size()));
  for (const float value : values) words.push_back(float_word(value));
  std::string bytes = std::string("s3\nversion 1.0\nchksum0 ") + (checksum ? "yes" : "no") + "\n   endhdr\n" +
                      word_bytes(0x11223344U, big_endian);
  std::uint32_t sum = 0;
  for (const std::uint32_t word : words) {
    sum = ((sum << 20U) | (sum >> 12U)) + word;
    bytes += word_bytes(word, big_endian);
  }
  return checksum ? bytes + word_bytes(sum, big_endian) : bytes;
}

// The message of the fault that the action throws; empty if it throws none.
inline std::string fault_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const Fault& fault) {
    return fault.what();
  }
  return {};
}

// Every proper beginning of a file must be a fault that names the file.
inline void expect_fault_at_every_length(const std::string& bytes,
                                         const std::function<void(const std::filesystem::path&)>& read,
                                         std::size_t step = 1) {
  const TemporaryFolder folder;
  for (std::size_t length = 0; length < bytes.size(); length += step) {
    const auto file = folder.write("cut", bytes.substr(0, length));
    const std::string message = fault_of([&] { read(file); });
    EXPECT_TRUE(message.starts_with(file.string())) << "at " << length << " of " << bytes.size() << ": " << message;
  }
}

}  // namespace kivsr::speech::test
