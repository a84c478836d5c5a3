// kivsr features: an audio file to rows of features, and to a picture of them.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "audio/audio_file.h"
#include "features/feature_file.h"
#include "features/front_end.h"
#include "kivsr/front_end_options.h"
#include "kivsr/subcommands.h"
#include "picture/feature_picture.h"
#include "support/fault.h"
#include "support/output_file.h"

namespace kivsr::tools {

namespace {

struct FeaturesCommand {
  explicit FeaturesCommand(CLI::App& command) : front_end(command) {}

  void run() const;

  FrontEndOptions front_end;
  std::string audio_file;
  std::string output_file;
  std::string picture_file;
  RawFormat raw;
};

void FeaturesCommand::run() const {
  if (output_file.empty() && picture_file.empty())
    throw Fault("features: nothing to write, give --output or --picture");
  const FrontEndParameters parameters = front_end.parameters();
  const auto format = output_file.empty() ? FeatureFormat::npy : feature_format(output_file);
  if (!picture_file.empty()) check_picture_name(picture_file);

  const Audio audio = read_audio_at(audio_file, parameters.sample_rate, raw);
  const FeatureMatrix rows = FrontEnd(parameters).run(audio.samples);
  if (rows.height() == 0)
    throw Fault(audio_file + ": shorter than one frame (" + std::to_string(audio.samples.size()) + " samples of " +
                std::to_string(parameters.window_length) + ")");

  // Both files are complete before either gets its name.
  std::optional<OutputFile> output;
  std::optional<OutputFile> picture;
  if (!output_file.empty()) write_features(output.emplace(output_file), format, rows, parameters);
  if (!picture_file.empty())
    draw_features(picture.emplace(picture_file), std::filesystem::path(audio_file).filename(), audio, parameters);
  if (output) output->commit();
  if (picture) picture->commit();

  std::printf("%s: %.2f s, %d frames of %d values", audio_file.c_str(), audio.seconds(), rows.height(), rows.width);
  if (audio.file_channels > 1) std::printf(", %d channels mixed down", audio.file_channels);
  if (audio.file_sample_rate != audio.sample_rate)
    std::printf(", resampled from %d to %d Hz", audio.file_sample_rate, audio.sample_rate);
  std::printf("\n");
}

}  // namespace

void add_features(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("features", "Compute cepstra or log mel energies of an audio file");
  const auto options = std::make_shared<FeaturesCommand>(*command);
  command->add_option("audio", options->audio_file, "WAV, FLAC, ... or .raw (16-bit, one channel)")->required();
  command->add_option("-o,--output", options->output_file, "File to write: .npy, .htk, .mfc or .csv");
  command->add_option("--picture", options->picture_file, "PNG with waveform, mel spectrogram and cepstra");
  command->add_option("--raw-rate", options->raw.sample_rate, "Sampling rate of audio without a header, Hz")
      ->check(CLI::PositiveNumber);
  command->add_flag("--raw-big-endian", options->raw.big_endian, "Audio without a header has the high byte first");
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::tools
