#include "kivsr/speech/front/dependent_fields.h"

#include <gtest/gtest.h>

#include <set>

#include "kivsr/speech/front/presets.h"

namespace kivsr::speech::test {
namespace {

// The preset with the fields of those names set by change, and what follows from them.
Recipe with(const char* preset, const std::set<std::string>& set, const auto& change) {
  const Recipe start = speech::preset(preset);
  Recipe recipe = start;
  change(recipe);
  fit_dependent_fields(
      start, [&](const std::string& field) { return set.contains(field); }, recipe);
  return recipe;
}

TEST(DependentFields, AnotherRateKeepsSecondsAndStaysBelowHalfOfIt) {
  const auto at_8_khz = [](Recipe& recipe) { recipe.front_end.sample_rate = 8000; };
  const Recipe start = speech::preset("kaldi-mfcc");
  const Recipe recipe = with("kaldi-mfcc", {"sample-rate"}, at_8_khz);
  EXPECT_EQ(recipe.front_end.window_length, 200);
  EXPECT_EQ(recipe.front_end.shift, 80);
  EXPECT_EQ(recipe.front_end.high_frequency, 4000.0F);
  EXPECT_EQ(recipe.front_end.fft_length, start.front_end.fft_length);

  const Recipe kept = with("kaldi-mfcc", {"sample-rate", "window-length", "shift", "high-frequency"}, at_8_khz);
  EXPECT_EQ(kept.front_end.window_length, start.front_end.window_length);
  EXPECT_EQ(kept.front_end.shift, start.front_end.shift);
  EXPECT_EQ(kept.front_end.high_frequency, start.front_end.high_frequency);
}

TEST(DependentFields, ALongerWindowTakesTheNextPowerOfTwo) {
  const auto rate_of = [](int rate) {
    return with("kaldi-mfcc", {"sample-rate"}, [&](Recipe& recipe) { recipe.front_end.sample_rate = rate; }).front_end;
  };
  EXPECT_EQ(rate_of(48000).window_length, 1200);
  EXPECT_EQ(rate_of(48000).fft_length, 2048);
  // No length beyond what a frame may have, and none that wraps round.
  EXPECT_EQ(rate_of(2000000000).window_length, kLongestFrame + 1);
  EXPECT_EQ(rate_of(2000000000).fft_length, 512);
  const Recipe own = with("kaldi-mfcc", {"window-length", "fft-length"}, [](Recipe& recipe) {
    recipe.front_end.window_length = 600;
    recipe.front_end.fft_length = 600;
  });
  EXPECT_EQ(own.front_end.fft_length, 600);
}

TEST(DependentFields, AWindowAsLongAsTheTransformStaysAsLong) {
  const auto transform = [](Recipe& recipe) { recipe.front_end.fft_length = 512; };
  EXPECT_EQ(with("librosa-melspectrogram", {"fft-length"}, transform).front_end.window_length, 512);
  EXPECT_EQ(with("kaldi-mfcc", {"fft-length"}, transform).front_end.window_length, 400);
}

TEST(DependentFields, WhatSpeaksOfMissingColumnsGoesUnlessItWasSet) {
  Recipe start = speech::preset("htk-mfcc");
  start.front_end.energy = true;
  start.normalise_energy = true;
  const auto without_energy = [&](bool set) {
    Recipe recipe = start;
    recipe.front_end.energy = false;
    fit_dependent_fields(
        start, [=](const std::string& field) { return set && field == "normalise-energy"; }, recipe);
    return recipe.normalise_energy;
  };
  EXPECT_FALSE(without_energy(false));
  EXPECT_TRUE(without_energy(true));
}

TEST(DependentFields, AuroraDerivativesGetTheColumnsThatTheyRead) {
  const auto aurora = [](Recipe& recipe) { recipe.dynamics = Dynamics::kAurora; };
  const FrontEndParameters of_audio = with("mfcc", {"delta"}, aurora).front_end;
  EXPECT_EQ(of_audio.zeroth, ZerothCepstrum::kLast);
  EXPECT_TRUE(of_audio.energy);
  EXPECT_FALSE(of_audio.energy_first);

  Recipe rows = Recipe::of_features(14);
  rows.dynamics = Dynamics::kAurora;
  const FrontEndParameters before = rows.front_end;
  fit_dependent_fields(
      Recipe::of_features(14), [](const std::string&) { return false; }, rows);
  EXPECT_EQ(rows.front_end, before);
}

}  // namespace
}  // namespace kivsr::speech::test
