#include "program/picture/reduction.h"

#include <algorithm>
#include <cmath>

#include "kivsr/kivsr.hpp"

namespace kivsr::program {

void ColumnReduction::add(std::span<const float> row) {
  columns_.width = static_cast<int>(row.size());
  if (columns_.height() == most_columns_) {
    const auto width = row.size();
    for (int column = 0; column < most_columns_ / 2; ++column) {
      const float* const pair = columns_.row(2 * column).data();
      float* const mean = columns_.row(column).data();
      for (std::size_t i = 0; i < width; ++i) mean[i] = 0.5F * (pair[i] + pair[width + i]);
    }
    columns_.values.resize(static_cast<std::size_t>(most_columns_ / 2) * width);
    rows_a_column_ *= 2;
  }
  sum_.resize(row.size());
  for (std::size_t i = 0; i < row.size(); ++i) sum_[i] += static_cast<double>(row[i]);
  ++rows_;
  if (++summed_ < rows_a_column_) return;
  for (double& sum : sum_) columns_.values.push_back(static_cast<float>(sum / summed_));
  std::fill(sum_.begin(), sum_.end(), 0.0);
  summed_ = 0;
}

void ColumnReduction::add(const FeatureMatrix& rows) {
  for (int t = 0; t < rows.height(); ++t) add(rows.row(t));
}

FeatureMatrix ColumnReduction::columns() const {
  FeatureMatrix result = columns_;
  if (summed_ > 0) {
    for (const double sum : sum_) result.values.push_back(static_cast<float>(sum / summed_));
  }
  return result;
}

void Envelope::add(std::span<const float> samples) {
  while (!samples.empty()) {
    const std::int64_t filled = samples_ % stretch_;
    if (filled == 0 && low_.size() == kMostStretches) {
      for (std::size_t i = 0; i < kMostStretches / 2; ++i) {
        low_[i] = std::min(low_[2 * i], low_[2 * i + 1]);
        high_[i] = std::max(high_[2 * i], high_[2 * i + 1]);
      }
      low_.resize(kMostStretches / 2);
      high_.resize(kMostStretches / 2);
      stretch_ *= 2;
      continue;
    }
    const auto part = samples.first(std::min(samples.size(), static_cast<std::size_t>(stretch_ - filled)));
    float low = 0.0F;
    float high = 0.0F;
    call<kivsMinMax_32f>(part, part.size(), &low, &high);
    if (filled == 0) {
      low_.push_back(low);
      high_.push_back(high);
    } else {
      low_.back() = std::min(low_.back(), low);
      high_.back() = std::max(high_.back(), high);
    }
    samples_ += static_cast<std::int64_t>(part.size());
    samples = samples.subspan(part.size());
  }
}

Range Envelope::extremes(std::int64_t first, std::int64_t last) const {
  const auto begin = static_cast<std::ptrdiff_t>(first / stretch_);
  const auto end = static_cast<std::ptrdiff_t>((last + stretch_ - 1) / stretch_);
  return {*std::min_element(low_.begin() + begin, low_.begin() + end),
          *std::max_element(high_.begin() + begin, high_.begin() + end)};
}

void draw_waveform(Page& page, Panel panel, const Envelope& envelope, int sample_rate) {
  const Range all = envelope.extremes();
  constexpr double kFaint = 300.0;  // what is below, silence and its noise, is not drawn as loud
  const double peak = std::max({std::abs(all.low), std::abs(all.high), kFaint});
  panel.y = {-1.05 * peak, 1.05 * peak};
  const std::int64_t count = envelope.samples();
  page.envelope(panel, [&](Range x) {
    const auto first = std::clamp<std::int64_t>(static_cast<std::int64_t>(x.low * sample_rate), 0, count - 1);
    const auto last =
        std::clamp<std::int64_t>(static_cast<std::int64_t>(std::ceil(x.high * sample_rate)), first + 1, count);
    return envelope.extremes(first, last);
  });
  page.frame(panel, "Waveform", "16-bit units");
  page.time_axis(panel, false);
  page.y_axis(panel, numbered(ticks(panel.y, 5)));
}

}  // namespace kivsr::program
