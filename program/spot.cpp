// kivsr spot: finds spoken examples in recordings, or tells which command a recording is.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kivsr/speech/decode/template_spotter.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/keyword_spotting.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/recipe_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

// "label=file" or "file", of which "@1.25-1.9" behind it takes a part, in seconds.
struct ExampleName {
  explicit ExampleName(const std::string& text);

  std::string label;
  std::string file;
  std::optional<std::pair<double, double>> part;
};

ExampleName::ExampleName(const std::string& text) {
  const auto equals = text.find('=');
  file = equals == std::string::npos ? text : text.substr(equals + 1);
  if (const auto at = file.rfind('@'); at != std::string::npos && !std::filesystem::exists(file)) {
    const std::string range = file.substr(at + 1);
    char* end = nullptr;
    const double from = std::strtod(range.c_str(), &end);
    const bool separated = end != range.c_str() && *end == '-';
    const char* const rest = separated ? end + 1 : end;
    const double to = separated ? std::strtod(rest, &end) : 0.0;
    if (!separated || end == rest || *end != '\0' || !(from >= 0.0) || !(to > from) || !std::isfinite(to)) {
      throw Fault("--example " + text + ": \"" + range + "\" is no part of a file, such as 1.25-1.9 in seconds");
    }
    part = {from, to};
    file.resize(at);
  }
  label = equals == std::string::npos ? std::filesystem::path(file).stem().string() : text.substr(0, equals);
  if (label.empty()) throw Fault("--example " + text + ": no label before the =");
  if (file.empty()) throw Fault("--example " + text + ": no file");
}

struct SpotCommand {
  explicit SpotCommand(Command command) : recipe(command, "mfcc") {}
  void run() const;

  RecipeOptions recipe;
  std::vector<std::string> example_names;
  std::vector<std::string> recordings;
  std::string output_file;
  std::string format = "text";
  bool commands = false;
  SpotSettings settings;
  KeywordSpotting keywords;
  RawFormat raw;

 private:
  std::vector<SpokenExample> examples(FeatureChain& chain) const;
};

std::vector<SpokenExample> SpotCommand::examples(FeatureChain& chain) const {
  std::vector<SpokenExample> read;
  const double seconds = chain.recipe().frame_seconds();
  for (const std::string& text : example_names) {
    const ExampleName name(text);
    FeatureMatrix rows = load_utterance(name.file, chain, raw).features;
    if (name.part) {
      const auto first = static_cast<int>(std::lround(std::min(name.part->first / seconds, 1e9)));
      const int last =
          std::min(rows.height(), static_cast<int>(std::lround(std::min(name.part->second / seconds, 1e9))));
      if (first >= last) throw Fault("--example " + text + ": the file ends before, or the part has no frame");
      const auto values = rows.values.begin();
      const auto width = static_cast<std::ptrdiff_t>(rows.width);
      rows.values = std::vector<float>(values + first * width, values + last * width);
    }
    read.push_back({name.label, std::move(rows)});
  }
  return read;
}

// Lines about recordings, in the form that was asked for.
class SpotReport {
 public:
  SpotReport(const std::string& format, const TemplateSpotter& spotter, double frame_seconds)
      : format_(format), spotter_(spotter), frame_seconds_(frame_seconds) {
    if (format_ == "tsv") text_ = "recording\tstart\tend\tlabel\tdistance\tthreshold\n";
  }

