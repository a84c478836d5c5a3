// Numbers without a name are those of the standard.
#include "kivsr/speech/noise/aurora_control.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/kivsr.hpp"

namespace kivsr::speech {

namespace {

constexpr int kStartFrames = 10;

float sum_of(std::span<const float> values) {
  float sum = 0.0F;
  call<kivsSum_32f>(values, values.size(), &sum, 0);
  return sum;
}

}  // namespace

// The mean falls faster than it rises, and does not follow sudden rises at all.
void NoiseGate::follow(float energy) {
  const bool starting = frames_ < kStartFrames;
  if (energy - mean_energy_ >= 20.0F && !starting) return;
  float share = 0.01F;
  if (starting) {
    share = 1.0F / static_cast<float>(frames_);
  } else if (energy < mean_energy_) {
    share = 0.03F;
  }
  mean_energy_ = std::max(mean_energy_ + share * (energy - mean_energy_), 80.0F);
}

bool NoiseGate::speech(std::span<const float> frame) {
  ++frames_;
  float power = 0.0F;
  call<kivsDotProd_32f>(frame, frame, frame.size(), &power);
  const float energy = 0.5F + 16.0F / std::numbers::ln2_v<float> * std::log((64.0F + power) / 64.0F);
  follow(energy);
  if (frames_ <= 4) return false;
  if (energy - mean_energy_ > 15.0F) {
    ++loud_frames_;
    return true;
  }
  if (loud_frames_ > 4) hangover_ = 15;
  loud_frames_ = 0;
  if (hangover_ == 0) return false;
  --hangover_;
  return true;
}

void Aggression::add(std::span<const float> clean) {
  std::rotate(energies_.begin(), energies_.begin() + 1, energies_.end());
  energies_.back() = sum_of(clean);
}

float Aggression::next(std::span<const float> noise) {
  ++frames_;
  const double noise_energy = sum_of(noise);
  const double ratio =
      double{energies_[0]} * energies_[1] * energies_[2] / (noise_energy * noise_energy * noise_energy);
  const auto decibels = static_cast<float>(ratio > 1e-5 ? 20.0 / 3.0 * std::log10(ratio) : -100.0 / 3.0);

  if (decibels - low_ratio_ < 10.0F || frames_ < kStartFrames) {
    float keep = decibels < low_ratio_ ? 0.95F : 0.99F;
    if (frames_ < kStartFrames) keep = 1.0F - 1.0F / static_cast<float>(frames_);
    low_ratio_ = keep * low_ratio_ + (1.0F - keep) * decibels;
  }
  if (energies_.back() > 100.0F) {
    value_ = decibels < low_ratio_ + 3.5F ? std::min(value_ + 0.15F, 0.8F) : std::max(value_ - 0.3F, 0.1F);
  }
  return value_;
}

}  // namespace kivsr::speech
