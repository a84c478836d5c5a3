#include "kivsr/speech/front/pitch_tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr double kSearchRate = 8000.0;
constexpr double kLowPassSeconds = 0.0003;
constexpr int kLowPasses = 3;
constexpr double kTrendSeconds = 0.02;
constexpr double kSearchSeconds = 0.03;
constexpr double kFineSeconds = 0.05;
constexpr float kFineRange = 0.04F;  // of the lag, on either side

constexpr float kLeastCorrelation = 0.2F;  // of a candidate
constexpr std::size_t kMostCandidates = 12;
constexpr float kCertainCorrelation = 0.7F;  // from which on a peak needs no support by its multiples
constexpr int kMultiples = 4;                // of a lag that are looked at, itself included
constexpr float kMultipleRange = 0.05F;      // of a lag, within which it is the same
constexpr std::size_t kLookAhead = 25;       // frames that the level sees before they are spoken
constexpr std::size_t kTraceBack = 25;       // frames that the path may still change
constexpr float kLevelDecay = 0.9995F;       // a frame

int samples_of(double seconds, double rate) { return static_cast<int>(std::lround(seconds * rate)); }

// Ghahremani et al. 2014, equation of the probability of voicing.
float probability_of(float correlation) {
  const double r = std::min(std::abs(static_cast<double>(correlation)), 1.0);
  const double odds =
      -5.2 + 5.4 * std::exp(7.5 * (r - 1.0)) + 4.8 * r - 2.0 * std::exp(-10.0 * r) + 4.2 * std::exp(20.0 * (r - 1.0));
  return static_cast<float>(1.0 / (1.0 + std::exp(-odds)));
}

struct Peak {
  float height;
  float shift;
};

bool is_peak(const float* r) { return r[0] > r[-1] && r[0] >= r[1]; }

// Top of the parabola through r[-1], r[0], r[1].
Peak top_of(const float* r) {
  const float slope = r[-1] - r[1];
  const float shift = slope / (2.0F * (r[-1] - 2.0F * r[0] + r[1]));
  return {std::min(r[0] - 0.25F * slope * shift, 1.0F), shift};
}

// The band-limited function through the values r[1 - kReach] .. r[kReach] at a place between r[0] and r[1], by a sinc
// under a raised cosine, of which the values' turns by pi / kReach are tabulated.
constexpr int kReach = 8;
struct Turns {
  double cosine[2 * kReach];
  double sine[2 * kReach];
};
Turns make_turns() {
  Turns turns;
  for (int k = 0; k < 2 * kReach; ++k) {
    const double angle = std::numbers::pi * (k + 1 - kReach) / kReach;
    turns.cosine[k] = std::cos(angle);
    turns.sine[k] = std::sin(angle);
  }
  return turns;
}

double interpolated(const float* r, double place) {
  if (place <= 0.0 || place >= 1.0) return static_cast<double>(place <= 0.0 ? r[0] : r[1]);
  static const Turns turns = make_turns();
  const double cosine = std::cos(std::numbers::pi * place / kReach);
  const double sine = std::sin(std::numbers::pi * place / kReach);
  double sum = 0.0;
  for (int k = 1 - kReach; k <= kReach; ++k) {
    const int i = k + kReach - 1;
    const double window = 0.5 + 0.5 * (cosine * turns.cosine[i] + sine * turns.sine[i]);
    const double term = window * static_cast<double>(r[k]) / (place - k);
    sum += k % 2 == 0 ? term : -term;
  }
  return std::sin(std::numbers::pi * place) / std::numbers::pi * sum;
}

// Place of the top of a peak at r[0]: that of the parabola, then that of a parabola through band-limited values close
// to it, where the parabola of a short lag's narrow peak would be off.
float exact_shift(const float* r) {
  constexpr double kStep = 0.125;
  double shift = static_cast<double>(top_of(r).shift);
  const auto at = [&](double place) { return place < 0.0 ? interpolated(r - 1, place + 1.0) : interpolated(r, place); };
  for (int turn = 0; turn < 2; ++turn) {
    const double left = at(shift - kStep);
    const double middle = at(shift);
    const double right = at(shift + kStep);
    const double bend = left - 2.0 * middle + right;
    if (!(bend < 0.0)) break;
    shift = std::clamp(shift + std::clamp(0.5 * kStep * (left - right) / bend, -kStep, kStep), -0.75, 0.75);
  }
  return static_cast<float>(shift);
}

}  // namespace

