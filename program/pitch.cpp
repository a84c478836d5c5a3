// kivsr pitch: fundamental frequency and voicing of audio files.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kivsr/speech/front/pitch_tracker.h"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/picture/pitch_picture.h"
#include "program/picture_options.h"
#include "program/pitch_report.h"
#include "program/raw_options.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

// rows: .npy.
const std::map<std::string, std::string> kExtensions = {
    {"text", ".txt"}, {"csv", ".csv"}, {"npy", ".npy"}, {"pitchtier", ".PitchTier"}};

bool is_rows(const std::string& output) { return lower_extension(output) == ".npy"; }
bool is_tier(const std::string& output) { return lower_extension(output) == ".pitchtier"; }

struct PitchCommand {
  void run() const;
  void check(const std::vector<FileTask>& tasks) const;
  template <class Take>
  double track(const std::string& file, std::optional<OutputFile>& drawing, FileTurn& turn, Take take) const;
  void write_own(const FileTask& task, std::optional<OutputFile>& drawing, FileTurn& turn) const;
  void report_to(const FileTask& task, const PitchReport::Write& write, std::optional<OutputFile>& drawing,
                 FileTurn& turn) const;
  PitchFormat format_of(const std::string& output) const;

  FileOptions files;
  PictureOptions picture_options;
  std::string format;
  double shift = 0.01;
  PitchParameters parameters;
  RawFormat raw;
};

// The name decides, or --format where there is none.
PitchFormat PitchCommand::format_of(const std::string& output) const {
  if (is_tier(output)) return PitchFormat::kPitchTier;
  const bool csv = format.empty() ? lower_extension(output) == ".csv" : format == "csv";
  return csv ? PitchFormat::kCsv : PitchFormat::kText;
}

void PitchCommand::check(const std::vector<FileTask>& tasks) const {
  for (const FileTask& task : tasks) {
    const std::string& name = task.output.empty() ? files.output : task.output;
    const std::string extension = lower_extension(name);
    if (!name.empty() && name != "-" && !is_rows(name) && !is_tier(name) && extension != ".csv" &&
        extension != ".txt") {
      throw Fault(name + ": the name ends in .npy, .csv, .txt or .PitchTier");
    }
    const bool shared = task.output.empty();
    if (shared && (is_rows(name) || is_tier(name))) throw Fault(name + ": holds the pitch of one file");
    if (shared && (format == "npy" || format == "pitchtier")) {
      throw Fault("pitch: the format " + format + " is for files, give --output or --output-folder");
    }
  }
  if (picture_options.file.empty()) return;
  if (tasks.size() > 1) throw Fault(picture_options.file + ": shows one audio file");
  check_picture_name(picture_options.file);
}

// take gets the frames as they come. The analysis has the rate of the file, or 8 kHz for one below. Returns the seconds
// of the file; its picture, if one is asked for, waits for the commit.
template <class Take>
double PitchCommand::track(const std::string& file, std::optional<OutputFile>& drawing, FileTurn& turn,
                           Take take) const {
  AudioReader audio(file, raw);
  PitchParameters chosen = parameters;
  chosen.sample_rate = std::max(audio.sample_rate(), 8000);
  chosen.shift = static_cast<int>(std::lround(shift * chosen.sample_rate));
  MonoReader reader(std::move(audio), file, chosen.sample_rate);
  PitchTracker tracker(chosen);
  std::optional<PitchPicture> picture;
  if (!picture_options.file.empty()) picture.emplace(chosen);
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
    picture->draw(drawing.emplace(picture_options.file), picture_options, std::filesystem::path(file).filename());
  }
  if (!reader.file().remark().empty()) turn.say(file + ": " + reader.file().remark());
  const double seconds = static_cast<double>(reader.samples()) / chosen.sample_rate;
  turn.heard(seconds);
  return seconds;
}

