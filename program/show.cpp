// kivsr show: what is in a file of this trade: rows, archives, models, codebooks, statistics, sound.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <sndfile.h>
#include <nlohmann/json.hpp>

#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/quantise/split_codebook.h"
#include "program/command.h"
#include "program/moments_file.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

using Json = nlohmann::ordered_json;

struct ShowOptions {
  std::vector<std::string> files;
  bool json = false;
  int rows = 3;
  int entries = 10;
  int mfc_width = 13;
  RawFormat raw;
};

// One column, in one pass; the values that are not finite are counted apart.
struct ColumnSummary {
  std::int64_t count = 0;
  std::int64_t not_finite = 0;
  double mean = 0.0;
  double squares = 0.0;  // of the distances from the mean
  double least = std::numeric_limits<double>::infinity();
  double largest = -std::numeric_limits<double>::infinity();

  void add(double value) {
    if (!std::isfinite(value)) {
      ++not_finite;
      return;
    }
    const double distance = value - mean;
    mean += distance / static_cast<double>(++count);
    squares += distance * (value - mean);
    least = std::min(least, value);
    largest = std::max(largest, value);
  }
  Json json(const std::string& name) const {
    Json json{{"name", name}};
    if (count > 0) {
      const double deviation = count > 1 ? std::sqrt(squares / static_cast<double>(count - 1)) : 0.0;
      json.update({{"mean", mean}, {"deviation", deviation}, {"least", least}, {"largest", largest}});
    }
    if (not_finite > 0) json["not_finite"] = not_finite;
    return json;
  }
};

Json summaries(const std::vector<ColumnSummary>& columns, const std::vector<std::string>& names) {
  Json json = Json::array();
  for (std::size_t i = 0; i < columns.size(); ++i) {
    json.push_back(columns[i].json(i < names.size() ? names[i] : "x" + std::to_string(i + 1)));
  }
  return json;
}

void add_rows(const FeatureMatrix& rows, std::vector<ColumnSummary>& columns) {
  columns.resize(static_cast<std::size_t>(rows.width));
  for (std::size_t i = 0; i < rows.values.size(); ++i) columns[i % columns.size()].add(rows.values[i]);
}

Json show_features(const std::string& file, const ShowOptions& options) {
  FeatureReader reader(file, options.mfc_width);
  const FeatureLayout& layout = reader.layout();
  Json json{{"file", file}, {"kind", "features"}};
  json["format"] = kFeatureFormatNames[static_cast<std::size_t>(reader.format())];
  json["encoding"] = reader.encoding();
  if (reader.format() == FeatureFormat::kHtk) {
    json["htk_kind"] = htk_kind_name(layout.htk_kind);
    if (const auto fits = htk_checksum_fits(file)) json["checksum"] = *fits ? "fits" : "does not fit";
  }
  if (reader.has_frame_seconds()) json["frame_seconds"] = layout.frame_seconds;
  std::vector<ColumnSummary> columns;
  Json first = Json::array();
  std::int64_t frames = 0;
  FeatureMatrix rows;
  for (; reader.read(rows); rows.values.clear()) {
    for (int i = 0; i < rows.height() && static_cast<int>(first.size()) < options.rows; ++i) {
      first.push_back(std::vector<float>(rows.row(i).begin(), rows.row(i).end()));
    }
    frames += rows.height();
    add_rows(rows, columns);
  }
  json["frames"] = frames;
  json["width"] = layout.width;
  json["rows"] = first;
  json["columns"] = summaries(columns, layout.columns);
  return json;
}

