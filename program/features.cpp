// kivsr features: an audio file to the rows of a recipe, and to a picture of them.
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
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
  void write_rows() const;
  void write_statistics() const;
  std::vector<std::string> all_files() const;
  void stream_rows(const std::string& file, FeatureChain& chain, const RowTaker& take) const;
  void push_sound(const std::string& file, FeaturePicture& picture) const;
  void explain() const;

  RecipeOptions recipe;
  std::vector<std::string> files;
  std::string list_file;
  std::string output_file;
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
  if (!explained.empty() || (!recipe_file.empty() && output_file.empty() && picture_file.empty())) return;
  say_unused_raw_options(raw, all_files());
  statistics ? write_statistics() : write_rows();
}

std::vector<std::string> FeaturesCommand::all_files() const {
  std::vector<std::string> all = files;
  if (!list_file.empty()) {
    std::ifstream stream(list_file);
    if (!stream || std::filesystem::is_directory(list_file)) throw Fault(list_file + ": cannot be read");
    for (std::string line; std::getline(stream, line);) {
      while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back()))) line.pop_back();
      if (!line.empty()) all.push_back(line);
    }
  }
  if (all.empty()) throw Fault("features: no audio file is given (see kivsr features --help)");
  return all;
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

// The audio once more, as memory would not hold it.
void FeaturesCommand::push_sound(const std::string& file, FeaturePicture& picture) const {
  MonoReader reader(file, picture.sample_rate(), raw);
  std::vector<float> samples;
  for (; reader.read(samples); samples.clear()) picture.push(samples);
  picture.finish();
}

// The recipe of the command line as a file, or on standard output.
void FeaturesCommand::explain() const { write_report(recipe_file, recipe.recipe(files, raw).explained_text()); }

void FeaturesCommand::write_statistics() const {
  if (output_file.empty()) throw Fault("features: nothing to write, give --output");
  if (!picture_file.empty()) throw Fault("features: there is no picture of statistics");
  const MomentsFormat format = moments_format(output_file);
  const std::vector<std::string> all = all_files();
  FeatureChain chain(recipe.recipe(all, raw));
  ColumnStatistics sums;
  bool computed = false;
  FileLoop loop("statistics", static_cast<int>(all.size()));
  const auto add = [&](const std::string& file) {
    computed = computed || !is_feature_file(file);
    stream_rows(file, chain, [&](const FeatureMatrix& rows) {
      if (sums.width() != 0 && rows.width != sums.width()) {
        throw Fault(file + ": rows of " + std::to_string(rows.width) + " values, the files before it have " +
                    std::to_string(sums.width()));
      }
      sums.add(rows);
    });
    sums.end_file();
  };
  loop.run(all, [&](const std::string& file) {
    const ColumnStatistics before = sums;
    try {
      add(file);
    } catch (...) {
      sums = before;  // without the rows in front of the fault
      throw;
    }
  });
  if (sums.frames() < 2) throw Fault("features: statistics need at least two frames");
  ColumnMoments moments = sums.moments();
  if (computed) moments.columns = chain.recipe().column_names();

  OutputFile output(output_file);
  write_moments(output, format, moments);
  output.commit();
  std::printf("%lld files, %lld frames of %d values\n", static_cast<long long>(moments.files),
              static_cast<long long>(moments.frames), sums.width());
  loop.finish();
}

void FeaturesCommand::write_rows() const {
  const std::vector<std::string> all = all_files();
  if (all.size() > 1) throw Fault("features: several files are for --stats only");
  const std::string& file = all[0];
  if (output_file.empty() && picture_file.empty()) {
    throw Fault("features: nothing to write, give --output or --picture");
  }
  FeatureChain chain(recipe.recipe(all, raw));
  const FrontEndParameters& front_end = chain.recipe().front_end;
  const auto format = output_file.empty() ? FeatureFormat::kNpy : feature_format(output_file);
  if (!picture_file.empty()) {
    check_picture_name(picture_file);
    if (is_feature_file(file)) throw Fault(file + ": a picture shows audio, not features");
  }

  // Both files are complete before either gets its name.
  std::optional<OutputFile> output;
  std::optional<OutputFile> picture;
  std::optional<FeatureWriter> writer;
  std::optional<FeaturePicture> drawing;
  if (!picture_file.empty()) drawing.emplace(chain.recipe());
  if (!output_file.empty()) writer.emplace(output.emplace(output_file), format, chain.recipe());
  const auto write = [&](const FeatureMatrix& rows) {
    if (writer) writer->append(rows);
    if (drawing) drawing->push_rows(rows);
  };
  const UtteranceInfo info = stream_utterance(file, chain, raw, write, block);
  if (writer) writer->finish();
  if (drawing) {
    push_sound(file, *drawing);
    drawing->draw(picture.emplace(picture_file), std::filesystem::path(file).filename());
  }
  if (output) output->commit();
  if (picture) picture->commit();

  std::printf("%s: %.2f s, %lld frames of %d values", file.c_str(), info.seconds, static_cast<long long>(info.frames),
              chain.recipe().width());
  if (info.file_channels > 1) std::printf(", %d channels mixed down", info.file_channels);
  if (info.file_sample_rate != 0 && info.file_sample_rate != front_end.sample_rate) {
    std::printf(", resampled from %d to %d Hz", info.file_sample_rate, front_end.sample_rate);
  }
  std::printf("\n");
}

}  // namespace

void add_features(CLI::App& program) {
  CLI::App* const command = program.add_subcommand("features", "Compute cepstra or log mel energies of an audio file");
  const auto options = std::make_shared<FeaturesCommand>(*command);
  command->add_option("audio", options->files,
                      "WAV, FLAC, ... or .raw (16-bit, one channel); or rows of the front end in a feature file");
  command->add_option("-o,--output", options->output_file,
                      "File to write: .npy, .htk, .mfc or .csv; of statistics .npy, .csv or .json");
  command->add_option("--picture", options->picture_file, "PNG with waveform, mel spectrogram and the rows");
  command->add_option("--as-config", options->recipe_file,
                      "File to write the recipe of this command line to, which --config reads again");
  add_raw_options(*command, options->raw);
  add_number(*command, "--block", options->block, 0, 1'000'000'000,
             "Samples pushed at a time, 0: as suits; the rows are the same for every number");
  command->add_flag("--stats", options->statistics,
                    "Write mean, variance and covariance of the columns of many audio or feature files");
  command->add_option("--list", options->list_file, "File with the name of a further file on every line");
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
      ->excludes("--picture")
      ->excludes("--stats")
      ->excludes("--list");
  command->callback([options] { options->run(); });
}

}  // namespace kivsr::program