  void add_hits(const std::string& recording, double seconds, const std::vector<SpotHit>& hits) {
    if (format_ == "text") {
      text_ += recording + ": " + std::to_string(hits.size()) + (hits.size() == 1 ? " hit in " : " hits in ") +
               formatted("%.2f", seconds) + " s\n";
    }
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const SpotHit& hit : hits) {
      if (format_ == "text") text_ += "  " + line(hit, "  ") + "\n";
      if (format_ == "tsv") text_ += recording + "\t" + line(hit, "\t") + "\n";
      if (format_ == "json") list.push_back(object(hit));
    }
    if (format_ == "json") json_.push_back({{"recording", recording}, {"seconds", seconds}, {"hits", list}});
  }

  // The command that a recording is; rejected if its best match is not near enough.
  void add_command(const std::string& recording, const std::optional<SpotHit>& best) {
    const bool known = best && best->share <= 1.0F;
    const std::string label = known ? label_of(*best) : "-";
    if (format_ == "text") {
      text_ += recording + ": " + label + (best ? "  " + formatted("%.3f", double{best->distance}) : "") + "\n";
    } else if (format_ == "tsv") {
      text_ += recording + "\t" + (best ? line(*best, "\t", label) : "\t\t-\t\t") + "\n";
    } else {
      nlohmann::ordered_json entry = {{"recording", recording}, {"accepted", known}};
      if (best) entry["best"] = object(*best);
      json_.push_back(std::move(entry));
    }
  }

  std::string finished() const { return format_ == "json" ? json_.dump(2) + "\n" : text_; }

 private:
  const std::string& label_of(const SpotHit& hit) const {
    return spotter_.examples()[static_cast<std::size_t>(hit.example)].label;
  }
  double start(const SpotHit& hit) const { return static_cast<double>(hit.first_frame) * frame_seconds_; }
  double end(const SpotHit& hit) const { return static_cast<double>(hit.last_frame + 1) * frame_seconds_; }
  std::string line(const SpotHit& hit, const char* gap, const std::string& label) const {
    return formatted("%.2f", start(hit)) + gap + formatted("%.2f", end(hit)) + gap + label + gap +
           formatted("%.3f", double{hit.distance}) + gap + formatted("%.3f", double{spotter_.threshold(hit.example)});
  }
  std::string line(const SpotHit& hit, const char* gap) const { return line(hit, gap, label_of(hit)); }
  nlohmann::ordered_json object(const SpotHit& hit) const {
    return {{"start", start(hit)},
            {"end", end(hit)},
            {"label", label_of(hit)},
            {"distance", hit.distance},
            {"threshold", spotter_.threshold(hit.example)}};
  }

  std::string format_;
  const TemplateSpotter& spotter_;
  double frame_seconds_;
  std::string text_;
  nlohmann::ordered_json json_ = nlohmann::ordered_json::array();
};

void SpotCommand::run() const {
  if (keywords.wanted() == !example_names.empty()) throw Fault("spot: give either --example or --keyword");
  if (keywords.wanted()) return keywords.run({recordings, output_file, format, raw});
  if (!(settings.shortest <= settings.longest)) throw Fault("spot: --shortest is not up to --longest");
  FeatureChain chain(recipe.recipe());
  TemplateSpotter spotter(examples(chain), settings);
  SpotReport report(format, spotter, chain.recipe().frame_seconds());
  say_unused_raw_options(raw, recordings);
  const std::vector<FileTask> tasks = tasks_of(recordings);
  FileLoop loop("spot", tasks);
  loop.run_in_turn([&](const FileTask& task, FileTurn& turn) {
    const std::string& recording = task.input;
    std::vector<SpotHit> hits;
    UtteranceInfo info;
    try {
      info = stream_utterance(recording, chain, raw, [&](const FeatureMatrix& rows) { spotter.push(rows, hits); });
    } catch (...) {
      spotter.finish(hits);  // what it holds of this recording is not for the next
      throw;
    }
    spotter.finish(hits);
    turn.heard(info.seconds);
    if (commands) {
      report.add_command(recording, spotter.best());
    } else {
      report.add_hits(recording, info.seconds, hits);
    }
  });
  write_report(output_file, report.finished());
  loop.finish();
}

}  // namespace

void add_spot(Command program) {
  const Command command =
      program.add_subcommand("spot", "Find spoken examples or keywords in recordings, or tell which example one is");
  const auto options = std::make_shared<SpotCommand>(command);
  command.add_option("recording", options->recordings, "Audio (WAV, FLAC, ..., .raw) or features (.npy, .htk, ...)")
      .required();
  command
      .add_option("-e,--example", options->example_names,
                  "A spoken example: label=file, or file alone; file@1.25-1.9 takes a part, in seconds. Any number, "
                  "several of a label too")
      .one_value_each();
  command.add_flag("--commands", options->commands,
                   "Each recording is one command: print its label, or - if none is near enough");
  add_number(command, "--threshold", options->settings.threshold, 0, 1000,
             "Largest distance of a hit (0: each label's own, from the examples)");
  add_number(command, "--shortest", options->settings.shortest, 0, 10,
             "Shortest match, as part of its example's length");
  add_number(command, "--longest", options->settings.longest, 0.1, 10,
             "Longest match, as part of its example's length");
  command.add_option("-o,--output", options->output_file, "File to write (default: standard output)");
  command.add_option("--format", options->format, "text, tsv or json").one_of({"text", "tsv", "json"});
  add_keyword_options(command, options->keywords);
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
