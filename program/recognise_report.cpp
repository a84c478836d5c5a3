#include "program/recognise_report.h"

#include <utility>

#include "program/report_text.h"
#include "program/transcript_format.h"

namespace kivsr::program {
namespace {

double ratio(double elapsed, double audio) { return audio > 0.0 ? elapsed / audio : 0.0; }

std::string error_text(const WordErrors& errors) {
  return counted(errors.total(), "error") + " of " + counted(errors.words, "word") + " (" +
         counted(errors.substitutions, "substitution") + ", " + counted(errors.deletions, "deletion") + ", " +
         counted(errors.insertions, "insertion") + ")";
}

}  // namespace

RecogniseReport::RecogniseReport(ReportFormat format, bool with_reference, bool with_confidence, Write write)
    : format_(format), with_reference_(with_reference), with_confidence_(with_confidence), write_(std::move(write)) {
  if (format_ != ReportFormat::kTsv) return;
  std::string header = "file\thypothesis\tscore\tseconds\treal_time_factor\tcomplete";
  if (with_reference_) header += "\treference\twords\tsubstitutions\tdeletions\tinsertions";
  if (with_confidence_) header += "\tconfidences";
  write_(header + "\n");
}

std::string RecogniseReport::text_of(const RecognisedUtterance& utterance) const {
  std::string text = utterance.file + ": " + joined(utterance.words) +
                     formatted(" [score %.1f, %.2f s, real-time factor %.4f", utterance.score, utterance.audio_seconds,
                               ratio(utterance.elapsed_seconds, utterance.audio_seconds));
  if (with_reference_) text += ", " + error_text(utterance.errors);
  text += utterance.complete ? "]\n" : "] (not a complete sentence)\n";
  for (const AlignedWord& word : utterance.alignment) {
    text += formatted("  %8.2f %8.2f  ", word.start, word.end) + word.word;
    text += (word.confidence < 0.0 ? "" : formatted("  %.3f", word.confidence)) + "\n";
    for (const AlignedPhone& phone : word.phones) {
      text += formatted("  %8.2f %8.2f    ", phone.start, phone.end) + phone.phone + "\n";
    }
  }
  int place = 0;
  for (const RecognisedUtterance::Alternative& other : utterance.alternatives) {
    text += formatted("  %4d %12.1f  ", ++place, other.score) + joined(other.words) + "\n";
  }
  return text;
}

std::string RecogniseReport::tsv_of(const RecognisedUtterance& utterance) const {
  std::string text = utterance.file + "\t" + joined(utterance.words) +
                     formatted("\t%.3f\t%.4f\t%.5f\t%d", utterance.score, utterance.audio_seconds,
                               ratio(utterance.elapsed_seconds, utterance.audio_seconds), utterance.complete ? 1 : 0);
  const WordErrors& errors = utterance.errors;
  if (with_reference_) {
    text += "\t" + joined(utterance.reference) +
            formatted("\t%d\t%d\t%d\t%d", errors.words, errors.substitutions, errors.deletions, errors.insertions);
  }
  if (with_confidence_) {
    std::vector<std::string> confidences;
    for (const AlignedWord& word : utterance.alignment) {
      if (!word.filler) confidences.push_back(formatted("%.3f", word.confidence));
    }
    text += "\t" + joined(confidences);
  }
  return text + "\n";
}

void RecogniseReport::add(const RecognisedUtterance& utterance) {
  ++utterances_;
  audio_seconds_ += utterance.audio_seconds;
  elapsed_seconds_ += utterance.elapsed_seconds;
  errors_ += utterance.errors;
  switch (format_) {
    case ReportFormat::kText: return write_(text_of(utterance));
    case ReportFormat::kTsv: return write_(tsv_of(utterance));
    case ReportFormat::kJson: return write_(json_line(utterance));
    case ReportFormat::kCtm: return write_(ctm_lines(utterance));
    case ReportFormat::kSrt: return write_(srt_text(utterance));
    case ReportFormat::kTextGrid: return write_(text_grid(utterance));
  }
}

void RecogniseReport::finish() const {
  if (format_ != ReportFormat::kText || (utterances_ < 2 && !(with_reference_ && utterances_ > 0))) return;
  std::string text =
      "total: " + counted(utterances_, "file") +
      formatted(", %.2f s, real-time factor %.4f", audio_seconds_, ratio(elapsed_seconds_, audio_seconds_));
  if (with_reference_) text += ", " + error_text(errors_);
  write_(text + "\n");
}

}  // namespace kivsr::program
