// kivsr vad: the segments of audio files that hold speech.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/picture/speech_picture.h"
#include "program/picture_options.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/segment_report.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

std::string extension_of(SegmentFormat format) { return format == SegmentFormat::kCsv ? ".csv" : ".txt"; }

constexpr int kLongestSpan = 3600;  // s

struct VadCommand {
  void run() const;
  void check(const std::vector<FileTask>& tasks) const;
  std::string lines_of(const std::string& file, std::optional<OutputFile>& picture, FileTurn& turn) const;

  FileOptions files;
  PictureOptions picture_options;
  SegmentFormat format = SegmentFormat::kText;
  Arithmetic arithmetic = Arithmetic::kSinglePrecision;
  SpeechMethod method = SpeechMethod::kVoices;
  SegmentRules rules;
  RawFormat raw;
};

// The lines about a file; its picture, if one is asked for, waits for the commit.
std::string VadCommand::lines_of(const std::string& file, std::optional<OutputFile>& picture, FileTurn& turn) const {
  MonoReader reader(file, kAuroraRate, raw);
  SpeechSegmenter segmenter(arithmetic, rules, method);
  std::optional<SpeechPicture> drawing;
  if (!picture_options.file.empty()) {
    drawing.emplace(kAuroraRate);
    segmenter.listener = [&](const auto& speech, auto decibels) { drawing->push_frames(speech, decibels); };
  }
  std::vector<SpeechSegment> segments;
  std::vector<float> samples;
  for (; reader.read(samples); samples.clear()) {
    if (drawing) drawing->push_samples(samples);
    segmenter.push(samples, segments);
  }
  segmenter.finish(segments);
  if (drawing) {
    if (!drawing->has_frames()) throw Fault(file + ": shorter than one frame of 10 ms");
    drawing->draw(picture.emplace(picture_options.file), picture_options, std::filesystem::path(file).filename(),
                  segments);
  }
  const double seconds = static_cast<double>(reader.samples()) / kAuroraRate;
  turn.heard(seconds);
  if (!reader.file().remark().empty()) turn.say(file + ": " + reader.file().remark());
  return segment_lines(file, segments, seconds, format);
}

void VadCommand::check(const std::vector<FileTask>& tasks) const {
  const bool several = tasks.size() > 1;
  const bool shared = std::any_of(tasks.begin(), tasks.end(), [](const FileTask& task) { return task.output.empty(); });
  if (several && shared && format == SegmentFormat::kAudacity) {
    throw Fault("vad: a label track belongs to one audio file, give --output-folder");
  }
  if (picture_options.file.empty()) return;
  if (several) throw Fault("vad: --picture shows one audio file");
  check_picture_name(picture_options.file);
}

void VadCommand::run() const {
  const auto tasks = file_tasks(files, Outputs::kShared, [this](const std::string&) { return extension_of(format); });
  check(tasks);
  say_unused_raw_options(raw, inputs_of(tasks));
  std::string shared;
  std::optional<OutputFile> picture;
  FileLoop loop("vad", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    return [&](const FileTask& task, FileTurn& turn) {
      const std::string lines = lines_of(task.input, picture, turn);
      if (!task.output.empty()) return write_report(task.output, segment_header(format) + lines);
      turn.post([&shared, lines] { shared += lines; }, lines.size());
    };
  });
  if (files.output_folder.empty()) write_report(files.output, segment_header(format) + shared);
  if (picture) picture->commit();
  loop.finish();
}

}  // namespace

void add_vad(Command program) {
  const Command command = program.add_subcommand("vad", "Find the segments of audio files that hold speech");
  const auto options = std::make_shared<VadCommand>();
  add_file_options(command, options->files, Outputs::kShared, "WAV, FLAC, ... or .raw (16-bit, one channel)",
                   "File to write (default: standard output)");
  add_choice(command, "--format", options->format,
             {{"text", SegmentFormat::kText}, {"csv", SegmentFormat::kCsv}, {"audacity", SegmentFormat::kAudacity}},
             "text, csv, or audacity: a label track");
  add_picture_options(command, options->picture_options, "waveform, energy and segments", "the energy, dB,");
  add_choice(command, "--method", options->method, {{"voices", SpeechMethod::kVoices}, {"etsi", SpeechMethod::kEtsi}},
             "What is speech: voices, or etsi: every sound that the detector of ES 202 050 finds");
  add_choice(command, "--arithmetic", options->arithmetic,
             {{"float", Arithmetic::kSinglePrecision}, {"16s", Arithmetic::kSixteenBits}},
             "Form of the detector: float or 16s");
  add_number(command, "--minimum-pause", options->rules.minimum_pause, 0, kLongestSpan, "Close shorter pauses, s");
  add_number(command, "--minimum-speech", options->rules.minimum_speech, 0, kLongestSpan, "Drop shorter segments, s");
  add_number(command, "--trim", options->rules.trim, 0, 200,
             "Cut frames this far below the loudest of their segment, dB (0: none)");
  add_number(command, "--margin", options->rules.margin, 0, kLongestSpan, "But keep those so close to a louder one, s");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
