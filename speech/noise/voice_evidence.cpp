#include "kivsr/speech/noise/voice_evidence.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/speech/noise/fft_work.h"
#include "kivsr/speech/noise/wiener_stage.h"

namespace kivsr::speech {

namespace {

constexpr std::size_t kFrame = kAuroraFrame;
constexpr int kShapeOrder = 8;            // spectrum of 32 ms, bins of 31.25 Hz
constexpr int kFineOrder = 9;             // of 64 ms
constexpr std::size_t kSpan = 512;        // samples that a frame is measured from
constexpr std::size_t kPeriodSpan = 400;  // in their middle, that show the period: 50 ms
constexpr int kShortestPeriod = 18;       // samples, 444 Hz
constexpr int kLongestPeriod = 130;       // 62 Hz
constexpr float kEmphasis = 0.95F;        // makes brown noise white
constexpr std::array<std::size_t, kEvidenceBands + 1> kEdges = {6, 12, 20, 32, 48, 72, 100, 126};  // bins of 31.25 Hz
constexpr std::size_t kLow = kEvidenceBands;                                                       // among the levels
constexpr std::size_t kLowBands = 4;       // up to 1500 Hz: above, white noise hides voices
constexpr std::size_t kFirstLine = 10;     // bin of 15.6 Hz
constexpr std::size_t kLines = 150;        // up to 2500 Hz
constexpr std::size_t kBesideLine = 3;     // bins on either side of a line, whose mean it stands out of
constexpr std::size_t kSteadyFrames = 10;  // between lines that are compared
constexpr std::size_t kGlideFrames = 5;    // that a glide takes
constexpr std::size_t kAround = 50;        // frames on either side that decide about one
constexpr std::size_t kBefore = 100;       // frames before it whose glides count

// Chosen on the sounds that scripts/vad-table calls "chosen".
constexpr float kLeastPeriodicity = 0.35F;
constexpr float kMostFlatness = 0.45F;
constexpr float kMostPurity = 0.85F;
constexpr float kLeastLow = 0.001F;        // of the power up to 3900 Hz in that up to 1500 Hz
constexpr std::size_t kLeastVoiced = 8;    // frames around
constexpr float kDepth = 30.0F;            // dB below the loudest frame around, where the variation of a level ends
constexpr double kLeastVariation = 1.5;    // dB, standard deviation of the level around
constexpr double kLeastShare = 0.3;        // of the bands' variation in it: less is a line that wanders through them
constexpr float kGlidePeriodicity = 0.5F;  // of each of its frames
constexpr float kMostStep = 0.05F;         // of the period in a frame, beyond which it jumps
constexpr float kLeastGlide = 0.006F;      // of the period in a glide: a tenth of a semitone
constexpr float kMostGlide = 0.2F;
constexpr float kMovingLines = 0.6F;     // of a frame that glides: the lines do not stay in place
constexpr float kGlideDepth = 25.0F;     // dB below the loudest frame; what dies away seems to glide below
constexpr double kSteadyLines = 0.2;     // mean above which glides are wanted,
constexpr double kGlidesOfLines = 30.0;  // so many frames of them for each unit
constexpr double kOpenVariation = 3.8;   // dB, mean of the bands: noise does not hide the voices,
constexpr double kOneVoice = 0.46;       // and where they are as periodic as this in the mean
constexpr double kGlidesOfOne = 1.0;     // one frame must glide,
constexpr double kGlidesOfMany = 7.0;    // else so many

}  // namespace

VoiceEvidence::Transform::Transform(int order)
    : fft(Fft32f::make<kivsFFTInitAlloc_R_32f>(order, kivFftScaleNone, 0)), fft_work(speech::fft_work(fft)) {
  const std::size_t length = std::size_t{1} << order;
  for (std::size_t n = 0; n < length; ++n) {
    window.push_back(static_cast<float>(
        0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (static_cast<double>(n) + 0.5) / static_cast<double>(length))));
  }
  work.resize(length + 2);
  result.resize(length / 2 + 1);
}

std::span<const float> VoiceEvidence::Transform::power(std::span<const float> samples) {
  call<kivsMul_32f>(samples, window, work, window.size());
  call<kivsFFTFwd_RToCCS_32f>(work, work, fft, fft_work);
  for (std::size_t k = 0; k < result.size(); ++k) {
    result[k] = work[2 * k] * work[2 * k] + work[2 * k + 1] * work[2 * k + 1];
  }
  return result;
}

VoiceEvidence::VoiceEvidence() : shape_(kShapeOrder), fine_(kFineOrder) { reset(); }