void PitchParameters::validate() const {
  if (sample_rate < 8000) throw Fault("pitch: a sampling rate of at least 8000 Hz is needed");
  if (shift < 1 || first < 0) throw Fault("pitch: the distance of frames must be positive");
  if (!(low_frequency >= 20.0F) || !(high_frequency >= 1.2F * low_frequency) ||
      !(high_frequency <= static_cast<float>(sample_rate) / 8.0F)) {
    throw Fault("pitch: frequencies must be 20 Hz <= low, 1.2 low <= high <= an eighth of the sampling rate");
  }
}

// --- filters --------------------------------------------------------------------------------------------------------

int PitchTracker::LowPass::delay() const { return kLowPasses * (length_ / 2); }

void PitchTracker::LowPass::reset() { history_.assign(static_cast<std::size_t>(2 * delay()), 0.0F); }

// Whole blocks are added, a sample further on each time, so that the order of a sum does not depend on how the input is
// cut.
void PitchTracker::LowPass::smooth(std::span<float> samples) {
  const std::size_t kept = history_.size();
  history_.insert(history_.end(), samples.begin(), samples.end());
  const float* from = history_.data();
  std::size_t count = history_.size();
  for (int pass = 0; pass < kLowPasses; ++pass) {
    count -= static_cast<std::size_t>(length_ - 1);
    sums_[pass % 2].assign(from, from + count);
    float* const to = sums_[pass % 2].data();
    for (int i = 1; i < length_; ++i) call<kivsAdd_32f_I>(from + i, to, count);
    from = to;
  }
  call<kivsMulC_32f>(from, std::pow(static_cast<float>(length_), -static_cast<float>(kLowPasses)), samples.data(),
                     count);
  history_.erase(history_.begin(), history_.end() - static_cast<std::ptrdiff_t>(kept));
}

void PitchTracker::Trend::reset() {
  sum_ = 0.0;
  history_.assign(static_cast<std::size_t>(2 * half_ + 1), 0.0F);
}

void PitchTracker::Trend::remove(std::span<float> samples) {
  const std::size_t length = static_cast<std::size_t>(2 * half_ + 1);
  const double share = 1.0 / static_cast<double>(length);
  history_.insert(history_.end(), samples.begin(), samples.end());
  const float* const oldest = history_.data();
  double sum = sum_;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    sum += static_cast<double>(oldest[i + length]) - static_cast<double>(oldest[i]);
    samples[i] = oldest[i + 1 + length / 2] - static_cast<float>(share * sum);
  }
  sum_ = sum;
  history_.erase(history_.begin(), history_.end() - static_cast<std::ptrdiff_t>(length));
}

void PitchTracker::Tail::drop_before(std::int64_t position) {
  const std::int64_t count = std::min(position - begin_, static_cast<std::int64_t>(samples_.size()));
  // Seldom, so that what stays is not moved again and again.
  if (count < static_cast<std::int64_t>(samples_.size() / 2)) return;
  samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count));
  begin_ += count;
}

std::span<const float> PitchTracker::Tail::span(std::int64_t from, std::size_t count, std::vector<float>& room) const {
  const auto length = static_cast<std::int64_t>(count);
  if (from >= begin_ && from + length <= end()) return {samples_.data() + (from - begin_), count};
  const std::int64_t begin = std::clamp(begin_ - from, std::int64_t{0}, length);
  const std::int64_t stop = std::clamp(end() - from, begin, length);
  room.assign(count, 0.0F);
  std::copy_n(samples_.data() + (from + begin - begin_), stop - begin, room.begin() + begin);
  return room;
}

void PitchTracker::Tail::reset() {
  begin_ = 0;
  samples_.clear();
}

// --- the tracker ----------------------------------------------------------------------------------------------------

PitchTracker::PitchTracker(const PitchParameters& parameters)
    : parameters_((parameters.validate(), parameters)),
      factor_(std::max(1, static_cast<int>(parameters.sample_rate / kSearchRate))),
      low_pass_(samples_of(kLowPassSeconds, parameters.sample_rate) | 1),
      trend_(samples_of(kTrendSeconds, static_cast<double>(parameters.sample_rate) / factor_) | 1),
      smoother_(static_cast<double>(parameters.shift) / parameters.sample_rate, kFineSeconds) {
  const double rate = static_cast<double>(parameters_.sample_rate) / factor_;
  low_lag_ = std::max(1, static_cast<int>(rate / static_cast<double>(parameters_.high_frequency)) - 1);
  high_lag_ = static_cast<int>(rate / static_cast<double>(parameters_.low_frequency)) + 2;
  search_window_ = samples_of(kSearchSeconds, rate) / 2 * 2;
  fine_window_ = samples_of(kFineSeconds, parameters_.sample_rate) / 2 * 2;
}

