// kivsr pitch: fundamental frequency and voicing of audio files.
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "program/file_loop.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/picture/pitch_picture.h"
#include "program/pitch_report.h"
#include "program/raw_options.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

const std::map<std::string, PitchFormat> kFormats = {{"text", PitchFormat::kText}, {"csv", PitchFormat::kCsv}};

struct PitchCommand {
  void run() const;
  void check() const;
  PitchReport report_to(OutputFile* output) const;
  template <class Take>
  double track(const std::string& file, std::optional<OutputFile>& drawing, Take take) const;
  bool of_rows() const { return lower_extension(output_file) == ".npy"; }
  bool of_tier() const { return lower_extension(output_file) == ".pitchtier"; }

  std::vector<std::string> audio_files;
  std::string output_file;
  std::string picture_file;
  std::string format;
  double shift = 0.01;
  PitchParameters parameters;
  RawFormat raw;
};

void PitchCommand::check() const {
  const std::string extension = lower_extension(output_file);
  if (!output_file.empty() && !of_rows() && !of_tier() && extension != ".csv" && extension != ".txt") {
    throw Fault(output_file + ": the name ends in .npy, .csv, .txt or .PitchTier");
  }
  if (audio_files.size() > 1 && (of_rows() || of_tier())) throw Fault(output_file + ": holds the pitch of one file");
  if (!picture_file.empty()) {
    if (audio_files.size() > 1) throw Fault(picture_file + ": shows one audio file");
    check_picture_name(picture_file);
  }
}

// take gets the frames as they come. The analysis has the rate of the file, or 8 kHz for one below. Returns the seconds
// of the file; its picture, if one is asked for, waits for the commit.
template <class Take>
double PitchCommand::track(const std::string& file, std::optional<OutputFile>& drawing, Take take) const {
  AudioReader audio(file, raw);
  PitchParameters chosen = parameters;
  chosen.sample_rate = std::max(audio.sample_rate(), 8000);
  chosen.shift = static_cast<int>(std::lround(shift * chosen.sample_rate));
  MonoReader reader(std::move(audio), file, chosen.sample_rate);
  PitchTracker tracker(chosen);
  std::optional<PitchPicture> picture;
  if (!picture_file.empty()) picture.emplace(chosen);
  std::vector<float> samples;
  std::vector<PitchFrame> frames;
  const auto pass = [&] {
    if (picture) picture->push_frames(frames);
    take(frames);
    frames.clear();
  };
  for (; reader.read(samples); samples.clear()) {
    if (picture) picture->push_samples(samples);
    tracker.push(samples, frames);
    pass();
  }
  tracker.finish(frames);
  pass();
  if (picture) {
    picture->finish();
    picture->draw(drawing.emplace(picture_file), std::filesystem::path(file).filename());
  }
  return static_cast<double>(reader.samples()) / chosen.sample_rate;
}

// Lines to the output, or to standard output for null.
PitchReport PitchCommand::report_to(OutputFile* output) const {
  const bool csv = format.empty() ? lower_extension(output_file) == ".csv" : kFormats.at(format) == PitchFormat::kCsv;
  return PitchReport(
      of_tier() ? PitchFormat::kPitchTier
      : csv     ? PitchFormat::kCsv
                : PitchFormat::kText,
      shift,
      [output](std::string_view text) {
        if (output != nullptr) {
          output->write(text);
        } else {
          std::fwrite(text.data(), 1, text.size(), stdout);
        }
      },
      [output](std::int64_t position, std::string_view text) { output->overwrite(position, text); });
}

void PitchCommand::run() const {
  check();
  std::optional<OutputFile> output;
  if (!output_file.empty()) output.emplace(output_file);
  std::optional<FeatureWriter> rows;
  std::optional<PitchReport> report;
  if (of_rows()) {
    rows.emplace(*output, FeatureFormat::kNpy, Recipe::of_features(3));
  } else {
    report.emplace(report_to(output ? &*output : nullptr));
  }
  std::optional<OutputFile> drawing;
  say_unused_raw_options(raw, audio_files);
  FileLoop loop("pitch", static_cast<int>(audio_files.size()));
  loop.run(audio_files, [&](const std::string& file) {
    if (!output) loop.progress().clear();
    bool begun = false;  // not before the file has shown that it is audio
    const double seconds = track(file, drawing, [&](const std::vector<PitchFrame>& frames) {
      if (report && !std::exchange(begun, true)) report->begin(file);
      if (report) report->append(frames);
      if (rows) rows->append(pitch_rows(frames));
    });
    if (report) report->end(seconds);
  });
  if (rows) rows->finish();
  if (output) output->commit();
  if (drawing) drawing->commit();
  loop.finish();
}

}  // namespace

void add_pitch(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("pitch", "Fundamental frequency and voicing of audio files");
  const auto options = std::make_shared<PitchCommand>();
  PitchParameters& parameters = options->parameters;
  command->add_option("audio", options->audio_files, "WAV, FLAC, ... or .raw (16-bit, one channel)")->required();
  command->add_option("-o,--output", options->output_file,
                      "File to write: .npy (rows of f0, correlation, probability), .csv, .txt or .PitchTier (default: "
                      "text on standard output)");
  command->add_option("--format", options->format, "text or csv, on standard output")
      ->check(CLI::IsMember({"text", "csv"}));
  command->add_option("--picture", options->picture_file, "PNG with waveform, spectrogram and pitch");
  add_number(*command, "--low", parameters.low_frequency, 20.0, 1000.0, "Lowest frequency, Hz");
  add_number(*command, "--high", parameters.high_frequency, 24.0, 4000.0, "Highest frequency, Hz");
  add_number(*command, "--shift", options->shift, 0.001, 0.1, "From frame to frame, s");
  add_number(*command, "--voicing-threshold", parameters.voicing_threshold, 0.0, 1.0,
             "Correlation of a frame that is as likely voiced as not");
  add_number(*command, "--silence-threshold", parameters.silence_threshold, 0.0, 1.0,
             "Frames below so much of the maximum around them tend to be unvoiced");
  add_number(*command, "--octave-cost", parameters.octave_cost, 0.0, 1.0, "Against lower candidates, an octave");
  add_number(*command, "--jump-cost", parameters.jump_cost, 0.0, 10.0, "Of a change by an octave in 10 ms");
  add_number(*command, "--transition-cost", parameters.transition_cost, 0.0, 10.0, "From voiced to unvoiced or back");
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
