#include "program/speaker_options.h"

#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "program/command.h"
#include "program/moments_file.h"

namespace kivsr::program {

SpeakerOptions::SpeakerOptions(Command command) {
  constexpr const char* kGroup = "Speakers";
  const Option input = command.add_option(
      "--cmvn", input_,
      "Subtract means, in front of the derivatives: of each speaker, from an archive of Kaldi's statistics (ark:FILE, "
      "scp:FILE, .ark, .scp), or the same for all, from a .mat or what --stats wrote (.json)");
  const Option output =
      command.add_option("--cmvn-out", output_,
                         "Archive to write the statistics of each speaker to, of the rows that --cmvn would change");
  const Option table = command.add_option(
      "--utt2spk", table_, "File of lines \"utterance speaker\"; without it each utterance is its own speaker");
  const Option variance =
      command.add_flag("--cmvn-variance", variance_, "Divide by the standard deviations too").needs("--cmvn");
  for (const Option option : {input, output, table, variance}) option.group(kGroup);
}

void SpeakerOptions::read() {
  if (!table_.empty() && !given()) throw Fault("--utt2spk is for --cmvn and --cmvn-out");
  if (!table_.empty()) speakers_ = read_key_table(table_);
  if (!output_.empty() && !kaldi_specifier(output_)) {
    throw Fault(output_ + ": statistics of speakers go into an archive, ark:FILE or a name in .ark");
  }
  if (input_.empty()) return;
  if (is_moments_file(input_)) {
    const ColumnMoments moments = read_moments(input_);
    std::vector<double> variances;
    for (std::size_t i = 0; variance_ && i < moments.mean.size(); ++i) variances.push_back(moments.variance(i));
    normalisers_.emplace("", ColumnNormaliser(moments.mean, variances));
    return;
  }
  for (const auto& [speaker, sums] : read_column_sums(input_)) {
    normalisers_.emplace(speaker, ColumnNormaliser(sums, variance_));
  }
}

const std::string& SpeakerOptions::speaker_of(const std::string& utterance) const {
  if (table_.empty()) return utterance;
  const auto found = speakers_.find(utterance);
  if (found == speakers_.end()) throw Fault(table_ + ": has no speaker of " + utterance);
  return found->second;
}

RowChange SpeakerOptions::change_for(const std::string& utterance, std::shared_ptr<ColumnSums> sums) const {
  if (!given()) return {};
  const std::string& speaker = speaker_of(utterance);
  const ColumnNormaliser* normaliser = nullptr;
  if (!input_.empty()) {
    const auto found = normalisers_.find(normalisers_.contains("") ? "" : speaker);
    if (found == normalisers_.end()) throw Fault(input_ + ": has no statistics of " + speaker);
    normaliser = &found->second;
  }
  return [this, normaliser, sums = std::move(sums)](FeatureMatrix& rows) {
    if (gathers()) sums->add(rows);
    if (normaliser != nullptr) normaliser->apply(rows);
  };
}

void SpeakerOptions::gather(const std::string& utterance, const ColumnSums& sums) {
  gathered_[speaker_of(utterance)].add(sums);
}

void SpeakerOptions::write() const {
  if (gathers()) write_column_sums(output_, gathered_);
}

}  // namespace kivsr::program