int PitchTracker::delay() const {
  const int reach = factor_ * (search_window_ / 2 + high_lag_ + 1 + trend_.delay()) + low_pass_.delay();
  return reach + (static_cast<int>(kLookAhead + kTraceBack) + smoother_.delay()) * parameters_.shift;
}

std::int64_t PitchTracker::sample_of(std::int64_t frame) const { return parameters_.first + frame * parameters_.shift; }

void PitchTracker::push(std::span<const float> samples, std::vector<PitchFrame>& frames) {
  constexpr std::size_t kBlock = 4096;
  for (std::size_t begin = 0; begin < samples.size(); begin += kBlock) {
    const auto block = samples.subspan(begin, std::min(kBlock, samples.size() - begin));
    samples_.append(block);
    take(block);
    received_ += static_cast<std::int64_t>(block.size());
    advance(std::numeric_limits<std::int64_t>::max(), false, frames);
  }
}

void PitchTracker::finish(std::vector<PitchFrame>& frames) {
  const std::int64_t behind_first = received_ - parameters_.first;
  const std::int64_t in_all = behind_first > 0 ? (behind_first - 1) / parameters_.shift + 1 : 0;
  take(std::vector<float>(static_cast<std::size_t>(delay())));
  advance(in_all, true, frames);
  smoother_.finish(frames);
  low_pass_.reset();
  trend_.reset();
  samples_.reset();
  search_.reset();
  received_ = smoothed_ = thinned_ = first_frame_ = 0;
  frames_.clear();
  connected_ = 0;
  level_ = 0.0F;
}

std::vector<PitchFrame> PitchTracker::run(std::span<const float> samples) {
  std::vector<PitchFrame> frames;
  push(samples, frames);
  finish(frames);
  return frames;
}

// Through the low pass; every factor_-th sample of what comes out, freed from its trend, joins the search.
void PitchTracker::take(std::span<const float> samples) {
  block_.assign(samples.begin(), samples.end());
  low_pass_.smooth(block_);
  const auto count = static_cast<std::int64_t>(block_.size());
  const std::int64_t first = smoothed_ - low_pass_.delay();  // what block_[0] stands at
  std::int64_t i = first <= 0 ? std::min(-first, count) : (factor_ - first % factor_) % factor_;
  thin_block_.clear();
  for (; i < count; i += factor_) thin_block_.push_back(block_[static_cast<std::size_t>(i)]);
  smoothed_ += count;
  trend_.remove(thin_block_);
  const std::int64_t early = std::clamp<std::int64_t>(trend_.delay() - thinned_, 0, std::ssize(thin_block_));
  search_.append(std::span<const float>(thin_block_).subspan(static_cast<std::size_t>(early)));
  thinned_ += std::ssize(thin_block_);
}

void PitchTracker::advance(std::int64_t frames_in_all, bool last, std::vector<PitchFrame>& result) {
  const std::int64_t reach = search_window_ / 2 + high_lag_;
  std::int64_t next = first_frame_ + static_cast<std::int64_t>(frames_.size());
  while (next < frames_in_all && sample_of(next) / factor_ + reach <= search_.end()) analyse(next++);
  // The path goes on when the level ahead is known, and is final when it has gone on for long enough.
  while (connected_ + (last ? 0 : kLookAhead) < frames_.size()) {
    connect(connected_++);
    if (connected_ > kTraceBack) emit(kTraceBack, result);
  }
  if (last) {
    while (!frames_.empty()) emit(frames_.size() - 1, result);
  }
  search_.drop_before(sample_of(next) / factor_ - reach);
  samples_.drop_before(sample_of(first_frame_) - fine_window_ - factor_ * high_lag_);
}

