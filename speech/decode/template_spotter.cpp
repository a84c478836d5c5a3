#include "kivsr/speech/decode/template_spotter.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

#include <kivsr/kivsr.hpp>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

// Rows that are searched at a time, wherever the caller cuts them.
constexpr int kBlock = 256;

// A threshold lies so far from the worst match within a label towards the best one of another label.
constexpr float kBetween = 0.5F;
// What is left of the distance to other labels, or is added to that within the label, where only one of them is known.
constexpr float kBelowOthers = 0.85F;
constexpr float kAboveOwn = 1.25F;

}  // namespace

TemplateSpotter::TemplateSpotter(std::vector<SpokenExample> examples, const SpotSettings& settings)
    : examples_(std::move(examples)), settings_(settings) {
  if (examples_.empty()) throw Fault("no example to find");
  for (const SpokenExample& example : examples_) {
    if (example.rows.height() == 0) throw Fault("the example of \"" + example.label + "\" has no frame");
    if (example.rows.width != examples_.front().rows.width) {
      throw Fault("the example of \"" + example.label + "\" has rows of " + std::to_string(example.rows.width) +
                  " values, others of " + std::to_string(examples_.front().rows.width));
    }
  }
  rows_.width = examples_.front().rows.width;
  measure_columns();
  for (int i = 0; i < static_cast<int>(examples_.size()); ++i) {
    FeatureMatrix& rows = examples_[static_cast<std::size_t>(i)].rows;
    for (int r = 0; r < rows.height(); ++r) scale(rows.row(r));
    overlap_ = std::max(overlap_, longest_match(i));
  }
  derive_thresholds();
}

int TemplateSpotter::longest_match(int example) const {
  return std::max(1, static_cast<int>(std::ceil(settings_.longest * frames_of(example))));
}

// Columns that do not vary do not count.
void TemplateSpotter::measure_columns() {
  const auto width = static_cast<std::size_t>(rows_.width);
  std::vector<double> sums(width), squares(width);
  double count = 0.0;
  for (const SpokenExample& example : examples_) {
    for (int r = 0; r < example.rows.height(); ++r) {
      for (std::size_t c = 0; c < width; ++c) {
        const double x = example.rows.row(r)[c];
        sums[c] += x;
        squares[c] += x * x;
      }
      count += 1.0;
    }
  }
  int varying = 0;
  for (std::size_t c = 0; c < width; ++c) {
    const double mean = sums[c] / count;
    const double variance = squares[c] / count - mean * mean;
    const bool varies = variance > 1e-12 * squares[c] / count;
    factors_.push_back(varies ? static_cast<float>(1.0 / std::sqrt(variance)) : 0.0F);
    varying += varies ? 1 : 0;
  }
  // Two independent values of variance 1 are sqrt(2) apart in the mean of squares.
  unit_ = std::sqrt(2.0F * static_cast<float>(std::max(varying, 1)));
}

void TemplateSpotter::scale(std::span<float> row) const {
  std::transform(row.begin(), row.end(), factors_.begin(), row.begin(), std::multiplies<>());
}

template <class Visit>
void TemplateSpotter::match(int example, const FeatureMatrix& rows, int from, Visit visit) const {
  const FeatureMatrix& pattern = examples_[static_cast<std::size_t>(example)].rows;
  const int longest = longest_match(example);
  const int shortest = std::max(1, static_cast<int>(std::floor(settings_.shortest * pattern.height())));
  const int begin = std::max(0, from + 1 - longest);
  const int count = rows.height() - begin;
  if (count <= 0) return;
  std::vector<float> sums(static_cast<std::size_t>(count));
  std::vector<Kiv32s> starts(static_cast<std::size_t>(count));
  call<kivsDTW_L2Open_32f_D2>(pattern.values.data(), pattern.width, pattern.height(), rows.row(begin).data(),
                              rows.width, count, rows.width, sums.data(), starts.data());
  for (int j = from - begin; j < count; ++j) {
    const int start = starts[static_cast<std::size_t>(j)];
    const int frames = j - start + 1;
    if (start < 0 || frames < shortest || frames > longest) continue;
    const float cells = static_cast<float>(std::max(frames, pattern.height()));
    visit(begin + j, begin + start, sums[static_cast<std::size_t>(j)] / (cells * unit_));
  }
}

