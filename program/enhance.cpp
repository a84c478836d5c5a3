// kivsr enhance: an audio file to one with less noise.
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

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

std::string describe(const AudioReader& reader) {
  char text[96];
  std::snprintf(text, sizeof text, "%.2f s at %d Hz, %d channel%s",
                static_cast<double>(reader.samples()) / reader.sample_rate(), reader.sample_rate(), reader.channels(),
                reader.channels() == 1 ? "" : "s");
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
  std::vector<std::unique_ptr<Enhancer>> enhancers(const AudioReader& reader) const;
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

std::vector<std::unique_ptr<Enhancer>> EnhanceCommand::enhancers(const AudioReader& reader) const {
  std::vector<std::unique_ptr<Enhancer>> result;
  try {
    for (int i = 0; i < reader.channels(); ++i) result.push_back(make_enhancer(method, reader.sample_rate()));
  } catch (const Fault& fault) {
    throw Fault(input_file + ": " + fault.what());
  }
  return result;
}

void append(std::span<const std::vector<float>> block, AudioChannels& audio) {
  audio.channels.resize(block.size());
  for (std::size_t channel = 0; channel < block.size(); ++channel) {
    audio.channels[channel].insert(audio.channels[channel].end(), block[channel].begin(), block[channel].end());
  }
}

// Block by block; only a reference and a picture need the whole sound at once.
void EnhanceCommand::run() const {
  check_audio_name(output_file);
  if (!picture_file.empty()) check_picture_name(picture_file);
  AudioReader reader(input_file, raw);
  const auto channels = enhancers(reader);
  NoiseTrack noise;
  if (!picture_file.empty()) channels.front()->record_noise(&noise);  // the picture shows the first channel
  const bool keep = !picture_file.empty() || !reference_file.empty();
  AudioChannels audio{{}, reader.sample_rate(), reader.sample_format()};
  AudioChannels enhanced = audio;

  // Both files are complete before either gets its name.
  OutputFile output(output_file);
  AudioWriter writer(output, output_file, reader.sample_rate(), reader.channels(), reader.sample_format());
  std::vector<std::vector<float>> block(channels.size());
  const auto pass_on = [&] {
    writer.append(block);
    if (keep) append(block, enhanced);
    for (auto& samples : block) samples.clear();
  };
  for (auto input = reader.read(); !input.empty(); input = reader.read()) {
    for (std::size_t i = 0; i < channels.size(); ++i) channels[i]->push(input[i], block[i]);
    if (keep) append(input, audio);
    pass_on();
  }
  for (std::size_t i = 0; i < channels.size(); ++i) channels[i]->finish(block[i]);
  pass_on();
  writer.finish();

  const std::string description = describe(reader) + ", " + method;
  std::optional<AudioChannels> reference;
  double before = 0.0;
  if (!reference_file.empty()) {
    reference = reference_for(audio);
    before = mean_segmental_snr(*reference, audio);
    if (std::isnan(before)) throw Fault(reference_file + ": is silent");
  }
  std::optional<OutputFile> picture;
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
