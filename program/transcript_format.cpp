#include "program/transcript_format.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include <nlohmann/json.hpp>

#include "program/choices.h"
#include "program/command.h"
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
  if (word.certainty) {
    const WordEvidence& evidence = word.certainty->evidence;
    object["confidence"] = word.certainty->confidence;
    object["posterior"] = evidence.posterior;
    object["fit"] = evidence.fit;
    object["language"] = evidence.language;
  }
  for (const AlignedPhone& phone : word.phones) object["phones"].push_back(phone_object(phone));
  return object;
}

// Below 0: not known.
double confidence_of(const AlignedWord& word) { return word.certainty ? word.certainty->confidence : -1.0; }

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
      result.push_back({word.start, word.end, word.filler ? std::string() : word.word, confidence_of(word)});
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

std::string grid_head(double end, int tiers) {
  return formatted(
      "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\nxmin = 0\nxmax = %.6f\ntiers? <exists>\nsize = %d\n"
      "item []:\n",
      end, tiers);
}

std::string grid_item(int number, const std::string& tier) { return formatted("    item [%d]:\n", number) + tier; }

// first: number of the tier of words.
std::string grid_tiers(const std::vector<AlignedWord>& words, TimeLevel level, int first, double end) {
  std::string text;
  const char* const names[] = {"words", "phones", "states"};
  for (int tier = 0; tier <= static_cast<int>(level); ++tier) {
    text += grid_item(first + tier, grid_tier(names[tier], intervals(words, static_cast<TimeLevel>(tier)), end));
  }
  return text;
}

// With silence, up to a time.
void fill_gap(std::vector<AlignedWord>& words, double end) {
  const double start = words.empty() ? 0.0 : words.back().end;
  if (start < end) words.push_back({"", start, end, true});
}

}  // namespace

std::string recording_name(const std::string& file) {
  return file == "-" ? "stdin" : std::filesystem::path(file).stem().string();
}

std::string state_name(const AlignedPhone& phone, const AlignedState& state) {
  return phone.phone + "." + std::to_string(state.place);
}

void add_format_option(Command command, ReportFormat& format) {
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

namespace {

std::string line_of(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void add_words(const RecognisedUtterance& utterance, nlohmann::ordered_json& line) {
  line["words"] = nlohmann::ordered_json::array();
  for (const AlignedWord& word : utterance.alignment) {
    if (!word.filler) line["words"].push_back(word_object(word));
  }
  for (const RecognisedUtterance::Alternative& other : utterance.alternatives) {
    line["alternatives"].push_back({{"text", joined(other.words)}, {"score", other.score}});
  }
}

}  // namespace

std::string json_line(const RecognisedUtterance& utterance) {
  nlohmann::ordered_json line{{"file", utterance.file}};
  if (!utterance.segment.empty()) {
    line.update({{"segment", utterance.segment}, {"start", utterance.start}, {"end", utterance.end}});
  }
  line["text"] = joined(utterance.words);
  line["score"] = utterance.score;
  line["seconds"] = utterance.audio_seconds;
  line["complete"] = utterance.complete;
  add_words(utterance, line);
  return line_of(line);
}

std::string final_line(const RecognisedUtterance& utterance) {
  nlohmann::ordered_json line{
      {"final", joined(utterance.words)}, {"start", utterance.start}, {"end", utterance.end},
      {"heard", utterance.heard},         {"score", utterance.score}, {"complete", utterance.complete}};
  add_words(utterance, line);
  return line_of(line);
}

std::string partial_line(const std::string& words, double start, double heard) {
  return line_of({{"partial", words}, {"start", start}, {"heard", heard}});
}

std::string ctm_lines(const RecognisedUtterance& utterance, TimeLevel level) {
  const std::string name = recording_name(utterance.file);
  std::string text;
  if (!utterance.segment.empty()) {
    text = ";; " + utterance.segment + formatted(" %.2f %.2f\n", utterance.start, utterance.end);
  }
  for (const Interval& interval : intervals(utterance.alignment, level)) {
    if (interval.text.empty()) continue;
    text += name + formatted(" 1 %.2f %.2f ", interval.start, interval.end - interval.start) + interval.text;
    text += (interval.confidence < 0.0 ? "" : formatted(" %.3f", interval.confidence)) + "\n";
  }
  return text;
}

std::string SubtitleWriter::end_cue() {
  if (words_.empty()) return "";
  const std::string cue =
      std::to_string(++number_) + "\n" + srt_time(start_) + " --> " + srt_time(end_) + "\n" + words_;
  words_.clear();
  return cue + "\n\n";
}

std::string SubtitleWriter::add(const std::vector<AlignedWord>& words) {
  std::string cues;
  for (const AlignedWord& word : words) {
    if (word.filler) continue;
    if (word.start - end_ >= kPause || word.end - start_ > kLongestCue ||
        words_.size() + 1 + word.word.size() > kWidestCue) {
      cues += end_cue();
    }
    if (words_.empty()) start_ = word.start;
    words_ += (words_.empty() ? "" : " ") + word.word;
    end_ = word.end;
  }
  return cues;
}

std::string SubtitleWriter::finish() {
  const std::string cue = end_cue();
  *this = SubtitleWriter();
  return cue;
}

std::string srt_text(const RecognisedUtterance& utterance) {
  SubtitleWriter subtitles;
  const std::string cues = subtitles.add(utterance.alignment);
  return cues + subtitles.finish();
}

std::string text_grid(const RecognisedUtterance& utterance) {
  const double end = utterance.alignment.empty() ? utterance.audio_seconds : utterance.alignment.back().end;
  return grid_head(end, static_cast<int>(utterance.level) + 1) +
         grid_tiers(utterance.alignment, utterance.level, 1, end);
}

void TextGridWriter::add(const RecognisedUtterance& segment) {
  fill_gap(segments_, segment.start);
  segments_.push_back({segment.segment, segment.start, segment.end});
  level_ = std::max(level_, segment.level);
  for (AlignedWord word : segment.alignment) {
    const double before = words_.empty() ? 0.0 : words_.back().end;
    if (word.end <= before) continue;  // silence that the segment before has too
    word.start = std::max(word.start, before);
    fill_gap(words_, word.start);
    words_.push_back(std::move(word));
  }
}

std::string TextGridWriter::finish(double seconds) {
  const double end = std::max(seconds, words_.empty() ? 0.0 : words_.back().end);
  fill_gap(segments_, end);
  fill_gap(words_, end);
  const std::string text = grid_head(end, static_cast<int>(level_) + 2) +
                           grid_item(1, grid_tier("segments", intervals(segments_, TimeLevel::kWords), end)) +
                           grid_tiers(words_, level_, 2, end);
  *this = TextGridWriter();
  return text;
}

}  // namespace kivsr::program