// Half a span of silence stands before the signal, less the frame that the first one lies around.
void VoiceEvidence::reset() {
  emphasised_.assign(kSpan / 2 - kFrame, 0.0F);
  smoothed_ = emphasised_;
  std::fill(std::begin(last_), std::end(last_), 0.0F);
  lines_.clear();
  periods_.clear();
  frames_.clear();
  first_ = measured_ = decided_ = received_ = steps_ = 0;
}

// The period moves from frame to frame without a jump, and has moved since kGlideFrames before.
bool VoiceEvidence::glides(float periodicity, float period) {
  const float logarithm = std::log(std::max(period, 1.0F));
  const bool near = !periods_.empty() && std::abs(logarithm - periods_.back()) < kMostStep;
  steps_ = near && periodicity > kGlidePeriodicity ? steps_ + 1 : 0;
  periods_.push_back(logarithm);
  if (periods_.size() <= kGlideFrames) return false;
  const float change = std::abs(logarithm - periods_.front());
  periods_.pop_front();
  return steps_ >= kGlideFrames && change > kLeastGlide && change < kMostGlide;
}

// Lines are what the logarithm of the spectrum has above its mean over the bins beside: of notes they stay in place.
float VoiceEvidence::steadiness(std::span<const float> power) {
  std::array<float, kLines + 2 * kBesideLine> logarithms;
  for (std::size_t k = 0; k < logarithms.size(); ++k) logarithms[k] = power[kFirstLine - kBesideLine + k] + 1.0F;
  call<kivsLn_32f_I>(logarithms, logarithms.size());
  std::vector<float> lines(kLines);
  for (std::size_t k = 0; k < kLines; ++k) {
    float sum = 0.0F;
    for (std::size_t i = 0; i <= 2 * kBesideLine; ++i) sum += logarithms[k + i];
    lines[k] = logarithms[k + kBesideLine] - sum / static_cast<float>(2 * kBesideLine + 1);
  }
  float norm = 0.0F;
  call<kivsDotProd_32f>(lines, lines, kLines, &norm);
  call<kivsDivC_32f_I>(std::sqrt(norm + 1e-9F), lines, kLines);
  lines_.push_back(std::move(lines));
  if (lines_.size() <= kSteadyFrames) return 0.0F;
  float cosine = 0.0F;
  call<kivsDotProd_32f>(lines_.front(), lines_.back(), kLines, &cosine);
  lines_.pop_front();
  return cosine;
}

FrameEvidence VoiceEvidence::measure(std::size_t start) {
  FrameEvidence result;
  const auto middle = [&](const std::vector<float>& samples, std::size_t count) {
    return std::span(samples).subspan(start + (kSpan - count) / 2, count);
  };
  float period = 0.0F;
  call<kivsPeriodicity_32f>(middle(smoothed_, kPeriodSpan), static_cast<int>(kPeriodSpan), kShortestPeriod,
                            kLongestPeriod, &result.periodicity, &period);
  result.lines = steadiness(fine_.power(middle(emphasised_, kSpan)));
  const bool glide = glides(result.periodicity, period);
  const std::span<const float> power = shape_.power(middle(emphasised_, shape_.window.size()));
  std::array<float, kEdges[kLowBands] - kEdges[0]> low;
  constexpr float kFloor = 1e-3F;
  for (std::size_t k = 0; k < low.size(); ++k) low[k] = power[kEdges[0] + k] + kFloor;
  float sum = 0.0F;
  float whole = 0.0F;
  for (std::size_t band = 0; band < kEvidenceBands; ++band) {
    float of_band = 0.0F;
    for (std::size_t k = kEdges[band]; k < kEdges[band + 1]; ++k) of_band += power[k] + kFloor;
    result.decibels[band] = 10.0F * std::log10(of_band);
    if (band < kLowBands) sum += of_band;
    whole += of_band;
  }
  result.amplitude = std::sqrt(sum);
  result.decibels[kLow] = 10.0F * std::log10(sum);
  float peak = 0.0F;
  for (std::size_t k = 2; k + 2 < low.size(); ++k) {
    peak = std::max(peak, low[k - 2] + low[k - 1] + low[k] + low[k + 1] + low[k + 2]);
  }
  float logarithms = 0.0F;
  call<kivsSumLn_32f>(low, low.size(), &logarithms);
  const auto bins = static_cast<float>(low.size());
  const float flatness = std::exp(logarithms / bins) * bins / sum;
  result.voiced = result.periodicity > kLeastPeriodicity && flatness < kMostFlatness && peak < kMostPurity * sum &&
                  sum > kLeastLow * whole;
  result.gliding = result.voiced && glide && result.lines < kMovingLines;
  return result;
}

