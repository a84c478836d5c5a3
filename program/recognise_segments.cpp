// recognise --segment and --live: one result for each stretch of speech.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/ioctl.h>
#include <unistd.h>

#include "kivsr/speech/decode/streaming_recogniser.h"
#include "kivsr/speech/io/audio_reader.h"
#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "program/recognise_command.h"
#include "program/report_text.h"
#include "program/transcript_format.h"

namespace kivsr::program {

namespace {

// The first interrupt ends the stream, so that what was heard is told; the second one ends the program.
class StreamInterrupt {
 public:
  StreamInterrupt() {
    struct sigaction action {};
    action.sa_handler = [](int) { end_all_input(); };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, &before_);
  }
  ~StreamInterrupt() { sigaction(SIGINT, &before_, nullptr); }
  StreamInterrupt(const StreamInterrupt&) = delete;
  StreamInterrupt& operator=(const StreamInterrupt&) = delete;

 private:
  struct sigaction before_ {};
};

// The best guess on standard output, as it changes: a line that the next one overwrites on a terminal, else lines.
class PartialLine {
 public:
  PartialLine(ReportFormat format, bool wanted) : format_(format), terminal_(isatty(STDOUT_FILENO) == 1) {
    shows_ = format_ == ReportFormat::kJson || (format_ == ReportFormat::kText && (wanted || terminal_));
  }

  bool shows() const { return shows_; }
  void show(const std::vector<std::string>& words, double start, double heard) {
    std::string text = joined(words);
    if (format_ == ReportFormat::kJson) {
      text = partial_line(text, start, heard);
    } else if (terminal_) {
      text = "\r\033[K" + end_of(text);
      drawn_ = true;
    } else {
      text = "... " + text + "\n";
    }
    write(text);
  }
  void clear() {
    if (std::exchange(drawn_, false)) write("\r\033[K");
  }

 private:
  // As much as the terminal is wide.
  static std::string end_of(const std::string& text) {
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    const std::size_t width = known ? size.ws_col - 1U : 79U;
    return text.size() <= width ? text : text.substr(text.size() - width);
  }
  static void write(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
  }

  ReportFormat format_;
  bool terminal_;
  bool shows_ = false;
  bool drawn_ = false;
};

}  // namespace

// Recognises the segments of one file after the other, on one thread.
class RecogniseCommand::SegmentWorker {
 public:
  using Taker = std::function<void(RecognisedUtterance utterance)>;

  SegmentWorker(const RecogniseCommand& command, const Task& given)
      : command_(command),
        network_(given.network),
        model_(*given.model),
        recogniser_(given.network, *given.model, make_mixture_scorer(*given.model, command.acoustic.scoring),
                    command.beams.of(*given.model), command.acoustic.recipe_of(*given.model),
                    command.streaming_rules()),
        partial_(command.format, command.partial) {
    if (command.results.with_lattice()) recogniser_.record_lattice(command.results.beam);
    if (!command.live || !partial_.shows()) return;
    if (const std::string reason = recogniser_.recipe().needs_whole_utterance(); !reason.empty()) {
      std::fprintf(stderr, "kivsr: no guesses before the ends of speech: %s\n", reason.c_str());
    }
    recogniser_.on_partial = [this](const std::vector<HypothesisWord>& words) {
      partial_.show(spoken_words(words, network_), whole_microseconds(recogniser_.start()), recogniser_.heard());
    };
  }

  // Hands the segments over as they end; returns what there is to tell of the file.
  RecognisedUtterance recognise(const std::string& file, const Taker& take) {
    RecognisedUtterance whole;
    whole.file = file;
    segments_ = 0;
    recogniser_.on_final = [&](FinalWords&& words) {
      partial_.clear();
      RecognisedUtterance utterance = utterance_of(file, std::move(words));
      if (command_.reference_file.empty()) return take(std::move(utterance));
      whole.words.insert(whole.words.end(), utterance.words.begin(), utterance.words.end());
      take(std::move(utterance));
    };
    const auto start = std::chrono::steady_clock::now();
    recogniser_.reset();
    whole.audio_seconds = hear(file);
    whole.elapsed_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return whole;
  }

