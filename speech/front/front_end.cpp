#include "kivsr/speech/front/front_end.h"

#include <algorithm>

#include "kivsr/speech/front/frame_analysis.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kBlock = 1 << 16;  // samples pushed at a time by a whole utterance: bounds the work areas

}  // namespace

FrontEnd::FrontEnd(const FrontEndParameters& parameters, SpectrumFilter* filter)
    : parameters_(parameters), filter_(filter) {
  parameters_.validate();
  analysis_ = std::make_unique<FrameAnalysis>(parameters_, filter_);
  start();
}

FrontEnd::~FrontEnd() = default;
FrontEnd::FrontEnd(FrontEnd&&) noexcept = default;
FrontEnd& FrontEnd::operator=(FrontEnd&&) noexcept = default;

void FrontEnd::start() {
  pending_.assign(1, 0.0F);
  skip_ = 0;
}

void FrontEnd::emit(std::span<const float> samples, FeatureMatrix& rows) {
  const auto width = static_cast<std::size_t>(row_width());
  rows.values.resize(rows.values.size() + width);
  analysis_->run(samples, std::span(rows.values).last(width));
}

void FrontEnd::push(std::span<const float> samples, FeatureMatrix& rows) {
  rows.width = row_width();
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

void FrontEnd::finish(FeatureMatrix& rows) {
  rows.width = row_width();
  if (parameters_.pad_last_frame && pending_.size() > 1) emit(pending_, rows);
  if (filter_ != nullptr) filter_->restart();
  start();
}

FeatureMatrix FrontEnd::run(std::span<const float> samples) {
  FeatureMatrix rows;
  push(samples, rows);
  finish(rows);
  return rows;
}

}  // namespace kivsr::speech
