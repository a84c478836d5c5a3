// kivsr recognise: audio or feature files to words, by a grammar or a list of words.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/decode/ngram_language.h"
#include "kivsr/speech/decode/phone_alignment.h"
#include "kivsr/speech/decode/phone_loop.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/front/running_normaliser.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "kivsr/speech/io/text_parts.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/packed_ngram_file.h"
#include "kivsr/speech/models/word_acoustic_model.h"
#include "kivsr/speech/models/word_model_file.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/numbers.h"
#include "program/raw_options.h"
#include "program/recognise_command.h"
#include "program/recognise_report.h"
#include "program/recogniser_options.h"
#include "program/report_text.h"
#include "program/result_options.h"
#include "program/subcommands.h"
#include "program/transcript_format.h"

namespace kivsr::program {

namespace {

// What stands for a file of words and not for the words: @ and its name, the name of a file or a pipe that is there,
// or one that looks like no word.
std::optional<std::string> word_file(const std::string& text) {
  if (text.starts_with('@')) return text.substr(1);
  std::error_code error;  // a long list is no name at all
  const auto type = std::filesystem::status(text, error).type();
  const bool is_file = type == std::filesystem::file_type::regular || type == std::filesystem::file_type::fifo ||
                       type == std::filesystem::file_type::character;
  const bool one = text.find_first_of(", ") == std::string::npos;
  const bool looks_like_file = text.find('/') != std::string::npos || text.ends_with(".txt") ||
                               text.ends_with(".lst") || text.ends_with(".list") || text.ends_with(".words");
  return is_file || (one && looks_like_file) ? std::optional(text) : std::nullopt;
}

std::vector<std::string> word_list(const std::string& text) {
  std::string list = text;
  if (const auto file = word_file(text)) list = read_text_file(*file);
  std::replace(list.begin(), list.end(), ',', ' ');
  return words_of(list);
}

}  // namespace

WordNetwork RecogniseCommand::word_network() const {
  return grammar_file.empty() ? word_loop(word_list(words), "--words " + words)
                              : grammar_network(read_grammar(grammar_file), rule);
}

Dictionary RecogniseCommand::dictionary(const AcousticModel& model, const WordNetwork& network) const {
  const auto vocabulary = network.vocabulary();
  return Dictionary::read(acoustic.dictionary_path(model), &vocabulary);
}

// Forms that consist of words with their times.
static bool with_times(ReportFormat format) { return format != ReportFormat::kText && format != ReportFormat::kTsv; }

bool RecogniseCommand::tells_times() const { return alignment || with_times(format) || results.with_confidence(); }

static void leave_out_unknown(WordNetwork& words, const Dictionary& pronunciations, const AcousticModel& model) {
  for (const std::string& word : remove_unpronounceable(words, pronunciations, model)) {
    std::fprintf(stderr, "kivsr: the word \"%s\" cannot be pronounced and is left out\n", word.c_str());
  }
}

SearchNetwork RecogniseCommand::network_of(WordNetwork words_allowed, const Dictionary& pronunciations,
                                           const AcousticModel& model) const {
  if (skip_unknown) leave_out_unknown(words_allowed, pronunciations, model);
  return build_search_network(words_allowed, pronunciations, model, weights.of_words());
}

NgramMixture RecogniseCommand::ngram_model() const {
  NgramModel model = read_ngram_model(ngram_file);
  if (mixed_ngram_file.empty()) return model;
  return {std::move(model), read_ngram_model(mixed_ngram_file), ngram_share};
}

SearchNetwork RecogniseCommand::ngram_network_of(const AcousticModel& model) const {
  const WordClasses classes = class_file.empty() ? WordClasses() : WordClasses::read(class_file);
  const std::filesystem::path file = acoustic.dictionary_path(model);
  std::vector<std::string> unknown;
  SearchNetwork network;
  if (grammar_file.empty()) {
    network = build_ngram_network(ngram_model(), classes, file, model, weights.of_words(), unknown);
  } else {
    WordNetwork words_allowed = word_network();
    if (!words_allowed.has_slots()) {
      throw Fault("recognise: --lm beside --grammar is for <NGRAMS>, which " + grammar_file + " does not have");
    }
    const Dictionary pronunciations = dictionary(model, words_allowed);
    if (skip_unknown) leave_out_unknown(words_allowed, pronunciations, model);
    network = build_mixed_network(words_allowed, pronunciations, ngram_model(), classes, file, model,
                                  weights.of_words(), unknown);
  }
  if (!unknown.empty()) {
    std::fprintf(stderr, "kivsr: %s of the language model %s cannot be pronounced: left out \"%s\"%s\n",
                 counted(static_cast<std::int64_t>(unknown.size()), "word").c_str(), ngram_file.c_str(),
                 unknown.front().c_str(), unknown.size() > 1 ? ", ..." : "");
  }
  return network;
}

// A model of whole words knows how they are pronounced, and without anything else any sequence of them may be said.
RecogniseCommand::Task RecogniseCommand::word_model_task() const {
  WordRecogniser word_model = word_recogniser(read_word_model(acoustic.model_name), acoustic.model_name);
  WordNetwork words_allowed =
      grammar_file.empty() && words.empty() ? word_loop(word_model.words, acoustic.model_name) : word_network();
  const Dictionary pronunciations = acoustic.dictionary_file.empty() ? std::move(word_model.dictionary)
                                                                     : dictionary(word_model.acoustic, words_allowed);
  Task result;
  result.model = std::make_unique<AcousticModel>(std::move(word_model.acoustic));
  result.network = network_of(std::move(words_allowed), pronunciations, *result.model);
  return result;
}

RecogniseCommand::Task RecogniseCommand::phone_task() const {
  Task result;
  result.model = std::make_unique<AcousticModel>(acoustic.read_model());
  result.network = ngram_file.empty()
                       ? build_phone_loop(*result.model, weights.of_words())
                       : build_phone_ngram_network(read_ngram_model(ngram_file), *result.model, weights.of_words());
  return result;
}

namespace {

// What was needed to read models and dictionaries alone lies between what stays.
void give_back_memory() {
#ifdef __GLIBC__
  malloc_trim(0);
#endif
}

}  // namespace

// The model, and what may be said.
RecogniseCommand::Task RecogniseCommand::task() const {
  if (phone_loop) return phone_task();
  const bool mixed = !grammar_file.empty() && !ngram_file.empty();
  const int given = (grammar_file.empty() || mixed ? 0 : 1) + (words.empty() ? 0 : 1) + (ngram_file.empty() ? 0 : 1);
  const bool whole_words = is_word_model_file(acoustic.model_name);
  if (ngram_file.empty() && !mixed_ngram_file.empty()) throw Fault("recognise: --mix-lm is for --lm");
  if (ngram_file.empty() && !class_file.empty()) throw Fault("recognise: --lm-classes is for --lm");
  if (given > 1 || (given == 0 && !whole_words))
    throw Fault("recognise: give one of --grammar, --words and --lm, or a grammar with <NGRAMS> and --lm");
  if (whole_words && ngram_file.empty()) return word_model_task();
  if (whole_words) throw Fault("recognise: --lm is for models of phones, " + acoustic.model_name + " is one of words");
  Task result;
  if (!ngram_file.empty()) {
    result.model = std::make_unique<AcousticModel>(acoustic.read_model());
    result.network = ngram_network_of(*result.model);
    return result;
  }
  WordNetwork words_allowed = word_network();
  result.model = std::make_unique<AcousticModel>(acoustic.read_model());
  const Dictionary pronunciations = dictionary(*result.model, words_allowed);
  result.network = network_of(std::move(words_allowed), pronunciations, *result.model);
  return result;
}

// What one thread needs to recognise one file after the other.
struct RecogniseCommand::Worker {
  explicit Worker(const RecogniseCommand& options, const Task& given)
      : command(options),
        network(given.network),
        model(*given.model),
        scorer(make_mixture_scorer(*given.model, options.acoustic.scoring)),
        normalisation(options.acoustic.recipe_of(*given.model), model.static_mean, options.streaming.mean_frames),
        chain(options.mean == MeanOver::kRunning ? normalisation.rest() : options.acoustic.recipe_of(*given.model)),
        search(given.network, *given.model, *scorer, options.beams.of(*given.model)) {
    if (options.results.with_lattice()) search.record_lattice(options.results.beam);
    if (options.mean != MeanOver::kRunning) return;
    chain.change_statics([this](FeatureMatrix& statics) { normalisation.apply(statics); });
  }
  RecognisedUtterance recognise(const std::string& file) { return command.recognise(file, *this); }