 private:
  double hear(const std::string& file) {
    const int rate = recogniser_.recipe().front_end.sample_rate;
    MonoReader reader(file, rate, command_.raw);
    std::vector<float> samples;
    const auto end = [&] {
      recogniser_.finish();
      partial_.clear();
    };
    try {
      for (; reader.read(samples); samples.clear()) recogniser_.push(samples);
    } catch (...) {
      if (command_.live) end();  // what came before was heard
      throw;
    }
    end();
    return static_cast<double>(reader.samples()) / rate;
  }

  RecognisedUtterance utterance_of(const std::string& file, FinalWords&& words) {
    const double frame = recogniser_.recipe().frame_seconds();
    RecognisedUtterance utterance =
        command_.utterance_of(std::move(words.hypothesis),
                              {file, segment_name(file), network_, model_, recogniser_.scorer(), words.rows, frame});
    utterance.heard = recogniser_.heard();
    move_times(utterance.alignment, words.start);
    const auto is_word = [](const AlignedWord& word) { return !word.filler; };
    const auto first = std::find_if(utterance.alignment.begin(), utterance.alignment.end(), is_word);
    const auto last = std::find_if(utterance.alignment.rbegin(), utterance.alignment.rend(), is_word);
    if (first != utterance.alignment.end()) {
      utterance.start = first->start;
      utterance.end = last->end;
    }
    utterance.audio_seconds = whole_microseconds(utterance.end - utterance.start);
    if (!command_.tells_times()) utterance.alignment.clear();
    return utterance;
  }

  std::string segment_name(const std::string& file) { return recording_name(file) + formatted("-%04d", ++segments_); }

  const RecogniseCommand& command_;
  const SearchNetwork& network_;
  const AcousticModel& model_;
  StreamingRecogniser recogniser_;
  PartialLine partial_;
  int segments_ = 0;  // of the file
};

StreamingRules RecogniseCommand::streaming_rules() const {
  StreamingRules rules = streaming;
  rules.keep_rows = phones;
  rules.running_mean = mean != MeanOver::kUtterance;
  return rules;
}

ReportStyle RecogniseCommand::style() const {
  if (live) return ReportStyle::kLive;
  return segment ? ReportStyle::kSegments : ReportStyle::kFiles;
}

void RecogniseCommand::check_stream(const std::vector<FileTask>& tasks) const {
  if (partial && !live) throw Fault("--partial is for --live");
  if (live && tasks.size() > 1) throw Fault("--live is for one stream");
  if (live && !reference_file.empty()) throw Fault("--reference is not for --live");
  if (segment && !reference_file.empty() && format != ReportFormat::kText) {
    throw Fault("--reference with --segment is for the format text");
  }
  for (const FileTask& task : tasks) {
    if (segment && is_feature_file(task.input))
      throw Fault(task.input + ": segments are found in audio, not in features");
  }
}

void RecogniseCommand::recognise_segments(const Task& given, FileLoop& loop, RecogniseReport& report,
                                          const References* references) const {
  std::optional<StreamInterrupt> interrupt;
  if (live) interrupt.emplace();
  loop.run([&] {
    const auto worker = std::make_shared<SegmentWorker>(*this, given);
    return [&, worker](const FileTask& task, FileTurn& turn) {
      std::string text;
      RecogniseReport own(format, report.contents(), [&](std::string_view more) { text += more; });
      const bool shared = task.output.empty();
      RecognisedUtterance whole = worker->recognise(task.input, [&](RecognisedUtterance utterance) {
        if (!shared) return own.add(utterance);
        turn.post([&report, utterance = std::move(utterance)] { report.add(utterance); });
      });
      turn.heard(whole.audio_seconds);
      if (references != nullptr) {
        whole.reference = references->find(whole.file);
        whole.errors = count_word_errors(whole.reference, whole.words);
      }
      if (shared) return turn.post([&report, whole] { report.end_file(whole); });
      own.end_file(whole);
      write_report(task.output, text);
    };
  });
}

}  // namespace kivsr::program
