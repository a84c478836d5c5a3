#include "program/recognise_report.h"

#include <cstdio>

#include "program/report_text.h"
#include "program/transcript_format.h"

namespace kivsr::program {
namespace {

double ratio(double elapsed, double audio) { return audio > 0.0 ? elapsed / audio : 0.0; }

void print_errors(const WordErrors& errors) {
  std::printf("%d errors of %d words (%d substitutions, %d deletions, %d insertions)", errors.total(), errors.words,
              errors.substitutions, errors.deletions, errors.insertions);
}

}  // namespace

RecogniseReport::RecogniseReport(ReportFormat format, bool with_reference)
    : format_(format), with_reference_(with_reference) {
  if (format_ != ReportFormat::kTsv) return;
  std::printf("file\thypothesis\tscore\tseconds\treal_time_factor\tcomplete");
  if (with_reference_) std::printf("\treference\twords\tsubstitutions\tdeletions\tinsertions");
  std::printf("\n");
}

void RecogniseReport::add_text(const RecognisedUtterance& utterance) const {
  std::printf("%s: %s [score %.1f, %.2f s, real-time factor %.4f", utterance.file.c_str(),
              joined(utterance.words).c_str(), utterance.score, utterance.audio_seconds,
              ratio(utterance.elapsed_seconds, utterance.audio_seconds));
  if (with_reference_) {
    std::printf(", ");
    print_errors(utterance.errors);
  }
  std::printf("]%s\n", utterance.complete ? "" : " (not a complete sentence)");
  for (const AlignedWord& word : utterance.alignment) {
    std::printf("  %8.2f %8.2f  %s\n", word.start, word.end, word.word.c_str());
  }
}

void RecogniseReport::add_tsv(const RecognisedUtterance& utterance) const {
  std::printf("%s\t%s\t%.3f\t%.4f\t%.5f\t%d", utterance.file.c_str(), joined(utterance.words).c_str(), utterance.score,
              utterance.audio_seconds, ratio(utterance.elapsed_seconds, utterance.audio_seconds),
              utterance.complete ? 1 : 0);
  const WordErrors& errors = utterance.errors;
  if (with_reference_) {
    std::printf("\t%s\t%d\t%d\t%d\t%d", joined(utterance.reference).c_str(), errors.words, errors.substitutions,
                errors.deletions, errors.insertions);
  }
  std::printf("\n");
}

void RecogniseReport::add(const RecognisedUtterance& utterance) {
  ++utterances_;
  audio_seconds_ += utterance.audio_seconds;
  elapsed_seconds_ += utterance.elapsed_seconds;
  errors_ += utterance.errors;
  switch (format_) {
    case ReportFormat::kText: add_text(utterance); break;
    case ReportFormat::kTsv: add_tsv(utterance); break;
    case ReportFormat::kJson: std::fputs(json_line(utterance).c_str(), stdout); break;
    case ReportFormat::kCtm: std::fputs(ctm_lines(utterance).c_str(), stdout); break;
    case ReportFormat::kSrt: std::fputs(srt_text(utterance).c_str(), stdout); break;
    case ReportFormat::kTextGrid: std::fputs(text_grid(utterance).c_str(), stdout); break;
  }
  std::fflush(stdout);
}

void RecogniseReport::finish() const {
  if (format_ != ReportFormat::kText || (utterances_ < 2 && !with_reference_)) return;
  std::printf("total: %d files, %.2f s, real-time factor %.4f", utterances_, audio_seconds_,
              ratio(elapsed_seconds_, audio_seconds_));
  if (with_reference_) {
    std::printf(", ");
    print_errors(errors_);
  }
  std::printf("\n");
}

}  // namespace kivsr::program
