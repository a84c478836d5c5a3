#include "program/transcript_format.h"

#include <cmath>
#include <filesystem>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "program/choices.h"
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

nlohmann::ordered_json phone_object(const AlignedPhone& phone) {
  nlohmann::ordered_json object{{"phone", phone.phone}, {"start", phone.start}, {"end", phone.end}};
  for (const AlignedState& state : phone.states) {
    object["states"].push_back({{"state", state.place}, {"start", state.start}, {"end", state.end}});
  }
  return object;
}

nlohmann::ordered_json word_object(const AlignedWord& word) {
  nlohmann::ordered_json object{{"word", word.word}, {"start", word.start}, {"end", word.end}};
  if (word.confidence >= 0.0) object["confidence"] = word.confidence;
  for (const AlignedPhone& phone : word.phones) object["phones"].push_back(phone_object(phone));
  return object;
}

struct Interval {
  double start;
  double end;
  std::string text;  // empty: silence or noise among words
  double confidence = -1.0;
};

std::vector<Interval> intervals(const std::vector<AlignedWord>& words, TimeLevel level) {
  std::vector<Interval> result;
  for (const AlignedWord& word : words) {
    if (level == TimeLevel::kWords)
      result.push_back({word.start, word.end, word.filler ? std::string() : word.word, word.confidence});
    for (const AlignedPhone& phone : word.phones) {
      if (level == TimeLevel::kPhones) result.push_back({phone.start, phone.end, phone.phone});
      if (level != TimeLevel::kStates) continue;
      for (const AlignedState& state : phone.states) {
        result.push_back({state.start, state.end, state_name(phone, state)});
      }
    }
  }
  return result;
}

std::string grid_tier(const std::string& name, const std::vector<Interval>& parts, double end) {
  std::string text = "        class = \"IntervalTier\"\n        name = \"" + name + "\"\n";
  text += formatted("        xmin = 0\n        xmax = %.6f\n        intervals: size = %zu\n", end, parts.size());
  for (std::size_t i = 0; i < parts.size(); ++i) {
    text += formatted("        intervals [%zu]:\n            xmin = %.6f\n            xmax = %.6f\n            text = ",
                      i + 1, parts[i].start, parts[i].end);
    text += in_quotes(parts[i].text) + "\n";
  }
  return text;
}

}  // namespace

std::string state_name(const AlignedPhone& phone, const AlignedState& state) {
  return phone.phone + "." + std::to_string(state.place);
}

void add_format_option(CLI::App& command, ReportFormat& format) {
  add_choice(command, "--format", format,
             {{"text", ReportFormat::kText},
              {"tsv", ReportFormat::kTsv},
              {"json", ReportFormat::kJson},
              {"ctm", ReportFormat::kCtm},
              {"srt", ReportFormat::kSrt},
              {"textgrid", ReportFormat::kTextGrid}},
             "text, tsv, json (an object a line), ctm, srt or textgrid");
}

std::string extension_of(ReportFormat format) {
  switch (format) {
    case ReportFormat::kTsv: return ".tsv";
    case ReportFormat::kJson: return ".json";
    case ReportFormat::kCtm: return ".ctm";
    case ReportFormat::kSrt: return ".srt";
    case ReportFormat::kTextGrid: return ".TextGrid";
    default: return ".txt";
  }
}

std::string json_line(const RecognisedUtterance& utterance) {
  nlohmann::ordered_json line{{"file", utterance.file},         {"text", joined(utterance.words)},
                              {"score", utterance.score},       {"seconds", utterance.audio_seconds},
                              {"complete", utterance.complete}, {"words", nlohmann::ordered_json::array()}};
  for (const AlignedWord& word : utterance.alignment) {
    if (!word.filler) line["words"].push_back(word_object(word));
  }
  for (const RecognisedUtterance::Alternative& other : utterance.alternatives) {
    line["alternatives"].push_back({{"text", joined(other.words)}, {"score", other.score}});
  }
  return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

std::string ctm_lines(const RecognisedUtterance& utterance, TimeLevel level) {
  const std::string name = std::filesystem::path(utterance.file).stem().string();
  std::string text;
  for (const Interval& interval : intervals(utterance.alignment, level)) {
    if (interval.text.empty()) continue;
    text += name + formatted(" 1 %.2f %.2f ", interval.start, interval.end - interval.start) + interval.text;
    text += (interval.confidence < 0.0 ? "" : formatted(" %.3f", interval.confidence)) + "\n";
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
  const int tiers = static_cast<int>(utterance.level) + 1;
  std::string text = "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n";
  text += formatted("xmin = 0\nxmax = %.6f\ntiers? <exists>\nsize = %d\nitem []:\n", end, tiers);
  const char* const names[] = {"words", "phones", "states"};
  for (int tier = 0; tier < tiers; ++tier) {
    text += formatted("    item [%d]:\n", tier + 1);
    text += grid_tier(names[tier], intervals(utterance.alignment, static_cast<TimeLevel>(tier)), end);
  }
  return text;
}

}  // namespace kivsr::program
