// kivsr mix: a recording with noise added at a signal-to-noise ratio.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
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
#include "program/audio_names.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

struct MixCommand {
  void run() const;
  void mix(const FileTask& task, std::size_t index, FileTurn& turn) const;

  FileOptions files;
  std::string format;
  std::vector<std::string> noises = {"white"};
  double snr = 10.0;
  std::uint32_t seed = 1;
  RawFormat raw;
};

// Every file has the next noise, and a place in it, or white samples, of its own.
void MixCommand::mix(const FileTask& task, std::size_t index, FileTurn& turn) const {
  const std::string& noise = noises[index % noises.size()];
  const auto own_seed = static_cast<std::uint32_t>(seed + index);
  AudioChannels audio = read_audio_channels(task.input, raw);
  OutputFile output(task.output);
  AudioWriter writer(output, audio_name(task.output, format), audio.sample_rate,
                     static_cast<int>(audio.channels.size()), audio.sample_format);
  const std::size_t count = audio.channels.front().size();
  const std::vector<float> samples =
      noise == "white" ? white_noise(count, own_seed)
                       : repeated_noise(read_audio_at(noise, audio.sample_rate, raw).samples, count, own_seed);
  int beyond = 0;
  try {
    beyond = mix_noise(audio, samples, snr);
  } catch (const Fault& fault) {
    throw Fault(task.input + " with " + noise + ": " + fault.what());
  }
  writer.append(audio.channels);
  writer.finish();
  output.commit();
  turn.heard(static_cast<double>(count) / audio.sample_rate);
  std::string line = task.output + ": " + noise + formatted(" at %g dB", snr);
  if (beyond != 0) line += formatted(", %d samples beyond full scale", beyond);
  turn.print_beside(task.output, line + "\n");
}

void MixCommand::run() const {
  const auto tasks =
      file_tasks(files, Outputs::kOneEach, [this](const std::string& input) { return audio_extension(input, format); });
  for (const FileTask& task : tasks) check_audio_name(audio_name(task.output, format));
  std::vector<std::string> inputs = inputs_of(tasks);
  std::copy_if(noises.begin(), noises.end(), std::back_inserter(inputs),
               [](const auto& name) { return name != "white"; });
  say_unused_raw_options(raw, inputs);
  FileLoop loop("mix", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    return
        [&](const FileTask& task, FileTurn& turn) { mix(task, static_cast<std::size_t>(&task - tasks.data()), turn); };
  });
  loop.finish();
}

}  // namespace

void add_mix(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("mix", "Add noise to an audio file");
  const auto options = std::make_shared<MixCommand>();
  add_file_options(*command, options->files, Outputs::kOneEach, "WAV, FLAC, ... or .raw (16-bit, one channel)",
                   "File to write: .wav, .flac or .raw");
  add_audio_format(*command, options->format);
  command
      ->add_option(
          "--noise", options->noises,
          "white, or an audio file, which is repeated and resampled as needed; of several each file takes the next")
      ->allow_extra_args(false);
  add_number(*command, "--snr", options->snr, -200.0, 200.0,
             "Signal-to-noise ratio of the energies of the whole file, dB");
  add_number(*command, "--seed", options->seed, 0, std::numeric_limits<std::uint32_t>::max(),
             "Chooses the white noise, or the place where the file begins; one more for each file");
  add_raw_options(*command, options->raw);
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
