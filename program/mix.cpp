// kivsr mix: a recording with noise added at a signal-to-noise ratio.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kept_pipe.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "kivsr/speech/io/output_file.h"
#include "program/audio_names.h"
#include "program/command.h"
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

// The blocks of a recording, and as much of the noise with each.
template <class Take>
void each_block(AudioReader reader, NoiseStream& noise, Take take) {
  std::vector<float> samples;
  for (auto block = reader.read(); !block.empty(); block = reader.read()) {
    samples.resize(block.front().size());
    noise.read(samples);
    take(block, samples);
  }
}

// Of the whole recording and of the noise that it gets.
MixLevels levels_of(AudioReader reader, NoiseStream& noise) {
  MixLevels levels;
  each_block(std::move(reader), noise, [&](std::span<const std::vector<float>> block, std::span<const float> samples) {
    levels.add(block, samples);
  });
  return levels;
}

// Every file has the next noise, and a place in it, or white samples, of its own. It is read twice, for the levels and
// for the sum.
void MixCommand::mix(const FileTask& task, std::size_t index, FileTurn& turn) const {
  const std::string& name = noises[index % noises.size()];
  const auto own_seed = static_cast<std::uint32_t>(seed + index);
  keep_pipe(task.input);
  AudioReader reader(task.input, raw);
  const int rate = reader.sample_rate();
  OutputFile output(task.output);
  AudioWriter writer(output, audio_name(task.output, format), rate, reader.channels(), reader.sample_format());
  const auto noise = name == "white" ? white_noise_stream(own_seed) : file_noise_stream(name, rate, raw, own_seed);
  const MixLevels levels = levels_of(std::move(reader), *noise);
  float factor = 0.0F;
  try {
    factor = levels.factor(snr);
  } catch (const Fault& fault) {
    throw Fault(task.input + " with " + name + ": " + fault.what());
  }
  noise->restart();
  std::int64_t beyond = 0;
  std::int64_t count = 0;
  std::vector<std::vector<float>> sum;
  const auto write = [&](std::span<const std::vector<float>> block, std::span<const float> samples) {
    count += static_cast<std::int64_t>(samples.size());
    sum.assign(block.begin(), block.end());
    beyond += add_noise(sum, samples, factor);
    writer.append(sum);
  };
  each_block(AudioReader(task.input, raw), *noise, write);
  writer.finish();
  output.commit();
  turn.heard(static_cast<double>(count) / rate);
  std::string line = task.output + ": " + name + formatted(" at %g dB", snr);
  if (beyond != 0) line += formatted(", %lld samples beyond full scale", static_cast<long long>(beyond));
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

void add_mix(Command program) {
  const Command command = program.add_subcommand("mix", "Add noise to an audio file");
  const auto options = std::make_shared<MixCommand>();
  add_file_options(command, options->files, Outputs::kOneEach, "WAV, FLAC, ... or .raw (16-bit, one channel)",
                   "File to write: .wav, .flac or .raw");
  add_audio_format(command, options->format);
  command
      .add_option(
          "--noise", options->noises,
          "white, or an audio file, which is repeated and resampled as needed; of several each file takes the next")
      .one_value_each();
  add_number(command, "--snr", options->snr, -200.0, 200.0,
             "Signal-to-noise ratio of the energies of the whole file, dB");
  add_number(command, "--seed", options->seed, 0, std::numeric_limits<std::uint32_t>::max(),
             "Chooses the white noise, or the place where the file begins; one more for each file");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
