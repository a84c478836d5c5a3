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
constexpr int kStep = FrameAnalysis::kMostFrames;

std::span<float> next_rows(FeatureMatrix& rows, int count) {
  const std::size_t values = static_cast<std::size_t>(rows.width) * static_cast<std::size_t>(count);
  rows.values.resize(rows.values.size() + values);
  return std::span(rows.values).last(values);
}

// Calls f(first, count) for all of `height` rows, some at a time.
template <class F>
void in_steps(int height, F f) {
  for (int t = 0; t < height; t += kStep) f(t, std::min(kStep, height - t));
}

// Some rows of a matrix, or some values, which are a matrix of one column.
std::span<const float> part_of(std::span<const float> values, int first, int count, int width = 1) {
  const auto stride = static_cast<std::size_t>(width);
  return values.subspan(static_cast<std::size_t>(first) * stride, static_cast<std::size_t>(count) * stride);
}
std::span<const float> part_of(const FeatureMatrix& matrix, int first, int count) {
  return part_of(matrix.values, first, count, matrix.width);
}

}  // namespace

FrontEnd::FrontEnd(const FrontEndParameters& parameters, const NoiseReductionParameters& noise)
    : parameters_(parameters), conditioning_(parameters) {
  parameters_.validate();
  if (parameters_.kind != FrontEndKind::kGeneral) throw Fault("front end: etsi-afe is not the general front end");
  analysis_ = std::make_unique<FrameAnalysis>(parameters_);
  if (noise.method != NoiseMethod::kNone) reduction_ = std::make_unique<NoiseReduction>(parameters_, noise);
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

// The rows of frames, or for later: their spectra, or their logarithms, which must know the largest of the utterance.
void FrontEnd::emit(std::span<const float> samples, int frames, FeatureMatrix* rows) {
  cut_one_ = true;
  analysis_->cut(samples, frames);
  const auto keep_energies = [&] {
    const auto energies = analysis_->log_energies();
    log_energies_.insert(log_energies_.end(), energies.begin(), energies.end());
  };
  if (rows == nullptr) {
    analysis_->spectra(next_rows(spectra_, frames));
    keep_energies();
  } else if (parameters_.dynamic_range > 0.0F) {
    analysis_->logarithms(next_rows(logarithms_, frames));
    keep_energies();
  } else {
    analysis_->rows(next_rows(*rows, frames));
  }
}

void FrontEnd::cut(std::span<const float> samples, FeatureMatrix* rows) {
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());
    cut_block(conditioning_.needed() ? conditioning_.push(block) : block, rows);
  }
}

// Emits the frames that lie in the samples, in steps that begin before `limit`. Returns where the next frame begins.
std::size_t FrontEnd::cut_frames(std::span<const float> samples, std::size_t limit, FeatureMatrix* rows) {
  const auto length = static_cast<std::size_t>(parameters_.window_length) + 1;
  const auto shift = static_cast<std::size_t>(parameters_.shift);
  std::size_t begin = 0;
  while (begin < limit && begin + length <= samples.size()) {
    const std::size_t frames = 1 + std::min<std::size_t>((samples.size() - length - begin) / shift, kStep - 1);
    emit(samples.subspan(begin, (frames - 1) * shift + length), static_cast<int>(frames), rows);
    begin += frames * shift;
  }
  return begin;
}

// Frames that begin in what is held are completed there, a whole step of them; the others are cut where they lie.
void FrontEnd::cut_block(std::span<const float> block, FeatureMatrix* rows) {
  // A shift beyond the window leaves samples between frames that no frame reads.
  const std::size_t skipped = std::min(skip_, block.size());
  skip_ -= skipped;
  block = block.subspan(skipped);
  const std::size_t held = pending_.size();
  const auto step = static_cast<std::size_t>(parameters_.window_length + 1 + (kStep - 1) * parameters_.shift);
  const std::size_t added = std::min(block.size(), step);
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
  if (parameters_.pad_last_frame && pending_.size() > seen) emit(pending_, 1, rows);
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
  in_steps(count, [&](int t, int frames) {
    analysis_->set_spectra(part_of(part, t, frames), part_of(log_energies_, t, frames));
    if (parameters_.dynamic_range > 0.0F) {
      analysis_->logarithms(next_rows(logarithms_, frames));
    } else {
      analysis_->rows(next_rows(rows, frames));
    }
  });
  if (parameters_.dynamic_range > 0.0F) return;
  log_energies_.erase(log_energies_.begin(), log_energies_.begin() + count);
}

// The rows of what has waited for the end of the utterance.
void FrontEnd::release(FeatureMatrix& rows) {
  release_parts(rows);
  if (spectra_.height() > 0) reduce_noise(spectra_.height(), rows);
  limit_dynamic_range(parameters_, logarithms_.values);
  in_steps(logarithms_.height(), [&](int t, int frames) {
    analysis_->rows_of_logarithms(part_of(logarithms_, t, frames), part_of(log_energies_, t, frames),
                                  next_rows(rows, frames));
  });
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