void VoiceEvidence::analyse() {
  std::size_t start = 0;
  for (; start + kSpan <= emphasised_.size(); start += kFrame) {
    frames_.push_back(measure(start));
    ++measured_;
  }
  emphasised_.erase(emphasised_.begin(), emphasised_.begin() + static_cast<std::ptrdiff_t>(start));
  smoothed_.erase(smoothed_.begin(), smoothed_.begin() + static_cast<std::ptrdiff_t>(start));
}

bool VoiceEvidence::could_be_speech(std::size_t frame) const {
  const auto at = [&](std::size_t t) -> const FrameEvidence& { return frames_[t - first_]; };
  const std::size_t from = frame - std::min(frame, kAround);
  const std::size_t to = std::min(frame + kAround + 1, measured_);
  std::size_t voiced = 0;
  double amplitude = 0.0;
  double periodicity = 0.0;
  double lines = 0.0;
  for (std::size_t t = from; t < to; ++t) {
    const FrameEvidence& evidence = at(t);
    voiced += evidence.voiced ? 1U : 0U;
    amplitude += evidence.amplitude;
    periodicity += evidence.amplitude * evidence.periodicity;
    lines += evidence.amplitude * evidence.lines;
  }
  if (voiced < kLeastVoiced) return false;
  EvidenceLevels loudest;
  loudest.fill(-100.0F);
  for (std::size_t t = from; t < to; ++t) {
    for (std::size_t k = 0; k < loudest.size(); ++k) loudest[k] = std::max(loudest[k], at(t).decibels[k]);
  }
  std::array<double, kEvidenceBands + 1> sums{};
  std::array<double, kEvidenceBands + 1> squares{};
  for (std::size_t t = from; t < to; ++t) {
    const EvidenceLevels& levels = at(t).decibels;
    for (std::size_t k = 0; k < levels.size(); ++k) {
      const double decibels = std::max(levels[k], loudest[k] - kDepth);
      sums[k] += decibels;
      squares[k] += decibels * decibels;
    }
  }
  const auto variation = [&](std::size_t k) {
    const auto count = static_cast<double>(to - from);
    return std::sqrt(std::max(0.0, squares[k] / count - sums[k] / count * (sums[k] / count)));
  };
  const double whole = variation(kLow);
  double bands = 0.0;
  for (std::size_t band = 0; band < kEvidenceBands; ++band) bands += variation(band) / kEvidenceBands;
  if (!(whole > kLeastVariation && whole > kLeastShare * bands)) return false;
  double wanted = kGlidesOfLines * (lines / amplitude - kSteadyLines);
  if (bands > kOpenVariation) {
    wanted = std::max(wanted, periodicity / amplitude < kOneVoice ? kGlidesOfMany : kGlidesOfOne);
  }
  const std::size_t past = frame - std::min(frame, kBefore);
  float least = -100.0F;
  for (std::size_t t = past; t < to; ++t) least = std::max(least, at(t).decibels[kLow] - kGlideDepth);
  std::size_t gliding = 0;
  for (std::size_t t = past; t < to; ++t) gliding += at(t).gliding && at(t).decibels[kLow] > least ? 1U : 0U;
  return static_cast<double>(gliding) >= wanted;
}

void VoiceEvidence::decide(std::size_t frames, std::vector<bool>& possible) {
  for (; decided_ < frames; ++decided_) {
    possible.push_back(could_be_speech(decided_));
    if (decided_ >= kBefore) {
      frames_.pop_front();
      ++first_;
    }
  }
}

void VoiceEvidence::push(std::span<const float> samples, std::vector<bool>& possible) {
  received_ += samples.size();
  for (const float sample : samples) {
    const float emphasised = sample - kEmphasis * last_[0];
    last_[0] = sample;
    emphasised_.push_back(emphasised);
    smoothed_.push_back(emphasised + last_[1] + last_[2] + last_[3]);
    last_[3] = last_[2];
    last_[2] = last_[1];
    last_[1] = emphasised;
  }
  analyse();
  if (measured_ > kAround) decide(measured_ - kAround, possible);
}

void VoiceEvidence::finish(std::vector<bool>& possible) {
  const std::size_t wanted = received_ / kFrame;
  emphasised_.resize(emphasised_.size() + kSpan, 0.0F);
  smoothed_.resize(emphasised_.size(), 0.0F);
  analyse();
  decide(wanted, possible);
  reset();
}

}  // namespace kivsr::speech
