#include "kivsr/speech/noise/speech_gate.h"

#include <algorithm>
#include <cmath>

#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

namespace {

constexpr int kStepsASecond = 100;
constexpr std::size_t kLag = 20;  // steps, more than the detector's decisions come behind the samples

constexpr std::size_t kLevels = 6000;  // frames that are remembered, a minute
constexpr float kForgotten = 0.01F;    // dB a frame, of the loudest
constexpr float kRisen = 0.03F;        // the same of the faintest
constexpr float kNothing = -100.0F;    // dB
constexpr float kEverything = 200.0F;

std::size_t steps_of(double seconds) {
  return static_cast<std::size_t>(std::lround(std::clamp(seconds, 0.0, 3600.0) * kStepsASecond));
}

}  // namespace

SpeechGate::SpeechGate(int sample_rate, const GateRules& rules)
    : rate_(sample_rate),
      rules_(rules),
      before_(steps_of(rules.before)),
      behind_(std::max<std::size_t>(1, steps_of(rules.behind))),
      held_(std::max(behind_, steps_of(rules.held))),
      detector_(Arithmetic::kSinglePrecision) {
  start();
}

void SpeechGate::start() {
  if (rate_ != kAuroraRate) resampler_.emplace(rate_, kAuroraRate);
  kept_.clear();
  kept_from_ = passed_ = heard_ = steps_ = 0;
  decided_ = silent_ = 0;
  is_held_ = false;
  levels_.clear();
  first_level_ = 0;
  loudest_ = kNothing;
  faintest_ = kEverything;
}

std::int64_t SpeechGate::start_of(std::int64_t step) const { return step * rate_ / kStepsASecond; }

std::span<const float> SpeechGate::kept(std::int64_t from, std::int64_t to) const {
  return std::span(kept_).subspan(static_cast<std::size_t>(from - kept_from_), static_cast<std::size_t>(to - from));
}

// Of the samples up to heard_ those that did not go through.
void SpeechGate::pass(const Taker& take) {
  if (passed_ < heard_) take(Event::kSamples, kept(passed_, heard_));
  passed_ = heard_;
}

bool SpeechGate::is_loud(float level) const {
  return level > std::max(loudest_ - static_cast<float>(rules_.faint), faintest_ + static_cast<float>(rules_.rise));
}

bool SpeechGate::was_loud(double from, double to) const {
  const auto frame = [&](double seconds) {
    const double place = std::max(0.0, seconds * kStepsASecond - 1.0) - static_cast<double>(first_level_);
    return static_cast<std::ptrdiff_t>(std::clamp(place, -1.0, static_cast<double>(levels_.size())));
  };
  const std::ptrdiff_t first = frame(from);
  if (first < 0) return true;
  return std::any_of(levels_.begin() + first, levels_.begin() + std::max(first, frame(to)),
                     [this](float level) { return is_loud(level); });
}

// The samples of a step at the detector's rate.
void SpeechGate::listen(std::span<const float> slow) {
  detector_.push(slow, decisions_);
  energies_.push(slow, new_levels_);
  remember_levels();
}

void SpeechGate::remember_levels() {
  for (const float level : new_levels_) {
    levels_.push_back(level);
    faintest_ = std::min(level, faintest_ + kRisen);
  }
  new_levels_.clear();
  for (; levels_.size() > kLevels; ++first_level_) levels_.pop_front();
}

void SpeechGate::decide(bool detected, const Taker& take) {
  const auto frame = static_cast<std::int64_t>(decided_);
  const std::size_t place = decided_++ - first_level_;
  const float level = place < levels_.size() ? levels_[place] : kNothing;
  if (detected) loudest_ = std::max(level, loudest_ - kForgotten);
  const bool speech = detected && is_loud(level);
  silent_ = speech ? 0 : silent_ + 1;
  if (speech && !open_) {
    open_ = true;
    passed_ = std::max(passed_, start_of(std::max<std::int64_t>(0, frame - static_cast<std::int64_t>(before_))));
    opened_at_ = passed_;
    take(Event::kOpen, {});
    pass(take);
  } else if (open_ && silent_ >= (is_held_ ? held_ : behind_)) {
    open_ = false;
    take(Event::kShut, {});
  }
}

void SpeechGate::decide_all(const Taker& take) {
  for (const bool speech : decisions_) decide(speech, take);
  decisions_.clear();
}

void SpeechGate::step(const Taker& take) {
  const std::int64_t from = heard_;
  heard_ = start_of(++steps_);
  if (open_) pass(take);
  if (resampler_) {
    slow_.clear();
    resampler_->push(kept(from, heard_), slow_);
    listen(slow_);
  } else {
    listen(kept(from, heard_));
  }
  decide_all(take);
}

void SpeechGate::drop_old() {
  const std::int64_t needed = std::max<std::int64_t>(0, start_of(steps_ - static_cast<std::int64_t>(before_ + kLag)));
  if (needed - kept_from_ < rate_) return;
  kept_.erase(kept_.begin(), kept_.begin() + static_cast<std::ptrdiff_t>(needed - kept_from_));
  kept_from_ = needed;
}

void SpeechGate::push(std::span<const float> samples, const Taker& take) {
  while (!samples.empty()) {
    const auto part = samples.first(std::min(samples.size(), static_cast<std::size_t>(rate_)));
    samples = samples.subspan(part.size());
    kept_.insert(kept_.end(), part.begin(), part.end());
    while (start_of(steps_ + 1) <= kept_from_ + static_cast<std::int64_t>(kept_.size())) step(take);
    drop_old();
  }
}

void SpeechGate::finish(const Taker& take) {
  const std::int64_t from = heard_;
  heard_ = kept_from_ + static_cast<std::int64_t>(kept_.size());
  if (open_) pass(take);
  slow_.clear();
  if (resampler_) {
    resampler_->push(kept(from, heard_), slow_);
    resampler_->finish(slow_);
    listen(slow_);
  } else {
    listen(kept(from, heard_));
  }
  detector_.finish(decisions_);
  energies_.finish(new_levels_);
  remember_levels();
  decide_all(take);
  if (open_) take(Event::kShut, {});
  open_ = false;
  start();
}

}  // namespace kivsr::speech
