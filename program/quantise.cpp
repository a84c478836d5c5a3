// kivsr quantise: codebooks for features, features as packed bits, and back.
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/quantise/distortion.h"
#include "kivsr/speech/quantise/frame_pairs.h"
#include "kivsr/speech/quantise/quantised_stream.h"
#include "kivsr/speech/quantise/split_codebook.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/progress.h"
#include "program/raw_options.h"
#include "program/recipe_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

// Audio or feature files, and the recipe that the audio goes through.
struct Inputs {
  explicit Inputs(Command command) : recipe(command, "sphinx-en-us") {
    command.add_option("input", files, "Audio (WAV, FLAC, ..., .raw) or features (.npy, .htk, .mfc, .csv)").required();
    add_raw_options(command, raw);
  }

  RecipeOptions recipe;
  std::vector<std::string> files;
  RawFormat raw;
};

void print_distortion(const SplitCodebook& book, const Distortion& distortion) {
  std::printf("%-6s  %-10s  %10s  %6s\n", "column", "group", "rms error", "dB");
  for (int column = 0; column < book.width(); ++column) {
    for (const GroupCodebook& group : book.groups()) {
      for (const int member : group.group.columns) {
        if (member == column) {
          std::printf("%-6d  %-10s  %10.4g  %6.2f\n", column, split_text(group.group).c_str(),
                      distortion.root_mean_square_error(column), distortion.decibel(column));
        }
      }
    }
  }
  std::printf("total: %d bits a frame, %.0f bit/s, %.2f dB over %lld frames\n", book.row_bits(), book.bits_per_second(),
              distortion.total_decibel(), static_cast<long long>(distortion.frames()));
}

constexpr const char* kBitstreamHelp =
    "Frame pairs of 92 bits with a check, in the layout of ETSI ES 202 050 and RFC 4060, with a codebook of our own";

struct TrainCommand {
  explicit TrainCommand(Command command) : inputs(command) {}
  void run();

  Inputs inputs;
  std::string output_file;
  std::string split;
  std::string weights;
  std::string rule = "widest";
  bool bitstream = false;

 private:
  Recipe recipe();
  std::vector<float> distance_weights(const FeatureMatrix& rows) const;
};

std::vector<float> TrainCommand::distance_weights(const FeatureMatrix& rows) const {
  const std::string wanted = weights.empty() ? (bitstream ? "variance" : "none") : weights;
  if (wanted == "none") return std::vector<float>(static_cast<std::size_t>(rows.width), 1.0F);
  if (wanted == "variance") return inverse_variances(rows);
  std::vector<float> values;
  std::string_view numbers = wanted;
  for (std::string_view number; take_part(numbers, ',', number);) {
    float value = -1.0F;
    if (!read_number(trimmed(number), value) || value < 0.0F) {
      throw Fault("--weights: \"" + std::string(number) +
                  "\" is not a number from 0 on (none, variance or one a column)");
    }
    values.push_back(value);
  }
  if (values.size() != static_cast<std::size_t>(rows.width)) {
    throw Fault("--weights: " + std::to_string(values.size()) + " numbers for " + std::to_string(rows.width) +
                " columns");
  }
  return values;
}

// Of frame pairs the rows without their decisions about speech, which take a bit each.
Recipe TrainCommand::recipe() {
  if (bitstream) inputs.recipe.start_from("etsi-afe");
  Recipe recipe = inputs.recipe.recipe(inputs.files, inputs.raw);
  if (!bitstream) return recipe;
  recipe.speech_column = false;
  if (recipe.front_end.kind != FrontEndKind::kEtsiAfe || recipe.width() != AdvancedFrontEnd::kColumns ||
      recipe.drop_frames || !split.empty()) {
    throw Fault("quantise: --bitstream is for the rows of etsi-afe as they are, with its own split");
  }
  return recipe;
}