Json show_archive(const std::string& file, const KaldiSpecifier& specifier, const ShowOptions& options) {
  const auto entries = archive_entries(specifier);
  Json json{{"file", file}, {"kind", specifier.archive.empty() ? "list of entries" : "archive"}};
  json["entries"] = entries.size();
  std::int64_t sounds = 0;
  std::int64_t frames = 0;
  std::set<std::string> encodings;
  std::set<int> widths;
  std::vector<ColumnSummary> columns;
  Json first = Json::array();
  for (const auto& [key, name] : entries) {
    Json entry{{"key", key}, {"place", name}};
    if (!is_feature_file(name)) {
      ++sounds;
    } else {
      std::int64_t height = 0;
      try {
        FeatureReader reader(name, options.mfc_width);
        widths.insert(reader.width());
        encodings.insert(reader.encoding());
        FeatureMatrix rows;
        for (; reader.read(rows); rows.values.clear()) {
          height += rows.height();
          if (widths.size() == 1) add_rows(rows, columns);
        }
        entry["width"] = reader.width();
      } catch (const Fault& fault) {
        entry["fault"] = fault.what();
      }
      entry["frames"] = height;
      frames += height;
    }
    if (static_cast<int>(first.size()) < options.entries) first.push_back(entry);
  }
  if (sounds > 0) json["sounds"] = sounds;
  if (!widths.empty()) json.update({{"encodings", encodings}, {"widths", widths}, {"frames", frames}});
  json["first"] = first;
  if (widths.size() == 1) json["columns"] = summaries(columns, {});
  return json;
}

Json show_sound(const std::string& file, const ShowOptions& options) {
  AudioReader reader(file, options.raw);
  std::vector<ColumnSummary> channels;
  for (auto block = reader.read(); !block.empty(); block = reader.read()) {
    channels.resize(block.size());
    for (std::size_t i = 0; i < block.size(); ++i) {
      for (const float sample : block[i]) channels[i].add(sample);
    }
  }
  SF_FORMAT_INFO info{};
  info.format = reader.sample_format();
  const bool named = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name != nullptr;
  Json json{{"file", file}, {"kind", "sound"}, {"sample_rate", reader.sample_rate()}, {"channels", reader.channels()}};
  if (reader.is_headerless()) json["header"] = "none";
  if (named) json["encoding"] = info.name;
  json["samples"] = reader.samples();
  json["seconds"] = static_cast<double>(reader.samples()) / reader.sample_rate();
  std::vector<std::string> names;
  for (std::size_t i = 0; i < channels.size(); ++i) names.push_back("channel" + std::to_string(i + 1));
  json["columns"] = summaries(channels, names);
  return json;
}

// A header of lines "name value" up to the line that ends it, and how many bytes follow.
Json show_header(const std::string& file, const char* kind, const char* last) {
  BinaryFile content(file);
  Json json{{"file", file}, {"kind", kind}, {"type", content.read_line("the first line")}};
  Json header = Json::array();
  for (std::string line; content.position() < content.size();) {
    line = content.read_line("the header");
    if (line == last) break;
    header.push_back(line);
  }
  json["header"] = header;
  json["bytes_behind"] = content.size() - content.position();
  return json;
}

Json show_codebook(const std::string& file) {
  const SplitCodebook book = SplitCodebook::read(file);
  Json json{{"file", file}, {"kind", "codebook"}, {"width", book.width()}, {"bits_a_row", book.row_bits()}};
  json["bits_a_second"] = book.bits_per_second();
  Json groups = Json::array();
  for (const GroupCodebook& group : book.groups()) {
    groups.push_back({{"columns", group.group.columns}, {"codewords", group.count()}, {"bits", group.group.bits}});
  }
  json["groups"] = groups;
  json["recipe"] = book.recipe().text();
  return json;
}

Json show_model(const std::string& folder) {
  const AcousticModel model = read_acoustic_model(folder);
  Json json{{"file", folder}, {"kind", "acoustic model"}, {"dimension", model.dimension}};
  json["codebooks"] = model.codebooks;
  json["gaussians_of_each"] = model.densities;
  json["streams"] = model.streams.size();
  json["states"] = model.codebook_of_state.size();
  json["recipe"] = model.recipe.text();
  return json;
}

Json show_statistics(const std::string& file) {
  const ColumnMoments moments = read_moments(file);
  Json json{{"file", file}, {"kind", "statistics"}, {"files", moments.files}, {"frames", moments.frames}};
  json["columns"] = Json::array();
  for (std::size_t i = 0; i < moments.mean.size(); ++i) {
    const double deviation = std::sqrt(moments.variance(i));
    json["columns"].push_back({{"name", moments.columns[i]}, {"mean", moments.mean[i]}, {"deviation", deviation}});
  }
  return json;
}

