// kivsr mix: a recording with noise added at a signal-to-noise ratio.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "kivsr/speech/io/output_file.h"
#include "program/raw_options.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

struct MixCommand {
  void run() const;

  std::string input_file;
  std::string output_file;
  std::string noise = "white";
  double snr = 10.0;
  std::uint32_t seed = 1;
  RawFormat raw;
};

void MixCommand::run() const {
  check_audio_name(output_file);
  AudioChannels audio = read_audio_channels(input_file, raw);
  const std::size_t count = audio.channels.front().size();
  const std::vector<float> samples =
      noise == "white" ? white_noise(count, seed)
                       : repeated_noise(read_audio_at(noise, audio.sample_rate, raw).samples, count, seed);
  int beyond = 0;
  try {
    beyond = mix_noise(audio, samples, snr);
  } catch (const Fault& fault) {
    throw Fault(input_file + " with " + noise + ": " + fault.what());
  }
  OutputFile output(output_file);
  write_audio(output, output_file, audio);
  output.commit();
  std::printf("%s: %s at %g dB", output_file.c_str(), noise.c_str(), snr);
  if (beyond != 0) std::printf(", %d samples beyond full scale", beyond);
  std::printf("\n");
}

}  // namespace

void add_mix(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("mix", "Add noise to an audio file");
  const auto options = std::make_shared<MixCommand>();
  command->add_option("input", options->input_file, "WAV, FLAC, ... or .raw (16-bit, one channel)")->required();
  command->add_option("output", options->output_file, "File to write: .wav or .flac")->required();
  command->add_option("--noise", options->noise, "white, or an audio file, which is repeated and resampled as needed")
      ->capture_default_str();
  command->add_option("--snr", options->snr, "Signal-to-noise ratio of the energies of the whole file, dB")
      ->check(CLI::Range(-200.0, 200.0))
      ->capture_default_str();
  command->add_option("--seed", options->seed, "Chooses the white noise, or the place where the file begins")
      ->capture_default_str();
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