void TrainCommand::run() {
  say_unused_raw_options(inputs.raw, inputs.files);
  FeatureChain chain(recipe());
  const int width = chain.recipe().width();
  const Split chosen = split.empty() ? default_split(width) : parse_split(split, width);
  const Split groups = bitstream ? pair_split() : chosen;
  FeatureMatrix rows;
  rows.width = width;
  const std::vector<FileTask> tasks = tasks_of(inputs.files);
  FileLoop loop("features", tasks);
  loop.run_in_turn([&](const FileTask& task, FileTurn&) {
    const FeatureMatrix more = load_utterance(task.input, chain, inputs.raw).features;
    rows.values.insert(rows.values.end(), more.values.begin(), more.values.end());
  });
  const std::vector<float> distance = distance_weights(rows);
  std::vector<GroupCodebook> trained;
  {
    Progress progress("codebooks", static_cast<int>(groups.size()));
    for (const SplitGroup& group : groups) {
      progress.step("columns " + split_text(group));
      trained.push_back(train_group(rows, group, distance, *find_codebook_rule(rule)));
    }
  }
  const SplitCodebook book(chain.recipe(), std::move(trained));
  OutputFile output(output_file);
  book.write(output);
  Distortion distortion(width);
  distortion.add(rows, book.decode(book.encode(rows), rows.height(), output_file));
  output.commit();
  for (std::size_t i = 0; i < groups.size(); ++i) {
    if (book.groups()[i].count() < 1 << groups[i].bits) {
      std::fprintf(stderr, "kivsr: columns %s: the frames give no more than %d codewords\n",
                   split_text(groups[i]).c_str(), book.groups()[i].count());
    }
  }
  print_distortion(book, distortion);
  loop.finish();
}

struct EncodeCommand {
  explicit EncodeCommand(Command command) : recipe(command, "sphinx-en-us") {}
  void run() const;
  void encode_pairs(const FileTask& task, const SplitCodebook& book, FeatureChain& chain, FileTurn& turn) const;
  void encode(const FileTask& task, const SplitCodebook& book, FeatureChain& chain, FileTurn& turn,
              Distortion& all) const;

  RecipeOptions recipe;
  FileOptions files;
  RawFormat raw;
  std::string book_file;
  bool bitstream = false;
};

void EncodeCommand::encode_pairs(const FileTask& task, const SplitCodebook& book, FeatureChain& chain,
                                 FileTurn& turn) const {
  const Utterance utterance = load_utterance(task.input, chain, raw);
  const auto frames = code_frames(utterance.features, book);
  const std::string octets = write_pairs(frames);
  OutputFile output(task.output);
  output.write(octets);
  output.commit();
  turn.heard(utterance.info.seconds);
  turn.print_beside(task.output, task.output + ": " + counted(static_cast<std::int64_t>(frames.size()), "frame") +
                                     ", " + counted(static_cast<std::int64_t>(frames.size() + 1) / 2, "frame pair") +
                                     " and the end, " + counted(static_cast<std::int64_t>(octets.size()), "byte") +
                                     "\n");
}

void EncodeCommand::encode(const FileTask& task, const SplitCodebook& book, FeatureChain& chain, FileTurn& turn,
                           Distortion& all) const {
  Distortion of_file(book.width());
  RowEncoder encoder(book,
                     [&](const FeatureMatrix& rows, const FeatureMatrix& decoded) { of_file.add(rows, decoded); });
  const UtteranceInfo info =
      stream_utterance(task.input, chain, raw, [&](const FeatureMatrix& rows) { encoder.push(rows); });
  const QuantisedStream stream = encoder.finish();
  OutputFile output(task.output);
  const std::int64_t bytes = write_quantised(output, stream, book);
  output.commit();
  turn.heard(info.seconds);
  turn.post([&all, of_file] { all.add(of_file); });
  turn.print_beside(task.output,
                    task.output + ": " + counted(stream.frames, "frame") +
                        formatted(", %lld bytes, %.0f bit/s with the header\n", static_cast<long long>(bytes),
                                  8.0 * static_cast<double>(bytes) / (stream.frames * book.recipe().frame_seconds())));
}

void EncodeCommand::run() const {
  const auto tasks =
      file_tasks(files, Outputs::kOneEach, [this](const std::string&) { return bitstream ? ".dsr" : ".kvs"; });
  say_unused_raw_options(raw, inputs_of(tasks));
  const SplitCodebook book = SplitCodebook::read(book_file);
  if (recipe.given()) require_same(book.recipe(), recipe.recipe(), book_file);
  if (bitstream) require_pair_book(book, book_file);
  Recipe chosen = book.recipe();
  chosen.speech_column = chosen.speech_column || bitstream;
  Distortion distortion(book.width());
  FileLoop loop("encode", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    const auto chain = std::make_shared<FeatureChain>(chosen);
    return [&, chain](const FileTask& task, FileTurn& turn) {
      if (bitstream) return encode_pairs(task, book, *chain, turn);
      encode(task, book, *chain, turn, distortion);
    };
  });
  if (!bitstream && tasks.front().output != "-") print_distortion(book, distortion);
  loop.finish();
}

struct DecodeCommand {
  void run() const;
  int write_rows(const std::string& file, const SplitCodebook& book, FeatureWriter& writer) const;