  const RecogniseCommand& command;
  const SearchNetwork& network;
  const AcousticModel& model;
  std::unique_ptr<Scorer> scorer;
  RunningNormalisation normalisation;
  FeatureChain chain;
  ViterbiSearch search;
};

RecognisedUtterance RecogniseCommand::recognise(const std::string& file, Worker& worker) const {
  const auto start = std::chrono::steady_clock::now();
  FeatureMatrix all_rows;  // for the phones
  const auto follow = [&](const FeatureMatrix& rows) {
    for (int frame = 0; frame < rows.height(); ++frame) worker.search.push(rows.row(frame));
    if (!phones) return;
    all_rows.width = rows.width;
    all_rows.values.insert(all_rows.values.end(), rows.values.begin(), rows.values.end());
  };
  UtteranceInfo info;
  worker.normalisation.restart();
  try {
    info = stream_utterance(file, worker.chain, raw, follow);
  } catch (...) {
    worker.search.finish();  // what it holds of this file is not for the next
    throw;
  }
  RecognisedUtterance utterance = utterance_of(
      worker.search.finish(),
      {file, "", worker.network, worker.model, *worker.scorer, all_rows, worker.chain.recipe().frame_seconds()});
  utterance.audio_seconds = info.seconds;
  utterance.elapsed_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return utterance;
}

RecognisedUtterance RecogniseCommand::utterance_of(Hypothesis hypothesis, const Origin& origin) const {
  const auto certainties = results.certainties(hypothesis, origin.network, phone_loop);
  RecognisedUtterance utterance;
  utterance.file = origin.file;
  utterance.segment = origin.segment;
  utterance.words = spoken_words(hypothesis.words, origin.network);
  utterance.score = hypothesis.score;
  utterance.complete = hypothesis.complete;
  if (tells_times() || !origin.segment.empty()) {
    utterance.alignment = word_times(hypothesis.words, origin.network, origin.frame_seconds);
    for (std::size_t i = 0; i < certainties.size(); ++i) utterance.alignment[i].certainty = certainties[i];
    if (phones) {
      utterance.level = TimeLevel::kPhones;
      const auto segments =
          PhoneAligner(origin.network, origin.model, origin.scorer).align(hypothesis.words, origin.rows);
      add_phone_times(utterance.alignment, segments, origin.model.definition, origin.frame_seconds, utterance.level);
    }
  }
  results.tell(hypothesis, origin.network, origin.frame_seconds, utterance);
  return utterance;
}

void RecogniseCommand::check_format(const std::vector<FileTask>& tasks) const {
  results.check(format, tasks.size() > 1 || segment);
  check_stream(tasks);
  if (phones && !alignment && format != ReportFormat::kJson && format != ReportFormat::kTextGrid) {
    throw Fault("--phones is for --alignment and the formats json and textgrid");
  }
  if (alignment && format != ReportFormat::kText) throw Fault("--alignment is for the format text");
  const auto shares = [](const FileTask& task) { return task.output.empty(); };
  if ((format == ReportFormat::kSrt || format == ReportFormat::kTextGrid) && tasks.size() > 1 &&
      std::any_of(tasks.begin(), tasks.end(), shares)) {
    throw Fault("the formats srt and textgrid hold one recording, give --output-folder");
  }
}

// In one report, or each file in its own.
void RecogniseCommand::recognise_all(const Task& given, const std::vector<FileTask>& tasks) const {
  std::optional<References> references;
  if (!reference_file.empty()) {
    references = References::read(reference_file);
    for (const FileTask& task : tasks) references->find(task.input);
  }
  FileLoop loop(phone_loop ? "phones" : "recognise", tasks, files.jobs, files.stop_at_fault);
  std::optional<OutputFile> output;
  if (!files.output.empty()) output.emplace(files.output);
  const ReportContents contents{style(), references.has_value(), results.with_confidence()};
  RecogniseReport report(format, contents, [&](std::string_view text) {
    if (output) return output->write(text);
    loop.progress().clear();
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
  });
  const References* const known = references ? &*references : nullptr;
  if (segment) {
    recognise_segments(given, loop, report, known);
  } else {
    recognise_each(given, loop, report, known);
  }
  report.finish();
  if (output) output->commit();
  loop.finish();
}

void RecogniseCommand::recognise_each(const Task& given, FileLoop& loop, RecogniseReport& report,
                                      const References* references) const {
  loop.run([&] {
    const auto worker = std::make_shared<Worker>(*this, given);
    return [&, worker](const FileTask& task, FileTurn& turn) {
      RecognisedUtterance utterance = worker->recognise(task.input);
      turn.heard(utterance.audio_seconds);
      if (references != nullptr) {
        utterance.reference = references->find(utterance.file);
        utterance.errors = count_word_errors(utterance.reference, utterance.words);
      }
      if (task.output.empty()) return turn.post([&report, utterance] { report.add(utterance); });
      std::string text;
      RecogniseReport(format, report.contents(), [&](std::string_view more) { text += more; }).add(utterance);
      write_report(task.output, text);
    };
  });
}

void RecogniseCommand::run() {
  if (live) {
    segment = true;
    if (files.files.empty() && files.list.empty()) files.files = {"-"};
  }
  acoustic.reduces_noise = !segment;  // segments are told before they end
  const auto tasks = file_tasks(files, Outputs::kShared, [this](const std::string&) { return extension_of(format); });
  check_format(tasks);
  if (!rule.empty() && grammar_file.empty()) throw Fault("recognise: --rule needs --grammar");
  say_unused_raw_options(raw, inputs_of(tasks));
  const Task given = task();
  give_back_memory();
  recognise_all(given, tasks);
}

namespace {

void add_stream_options(Command command, RecogniseCommand& options) {
  command.add_flag("--segment", options.segment, "One result for each stretch of speech between pauses");
  command.add_flag("--live", options.live,
                   "The same of one stream as it comes, standard input or a pipe: each result at once");
  command.add_flag("--partial", options.partial,
                   "With --live: the best guess too, as it changes (on a terminal and in JSON always)");
  add_number(command, "--pause", options.streaming.pause, 0.02, 10,
             "Silence behind words that ends a segment, where the sentence may end, s");
  add_number(command, "--longest-pause", options.streaming.longest_pause, 0.02, 60,
             "The same where the sentence may not end, s");
  add_number(command, "--longest-segment", options.streaming.longest, 1, 3600,
             "Speech without such a pause is cut after, s");
  add_choice(
      command, "--mean", options.mean,
      {{"recipe", MeanOver::kAsRecipe}, {"utterance", MeanOver::kUtterance}, {"running", MeanOver::kRunning}},
      "What the mean that is taken out is of: as the model's recipe says, of segments the running one; the whole "
      "file or segment; or what came before");
  add_number(command, "--mean-frames", options.streaming.mean_frames, 2, 10'000'000, "Memory of the running mean");
}

}  // namespace

void add_recognise(Command program) {
  const Command command = program.add_subcommand("recognise", "Recognise the words of audio files");
  const auto options = std::make_shared<RecogniseCommand>();
  add_file_options(
      command, options->files, Outputs::kShared,
      "WAV, FLAC, ... or .raw (16-bit, one channel); or cepstra of the model's front end: .npy, .htk, .mfc "
      "or .csv",
      "File to write (default: standard output)");
  add_acoustic_options(command, options->acoustic);
  command.add_option("--grammar", options->grammar_file, "What may be said: a grammar in JSGF");
  command.add_option("--rule", options->rule, "Rule of the grammar to start with (default: all public rules)");
  command.add_option("--words", options->words,
                     "Words that may follow each other in any order: a list with commas, or a file, @name to be clear");
  command.add_option("--lm", options->ngram_file,
                     "Any words of an n-gram model: ARPA text, packed, or the name of one that Debian installs");
  command.add_option("--mix-lm", options->mixed_ngram_file,
                     "Second n-gram model, whose probabilities are added to --lm's");
  add_number(command, "--lm-share", options->ngram_share, 0.001, 0.999, "Of --lm in that sum");
  command.add_option("--lm-classes", options->class_file,
                     "Words that are said where the n-gram model has a class, \"class probability word\" a line");
  command.add_flag("--skip-unknown", options->skip_unknown,
                   "Leave out words without a pronunciation instead of stopping");
  command.add_option("--reference", options->reference_file,
                     "Transcriptions, lines \"words (utterance-id)\", to count word errors");
  command.add_flag("--alignment", options->alignment, "Print start and end of each word in seconds");
  add_stream_options(command, *options);
  command.add_flag("--phones", options->phones, "Tell the phones of the words with their times too");
  add_format_option(command, options->format);
  add_result_options(command, options->results);
  add_number(command, "--language-weight", options->weights.given.language_weight, 0, 1000,
             "Factor of the grammar's log weights");
  add_cost_options(command, options->weights);
  add_search_options(command, options->weights.given, options->beams.given, options->acoustic);
  follow_model(command, options->beams);
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
