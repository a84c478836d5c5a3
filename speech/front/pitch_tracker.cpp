#include "kivsr/speech/front/pitch_tracker.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr double kSearchRate = 8000.0;
constexpr double kLowPassSeconds = 0.0003;
constexpr int kLowPasses = 3;
constexpr double kTrendSeconds = 0.02;
constexpr double kSearchSeconds = 0.03;
constexpr double kFineSeconds = 0.04;
constexpr float kFineRange = 0.04F;  // of the lag, on either side

constexpr float kLeastCorrelation = 0.2F;  // of a candidate
constexpr std::size_t kMostCandidates = 12;
constexpr std::size_t kLookAhead = 25;  // frames that the level sees before they are spoken
constexpr std::size_t kTraceBack = 25;  // frames that the path may still change
constexpr float kLevelDecay = 0.9995F;  // a frame

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

// The band-limited function through the values r[1 - kReach] .. r[kReach] at a place between r[0] and r[1].
constexpr int kReach = 8;
double interpolated(const float* r, double place) {
  if (place <= 0.0 || place >= 1.0) return static_cast<double>(place <= 0.0 ? r[0] : r[1]);
  constexpr double kPi = 3.14159265358979323846;
  const double sine = std::sin(kPi * place) / kPi;
  double sum = 0.0;
  for (int k = 1 - kReach; k <= kReach; ++k) {
    const double distance = place - k;
    const double window = 0.5 + 0.5 * std::cos(kPi * distance / kReach);
    sum += (k % 2 == 0 ? sine : -sine) / distance * window * static_cast<double>(r[k]);
  }
  return sum;
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

void PitchTracker::MovingMean::reset() {
  sum_ = 0.0;
  history_.assign(static_cast<std::size_t>(2 * half_ + 1), 0.0F);
}

template <class Result>
void PitchTracker::MovingMean::filter(std::span<float> samples, Result result) {
  const std::size_t length = static_cast<std::size_t>(2 * half_ + 1);
  const double share = 1.0 / static_cast<double>(length);
  history_.insert(history_.end(), samples.begin(), samples.end());
  const float* const oldest = history_.data();
  double sum = sum_;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    sum += static_cast<double>(oldest[i + length]) - static_cast<double>(oldest[i]);
    samples[i] = result(static_cast<float>(share * sum), oldest[i + 1 + length / 2]);
  }
  sum_ = sum;
  history_.erase(history_.begin(), history_.end() - static_cast<std::ptrdiff_t>(length));
}

void PitchTracker::MovingMean::smooth(std::span<float> samples) {
  filter(samples, [](float mean, float) { return mean; });
}

void PitchTracker::MovingMean::remove(std::span<float> samples) {
  filter(samples, [](float mean, float centre) { return centre - mean; });
}

void PitchTracker::Tail::drop_before(std::int64_t position) {
  const std::int64_t count = std::min(position - begin_, static_cast<std::int64_t>(samples_.size()));
  // Seldom, so that what stays is not moved again and again.
  if (count < static_cast<std::int64_t>(samples_.size() / 2)) return;
  samples_.erase(samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count));
  begin_ += count;
}

void PitchTracker::Tail::copy(std::int64_t from, std::span<float> samples) const {
  const std::int64_t count = static_cast<std::int64_t>(samples.size());
  const std::int64_t begin = std::clamp(begin_ - from, std::int64_t{0}, count);
  const std::int64_t stop = std::clamp(end() - from, begin, count);
  std::fill(samples.begin(), samples.begin() + begin, 0.0F);
  std::copy_n(samples_.data() + (from + begin - begin_), stop - begin, samples.begin() + begin);
  std::fill(samples.begin() + stop, samples.end(), 0.0F);
}

void PitchTracker::Tail::reset() {
  begin_ = 0;
  samples_.clear();
}

// --- the tracker ----------------------------------------------------------------------------------------------------

PitchTracker::PitchTracker(const PitchParameters& parameters)
    : parameters_((parameters.validate(), parameters)),
      factor_(std::max(1, static_cast<int>(parameters.sample_rate / kSearchRate))),
      low_pass_(kLowPasses, MovingMean(samples_of(kLowPassSeconds, parameters.sample_rate) | 1)),
      trend_(samples_of(kTrendSeconds, parameters.sample_rate) | 1) {
  const double rate = static_cast<double>(parameters_.sample_rate) / factor_;
  low_lag_ = std::max(1, static_cast<int>(rate / static_cast<double>(parameters_.high_frequency)) - 1);
  high_lag_ = static_cast<int>(rate / static_cast<double>(parameters_.low_frequency)) + 2;
  search_window_ = samples_of(kSearchSeconds, rate) / 2 * 2;
  fine_window_ = samples_of(kFineSeconds, parameters_.sample_rate) / 2 * 2;
  filter_delay_ = trend_.half();
  for (const MovingMean& mean : low_pass_) filter_delay_ += mean.half();
}