  FileOptions files;
  std::string book_file;
  std::string format = "npy";
  bool bitstream = false;
};

// Returns how many there are.
int DecodeCommand::write_rows(const std::string& file, const SplitCodebook& book, FeatureWriter& writer) const {
  if (!bitstream) {
    const QuantisedStream stream = read_quantised(file, book);
    decode_rows(stream, book, file, [&](const FeatureMatrix& rows) { writer.append(rows); });
    return stream.frames;
  }
  const ReceivedFrames received = read_pairs(read_whole_file(file), file);
  if (received.damaged > 0) {
    std::fprintf(stderr, "kivsr: %s: %d of %s damaged and concealed\n", file.c_str(), received.damaged,
                 counted(received.pairs, "frame pair").c_str());
  }
  writer.append(decode_frames(received.frames, book, file));
  return static_cast<int>(received.frames.size());
}

void DecodeCommand::run() const {
  const auto tasks = file_tasks(files, Outputs::kOneEach, [this](const std::string&) { return "." + format; });
  const auto format_of = [this](const FileTask& task) {
    return feature_format(is_standard_stream(task.output) ? "rows." + format : task.output);
  };
  for (const FileTask& task : tasks) format_of(task);
  const SplitCodebook book = SplitCodebook::read(book_file);
  if (bitstream) require_pair_book(book, book_file);
  Recipe recipe = book.recipe();
  if (bitstream) recipe.speech_column = true;
  FileLoop loop("decode", tasks, files.jobs, files.stop_at_fault);
  loop.run_in_turn([&](const FileTask& task, FileTurn& turn) {
    OutputFile output(task.output);
    FeatureWriter writer(output, format_of(task), layout_of(recipe));
    const int frames = write_rows(task.input, book, writer);
    writer.finish();
    output.commit();
    turn.heard(frames * recipe.frame_seconds());
    turn.print_beside(task.output,
                      task.output + ": " + counted(frames, "frame") + " of " + counted(recipe.width(), "value") + "\n");
  });
  loop.finish();
}

void add_train_mode(Command quantise) {
  const Command command = quantise.add_subcommand("train", "Train codebooks from audio or feature files");
  const auto options = std::make_shared<TrainCommand>(command);
  command.add_option("-o,--output", options->output_file, "Codebook file to write").required();
  command.add_option("--split", options->split,
                     "Columns that share a codebook, with the bits of its index: \"0:6,1-2:7,3+5:7,...\" (default: "
                     "pairs of 7 bits, of an odd number the first alone with 6)");
  command.add_option("--weights", options->weights,
                     "Weights of the columns in the distance: none (default), variance (its inverse; default with "
                     "--bitstream), or a number a column");
  command
      .add_option("--rule", options->rule,
                  "The cluster that training splits next, widest or largest; or one k-means of all codewords")
      .one_of({"widest", "largest", "k-means"});
  command.add_flag("--bitstream", options->bitstream, kBitstreamHelp);
  command.callback([options] { options->run(); });
}

void add_encode(Command quantise) {
  const Command command = quantise.add_subcommand("encode", "Turn audio or feature files into packed bits");
  const auto options = std::make_shared<EncodeCommand>(command);
  command.add_option("--book", options->book_file, "Codebook file").required();
  add_file_options(command, options->files, Outputs::kOneEach,
                   "Audio (WAV, FLAC, ..., .raw) or features (.npy, .htk, .mfc, .csv)", "Stream to write");
  add_raw_options(command, options->raw);
  command.add_flag("--bitstream", options->bitstream, kBitstreamHelp);
  command.callback([options] { options->run(); });
}

void add_decode(Command quantise) {
  const Command command = quantise.add_subcommand("decode", "Turn packed bits back into feature files");
  const auto options = std::make_shared<DecodeCommand>();
  add_file_options(command, options->files, Outputs::kOneEach, "Streams that encode wrote",
                   "Feature file to write: .npy, .htk, .mfc or .csv");
  command.add_option("--book", options->book_file, "Codebook file of the encoding").required();
  command.add_option("--format", options->format, "Extension of the files in the folder: npy, htk, mfc or csv")
      .one_of({"npy", "htk", "mfc", "csv"});
  command.add_flag("--bitstream", options->bitstream, kBitstreamHelp);
  command.callback([options] { options->run(); });
}

}  // namespace

void add_quantise(Command program) {
  const Command command =
      program.add_subcommand("quantise", "Code features with a few bits a frame by split vector quantisation");
  command.require_subcommand();
  add_train_mode(command);
  add_encode(command);
  add_decode(command);
}

}  // namespace kivsr::program