// forward_: the mean of the correlations of the window around the centre with what follows it and with what precedes
// it. Returns the window.
std::span<const float> PitchTracker::correlate(std::int64_t centre) {
  const auto window = static_cast<std::size_t>(search_window_);
  const auto reach = static_cast<std::size_t>(high_lag_);
  const auto span = search_.span(centre - search_window_ / 2 - high_lag_, window + 2 * reach, span_);
  reversed_.resize(span.size());
  std::reverse_copy(span.begin(), span.end(), reversed_.begin());
  const auto lags = static_cast<std::size_t>(high_lag_ - low_lag_ + 1);
  forward_.resize(lags);
  backward_.resize(lags);
  call<kivsCrossCorrCoeffLag_32f>(span.data() + reach, window, low_lag_, high_lag_, forward_);
  call<kivsCrossCorrCoeffLag_32f>(reversed_.data() + reach, window, low_lag_, high_lag_, backward_);
  call<kivsAdd_32f_I>(backward_, forward_, lags);
  call<kivsMulC_32f_I>(0.5F, forward_, lags);
  return span.subspan(reach, window);
}

void PitchTracker::analyse(std::int64_t number) {
  const auto window = correlate(sample_of(number) / factor_);
  Frame& frame = frames_.emplace_back();
  float least = 0.0F;
  float most = 0.0F;
  call<kivsMinMax_32f>(window, window.size(), &least, &most);
  frame.peak = std::max(-least, most);
  find_candidates(frame);
}

void PitchTracker::find_candidates(Frame& frame) const {
  const float rate = static_cast<float>(parameters_.sample_rate) / static_cast<float>(factor_);
  const float lowest_octave = std::log2(parameters_.low_frequency);
  for (std::size_t k = 1; k + 1 < forward_.size(); ++k) {
    const float* const r = forward_.data() + k;
    if (!(*r > kLeastCorrelation) || !is_peak(r)) continue;
    const Peak top = top_of(r);
    const float lag = static_cast<float>(low_lag_) + static_cast<float>(k) + top.shift;
    const float frequency = rate / lag;
    if (frequency < parameters_.low_frequency || frequency > parameters_.high_frequency) continue;
    const float octave = std::log2(frequency);
    const float strength = top.height + parameters_.octave_cost * (octave - lowest_octave);
    frame.best = std::max(frame.best, top.height);
    frame.candidates.push_back({lag, top.height, octave, strength, 0.0F, 0});
  }
  if (frame.best < kCertainCorrelation) join_multiples(frame);
  std::sort(frame.candidates.begin(), frame.candidates.end(),
            [](const Candidate& a, const Candidate& b) { return a.strength > b.strength; });
  if (frame.candidates.size() > kMostCandidates) frame.candidates.resize(kMostCandidates);
}

// The highest correlation within a sample of the lag.
float PitchTracker::correlation_near(float lag) const {
  const auto place = static_cast<std::size_t>(std::lround(lag)) - static_cast<std::size_t>(low_lag_);
  const float* const r = forward_.data();
  const std::size_t last = forward_.size() - 1;
  return std::max({r[place], r[place > 0 ? place - 1 : 0], r[std::min(place + 1, last)]});
}

// In noise the correlation a period away may be low by chance, but not those of its multiples as well: what a candidate
// is taken for is at least their mean. Half the lag of a candidate is one more, should its peak be lost.
void PitchTracker::join_multiples(Frame& frame) const {
  const float lowest_octave = std::log2(parameters_.low_frequency);
  const float rate = static_cast<float>(parameters_.sample_rate) / static_cast<float>(factor_);
  const float shortest = rate / parameters_.high_frequency;
  auto& candidates = frame.candidates;
  const std::size_t peaks = candidates.size();
  for (std::size_t i = 0; i < peaks; ++i) {
    const float lag = 0.5F * candidates[i].lag;
    const auto is_near = [lag](const Candidate& c) { return std::abs(c.lag - lag) < kMultipleRange * lag; };
    if (lag < shortest || std::any_of(candidates.begin(), candidates.end(), is_near)) continue;
    const float octave = candidates[i].log_frequency + 1.0F;
    candidates.push_back({lag, correlation_near(lag), octave, 0.0F, 0.0F, 0});
  }
  for (Candidate& candidate : candidates) {
    float sum = candidate.correlation;
    int count = 1;
    for (; count < kMultiples && candidate.lag * static_cast<float>(count + 1) < static_cast<float>(high_lag_);
         ++count) {
      sum += correlation_near(candidate.lag * static_cast<float>(count + 1));
    }
    const float height = std::max(candidate.correlation, sum / static_cast<float>(count));
    candidate.strength = height + parameters_.octave_cost * (candidate.log_frequency - lowest_octave);
  }
}

