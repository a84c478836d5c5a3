// kivsr features: audio files to the rows of a recipe, one of them to a picture; or the statistics of many.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/front/column_statistics.h"
#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/row_stage.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/io/output_file.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/moments_file.h"
#include "program/numbers.h"
#include "program/picture/feature_picture.h"
#include "program/picture_options.h"
#include "program/raw_options.h"
#include "program/recipe_options.h"
#include "program/report_text.h"
#include "program/speaker_options.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

struct FeaturesCommand {
  explicit FeaturesCommand(Command command) : recipe(command, "sphinx-en-us"), speakers(command) {}

  void run();
  void take_archive_from_pair();
  void start_from_rows(const std::vector<std::string>& inputs);
  void write_rows(const std::vector<FileTask>& tasks);
  void write_rows_of(const FileTask& task, FeatureChain& chain, FileTurn& turn, ArchiveWriter* archive);
  void write_statistics(const std::vector<FileTask>& tasks) const;
  void gather(const std::string& file, FeatureChain& chain, FileTurn& turn, ColumnStatistics& sums) const;
  FeatureFormat format_of(const std::string& output) const;
  FeatureLayout layout_for(const FileTask& task, const Recipe& rows) const;
  void check_outputs(const std::vector<FileTask>& tasks) const;
  void stream_rows(const std::string& file, FeatureChain& chain, const RowTaker& take) const;
  void explain() const;

  RecipeOptions recipe;
  SpeakerOptions speakers;
  FileOptions files;
  std::string format;  // extension, empty: of the output's name
  PictureOptions picture_options;
  RawFormat raw;
  std::size_t block = 0;  // samples
  bool statistics = false;
  std::string explained;    // preset
  std::string recipe_file;  // to write
  int feature_width = 0;    // of .mfc files
  bool checksum = false;    // of HTK files
};

void require_mfc(const std::vector<std::string>& inputs) {
  const auto is_mfc = [](const std::string& input) {
    const auto name = feature_name(input);
    return name && name->format == FeatureFormat::kMfc;
  };
  if (std::none_of(inputs.begin(), inputs.end(), is_mfc)) throw Fault("--mfc-width is for .mfc files, none is given");
}

void FeaturesCommand::run() {
  if (!explained.empty()) recipe.start_from(explained);
  if (!explained.empty() || !recipe_file.empty()) explain();
  const bool nothing_else = files.output.empty() && files.output_folder.empty() && picture_options.file.empty();
  if (!explained.empty() || (!recipe_file.empty() && nothing_else)) return;
  take_archive_from_pair();
  const bool only_gathers = speakers.gathers() && files.output.empty() && files.output_folder.empty();
  const bool shared = statistics || only_gathers || kaldi_specifier(files.output);
  const auto tasks = file_tasks(files, shared ? Outputs::kShared : Outputs::kOneEachOrNone, [this](const std::string&) {
    return "." + (format.empty() ? "npy" : format == "opensmile" ? "csv" : format);
  });
  say_unused_raw_options(raw, inputs_of(tasks));
  if (statistics && speakers.given()) throw Fault("features: --stats is of the rows as they are, without --cmvn");
  if (feature_width > 0) require_mfc(inputs_of(tasks));
  speakers.read();
  statistics ? write_statistics(tasks) : write_rows(tasks);
}

// The second of two names, if it is an archive, is what is written.
void FeaturesCommand::take_archive_from_pair() {
  if (statistics || files.files.size() != 2 || !files.output.empty() || !files.output_folder.empty()) return;
  if (!files.list.empty() || !kaldi_specifier(files.files[1])) return;
  files.output = files.files[1];
  files.files.pop_back();
}

FeatureFormat FeaturesCommand::format_of(const std::string& output) const {
  if (is_standard_stream(output) && format.empty()) return FeatureFormat::kNpy;
  return format.empty() ? feature_format(output) : *named_feature_format(format);
}

