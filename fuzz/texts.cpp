// Texts: grammars, references, recipes, lists of files and of trials, splits, configuration files and the command line.
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "fuzz/target.h"
#include "kivsr/speech/decode/grammar.h"
#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/decode/word_network.h"
#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/word_classes.h"
#include "kivsr/speech/quantise/split.h"
#include "kivsr/speech/train/training_list.h"
#include "program/configuration.h"
#include "program/subcommands.h"
#include "program/trials.h"

namespace kivsr::fuzz {

namespace {

using namespace speech;

std::string text_of(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

void run_grammar(Bytes bytes) { grammar_network(parse_grammar(text_of(bytes), "grammar")); }
const Registration grammar("grammar", run_grammar);

// The parts of a rule without the lines in front, which mutations break first.
void run_rule(Bytes bytes) {
  grammar_network(parse_grammar("#JSGF V1.0;\ngrammar g;\npublic <r> = " + text_of(bytes) + ";\n<s> = x;", "grammar"));
}
const Registration rule("rule", run_rule);

void run_references(Bytes bytes) { References::read(file_of(bytes, "references")); }
const Registration references("references", run_references);

void run_recipe(Bytes bytes) {
  const Recipe recipe = Recipe::parse(text_of(bytes), "recipe");
  FeatureChain chain(recipe);
  if (recipe.source == Source::kFeatures) {
    FeatureMatrix rows{recipe.file_width(),
                       std::vector<float>(20 * static_cast<std::size_t>(recipe.file_width()), 1.0F)};
    chain.run_rows(rows);
  } else {
    std::vector<float> samples(2000);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i * 7919 % 2001) - 1000.0F;
    chain.run(samples);
  }
}
const Registration recipe("recipe", run_recipe);

void run_training_list(Bytes bytes) {
  TrainingListFiles files;
  files.list = file_of(bytes, "list");
  list_checksum(read_training_list(files, true));
}
const Registration training_list("training_list", run_training_list);

void run_trials(Bytes bytes) { program::read_trials(file_of(bytes, "trials").string(), ""); }
const Registration trials("trials", run_trials);

void run_word_classes(Bytes bytes) { WordClasses::read(file_of(bytes, "classes")); }
const Registration word_classes("word_classes", run_word_classes);

void run_split(Bytes bytes) {
  for (const SplitGroup& group : parse_split(text_of(bytes), 14)) split_text(group);
}
const Registration split("split", run_split);

// All commands, each of which stops behind what is looked at, in front of what would be done.
std::unique_ptr<CLI::App> describe_commands() {
  auto app = std::make_unique<CLI::App>("fuzz", "kivsr");
  app->require_subcommand(1);
  using namespace program;
  for (auto add : {add_adapt, add_align, add_enhance, add_features, add_info, add_mix, add_phones, add_pitch,
                   add_quantise, add_recognise, add_score, add_show, add_spot, add_train, add_vad}) {
    add(*app);
  }
  const auto stop = [](CLI::App* command) { command->parse_complete_callback([] { throw CLI::Success(); }); };
  for (CLI::App* command : app->get_subcommands([](CLI::App*) { return true; })) {
    const auto inner = command->get_subcommands([](CLI::App*) { return true; });
    if (inner.empty()) stop(command);
    for (CLI::App* const part : inner) stop(part);
  }
  return app;
}

// They are described once, which takes as long as a hundred lines.
CLI::App& described_commands() {
  static const auto commands = describe_commands();
  return *commands;
}

void run_configuration(Bytes bytes) {
  const std::string file = file_of(bytes, "config").string();
  for (const char* const command : {"features", "recognise", "train"}) {
    program::with_configuration(described_commands(), {"--config", file, command, "--jobs", "2", "a.wav"});
  }
}
const Registration configuration("configuration", run_configuration);

// Arguments between zero bytes.
void run_command_line(Bytes bytes) {
  std::vector<std::string> arguments(1);
  for (const std::uint8_t byte : bytes.first(std::min<std::size_t>(bytes.size(), 4096))) {
    if (byte == '\0') {
      arguments.emplace_back();
    } else {
      arguments.back().push_back(static_cast<char>(byte));
    }
  }
  std::reverse(arguments.begin(), arguments.end());
  try {
    described_commands().parse(arguments);
  } catch (const CLI::ParseError&) {
  }
}
const Registration command_line("command_line", run_command_line);

}  // namespace

}  // namespace kivsr::fuzz
