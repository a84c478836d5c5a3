// kivsr align: when the words of a known text were said, with their phones and states.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kivsr/speech/decode/forced_alignment.h"
#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/decode/phone_alignment.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/transcript.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/decode/word_errors.h"
#include "kivsr/speech/front/utterance.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/file_loop.h"
#include "program/file_options.h"
#include "program/raw_options.h"
#include "program/recogniser_options.h"
#include "program/report_text.h"
#include "program/subcommands.h"
#include "program/transcript_format.h"
#include "program/word_times.h"

namespace kivsr::program {

namespace {

struct AlignCommand {
  void run() const;

  AcousticOptions acoustic;
  std::string text;
  std::string text_file;
  std::string reference_file;
  ReportFormat format = ReportFormat::kText;
  TimeLevel level = TimeLevel::kPhones;
  bool skip_unknown = false;
  FileOptions files;
  RawFormat raw;
  SearchWeights weights = kAlignmentWeights;
  Beams beams = kAlignmentBeams;

 private:
  // What one thread needs.
  struct Worker {
    Worker(const AlignCommand& command, const AcousticModel& given)
        : model(given),
          scorer(make_mixture_scorer(given, command.acoustic.scoring)),
          chain(command.acoustic.recipe_of(given)) {}
    const AcousticModel& model;
    std::unique_ptr<Scorer> scorer;
    FeatureChain chain;
  };
  // The texts in the words of the dictionary, one for each recording.
  std::vector<std::vector<std::string>> transcripts(const std::vector<FileTask>& tasks, const AcousticModel& model,
                                                    Dictionary& dictionary) const;
  std::vector<std::string> texts(const std::vector<FileTask>& tasks) const;
  std::vector<std::string> pronounceable(std::vector<std::string> words, const Dictionary& dictionary,
                                         const AcousticModel& model) const;
  RecognisedUtterance align_text(const FileTask& task, const std::vector<std::string>& words,
                                 const Dictionary& dictionary, Worker& worker) const;
  RecognisedUtterance align(const std::string& file, const SearchNetwork& network, Worker& worker) const;
  std::string report(const RecognisedUtterance& utterance) const;
};

std::vector<std::string> AlignCommand::texts(const std::vector<FileTask>& tasks) const {
  const int given = (text.empty() ? 0 : 1) + (text_file.empty() ? 0 : 1) + (reference_file.empty() ? 0 : 1);
  if (given != 1) throw Fault("align: give one of --text, --text-file and --transcripts");
  if (reference_file.empty()) {
    if (tasks.size() > 1) throw Fault("align: --text and --text-file are for one recording, see --transcripts");
    if (text_file.empty()) return {text};
    const std::vector<std::uint8_t> bytes = read_whole_file(text_file);
    return {std::string(bytes.begin(), bytes.end())};
  }
  const References references = References::read(reference_file);
  std::vector<std::string> result;
  for (const FileTask& task : tasks) result.push_back(joined(references.find(task.input)));
  return result;
}

std::vector<std::vector<std::string>> AlignCommand::transcripts(const std::vector<FileTask>& tasks,
                                                                const AcousticModel& model,
                                                                Dictionary& dictionary) const {
  const std::vector<std::string> given = texts(tasks);
  std::set<std::string, std::less<>> wanted;
  for (const std::string& one : given) {
    words_of_text(one, [&wanted](const std::string& form) { return wanted.insert(form), false; });
  }
  dictionary = Dictionary::read(acoustic.dictionary_path(model), &wanted);
  std::vector<std::vector<std::string>> result;
  for (const std::string& one : given) {
    result.push_back(
        words_of_text(one, [&dictionary](const std::string& form) { return dictionary.find(form) != nullptr; }));
  }
  return result;
}

// Without those that are to be skipped, which are named.
std::vector<std::string> AlignCommand::pronounceable(std::vector<std::string> words, const Dictionary& dictionary,
                                                     const AcousticModel& model) const {
  if (!skip_unknown) return words;
  std::erase_if(words, [&](const std::string& word) {
    std::string reason;
    if (!pronunciations(word, dictionary, model, reason).empty()) return false;
    std::fprintf(stderr, "kivsr: the word \"%s\" cannot be pronounced and is left out\n", word.c_str());
    return true;
  });
  return words;
}

RecognisedUtterance AlignCommand::align(const std::string& file, const SearchNetwork& network, Worker& worker) const {
  const Utterance utterance = load_utterance(file, worker.chain, raw);
  ViterbiSearch search(network, worker.model, *worker.scorer, beams);
  for (int frame = 0; frame < utterance.features.height(); ++frame) search.push(utterance.features.row(frame));
  const Hypothesis hypothesis = search.finish();
  if (!hypothesis.complete) {
    throw Fault(
        file + ": the transcript cannot be aligned with the " +
        formatted("%.2f s of the recording: it is another one, or a wider --beam is needed", utterance.info.seconds));
  }
  const double seconds = worker.chain.recipe().frame_seconds();
  RecognisedUtterance result;
  result.file = file;
  result.score = hypothesis.score;
  result.complete = true;
  result.level = level;
  result.audio_seconds = utterance.info.seconds;
  result.alignment = word_times(hypothesis.words, network, seconds);
  for (const AlignedWord& word : result.alignment) {
    if (!word.filler) result.words.push_back(word.word);
  }
  if (level != TimeLevel::kWords) {
    const auto segments =
        PhoneAligner(network, worker.model, *worker.scorer).align(hypothesis.words, utterance.features);
    add_phone_times(result.alignment, segments, worker.model.definition, seconds, level);
  }
  return result;
}

// A line for each word, phone and state: what kind it is by the depth of its indent, or by a field.
std::string table(const RecognisedUtterance& utterance, bool tabs) {
  std::string lines;
  const auto add = [&](int depth, const char* kind, double start, double end, const std::string& name) {
    lines += tabs ? utterance.file + "\t" + kind + formatted("\t%.3f\t%.3f\t", start, end) + name + "\n"
                  : formatted("  %8.2f %8.2f  ", start, end) + std::string(2 * static_cast<std::size_t>(depth), ' ') +
                        name + "\n";
  };
  for (const AlignedWord& word : utterance.alignment) {
    add(0, "word", word.start, word.end, word.word);
    for (const AlignedPhone& phone : word.phones) {
      add(1, "phone", phone.start, phone.end, phone.phone);
      for (const AlignedState& state : phone.states) {
        add(2, "state", state.start, state.end, state_name(phone, state));
      }
    }
  }
  return lines;
}

std::string AlignCommand::report(const RecognisedUtterance& utterance) const {
  switch (format) {
    case ReportFormat::kJson: return json_line(utterance);
    case ReportFormat::kCtm: return ctm_lines(utterance, level);
    case ReportFormat::kTextGrid: return text_grid(utterance);
    case ReportFormat::kTsv: return table(utterance, true);
    default: break;
  }
  return utterance.file + ": " + counted(static_cast<std::int64_t>(utterance.words.size()), "word") +
         formatted(" in %.2f s [score %.1f]\n", utterance.audio_seconds, utterance.score) + table(utterance, false);
}

RecognisedUtterance AlignCommand::align_text(const FileTask& task, const std::vector<std::string>& words,
                                             const Dictionary& dictionary, Worker& worker) const {
  const WordNetwork allowed =
      word_sequence(pronounceable(words, dictionary, worker.model), task.input + ": the transcript");
  if (allowed.arcs.empty()) throw Fault(task.input + ": the transcript has no words");
  return align(task.input, build_search_network(allowed, dictionary, worker.model, weights), worker);
}

void AlignCommand::run() const {
  const auto tasks = file_tasks(files, Outputs::kShared, [this](const std::string&) { return extension_of(format); });
  if (format == ReportFormat::kTextGrid && tasks.size() > 1 && files.output_folder.empty()) {
    throw Fault("align: the format textgrid holds one recording, give --output-folder");
  }
  say_unused_raw_options(raw, inputs_of(tasks));
  const AcousticModel model = acoustic.read_model();
  Dictionary dictionary;
  const std::vector<std::vector<std::string>> words = transcripts(tasks, model, dictionary);
  const std::string header = format == ReportFormat::kTsv ? "file\tlevel\tstart\tend\tname\n" : "";
  std::string text_of_all = header;
  FileLoop loop("align", tasks, files.jobs, files.stop_at_fault);
  loop.run([&] {
    const auto worker = std::make_shared<Worker>(*this, model);
    return [&, worker](const FileTask& task, FileTurn& turn) {
      const auto index = static_cast<std::size_t>(&task - tasks.data());
      const RecognisedUtterance utterance = align_text(task, words[index], dictionary, *worker);
      turn.heard(utterance.audio_seconds);
      const std::string text = report(utterance);
      if (!task.output.empty()) return write_report(task.output, header + text);
      turn.post([&text_of_all, text] { text_of_all += text; });
    };
  });
  if (files.output_folder.empty()) write_report(files.output, text_of_all);
  loop.finish();
}

}  // namespace

void add_align(Command program) {
  const Command command =
      program.add_subcommand("align", "Tell when the words of a known text were said, with phones and states");
  const auto options = std::make_shared<AlignCommand>();
  add_file_options(
      command, options->files, Outputs::kShared,
      "WAV, FLAC, ... or .raw (16-bit, one channel); or cepstra of the model's front end: .npy, .htk, .mfc "
      "or .csv",
      "File to write (default: standard output)");
  command.add_option("--text", options->text, "What is said in the recording");
  command.add_option("--text-file", options->text_file, "File with what is said in the recording");
  command.add_option("--transcripts", options->reference_file,
                     "File with what is said in many recordings, lines \"words (utterance-id)\"");
  add_acoustic_options(command, options->acoustic);
  command.add_flag("--skip-unknown", options->skip_unknown,
                   "Leave out words without a pronunciation instead of stopping");
  add_choice(command, "--level", options->level,
             {{"words", TimeLevel::kWords}, {"phones", TimeLevel::kPhones}, {"states", TimeLevel::kStates}},
             "words, phones or states");
  add_choice(command, "--format", options->format,
             {{"text", ReportFormat::kText},
              {"tsv", ReportFormat::kTsv},
              {"json", ReportFormat::kJson},
              {"ctm", ReportFormat::kCtm},
              {"textgrid", ReportFormat::kTextGrid}},
             "text, tsv, json (an object a line), ctm or textgrid");
  add_search_options(command, options->weights, options->beams, options->acoustic);
  add_raw_options(command, options->raw);
  command.callback([options] { options->run(); });
}

}  // namespace kivsr::program