// Into a file of its own.
void PitchCommand::write_own(const FileTask& task, std::optional<OutputFile>& drawing, FileTurn& turn) const {
  OutputFile output(task.output);
  if (is_rows(task.output)) {
    FeatureWriter rows(output, FeatureFormat::kNpy, layout_of(Recipe::of_features(3)));
    track(task.input, drawing, turn, [&](const auto& frames) { rows.append(pitch_rows(frames)); });
    rows.finish();
  } else {
    const PitchFormat chosen = format_of(task.output);
    if (chosen == PitchFormat::kPitchTier) output.keep_until_commit();
    output.write(pitch_header(chosen));
    PitchReport report(
        chosen, task.input, shift, [&](std::string_view text) { output.write(text); },
        [&](std::int64_t position, std::string_view text) { output.overwrite(position, text); });
    report.end(track(task.input, drawing, turn, [&](const auto& frames) { report.append(frames); }));
  }
  output.commit();
}

// Into what all files share, when it is the file's turn.
void PitchCommand::report_to(const FileTask& task, const PitchReport::Write& write, std::optional<OutputFile>& drawing,
                             FileTurn& turn) const {
  PitchReport report(format_of(files.output), task.input, shift, [&](std::string_view text) {
    turn.post([&write, text = std::string(text)] { write(text); }, text.size());
  });
  track(task.input, drawing, turn, [&](const auto& frames) { report.append(frames); });
}

void PitchCommand::run() const {
  auto tasks = file_tasks(files, Outputs::kShared,
                          [this](const std::string&) { return kExtensions.at(format.empty() ? "text" : format); });
  if (tasks.size() == 1 && tasks[0].output.empty()) tasks[0].output = files.output;
  check(tasks);
  say_unused_raw_options(raw, inputs_of(tasks));
  std::optional<OutputFile> output;
  if (!files.output.empty() && tasks[0].output != files.output) output.emplace(files.output);
  FileLoop loop("pitch", tasks, files.jobs, files.stop_at_fault);
  const PitchReport::Write write = [&](std::string_view text) {
    if (output) return output->write(text);
    loop.progress().clear();
    std::fwrite(text.data(), 1, text.size(), stdout);
  };
  const auto shares = [](const FileTask& task) { return task.output.empty(); };
  if (std::any_of(tasks.begin(), tasks.end(), shares)) write(pitch_header(format_of(files.output)));
  std::optional<OutputFile> drawing;
  loop.run([&] {
    return [&](const FileTask& task, FileTurn& turn) {
      task.output.empty() ? report_to(task, write, drawing, turn) : write_own(task, drawing, turn);
    };
  });
  if (output) output->commit();
  if (drawing) drawing->commit();
  loop.finish();
}

}  // namespace

void add_pitch(Command program) {
  const Command command = program.add_subcommand("pitch", "Fundamental frequency and voicing of audio files");
  const auto options = std::make_shared<PitchCommand>();
  PitchParameters& parameters = options->parameters;
  add_file_options(
      command, options->files, Outputs::kShared, "WAV, FLAC, ... or .raw (16-bit, one channel)",
      "File to write: .npy (rows of f0, correlation, probability), .csv, .txt or .PitchTier (default: text "
      "on standard output)");
  command.add_option("--format", options->format, "Text (the default) or csv; in a folder npy or pitchtier too")
      .one_of({"text", "csv", "npy", "pitchtier"});
  add_picture_options(command, options->picture_options, "waveform, spectrogram and pitch",
                      "the colours of the spectrogram, dB,");
  add_number(command, "--low", parameters.low_frequency, 20.0, 1000.0, "Lowest frequency, Hz");
  add_number(command, "--high", parameters.high_frequency, 24.0, 4000.0, "Highest frequency, Hz");
  add_number(command, "--shift", options->shift, 0.001, 0.1, "From frame to frame, s");
  add_number(command, "--voicing-threshold", parameters.voicing_threshold, 0.0, 1.0,
             "Correlation of a frame that is as likely voiced as not");
  add_number(command, "--silence-threshold", parameters.silence_threshold, 0.0, 1.0,
             "Frames below so much of the maximum around them tend to be unvoiced");
  add_number(command, "--octave-cost", parameters.octave_cost, 0.0, 1.0, "Against lower candidates, an octave");
  add_number(command, "--jump-cost", parameters.jump_cost, 0.0, 10.0, "Of a change by an octave in 10 ms");
  add_number(command, "--transition-cost", parameters.transition_cost, 0.0, 10.0, "From voiced to unvoiced or back");
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
