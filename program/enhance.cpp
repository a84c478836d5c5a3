// kivsr enhance: an audio file to one with less noise.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/segmental_snr.h"
#include "program/picture/enhancement_picture.h"
#include "program/picture/feature_picture.h"
#include "program/raw_options.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

std::string describe(const AudioChannels& audio) {
  char text[96];
  std::snprintf(text, sizeof text, "%.2f s at %d Hz, %zu channel%s",
                static_cast<double>(audio.channels.front().size()) / audio.sample_rate, audio.sample_rate,
                audio.channels.size(), audio.channels.size() == 1 ? "" : "s");
  return text;
}

struct EnhanceCommand {
  void run() const;

  std::string input_file;
  std::string output_file;
  std::string method = "mcra-emns";
  std::string reference_file;
  std::string picture_file;
  RawFormat raw;

 private:
  AudioChannels reference_for(const AudioChannels& audio) const;
};

AudioChannels EnhanceCommand::reference_for(const AudioChannels& audio) const {
  AudioChannels reference = read_audio_channels(reference_file, raw);
  if (reference.sample_rate != audio.sample_rate) {
    throw Fault(reference_file + ": has " + std::to_string(reference.sample_rate) + " Hz, the input " +
                std::to_string(audio.sample_rate));
  }
  if (reference.channels.size() != audio.channels.size()) {
    throw Fault(reference_file + ": has " + std::to_string(reference.channels.size()) + " channels, the input " +
                std::to_string(audio.channels.size()));
  }
  if (reference.channels.front().size() != audio.channels.front().size()) {
    throw Fault(reference_file + ": has " + std::to_string(reference.channels.front().size()) + " samples, the input " +
                std::to_string(audio.channels.front().size()));
  }
  return reference;
}

// The mean over the channels whose reference is not silent.
double mean_segmental_snr(const AudioChannels& reference, const AudioChannels& audio) {
  double sum = 0.0;
  int count = 0;
  for (std::size_t channel = 0; channel < audio.channels.size(); ++channel) {
    const double snr = segmental_snr(reference.channels[channel], audio.channels[channel], audio.sample_rate);
    if (std::isnan(snr)) continue;
    sum += snr;
    ++count;
  }
  return count == 0 ? std::numeric_limits<double>::quiet_NaN() : sum / count;
}

void EnhanceCommand::run() const {
  check_audio_name(output_file);
  if (!picture_file.empty()) check_picture_name(picture_file);
  const AudioChannels audio = read_audio_channels(input_file, raw);
  std::optional<AudioChannels> reference;
  if (!reference_file.empty()) reference = reference_for(audio);
  const double before = reference ? mean_segmental_snr(*reference, audio) : 0.0;
  if (std::isnan(before)) throw Fault(reference_file + ": is silent");

  std::unique_ptr<Enhancer> enhancer;
  try {
    enhancer = make_enhancer(method, audio.sample_rate);
  } catch (const Fault& fault) {
    throw Fault(input_file + ": " + fault.what());
  }
  AudioChannels enhanced = audio;
  NoiseTrack noise;
  if (!picture_file.empty()) enhancer->record_noise(&noise);
  for (auto& channel : enhanced.channels) {
    channel = enhancer->run(channel);
    enhancer->record_noise(nullptr);  // the picture shows the first channel
  }

  // Both files are complete before either gets its name.
  OutputFile output(output_file);
  std::optional<OutputFile> picture;
  write_audio(output, output_file, enhanced);
  const std::string description = describe(audio) + ", " + method;
  if (!picture_file.empty()) {
    draw_enhancement(picture.emplace(picture_file),
                     std::filesystem::path(input_file).filename().string() + ":  " + description,
                     audio.channels.front(), enhanced.channels.front(), audio.sample_rate, noise);
  }
  output.commit();
  if (picture) picture->commit();

  std::printf("%s: %s\n", output_file.c_str(), description.c_str());
  if (reference) {
    const double after = mean_segmental_snr(*reference, enhanced);
    std::printf("segmental SNR %.2f dB before, %.2f dB after, gain %.2f dB\n", before, after, after - before);
  }
}

}  // namespace

void add_enhance(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("enhance", "Suppress the noise in an audio file");
  const auto options = std::make_shared<EnhanceCommand>();
  command->add_option("input", options->input_file, "WAV, FLAC, ... or .raw (16-bit, one channel)")->required();
  command->add_option("output", options->output_file, "File to write: .wav or .flac")->required();
  command->add_option("--method", options->method, "How the noise is estimated and suppressed")
      ->check(CLI::IsMember(enhancement_methods()))
      ->capture_default_str();
  command->add_option("--reference", options->reference_file,
                      "The same sound without noise: prints the segmental signal-to-noise ratio before and after");
  command->add_option("--picture", options->picture_file, "PNG with spectrograms before, after and of the noise");
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