// Rows that were there already keep what their file says of them.
FeatureLayout FeaturesCommand::layout_for(const FileTask& task, const Recipe& rows) const {
  FeatureLayout layout = layout_of(rows);
  if (rows.source == Source::kFeatures) {
    layout = layout_behind(FeatureReader(task.input, rows.source_width).layout(), rows);
  }
  layout.name = task.utterance();
  if (checksum) layout.htk_kind |= kHtkChecksum;
  return layout;
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
  if (!picture_options.file.empty()) throw Fault("features: there is no picture of statistics");
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
  std::printf("%s, %s of %s\n", counted(moments.files, "file").c_str(), counted(moments.frames, "frame").c_str(),
              counted(sums.width(), "value").c_str());
  loop.finish();
}

std::string summary(const std::string& file, const UtteranceInfo& info, const Recipe& recipe) {
  std::string line = file + formatted(": %.2f s, ", info.seconds) + counted(info.frames, "frame") + " of " +
                     counted(recipe.width(), "value");
  if (info.file_channels > 1) line += formatted(", %d channels mixed down", info.file_channels);
  const int rate = recipe.front_end.sample_rate;
  if (info.file_sample_rate != 0 && info.file_sample_rate != rate) {
    line += formatted(", resampled from %d to %d Hz", info.file_sample_rate, rate);
  }
  return line + "\n";
}

// Both files are complete before either gets its name.
void FeaturesCommand::write_rows_of(const FileTask& task, FeatureChain& chain, FileTurn& turn, ArchiveWriter* archive) {
  const std::string& file = task.input;
  std::optional<OutputFile> output;
  std::optional<OutputFile> picture;
  std::optional<FeatureWriter> writer;
  std::optional<FeaturePicture> drawing;
  const auto entry = std::make_shared<FeatureMatrix>();  // of the archive
  entry->width = chain.recipe().width();
  const auto sums = std::make_shared<ColumnSums>();
  chain.change_statics(speakers.change_for(task.utterance(), sums));
  if (!picture_options.file.empty()) drawing.emplace(chain.recipe());
  if (!task.output.empty()) {
    writer.emplace(output.emplace(task.output), format_of(task.output), layout_for(task, chain.recipe()));
  }
  const auto write = [&](const FeatureMatrix& rows) {
    if (writer) writer->append(rows);
    if (archive != nullptr && !writer) append_rows(rows.values, *entry);
    if (drawing) drawing->push_rows(rows);
  };
  SampleTaker listen;
  if (drawing) listen = [&](std::span<const float> samples) { drawing->push(samples); };
  const UtteranceInfo info = stream_utterance(file, chain, raw, write, block, listen);
  if (writer) writer->finish();
  if (drawing) {
    if (info.file_sample_rate > 0) drawing->finish();
    drawing->draw(picture.emplace(picture_options.file), picture_options, std::filesystem::path(file).filename());
  }
  if (output) output->commit();
  if (picture) picture->commit();
  if (archive != nullptr && !writer) {
    turn.post([archive, entry, key = task.utterance()] { archive->append(key, *entry); },
              entry->values.size() * sizeof(float));
  }
  if (speakers.gathers()) turn.post([this, sums, key = task.utterance()] { speakers.gather(key, *sums); });
  turn.heard(info.seconds);
  if (!info.remark.empty()) turn.say(file + ": " + info.remark);
  const bool to_standard_output = task.output == "-" || (archive != nullptr && archive->is_standard_output());
  if (!to_standard_output) turn.print(summary(file, info, chain.recipe()));
}

void FeaturesCommand::check_outputs(const std::vector<FileTask>& tasks) const {
  if (!picture_options.file.empty()) {
    if (tasks.size() > 1) throw Fault("features: --picture shows one audio file");
    check_picture_name(picture_options.file);
  }
  const bool archive = kaldi_specifier(files.output).has_value();
  std::map<std::string, const FileTask*> keys;
  for (const FileTask& task : tasks) {
    const auto [other, is_new] = keys.try_emplace(task.utterance(), &task);
    if ((archive || speakers.gathers()) && !is_new) {
      throw Fault(task.place + task.input + " and " + other->second->input + " are both utterance " + other->first);
    }
    if (!task.output.empty()) {
      format_of(task.output);
    } else if (picture_options.file.empty() && !archive && !speakers.gathers()) {
      throw Fault(task.place + task.input + ": nothing to write, give --output, --output-folder or --picture");
    }
  }
}