float TemplateSpotter::distance_between(int example, const FeatureMatrix& rows) const {
  float least = std::numeric_limits<float>::infinity();
  match(example, rows, 0, [&](int, int, float distance) { least = std::min(least, distance); });
  return least;
}

void TemplateSpotter::derive_thresholds() {
  constexpr float kNone = std::numeric_limits<float>::infinity();
  const int count = static_cast<int>(examples_.size());
  thresholds_.assign(examples_.size(), settings_.threshold);
  if (settings_.threshold > 0.0F) return;
  for (int i = 0; i < count; ++i) {
    const std::string& label = examples_[static_cast<std::size_t>(i)].label;
    float within = 0.0F;  // the farthest of the label's examples from its nearest sister
    float others = kNone;
    for (int a = 0; a < count; ++a) {
      if (examples_[static_cast<std::size_t>(a)].label != label) continue;
      float sister = kNone;
      for (int b = 0; b < count; ++b) {
        const SpokenExample& other = examples_[static_cast<std::size_t>(b)];
        if (a == b) continue;
        float& nearest = other.label == label ? sister : others;
        nearest = std::min(nearest, distance_between(a, other.rows));
      }
      if (sister < kNone) within = std::max(within, sister);
    }
    float& threshold = thresholds_[static_cast<std::size_t>(i)];
    if (within > 0.0F && others < kNone) {
      threshold = within < others ? within + kBetween * (others - within) : others;
    } else if (others < kNone) {
      threshold = std::min(kUsualThreshold, kBelowOthers * others);
    } else {
      threshold = within > 0.0F ? kAboveOwn * within : kUsualThreshold;
    }
  }
}

void TemplateSpotter::push(const FeatureMatrix& rows, std::vector<SpotHit>& hits) {
  if (rows.width != rows_.width) {
    throw Fault("rows of " + std::to_string(rows.width) + " values, the examples have " + std::to_string(rows_.width));
  }
  for (int r = 0; r < rows.height(); ++r) {
    const auto row = rows.row(r);
    rows_.values.insert(rows_.values.end(), row.begin(), row.end());
    scale(rows_.row(rows_.height() - 1));
    if (first_ + rows_.height() == searched_ + kBlock) search(hits);
  }
}

void TemplateSpotter::search(std::vector<SpotHit>& hits) {
  const int from = static_cast<int>(searched_ - first_);
  const auto fresh = static_cast<std::size_t>(rows_.height() - from);
  std::vector<std::optional<SpotHit>> ends(fresh);  // the best match that ends in each row
  for (int example = 0; example < static_cast<int>(examples_.size()); ++example) {
    match(example, rows_, from, [&](int end, int start, float distance) {
      std::optional<SpotHit>& held = ends[static_cast<std::size_t>(end - from)];
      const float share = distance / threshold(example);
      if (!held || share < held->share) held = SpotHit{example, first_ + start, first_ + end, distance, share};
    });
  }
  for (const std::optional<SpotHit>& end : ends) {
    if (end) consider(*end, hits);
  }
  searched_ = first_ + rows_.height();
  if (const int behind = rows_.height() - overlap_; behind > 0) {
    rows_.values.erase(rows_.values.begin(), rows_.values.begin() + static_cast<std::ptrdiff_t>(behind) * rows_.width);
    first_ += behind;
  }
  if (open_ && searched_ - open_->last_frame > overlap_) {
    hits.push_back(*open_);
    open_.reset();
  }
}

void TemplateSpotter::consider(const SpotHit& match, std::vector<SpotHit>& hits) {
  if (!best_ || match.share < best_->share) best_ = match;
  if (!(match.share <= 1.0F)) return;
  if (open_ && match.first_frame > open_->last_frame) {
    hits.push_back(*open_);
    open_.reset();
  }
  if (!open_ || match.share < open_->share) open_ = match;
}

void TemplateSpotter::finish(std::vector<SpotHit>& hits) {
  if (first_ + rows_.height() > searched_) search(hits);
  if (open_) hits.push_back(*open_);
  best_of_last_ = std::exchange(best_, std::nullopt);
  open_.reset();
  rows_.values.clear();
  first_ = searched_ = 0;
}

}  // namespace kivsr::speech
