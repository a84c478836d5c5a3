// The spoken recordings that the Debian packages of the tests hold.
#pragma once

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/audio_file.h"

namespace kivsr::speech::test {

inline const std::filesystem::path kRecordings = "/usr/share/pocketsphinx/test/data";
inline const std::filesystem::path kVoices = "/usr/share/sounds/alsa";

// Files of a folder with one of these endings, sorted; none if there is no such folder.
inline std::vector<std::filesystem::path> files_of(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
    if (entry.path().extension() == ".wav" || entry.path().extension() == ".raw") files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

inline std::vector<std::filesystem::path> read_sentences() { return files_of(kRecordings / "librivox"); }

// Every recording of speech: about 46 s at 16 kHz and 11 s at 48 kHz.
inline std::vector<std::filesystem::path> all_speech() {
  std::vector<std::filesystem::path> files;
  for (const auto& folder :
       {kRecordings, kRecordings / "cards", kRecordings / "librivox", kRecordings / "tidigits", kVoices}) {
    for (const auto& file : files_of(folder)) {
      if (file.filename() != "Noise.wav") files.push_back(file);
    }
  }
  return files;
}

// The mean power of the frames of 10 ms that are within 30 dB of the loudest.
inline double speech_power(std::span<const float> samples, int rate) {
  std::vector<double> powers;
  const auto frame = static_cast<std::size_t>(rate / 100);
  for (std::size_t start = 0; start + frame <= samples.size(); start += frame) {
    double power = 0.0;
    for (const float x : samples.subspan(start, frame)) power += double{x} * x;
    powers.push_back(power / static_cast<double>(frame));
  }
  const double least = 1e-3 * *std::max_element(powers.begin(), powers.end());
  double sum = 0.0;
  double count = 0.0;
  for (const double power : powers) {
    if (power > least) sum += power, count += 1.0;
  }
  return sum / count;
}

// White noise at this ratio to the power of the speech, and whole numbers, as a file would hold them.
inline std::vector<float> with_white_noise(std::span<const float> samples, int rate, double decibels, unsigned seed) {
  std::mt19937 generator(seed);
  std::normal_distribution<double> normal(0.0, std::sqrt(speech_power(samples, rate) * std::pow(10.0, -decibels / 10)));
  std::vector<float> noisy(samples.begin(), samples.end());
  for (float& x : noisy) x = static_cast<float>(std::round(x + normal(generator)));
  return noisy;
}

}  // namespace kivsr::speech::test
