// kivsr features: audio files to the rows of a recipe, one of them to a picture; or the statistics of many.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/speech/front/column_statistics.h"
#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/output_file.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/moments_file.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/raw_options.h"
#include "program/recipe_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

struct FeaturesCommand {
  explicit FeaturesCommand(CLI::App& command) : recipe(command, "sphinx-en-us") {}

  void run();
  void write_rows(const std::vector<FileTask>& tasks) const;
  void write_rows_of(const FileTask& task, FeatureChain& chain, FileTurn& turn) const;
  void write_statistics(const std::vector<FileTask>& tasks) const;
  void gather(const std::string& file, FeatureChain& chain, FileTurn& turn, ColumnStatistics& sums) const;
  FeatureFormat format_of(const std::string& output) const;
  void stream_rows(const std::string& file, FeatureChain& chain, const RowTaker& take) const;
  void explain() const;

  RecipeOptions recipe;
  FileOptions files;
  std::string format;  // extension, empty: of the output's name
  std::string picture_file;
  RawFormat raw;
  std::size_t block = 0;  // samples
  bool statistics = false;
  std::string explained;    // preset
  std::string recipe_file;  // to write
  int feature_width = 0;    // of .mfc files
};

void FeaturesCommand::run() {
  if (!explained.empty()) recipe.start_from(explained);
  if (!explained.empty() || !recipe_file.empty()) explain();
  const bool nothing_else = files.output.empty() && files.output_folder.empty() && picture_file.empty();
  if (!explained.empty() || (!recipe_file.empty() && nothing_else)) return;
  const auto tasks = file_tasks(files, statistics ? Outputs::kShared : Outputs::kOneEachOrNone,
                                [this](const std::string&) { return "." + (format.empty() ? "npy" : format); });
  say_unused_raw_options(raw, inputs_of(tasks));
  statistics ? write_statistics(tasks) : write_rows(tasks);
}

// The name in a folder has the extension of --format.
FeatureFormat FeaturesCommand::format_of(const std::string& output) const {
  return feature_format(format.empty() ? output : "." + format);
}

// Rows of features as they are, those of audio through the chain.
void FeaturesCommand::stream_rows(const std::string& file, FeatureChain& chain, const RowTaker& take) const {
  if (!is_feature_file(file)) {
    stream_utterance(file, chain, raw, take, block);
    return;
  }
  FeatureReader reader(file, feature_width > 0 ? feature_width : chain.recipe().width());
  FeatureMatrix rows;
  for (std::int64_t first = 0; reader.read(rows); first += rows.height(), rows.values.clear()) {
    require_finite(rows, file, first);
    take(rows);
  }
}

// The recipe of the command line as a file, or on standard output.
void FeaturesCommand::explain() const { write_report(recipe_file, recipe.recipe(files.files, raw).explained_text()); }

// Adds the rows in the order of the files, or, of a file with a fault, none.
void FeaturesCommand::gather(const std::string& file, FeatureChain& chain, FileTurn& turn,
                             ColumnStatistics& sums) const {
  const auto before = std::make_shared<ColumnStatistics>();
  turn.post([&sums, before] { *before = sums; });
  try {
    stream_rows(file, chain, [&](const FeatureMatrix& rows) {
      const auto add = [&sums, file, rows] {
        if (sums.width() != 0 && rows.width != sums.width()) {
          throw Fault(file + ": rows of " + std::to_string(rows.width) + " values, the files before it have " +
                      std::to_string(sums.width()));
        }
        sums.add(rows);
      };
      turn.post(add, rows.values.size() * sizeof(float));
    });
    turn.post([&sums] { sums.end_file(); });
  } catch (...) {
    turn.post([&sums, before] { sums = *before; });
    throw;
  }
}

void FeaturesCommand::write_statistics(const std::vector<FileTask>& tasks) const {
  if (files.output.empty()) throw Fault("features: nothing to write, give --output");
  if (!picture_file.empty()) throw Fault("features: there is no picture of statistics");
  const MomentsFormat moments_form = moments_format(files.output);
  const std::vector<std::string> inputs = inputs_of(tasks);
  const Recipe chosen = recipe.recipe(inputs, raw);
  ColumnStatistics sums;
  FileLoop loop("statistics", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    const auto chain = std::make_shared<FeatureChain>(chosen);
    return [&, chain](const FileTask& task, FileTurn& turn) { gather(task.input, *chain, turn, sums); };
  });
  if (sums.frames() < 2) throw Fault("features: statistics need at least two frames");
  ColumnMoments moments = sums.moments();
  const bool computed =
      !std::all_of(inputs.begin(), inputs.end(), [](const auto& name) { return is_feature_file(name); });
  if (computed && sums.width() == chosen.width()) moments.columns = chosen.column_names();

  OutputFile output(files.output);
  write_moments(output, moments_form, moments);
  output.commit();
  std::printf("%lld files, %lld frames of %d values\n", static_cast<long long>(moments.files),
              static_cast<long long>(moments.frames), sums.width());
  loop.finish();
}

