// kivsr mix: a recording with noise added at a signal-to-noise ratio.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "kivsr/speech/io/output_file.h"
#include "program/numbers.h"
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
  say_unused_raw_options(raw, {input_file, noise == "white" ? input_file : noise});
  AudioChannels audio = read_audio_channels(input_file, raw);
  OutputFile output(output_file);
  AudioWriter writer(output, output_file, audio.sample_rate, static_cast<int>(audio.channels.size()),
                     audio.sample_format);
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
  writer.append(audio.channels);
  writer.finish();
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
  command->add_option("--noise", options->noise, "white, or an audio file, which is repeated and resampled as needed");
  add_number(*command, "--snr", options->snr, -200.0, 200.0,
             "Signal-to-noise ratio of the energies of the whole file, dB");
  add_number(*command, "--seed", options->seed, 0, std::numeric_limits<std::uint32_t>::max(),
             "Chooses the white noise, or the place where the file begins");
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
