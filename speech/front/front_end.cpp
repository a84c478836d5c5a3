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
    : parameters_(parameters) {
  parameters_.validate();
  if (parameters_.kind != FrontEndKind::kGeneral) throw Fault("front end: etsi-afe is not the general front end");
  analysis_ = std::make_unique<FrameAnalysis>(parameters_);
  if (noise.method != NoiseMethod::kNone) reduction_ = std::make_unique<NoiseReduction>(parameters_, noise);
  spectrum_.resize(static_cast<std::size_t>(analysis_->spectrum_width()));
  spectra_.width = analysis_->spectrum_width();
  start();
}

FrontEnd::~FrontEnd() = default;
FrontEnd::FrontEnd(FrontEnd&&) noexcept = default;
FrontEnd& FrontEnd::operator=(FrontEnd&&) noexcept = default;

void FrontEnd::start() {
  pending_.assign(1, 0.0F);
  skip_ = 0;
  spectra_.values.clear();
  log_energies_.clear();
}

void FrontEnd::add_row(std::span<const float> spectrum, float log_energy, FeatureMatrix& rows) {
  const auto width = static_cast<std::size_t>(row_width());
  rows.values.resize(rows.values.size() + width);
  analysis_->row_of(spectrum, log_energy, std::span(rows.values).last(width));
}

// The row of a frame, or, without rows, its spectrum for later.
void FrontEnd::emit(std::span<const float> samples, FeatureMatrix* rows) {
  const float log_energy = analysis_->spectrum_of(samples, spectrum_);
  if (rows != nullptr) return add_row(spectrum_, log_energy, *rows);
  spectra_.values.insert(spectra_.values.end(), spectrum_.begin(), spectrum_.end());
  log_energies_.push_back(log_energy);
}

void FrontEnd::cut(std::span<const float> samples, FeatureMatrix* rows) {
  const auto length = static_cast<std::size_t>(parameters_.window_length) + 1;
  const auto shift = static_cast<std::size_t>(parameters_.shift);
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());
    // A shift beyond the window leaves samples between frames that no frame reads.
    const std::size_t skipped = std::min(skip_, block.size());
    skip_ -= skipped;
    pending_.insert(pending_.end(), block.begin() + static_cast<std::ptrdiff_t>(skipped), block.end());

    std::size_t begin = 0;
    while (begin + length <= pending_.size()) {
      emit(std::span<const float>(pending_).subspan(begin, length), rows);
      begin += shift;
    }
    if (begin > pending_.size()) {
      skip_ = begin - pending_.size();
      begin = pending_.size();
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(begin));
  }
}

void FrontEnd::cut_last(FeatureMatrix* rows) {
  if (parameters_.pad_last_frame && pending_.size() > 1) emit(pending_, rows);
}

void FrontEnd::push(std::span<const float> samples, FeatureMatrix& rows) {
  rows.width = row_width();
  cut(samples, reduction_ ? nullptr : &rows);
}

void FrontEnd::finish(FeatureMatrix& rows) {
  rows.width = row_width();
  cut_last(reduction_ ? nullptr : &rows);
  if (reduction_) {
    reduction_->run(spectra_);
    for (int t = 0; t < spectra_.height(); ++t) {
      add_row(spectra_.row(t), log_energies_[static_cast<std::size_t>(t)], rows);
    }
  }
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