std::string summary(const std::string& file, const UtteranceInfo& info, const Recipe& recipe) {
  std::string line = file + formatted(": %.2f s, %lld frames of %d values", info.seconds,
                                      static_cast<long long>(info.frames), recipe.width());
  if (info.file_channels > 1) line += formatted(", %d channels mixed down", info.file_channels);
  const int rate = recipe.front_end.sample_rate;
  if (info.file_sample_rate != 0 && info.file_sample_rate != rate) {
    line += formatted(", resampled from %d to %d Hz", info.file_sample_rate, rate);
  }
  return line + "\n";
}

// Both files are complete before either gets its name.
void FeaturesCommand::write_rows_of(const FileTask& task, FeatureChain& chain, FileTurn& turn) const {
  const std::string& file = task.input;
  std::optional<OutputFile> output;
  std::optional<OutputFile> picture;
  std::optional<FeatureWriter> writer;
  std::optional<FeaturePicture> drawing;
  if (!picture_file.empty()) drawing.emplace(chain.recipe());
  if (!task.output.empty()) writer.emplace(output.emplace(task.output), format_of(task.output), chain.recipe());
  const auto write = [&](const FeatureMatrix& rows) {
    if (writer) writer->append(rows);
    if (drawing) drawing->push_rows(rows);
  };
  SampleTaker listen;
  if (drawing) listen = [&](std::span<const float> samples) { drawing->push(samples); };
  const UtteranceInfo info = stream_utterance(file, chain, raw, write, block, listen);
  if (writer) writer->finish();
  if (drawing) {
    drawing->finish();
    drawing->draw(picture.emplace(picture_file), std::filesystem::path(file).filename());
  }
  if (output) output->commit();
  if (picture) picture->commit();
  turn.heard(info.seconds);
  if (task.output != "-") turn.print(summary(file, info, chain.recipe()));
}

void FeaturesCommand::write_rows(const std::vector<FileTask>& tasks) const {
  if (!picture_file.empty()) {
    if (tasks.size() > 1) throw Fault("features: --picture shows one audio file");
    check_picture_name(picture_file);
    if (is_feature_file(tasks[0].input)) throw Fault(tasks[0].input + ": a picture shows audio, not features");
  }
  for (const FileTask& task : tasks) {
    if (!task.output.empty()) {
      format_of(task.output);
    } else if (picture_file.empty()) {
      throw Fault(task.place + task.input + ": nothing to write, give --output, --output-folder or --picture");
    }
  }
  const Recipe chosen = recipe.recipe(inputs_of(tasks), raw);
  FileLoop loop("features", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    const auto chain = std::make_shared<FeatureChain>(chosen);
    return [this, chain](const FileTask& task, FileTurn& turn) { write_rows_of(task, *chain, turn); };
  });
  loop.finish();
}

}  // namespace

void add_features(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("features", "Compute cepstra or log mel energies of an audio file");
  const auto options = std::make_shared<FeaturesCommand>(*command);
  add_file_options(*command, options->files, Outputs::kOneEachOrNone,
                   "WAV, FLAC, ... or .raw (16-bit, one channel); or rows of the front end in a feature file",
                   "File to write: .npy, .htk, .mfc or .csv; of statistics .npy, .csv or .json");
  command
      ->add_option("--format", options->format,
                   "Of what is written to a folder or to standard output: npy (the default), htk, mfc or csv")
      ->check(CLI::IsMember({"npy", "htk", "mfc", "csv"}));
  command->add_option("--picture", options->picture_file, "PNG with waveform, mel spectrogram and the rows");
  command->add_option("--as-config", options->recipe_file,
                      "File to write the recipe of this command line to, which --config reads again");
  add_raw_options(*command, options->raw);
  add_number(*command, "--block", options->block, 0, 1'000'000'000,
             "Samples pushed at a time, 0: as suits; the rows are the same for every number");
  command->add_flag("--stats", options->statistics,
                    "Write mean, variance and covariance of the columns of many audio or feature files");
  add_number(*command, "--mfc-width", options->feature_width, 1, 10000,
             "Values in a row of .mfc files that --stats reads")
      ->needs("--stats");
  command
      ->add_option("--explain", options->explained,
                   "Print the recipe of that preset, with the options given, a comment for each field")
      ->excludes("--preset")
      ->excludes("--recipe")
      ->excludes("--feat-params")
      ->excludes("--output")
      ->excludes("--output-folder")
      ->excludes("--picture")
      ->excludes("--stats")
      ->excludes("--list");
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
