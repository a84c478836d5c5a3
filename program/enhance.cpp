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

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/audio_writer.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/segmental_snr.h"
#include "program/audio_names.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/picture/enhancement_picture.h"
#include "program/picture/feature_picture.h"
#include "program/picture_options.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

std::string describe(const AudioReader& reader) {
  return formatted("%.2f s at %d Hz, %d channel%s", static_cast<double>(reader.samples()) / reader.sample_rate(),
                   reader.sample_rate(), reader.channels(), reader.channels() == 1 ? "" : "s");
}

struct EnhanceCommand {
  void run() const;
  void check(const std::vector<FileTask>& tasks) const;
  void enhance(const FileTask& task, FileTurn& turn) const;

  FileOptions files;
  std::string format;
  std::string method = "mcra-emns";
  std::string reference_file;
  PictureOptions picture_options;
  RawFormat raw;

 private:
  std::vector<std::unique_ptr<Enhancer>> enhancers(const std::string& file, const AudioReader& reader) const;
};

using Block = std::span<const std::vector<float>>;  // a vector a channel

// The ratios of the input and of the output to the reference, which is read along with them.
class Comparison {
 public:
  Comparison(const std::string& file, const RawFormat& raw, const AudioReader& input)
      : file_(file), reader_(file, raw) {
    if (reader_.sample_rate() != input.sample_rate()) {
      throw Fault(file + ": has " + std::to_string(reader_.sample_rate()) + " Hz, the input " +
                  std::to_string(input.sample_rate()));
    }
    if (reader_.channels() != input.channels()) {
      throw Fault(file + ": has " + std::to_string(reader_.channels()) + " channels, the input " +
                  std::to_string(input.channels()));
    }
    const SegmentalSnr none(input.sample_rate());
    before_.assign(static_cast<std::size_t>(input.channels()), none);
    after_ = before_;
  }

  void push_input(Block input) {
    while (reader_.samples() < samples_ + static_cast<std::int64_t>(input.front().size()) && read()) {
    }
    samples_ += static_cast<std::int64_t>(input.front().size());
    for (std::size_t i = 0; i < before_.size(); ++i) before_[i].push_signal(input[i]);
  }
  void push_output(Block output) {
    for (std::size_t i = 0; i < after_.size(); ++i) after_[i].push_signal(output[i]);
  }
  // Throws Fault for a reference of another length, or without sound.
  void finish() {
    while (reader_.samples() <= samples_ && read()) {
    }
    if (reader_.samples() != samples_) {
      while (read()) {
      }
      throw Fault(file_ + ": has " + std::to_string(reader_.samples()) + " samples, the input " +
                  std::to_string(samples_));
    }
    before = mean(before_);
    after = mean(after_);
    if (std::isnan(before)) throw Fault(file_ + ": is silent");
  }

  double before = 0.0;
  double after = 0.0;

 private:
  bool read() {
    const Block reference = reader_.read();
    for (std::size_t i = 0; i < reference.size(); ++i) {
      before_[i].push_reference(reference[i]);
      after_[i].push_reference(reference[i]);
    }
    return !reference.empty();
  }
  // Over the channels whose reference is not silent.
  static double mean(std::vector<SegmentalSnr>& channels) {
    double sum = 0.0;
    int count = 0;
    for (SegmentalSnr& channel : channels) {
      const double ratio = channel.finish();
      if (std::isnan(ratio)) continue;
      sum += ratio;
      ++count;
    }
    return count == 0 ? std::numeric_limits<double>::quiet_NaN() : sum / count;
  }

  std::string file_;
  AudioReader reader_;
  std::vector<SegmentalSnr> before_;
  std::vector<SegmentalSnr> after_;
  std::int64_t samples_ = 0;
};

std::vector<std::unique_ptr<Enhancer>> EnhanceCommand::enhancers(const std::string& file,
                                                                 const AudioReader& reader) const {
  std::vector<std::unique_ptr<Enhancer>> result;
  try {
    for (int i = 0; i < reader.channels(); ++i) result.push_back(make_enhancer(method, reader.sample_rate()));
  } catch (const Fault& fault) {
    throw Fault(file + ": " + fault.what());
  }
  return result;
}

