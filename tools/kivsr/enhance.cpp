// kivsr enhance: an audio file to one with less noise.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "audio/audio_file.h"
#include "audio/audio_writer.h"
#include "enhance/enhancer.h"
#include "kivsr/subcommands.h"
#include "support/fault.h"
#include "support/output_file.h"

namespace kivsr::tools {

namespace {

struct EnhanceCommand {
  void run() const;

  std::string input_file;
  std::string output_file;
  std::string method = "mcra-emns";
  RawFormat raw;
};

void EnhanceCommand::run() const {
  check_audio_name(output_file);
  AudioChannels audio = read_audio_channels(input_file, raw);
  std::unique_ptr<Enhancer> enhancer;
  try {
    enhancer = make_enhancer(method, audio.sample_rate);
  } catch (const Fault& fault) {
    throw Fault(input_file + ": " + fault.what());
  }
  for (auto& channel : audio.channels) channel = enhancer->run(channel);
  OutputFile output(output_file);
  write_audio(output, output_file, audio);
  output.commit();
  std::printf("%s: %.2f s\n", output_file.c_str(),
              static_cast<double>(audio.channels.front().size()) / audio.sample_rate);
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
  command->add_option("--raw-rate", options->raw.sample_rate, "Sampling rate of audio without a header, Hz")
      ->check(CLI::PositiveNumber);
  command->add_flag("--raw-big-endian", options->raw.big_endian, "Audio without a header has the high byte first");
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::tools
