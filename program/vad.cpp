// kivsr vad: the segments of audio files that hold speech.
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/speech_segments.h"
#include "program/choices.h"
#include "program/file_loop.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/picture/speech_picture.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/segment_report.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

constexpr int kLongestSpan = 3600;  // s

struct VadCommand {
  void run() const;
  std::string lines_of(const std::string& file, std::optional<OutputFile>& picture) const;

  std::vector<std::string> audio_files;
  std::string output_file;
  std::string picture_file;
  SegmentFormat format = SegmentFormat::kText;
  Arithmetic arithmetic = Arithmetic::kSinglePrecision;
  SpeechMethod method = SpeechMethod::kVoices;
  SegmentRules rules;
  RawFormat raw;
};

// The lines about a file; its picture, if one is asked for, waits for the commit.
std::string VadCommand::lines_of(const std::string& file, std::optional<OutputFile>& picture) const {
  MonoReader reader(file, kAuroraRate, raw);
  SpeechSegmenter segmenter(arithmetic, rules, method);
  std::optional<SpeechPicture> drawing;
  if (!picture_file.empty()) {
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
    drawing->draw(picture.emplace(picture_file), std::filesystem::path(file).filename(), segments);
  }
  return segment_lines(file, segments, static_cast<double>(reader.samples()) / kAuroraRate, format);
}

void VadCommand::run() const {
  if (audio_files.size() > 1 && format == SegmentFormat::kAudacity) {
    throw Fault("vad: a label track belongs to one audio file");
  }
  if (!picture_file.empty()) {
    if (audio_files.size() > 1) throw Fault("vad: --picture shows one audio file");
    check_picture_name(picture_file);
  }
  say_unused_raw_options(raw, audio_files);
  std::string lines = segment_header(format);
  std::optional<OutputFile> picture;
  FileLoop loop("vad", static_cast<int>(audio_files.size()));
  loop.run(audio_files, [&](const std::string& file) { lines += lines_of(file, picture); });
  write_report(output_file, lines);
  if (picture) picture->commit();
  loop.finish();
}

}  // namespace

void add_vad(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("vad", "Find the segments of audio files that hold speech");
  const auto options = std::make_shared<VadCommand>();
  command->add_option("audio", options->audio_files, "WAV, FLAC, ... or .raw (16-bit, one channel)")->required();
  command->add_option("-o,--output", options->output_file, "File to write (default: standard output)");
  add_choice(*command, "--format", options->format,
             {{"text", SegmentFormat::kText}, {"csv", SegmentFormat::kCsv}, {"audacity", SegmentFormat::kAudacity}},
             "text, csv, or audacity: a label track");
  command->add_option("--picture", options->picture_file, "PNG with waveform, energy and segments");
  add_choice(*command, "--method", options->method, {{"voices", SpeechMethod::kVoices}, {"etsi", SpeechMethod::kEtsi}},
             "What is speech: voices, or etsi: every sound that the detector of ES 202 050 finds");
  add_choice(*command, "--arithmetic", options->arithmetic,
             {{"float", Arithmetic::kSinglePrecision}, {"16s", Arithmetic::kSixteenBits}},
             "Form of the detector: float or 16s");
  add_number(*command, "--minimum-pause", options->rules.minimum_pause, 0, kLongestSpan, "Close shorter pauses, s");
  add_number(*command, "--minimum-speech", options->rules.minimum_speech, 0, kLongestSpan, "Drop shorter segments, s");
  add_number(*command, "--trim", options->rules.trim, 0, 200,
             "Cut frames this far below the loudest of their segment, dB (0: none)");
  add_number(*command, "--margin", options->rules.margin, 0, kLongestSpan,
             "But keep those so close to a louder one, s");
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
