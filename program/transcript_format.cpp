#include "program/transcript_format.h"

#include <cmath>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "program/report_text.h"

namespace kivsr::program {
namespace {

constexpr double kPause = 0.5;       // seconds of silence that end a cue
constexpr double kLongestCue = 6.0;  // seconds
constexpr std::size_t kWidestCue = 60;

std::string srt_time(double seconds) {
  const auto milliseconds = static_cast<long long>(std::llround(seconds * 1000.0));
  return formatted("%02lld:%02lld:%02lld,%03lld", milliseconds / 3600000, milliseconds / 60000 % 60,
                   milliseconds / 1000 % 60, milliseconds % 1000);
}

}  // namespace

std::string json_line(const RecognisedUtterance& utterance) {
  nlohmann::ordered_json line{{"file", utterance.file},         {"text", joined(utterance.words)},
                              {"score", utterance.score},       {"seconds", utterance.audio_seconds},
                              {"complete", utterance.complete}, {"words", nlohmann::ordered_json::array()}};
  for (const AlignedWord& word : utterance.alignment) {
    if (word.filler) continue;
    line["words"].push_back({{"word", word.word}, {"start", word.start}, {"end", word.end}});
  }
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string ctm_lines(const RecognisedUtterance& utterance) {
  const std::string name = std::filesystem::path(utterance.file).stem().string();
  std::string text;
  for (const AlignedWord& word : utterance.alignment) {
    if (word.filler) continue;
    text += name + formatted(" 1 %.2f %.2f ", word.start, word.end - word.start) + word.word + "\n";
  }
  return text;
}

std::string srt_text(const RecognisedUtterance& utterance) {
  std::string result;
  std::string words;
  double start = 0.0;
  double end = 0.0;
  int number = 0;
  const auto finish = [&] {
    if (words.empty()) return;
    result += std::to_string(++number) + "\n" + srt_time(start) + " --> " + srt_time(end) + "\n" + words + "\n\n";
    words.clear();
  };
  for (const AlignedWord& word : utterance.alignment) {
    if (word.filler) continue;
    if (word.start - end >= kPause || word.end - start > kLongestCue ||
        words.size() + 1 + word.word.size() > kWidestCue) {
      finish();
    }
    if (words.empty()) start = word.start;
    words += (words.empty() ? "" : " ") + word.word;
    end = word.end;
  }
  finish();
  return result;
}

std::string text_grid(const RecognisedUtterance& utterance) {
  const double end = utterance.alignment.empty() ? utterance.audio_seconds : utterance.alignment.back().end;
  std::string text = "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n";
  text += formatted("xmin = 0\nxmax = %.6f\ntiers? <exists>\nsize = 1\nitem []:\n    item [1]:\n", end);
  text += formatted(
      "        class = \"IntervalTier\"\n        name = \"words\"\n        xmin = 0\n        xmax = %.6f\n", end);
  text += formatted("        intervals: size = %zu\n", utterance.alignment.size());
  for (std::size_t i = 0; i < utterance.alignment.size(); ++i) {
    const AlignedWord& word = utterance.alignment[i];
    text += formatted("        intervals [%zu]:\n            xmin = %.6f\n            xmax = %.6f\n            text = ",
                      i + 1, word.start, word.end);
    text += in_quotes(word.filler ? std::string() : word.word) + "\n";
  }
  return text;
}

}  // namespace kivsr::program
