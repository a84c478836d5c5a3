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

RecogniseReport::RecogniseReport(ReportFormat format, const ReportContents& contents, Write write)
    : format_(format), contents_(contents), write_(std::move(write)) {
  if (format_ != ReportFormat::kTsv) return;
  std::string header = "file\thypothesis\tscore\tseconds\treal_time_factor\tcomplete";
  if (contents_.style != ReportStyle::kFiles) header = "segment\thypothesis\tscore\tstart\tend\tcomplete";
  if (contents_.reference) header += "\treference\twords\tsubstitutions\tdeletions\tinsertions";
  if (contents_.confidence) header += "\tconfidences";
  write_(header + "\n");
}

std::string RecogniseReport::text_of(const RecognisedUtterance& utterance) const {
  std::string text = joined(utterance.words);
  if (contents_.style == ReportStyle::kSegments) {
    text = utterance.segment + formatted(" %.2f-%.2f: ", utterance.start, utterance.end) + text +
           formatted(" [score %.1f]", utterance.score);
  } else if (contents_.style == ReportStyle::kFiles) {
    text = utterance.file + ": " + text +
           formatted(" [score %.1f, %.2f s, real-time factor %.4f", utterance.score, utterance.audio_seconds,
                     ratio(utterance.elapsed_seconds, utterance.audio_seconds));
    text += contents_.reference ? ", " + error_text(utterance.errors) + "]" : "]";
  }
  text += utterance.complete || contents_.style == ReportStyle::kLive ? "\n" : " (not a complete sentence)\n";
  for (const AlignedWord& word : utterance.alignment) {
    text += formatted("  %8.2f %8.2f  ", word.start, word.end) + word.word;
    text += (word.certainty ? formatted("  %.3f", word.certainty->confidence) : "") + "\n";
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
  const bool whole = utterance.segment.empty();
  const double speed = ratio(utterance.elapsed_seconds, utterance.audio_seconds);
  std::string text =
      utterance.name() + "\t" + joined(utterance.words) +
      formatted("\t%.3f\t%.4f\t%.5f\t%d", utterance.score, whole ? utterance.audio_seconds : utterance.start,
                whole ? speed : utterance.end, utterance.complete ? 1 : 0);
  const WordErrors& errors = utterance.errors;
  if (contents_.reference) {
    text += "\t" + joined(utterance.reference) +
            formatted("\t%d\t%d\t%d\t%d", errors.words, errors.substitutions, errors.deletions, errors.insertions);
  }
  if (contents_.confidence) {
    std::vector<std::string> confidences;
    for (const AlignedWord& word : utterance.alignment) {
      if (!word.filler && word.certainty) confidences.push_back(formatted("%.3f", word.certainty->confidence));
    }
    text += "\t" + joined(confidences);
  }
  return text + "\n";
}

std::string RecogniseReport::form_of(const RecognisedUtterance& utterance) {
  const bool whole = contents_.style == ReportStyle::kFiles;
  switch (format_) {
    case ReportFormat::kText: return text_of(utterance);
    case ReportFormat::kTsv: return tsv_of(utterance);
    case ReportFormat::kJson:
      return contents_.style == ReportStyle::kLive ? final_line(utterance) : json_line(utterance);
    case ReportFormat::kCtm: return ctm_lines(utterance);
    case ReportFormat::kSrt: return whole ? srt_text(utterance) : subtitles_.add(utterance.alignment);
    default: break;
  }
  if (whole) return text_grid(utterance);
  grid_.add(utterance);
  return "";
}

void RecogniseReport::add(const RecognisedUtterance& utterance) {
  if (contents_.style == ReportStyle::kFiles) count(utterance);
  write_(form_of(utterance));
}

void RecogniseReport::count(const RecognisedUtterance& file) {
  ++utterances_;
  audio_seconds_ += file.audio_seconds;
  elapsed_seconds_ += file.elapsed_seconds;
  errors_ += file.errors;
}

void RecogniseReport::end_file(const RecognisedUtterance& file) {
  count(file);
  if (format_ == ReportFormat::kText && contents_.reference) write_(file.file + ": " + error_text(file.errors) + "\n");
  if (format_ == ReportFormat::kSrt) write_(subtitles_.finish());
  if (format_ == ReportFormat::kTextGrid) write_(grid_.finish(file.audio_seconds));
}

void RecogniseReport::finish() const {
  const bool tells = utterances_ > 1 || (contents_.reference && utterances_ > 0);
  if (format_ != ReportFormat::kText || !tells || contents_.style == ReportStyle::kLive) return;
  std::string text =
      "total: " + counted(utterances_, "file") +
      formatted(", %.2f s, real-time factor %.4f", audio_seconds_, ratio(elapsed_seconds_, audio_seconds_));
  if (contents_.reference) text += ", " + error_text(errors_);
  write_(text + "\n");
}

}  // namespace kivsr::program
