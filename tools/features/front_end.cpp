#include "features/front_end.h"

#include <algorithm>

#include "features/frame_analysis.h"
#include "support/fault.h"

namespace kivsr::tools {

namespace {

constexpr std::size_t kBlock = 1 << 16;  // samples pushed at a time by a whole utterance: bounds the work areas

}  // namespace

FrontEnd::FrontEnd(const FrontEndParameters& parameters) : parameters_(parameters) {
  parameters_.validate();
  analysis_ = std::make_unique<FrameAnalysis>(parameters_);
}

FrontEnd::~FrontEnd() = default;
FrontEnd::FrontEnd(FrontEnd&&) noexcept = default;
FrontEnd& FrontEnd::operator=(FrontEnd&&) noexcept = default;

void FrontEnd::emit(std::span<const float> frame, FeatureMatrix& rows) {
  const auto width = static_cast<std::size_t>(row_width());
  rows.width = row_width();
  rows.values.resize(rows.values.size() + width);
  analysis_->run(frame, std::span(rows.values).last(width));
}

void FrontEnd::push(std::span<const float> samples, FeatureMatrix& rows) {
  rows.width = row_width();
  const auto length = static_cast<std::size_t>(parameters_.window_length);
  const auto shift = static_cast<std::size_t>(parameters_.shift);
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());

    // y(n) = x(n) - a x(n-1), the sample before the block being the last of the block before.
    const int count = static_cast<int>(block.size());
    emphasis_.resize(block.size());
    emphasis_[0] = previous_sample_;
    std::copy(block.begin(), block.end() - 1, emphasis_.begin() + 1);
    check(kivsMulC_32f_I(-parameters_.pre_emphasis, emphasis_.data(), count), "kivsMulC_32f_I");
    check(kivsAdd_32f_I(block.data(), emphasis_.data(), count), "kivsAdd_32f_I");
    previous_sample_ = block.back();
    // A shift beyond the window leaves samples between frames that no frame reads.
    const std::size_t skipped = std::min(skip_, emphasis_.size());
    skip_ -= skipped;
    pending_.insert(pending_.end(), emphasis_.begin() + static_cast<std::ptrdiff_t>(skipped), emphasis_.end());

    std::size_t start = 0;
    while (pending_.size() >= start + length) {
      emit(std::span<const float>(pending_).subspan(start, length), rows);
      start += shift;
      if (start > pending_.size()) break;
    }
    if (start > pending_.size()) {
      skip_ = start - pending_.size();
      start = pending_.size();
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(start));
  }
}

void FrontEnd::finish(FeatureMatrix& rows) {
  rows.width = row_width();
  if (parameters_.pad_last_frame && !pending_.empty()) {
    pending_.resize(static_cast<std::size_t>(parameters_.window_length), 0.0F);
    emit(pending_, rows);
  }
  pending_.clear();
  skip_ = 0;
  previous_sample_ = 0.0F;
}

FeatureMatrix FrontEnd::run(std::span<const float> samples) {
  FeatureMatrix rows;
  push(samples, rows);
  finish(rows);
  return rows;
}

}  // namespace kivsr::tools
