#include "kivsr/speech/front/front_end.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/front/frame_analysis.h"
#include "kivsr/speech/front/noise_reduction.h"
#include "kivsr/speech/front/row_stage.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBlock = 1 << 16;  // samples looked at together: bounds the work areas

}  // namespace

FrontEnd::FrontEnd(const FrontEndParameters& parameters, const NoiseReductionParameters& noise)
    : parameters_(parameters), conditioning_(parameters) {
  parameters_.validate();
  if (parameters_.kind != FrontEndKind::kGeneral) throw Fault("front end: etsi-afe is not the general front end");
  analysis_ = std::make_unique<FrameAnalysis>(parameters_);
  if (noise.method != NoiseMethod::kNone) reduction_ = std::make_unique<NoiseReduction>(parameters_, noise);
  spectrum_.resize(static_cast<std::size_t>(analysis_->spectrum_width()));
  spectra_.width = analysis_->spectrum_width();
  logarithms_.width = parameters_.filter_count;
  start();
}

FrontEnd::~FrontEnd() = default;
FrontEnd::FrontEnd(FrontEnd&&) noexcept = default;
FrontEnd& FrontEnd::operator=(FrontEnd&&) noexcept = default;

void FrontEnd::start() {
  conditioning_.restart();
  pending_.assign(1, 0.0F);
  skip_ = 0;
  cut_one_ = false;
  spectra_.values.clear();
  logarithms_.values.clear();
  log_energies_.clear();
}

std::span<float> FrontEnd::next_row(FeatureMatrix& rows) const {
  const auto width = static_cast<std::size_t>(rows.width);
  rows.values.resize(rows.values.size() + width);
  return std::span(rows.values).last(width);
}

// The row of a frame, or for later: its spectrum, or its logarithms, which must know the largest of the utterance.
void FrontEnd::emit(std::span<const float> samples, FeatureMatrix* rows) {
  cut_one_ = true;
  const float log_energy = analysis_->spectrum_of(samples, spectrum_);
  if (rows == nullptr) {
    spectra_.values.insert(spectra_.values.end(), spectrum_.begin(), spectrum_.end());
    log_energies_.push_back(log_energy);
  } else if (parameters_.dynamic_range > 0.0F) {
    analysis_->logarithms_of(spectrum_, next_row(logarithms_));
    log_energies_.push_back(log_energy);
  } else {
    analysis_->row_of(spectrum_, log_energy, next_row(*rows));
  }
}

void FrontEnd::cut(std::span<const float> samples, FeatureMatrix* rows) {
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());
    cut_block(conditioning_.needed() ? conditioning_.push(block) : block, rows);
  }
}

// Emits the frames that lie in the samples and begin before `limit`. Returns where the next one begins.
std::size_t FrontEnd::cut_frames(std::span<const float> samples, std::size_t limit, FeatureMatrix* rows) {
  const auto length = static_cast<std::size_t>(parameters_.window_length) + 1;
  std::size_t begin = 0;
  while (begin < limit && begin + length <= samples.size()) {
    emit(samples.subspan(begin, length), rows);
    begin += static_cast<std::size_t>(parameters_.shift);
  }
  return begin;
}

// Frames that begin in what is held are completed there; the others are cut where they lie.
void FrontEnd::cut_block(std::span<const float> block, FeatureMatrix* rows) {
  // A shift beyond the window leaves samples between frames that no frame reads.
  const std::size_t skipped = std::min(skip_, block.size());
  skip_ -= skipped;
  block = block.subspan(skipped);
  const std::size_t held = pending_.size();
  const std::size_t added = std::min(block.size(), static_cast<std::size_t>(parameters_.window_length) + 1);
  pending_.insert(pending_.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(added));
  const std::size_t begin = cut_frames(pending_, held, rows);
  if (begin < held) {  // which takes a block that is shorter than a frame: all of it is held
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(begin));
    return;
  }
  std::size_t next = begin - held;
  if (next < block.size()) next += cut_frames(block.subspan(next), block.size(), rows);
  skip_ += next - std::min(next, block.size());
  pending_.assign(block.begin() + static_cast<std::ptrdiff_t>(std::min(next, block.size())), block.end());
}

// What lies beyond the edge completes frames that reach there; otherwise the last one may be incomplete. Of covering
// frames it must have a sample that the one before it does not have.
void FrontEnd::cut_last(FeatureMatrix* rows) {
  if (parameters_.beyond_edges()) return cut_block(conditioning_.finish(), rows);
  std::size_t seen = 1;
  if (parameters_.framing == Framing::kCovering && cut_one_) {
    seen += static_cast<std::size_t>(std::max(0, parameters_.window_length - parameters_.shift));
  }
  if (parameters_.pad_last_frame && pending_.size() > seen) emit(pending_, rows);
}

void FrontEnd::push(std::span<const float> samples, FeatureMatrix& rows) {
  rows.width = row_width();
  cut(samples, reduction_ ? nullptr : &rows);
  release_parts(rows);
}

// Of a long utterance the noise is reduced in parts: memory is bounded, and the last one is not short.
void FrontEnd::release_parts(FeatureMatrix& rows) {
  if (!reduction_) return;
  const int height = reduction_->part_height();
  while (spectra_.height() >= 2 * height) reduce_noise(height, rows);
}

// The noise of the first spectra that wait, together, and then their rows or logarithms.
void FrontEnd::reduce_noise(int count, FeatureMatrix& rows) {
  FeatureMatrix part;
  part.width = spectra_.width;
  const auto end = spectra_.values.begin() + static_cast<std::ptrdiff_t>(count) * spectra_.width;
  part.values.assign(spectra_.values.begin(), end);
  spectra_.values.erase(spectra_.values.begin(), end);
  reduction_->run(part);
  for (int t = 0; t < count; ++t) {
    if (parameters_.dynamic_range > 0.0F) {
      analysis_->logarithms_of(part.row(t), next_row(logarithms_));
    } else {
      analysis_->row_of(part.row(t), log_energies_[static_cast<std::size_t>(t)], next_row(rows));
    }
  }
  if (parameters_.dynamic_range > 0.0F) return;
  log_energies_.erase(log_energies_.begin(), log_energies_.begin() + count);
}

// The rows of what has waited for the end of the utterance.
void FrontEnd::release(FeatureMatrix& rows) {
  const auto log_energy = [&](int t) { return log_energies_[static_cast<std::size_t>(t)]; };
  release_parts(rows);
  if (spectra_.height() > 0) reduce_noise(spectra_.height(), rows);
  limit_dynamic_range(parameters_, logarithms_.values);
  for (int t = 0; t < logarithms_.height(); ++t) {
    analysis_->row_of_logarithms(logarithms_.row(t), log_energy(t), next_row(rows));
  }
}

void FrontEnd::finish(FeatureMatrix& rows) {
  rows.width = row_width();
  cut_last(reduction_ ? nullptr : &rows);
  release(rows);
  start();
}

FeatureMatrix FrontEnd::run(std::span<const float> samples) {
  FeatureMatrix rows;
  push(samples, rows);
  finish(rows);
  return rows;
}

void FrontEnd::hand_over(FeatureMatrix& spectra) {
  spectra.width = spectra_.width;
  append_rows(spectra_.values, spectra);
  spectra_.values.clear();
  log_energies_.clear();
}

void FrontEnd::push_spectra(std::span<const float> samples, FeatureMatrix& spectra) {
  cut(samples, nullptr);
  hand_over(spectra);
}

void FrontEnd::finish_spectra(FeatureMatrix& spectra) {
  cut_last(nullptr);
  hand_over(spectra);
  start();
}

}  // namespace kivsr::speech