int PitchTracker::delay() const {
  const int reach = factor_ * (search_window_ / 2 + high_lag_ + 1) + filter_delay_;
  return reach + static_cast<int>(kLookAhead + kTraceBack) * parameters_.shift;
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
  for (MovingMean& mean : low_pass_) mean.reset();
  trend_.reset();
  samples_.reset();
  search_.reset();
  received_ = filtered_ = first_frame_ = 0;
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

// Through the filters; of what comes out every factor_-th joins the search.
void PitchTracker::take(std::span<const float> samples) {
  block_.assign(samples.begin(), samples.end());
  for (MovingMean& mean : low_pass_) mean.smooth(block_);
  trend_.remove(block_);
  for (const float sample : block_) {
    const std::int64_t position = filtered_++ - filter_delay_;
    if (position >= 0 && position % factor_ == 0) search_.append(sample);
  }
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
  samples_.drop_before(sample_of(first_frame_) - delay());
}

// forward_: the mean of the correlations of the window around the centre with what follows and with what precedes it.
void PitchTracker::correlate(const Tail& signal, std::int64_t centre, int window, int low, int high) {
  const std::size_t length = static_cast<std::size_t>(window + 2 * high);
  const std::size_t lags = static_cast<std::size_t>(high - low + 1);
  span_.resize(length);
  signal.copy(centre - window / 2 - high, span_);
  reversed_.assign(span_.rbegin(), span_.rend());
  forward_.resize(lags);
  backward_.resize(lags);
  call<kivsCrossCorrCoeffLag_32f>(span_.data() + high, window, low, high, forward_);
  call<kivsCrossCorrCoeffLag_32f>(reversed_.data() + high, window, low, high, backward_);
  call<kivsAdd_32f_I>(backward_, forward_, lags);
  call<kivsMulC_32f_I>(0.5F, forward_, lags);
}

void PitchTracker::analyse(std::int64_t number) {
  correlate(search_, sample_of(number) / factor_, search_window_, low_lag_, high_lag_);
  Frame& frame = frames_.emplace_back();
  for (int i = 0; i < search_window_; ++i) {
    frame.peak = std::max(frame.peak, std::abs(span_[static_cast<std::size_t>(high_lag_ + i)]));
  }
  find_candidates(frame);
}

void PitchTracker::find_candidates(Frame& frame) const {
  const float rate = static_cast<float>(parameters_.sample_rate) / static_cast<float>(factor_);
  for (std::size_t k = 1; k + 1 < forward_.size(); ++k) {
    const float* const r = forward_.data() + k;
    if (!(*r > kLeastCorrelation) || !is_peak(r)) continue;
    const Peak top = top_of(r);
    const float lag = static_cast<float>(low_lag_) + static_cast<float>(k) + top.shift;
    const float frequency = rate / lag;
    if (frequency < parameters_.low_frequency || frequency > parameters_.high_frequency) continue;
    const float octaves = std::log2(frequency / parameters_.low_frequency);
    frame.best = std::max(frame.best, top.height);
    frame.candidates.push_back(
        {lag, top.height, std::log2(frequency), top.height + parameters_.octave_cost * octaves, 0.0F, 0});
  }
  std::sort(frame.candidates.begin(), frame.candidates.end(),
            [](const Candidate& a, const Candidate& b) { return a.strength > b.strength; });
  if (frame.candidates.size() > kMostCandidates) frame.candidates.resize(kMostCandidates);
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
  result.push_back(result_of(first_frame_, frames_.front().candidates[at], frames_.front().best));
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

// The highest peak close to the lag in the samples as they came; the lag itself if there is none.
float PitchTracker::refined_lag(std::int64_t centre, float lag) {
  const int low = static_cast<int>(lag * (1.0F - kFineRange)) - 1;
  const int high = static_cast<int>(lag * (1.0F + kFineRange)) + 2;
  const int first = std::max(0, low - kReach);
  correlate(samples_, centre, fine_window_, first, high + kReach);
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