// From reader to writer, with what is said and shown about both on the way.
void stream(AudioReader& reader, std::span<const std::unique_ptr<Enhancer>> channels, AudioWriter& writer,
            std::optional<Comparison>& comparison, std::optional<EnhancementPicture>& drawing) {
  NoiseTrack noise;
  if (drawing) channels.front()->record_noise(&noise);
  std::vector<std::vector<float>> block(channels.size());
  const auto pass_on = [&] {
    writer.append(block);
    if (comparison) comparison->push_output(block);
    if (drawing) drawing->push_after(block.front());
    if (drawing) drawing->take(noise);
    for (auto& samples : block) samples.clear();
  };
  for (auto input = reader.read(); !input.empty(); input = reader.read()) {
    if (comparison) comparison->push_input(input);
    if (drawing) drawing->push_before(input.front());
    for (std::size_t i = 0; i < channels.size(); ++i) channels[i]->push(input[i], block[i]);
    pass_on();
  }
  for (std::size_t i = 0; i < channels.size(); ++i) channels[i]->finish(block[i]);
  pass_on();
  writer.finish();
  if (comparison) comparison->finish();
  if (drawing) drawing->finish();
}

// Both files are complete before either gets its name.
void EnhanceCommand::enhance(const FileTask& task, FileTurn& turn) const {
  AudioReader reader(task.input, raw);
  const auto channels = enhancers(task.input, reader);
  std::optional<Comparison> comparison;
  if (!reference_file.empty()) comparison.emplace(reference_file, raw, reader);
  std::optional<EnhancementPicture> drawing;  // of the first channel
  if (!picture_options.file.empty()) drawing.emplace(reader.sample_rate());
  OutputFile output(task.output);
  AudioWriter writer(output, audio_name(task.output, format), reader.sample_rate(), reader.channels(),
                     reader.sample_format());
  stream(reader, channels, writer, comparison, drawing);

  const std::string description = describe(reader) + ", " + method;
  std::optional<OutputFile> picture;
  if (drawing) {
    drawing->draw(picture.emplace(picture_options.file), picture_options,
                  std::filesystem::path(task.input).filename().string() + ":  " + description);
  }
  output.commit();
  if (picture) picture->commit();

  turn.heard(static_cast<double>(reader.samples()) / reader.sample_rate());
  if (!reader.remark().empty()) turn.say(task.input + ": " + reader.remark());
  std::string lines = task.output + ": " + description + "\n";
  if (comparison) {
    lines += formatted("segmental SNR %.2f dB before, %.2f dB after, gain %.2f dB\n", comparison->before,
                       comparison->after, comparison->after - comparison->before);
  }
  turn.print_beside(task.output, lines);
}

void EnhanceCommand::check(const std::vector<FileTask>& tasks) const {
  for (const FileTask& task : tasks) check_audio_name(audio_name(task.output, format));
  if (tasks.size() > 1 && !reference_file.empty()) throw Fault("enhance: --reference belongs to one audio file");
  if (picture_options.file.empty()) return;
  if (tasks.size() > 1) throw Fault("enhance: --picture shows one audio file");
  check_picture_name(picture_options.file);
}

void EnhanceCommand::run() const {
  const auto tasks =
      file_tasks(files, Outputs::kOneEach, [this](const std::string& input) { return audio_extension(input, format); });
  check(tasks);
  say_unused_raw_options(raw, inputs_of(tasks));
  FileLoop loop("enhance", tasks, files.jobs, files.stop_at_fault);
  loop.run([this] { return [this](const FileTask& task, FileTurn& turn) { enhance(task, turn); }; });
  loop.finish();
}

}  // namespace

void add_enhance(Command program) {
  const Command command = program.add_subcommand("enhance", "Suppress the noise in an audio file");
  const auto options = std::make_shared<EnhanceCommand>();
  add_file_options(command, options->files, Outputs::kOneEach, "WAV, FLAC, ... or .raw (16-bit, one channel)",
                   "File to write: .wav, .flac or .raw");
  add_audio_format(command, options->format);
  command.add_option("--method", options->method, "How the noise is estimated and suppressed")
      .one_of(enhancement_methods());
  command.add_option("--reference", options->reference_file,
                     "The same sound without noise: prints the segmental signal-to-noise ratio before and after");
  add_picture_options(command, options->picture_options, "spectrograms before, after and of the noise",
                      "the colours, dB,");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