// Rows of files are converted unless the command line says whose they are. The first file that can be read says how
// wide they are.
void FeaturesCommand::start_from_rows(const std::vector<std::string>& inputs) {
  const auto is_rows = [](const std::string& name) { return is_feature_file(name); };
  if (recipe.starts_somewhere() || !std::all_of(inputs.begin(), inputs.end(), is_rows)) return;
  for (const std::string& file : inputs) {
    try {
      return recipe.start_from_rows(FeatureReader(file, feature_width > 0 ? feature_width : 13).width());
    } catch (const Fault&) {
      continue;  // the loop over all files says it
    }
  }
}

void FeaturesCommand::write_rows(const std::vector<FileTask>& tasks) {
  check_outputs(tasks);
  const std::vector<std::string> inputs = inputs_of(tasks);
  start_from_rows(inputs);
  const Recipe chosen = recipe.recipe(inputs, raw);
  std::optional<ArchiveWriter> archive;
  if (const auto specifier = kaldi_specifier(files.output)) archive.emplace(*specifier);
  FileLoop loop("features", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    const auto chain = std::make_shared<FeatureChain>(chosen);
    ArchiveWriter* const entries = archive ? &*archive : nullptr;
    return [this, chain, entries](const FileTask& task, FileTurn& turn) { write_rows_of(task, *chain, turn, entries); };
  });
  if (archive) archive->commit();
  speakers.write();
  loop.finish();
}

}  // namespace

void add_features(Command program) {
  const Command command = program.add_subcommand("features", "Compute cepstra or log mel energies of an audio file");
  const auto options = std::make_shared<FeaturesCommand>(command);
  add_file_options(
      command, options->files, Outputs::kOneEachOrNone,
      "WAV, FLAC, ... or .raw (16-bit, one channel); a feature file, whose rows are converted, or those of "
      "the front end of --preset; an archive or list of Kaldi (ark:FILE, scp:FILE, .ark, .scp) with either",
      "File to write: .npy, .htk, .mfc, .csv, .arff or .mat; of statistics .npy, .csv or .json; an archive "
      "of Kaldi for all (ark:FILE, ark,t:FILE, ark,scp:FILE,LIST, .ark)");
  command
      .add_option("--format", options->format,
                  "Of what is written, whatever its name: npy (the default in a folder), htk, mfc, csv, opensmile (its "
                  "CSV), arff or mat")
      .one_of(std::vector<std::string>(kFeatureFormatNames.begin(), kFeatureFormatNames.end()));
  command.add_flag("--htk-checksum", options->checksum, "Write HTK files with a checksum behind the values");
  add_picture_options(command, options->picture_options, "waveform, mel spectrogram and the rows",
                      "the colours of the rows (of bands in their unit, of others in deviations)");
  command.add_option("--as-config", options->recipe_file,
                     "File to write the recipe of this command line to, which --config reads again");
  add_raw_options(command, options->raw);
  add_number(command, "--block", options->block, 0, 1'000'000'000,
             "Samples pushed at a time, 0: as suits; the rows are the same for every number");
  command.add_flag("--stats", options->statistics,
                   "Write mean, variance and covariance of the columns of many audio or feature files");
  add_number(command, "--mfc-width", options->feature_width, 1, 10000, "Values in a row of .mfc files that are read");
  command
      .add_option("--explain", options->explained,
                  "Print the recipe of that preset, with the options given, a comment for each field")
      .excludes("--preset")
      .excludes("--recipe")
      .excludes("--feat-params")
      .excludes("--output")
      .excludes("--output-folder")
      .excludes("--picture")
      .excludes("--stats")
      .excludes("--list");
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