Json show(const std::string& file, const ShowOptions& options) {
  if (const auto specifier = kaldi_specifier(file)) return show_archive(file, *specifier, options);
  if (is_feature_file(file)) return show_features(file, options);
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) return show_model(file);
  if (!std::filesystem::is_regular_file(file, error)) return show_sound(file, options);
  BinaryFile content(file);
  const auto ahead = content.peek(12);
  const std::string begin(ahead.begin(), ahead.end());
  if (begin.starts_with("KVQB")) return show_codebook(file);
  if (begin.starts_with("KVQS")) throw Fault(file + ": bits of kivsr quantise, which its codebook decodes");
  if (begin.starts_with("kivsr-recipe")) return show_header(file, "recipe", "");
  if (begin.starts_with("kivsr-word-m")) return show_header(file, "word model", "end");
  if (begin.starts_with("kivsr-statis")) return show_header(file, "training statistics", "end");
  if (begin.starts_with("s3\n")) return show_header(file, "parameters of an acoustic model", "endhdr");
  if (is_moments_file(file)) return show_statistics(file);
  return show_sound(file, options);
}

std::string number_words(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.is_number_float() ? formatted("%.6g", value.get<double>()) : value.dump();
}

std::string joined(const Json& values) {
  std::string text;
  for (const Json& value : values) text += (text.empty() ? "" : " ") + number_words(value);
  return text;
}

std::string table(const Json& columns) {
  std::string text = formatted("%-12s %13s %13s %13s %13s\n", "column", "mean", "deviation", "least", "largest");
  for (const Json& column : columns) {
    std::string line = formatted("%-12s", column["name"].get<std::string>().substr(0, 60).c_str());
    for (const char* name : {"mean", "deviation", "least", "largest"}) {
      line += column.contains(name) ? formatted(" %13.6g", column[name].get<double>()) : formatted(" %13s", "-");
    }
    if (column.contains("not_finite")) line += "  " + column["not_finite"].dump() + " not finite";
    text += line + "\n";
  }
  return text;
}

std::string words_of(const Json& value) {
  if (!value.is_object()) return value.is_array() ? joined(value) : number_words(value);
  std::string words;
  for (const auto& [name, part] : value.items()) words += (words.empty() ? "" : "  ") + name + " " + words_of(part);
  return words;
}

// Lists of lists and of objects, and the lines of a header, have a line each, below their name.
std::string text_of(const Json& json) {
  std::string text = json["file"].get<std::string>() + ": " + json["kind"].get<std::string>() + "\n";
  for (const auto& [name, value] : json.items()) {
    if (name == "file" || name == "kind" || value.empty()) continue;
    if (name == "columns") {
      text += table(value);
    } else if (name == "recipe") {
      text += value.get<std::string>();
    } else if (value.is_array() && (value[0].is_structured() || name == "header")) {
      text += name + "\n";
      for (const Json& line : value) text += "  " + words_of(line) + "\n";
    } else {
      text += formatted("%-14s ", name.c_str()) + words_of(value) + "\n";
    }
  }
  return text;
}

void run(const ShowOptions& options) {
  if (options.json) {
    Json all = Json::array();
    for (const std::string& file : options.files) all.push_back(show(file, options));
    // Names of files need not be UTF-8.
    std::printf("%s\n", (all.size() == 1 ? all[0] : all).dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return;
  }
  for (const std::string& file : options.files) std::fputs(text_of(show(file, options)).c_str(), stdout);
}

}  // namespace

void add_show(Command program) {
  const Command command = program.add_subcommand("show", "Print what is in a file of features, a model or a sound");
  const auto options = std::make_shared<ShowOptions>();
  command
      .add_option("file", options->files,
                  "Features (.npy, .htk, .mfc, .csv, .arff, .mat), an archive or its list (.ark, .scp, ark:FILE, "
                  "scp:FILE, FILE:BYTE), statistics, a codebook, a model's file or folder, a recipe, sound")
      .required();
  command.add_flag("--json", options->json, "As JSON");
  add_number(command, "--rows", options->rows, 0, 1'000'000, "First rows of features to print");
  add_number(command, "--entries", options->entries, 0, 1'000'000, "First entries of an archive to print");
  add_number(command, "--mfc-width", options->mfc_width, 1, 10000, "Values in a row of .mfc files");
  add_raw_options(command, options->raw);
  command.callback([options] { run(*options); });
}

}  // namespace kivsr::program