// Joins a frame to the paths: its candidates and the one of being unvoiced, each to the best of the frame before.
void PitchTracker::connect(std::size_t index) {
  Frame& frame = frames_[index];
  level_ *= kLevelDecay;
  for (std::size_t i = index; i < std::min(index + kLookAhead + 1, frames_.size()); ++i) {
    level_ = std::max(level_, frames_[i].peak);
  }
  const float relative = level_ > 0.0F ? frame.peak / level_ : 0.0F;
  const float threshold = parameters_.voicing_threshold;
  const float quiet = 2.0F - relative * (1.0F + threshold) / std::max(parameters_.silence_threshold, 1e-6F);
  frame.candidates.push_back({0.0F, frame.best, 0.0F, threshold + std::max(quiet, 0.0F), 0.0F, 0});
  const float pace = 0.01F * static_cast<float>(parameters_.sample_rate) / static_cast<float>(parameters_.shift);
  float least = std::numeric_limits<float>::infinity();
  for (Candidate& now : frame.candidates) {
    float best = index == 0 ? 0.0F : std::numeric_limits<float>::infinity();
    for (std::size_t i = 0; index > 0 && i < frames_[index - 1].candidates.size(); ++i) {
      const Candidate& old = frames_[index - 1].candidates[i];
      float change = 0.0F;
      if ((old.lag == 0.0F) != (now.lag == 0.0F)) {
        change = parameters_.transition_cost;
      } else if (now.lag != 0.0F) {
        change = parameters_.jump_cost * std::abs(now.log_frequency - old.log_frequency);
      }
      if (const float cost = old.cost + pace * change; cost < best) {
        best = cost;
        now.before = static_cast<int>(i);
      }
    }
    now.cost = best - now.strength;
    least = std::min(least, now.cost);
  }
  for (Candidate& now : frame.candidates) now.cost -= least;
}

// The first frame that is left, by the path that is best `behind` frames later.
void PitchTracker::emit(std::size_t behind, std::vector<PitchFrame>& result) {
  const auto& ends = frames_[behind].candidates;
  std::size_t at = static_cast<std::size_t>(
      std::min_element(ends.begin(), ends.end(),
                       [](const Candidate& a, const Candidate& b) { return a.cost < b.cost; }) -
      ends.begin());
  for (std::size_t i = behind; i > 0; --i) at = static_cast<std::size_t>(frames_[i].candidates[at].before);
  smoother_.push(result_of(first_frame_, frames_.front().candidates[at], frames_.front().best), result);
  frames_.pop_front();
  ++first_frame_;
  --connected_;
}

PitchFrame PitchTracker::result_of(std::int64_t frame, const Candidate& candidate, float best) {
  PitchFrame result{0.0F, candidate.correlation, probability_of(best)};
  if (candidate.lag > 0.0F) {
    const float lag = refined_lag(sample_of(frame), candidate.lag * static_cast<float>(factor_));
    result.frequency = static_cast<float>(parameters_.sample_rate) / lag;
  }
  return result;
}

// The highest peak close to the lag in the samples as they came, between two windows that lie around the centre; the
// lag itself if there is none.
float PitchTracker::refined_lag(std::int64_t centre, float lag) {
  const int low = static_cast<int>(lag * (1.0F - kFineRange)) - 1;
  const int high = static_cast<int>(lag * (1.0F + kFineRange)) + 2;
  const int first = std::max(0, low - kReach);
  const int last = high + kReach;
  const auto span = samples_.span(centre - (fine_window_ + static_cast<int>(lag)) / 2,
                                  static_cast<std::size_t>(fine_window_ + last), span_);
  forward_.resize(static_cast<std::size_t>(last - first + 1));
  call<kivsCrossCorrCoeffLag_32f>(span.data(), fine_window_, first, last, forward_);
  float highest = 0.0F;
  const float* best = nullptr;
  for (int k = std::max(low, first + 1) + 1; k < high; ++k) {
    const float* const r = forward_.data() + (k - first);
    if (*r > highest && is_peak(r)) {
      highest = *r;
      best = r;
    }
  }
  if (best == nullptr) return lag;
  const auto place = best - forward_.data();
  const float shift = place > kReach ? exact_shift(best) : top_of(best).shift;
  return static_cast<float>(first + place) + shift;
}

}  // namespace kivsr::speech
