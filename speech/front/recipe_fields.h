// The one list of the fields of a recipe: text, comparison and command-line options are made from it.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

struct RecipeField {
  std::string_view name;
  std::string_view help;
  std::string_view group;
};

// Names of the values of an enumeration, in their order.
std::span<const std::string_view> names_of(Source);
std::span<const std::string_view> names_of(FrontEndKind);
std::span<const std::string_view> names_of(Framing);
std::span<const std::string_view> names_of(Edges);
std::span<const std::string_view> names_of(OffsetRemoval);
std::span<const std::string_view> names_of(Window);
std::span<const std::string_view> names_of(Spectrum);
std::span<const std::string_view> names_of(Filters);
std::span<const std::string_view> names_of(MelScale);
std::span<const std::string_view> names_of(Logarithm);
std::span<const std::string_view> names_of(Transform);
std::span<const std::string_view> names_of(LifterForm);
std::span<const std::string_view> names_of(Output);
std::span<const std::string_view> names_of(ZerothCepstrum);
std::span<const std::string_view> names_of(EnergyOf);
std::span<const std::string_view> names_of(NoiseMethod);
std::span<const std::string_view> names_of(Equalisation);
std::span<const std::string_view> names_of(Normalisation);
std::span<const std::string_view> names_of(Dynamics);

// Of a model, not of a command line; a text may leave it out.
constexpr std::string_view kTransformField = "feature-transform";

// visit(field, value) for each field in the order of the stages. R: Recipe or const Recipe. The values are of type
// bool, int, float, optional<float>, vector<float> and of the enumerations above.
template <class R, class Visit>
void visit_fields(R& recipe, Visit&& visit) {
  constexpr std::string_view kSource = "Source";
  visit(RecipeField{"source", "What the rows are made from", kSource}, recipe.source);
  visit(RecipeField{"source-width", "Values of a row of features as the source", kSource}, recipe.source_width);

  constexpr std::string_view kFront = "Front end";
  auto& front = recipe.front_end;
  visit(RecipeField{"front-end",
                    "The general one, or the advanced one of ETSI ES 202 050, which nothing but the rate changes",
                    kFront},
        front.kind);
  visit(RecipeField{"sample-rate", "Hz; audio of another rate is resampled", kFront}, front.sample_rate);
  visit(RecipeField{"input-scale", "Factor of samples in units of a 16-bit integer; 3.0517578e-05: the range -1 .. 1",
                    kFront},
        front.input_scale);
  visit(RecipeField{"dither", "Standard deviation of Gaussian noise added to the scaled samples; 0: none", kFront},
        front.dither);
  visit(RecipeField{"dither-seed", "Seed of that noise, the same in every utterance", kFront}, front.dither_seed);
  visit(RecipeField{"pre-emphasis", "a of y(n) = x(n) - a x(n-1)", kFront}, front.pre_emphasis);
  visit(RecipeField{"frame-emphasis", "Pre-emphasis that starts anew in each frame", kFront}, front.frame_emphasis);
  visit(RecipeField{"window-length", "samples", kFront}, front.window_length);
  visit(RecipeField{"shift", "samples from frame to frame", kFront}, front.shift);
  visit(RecipeField{"fft-length", "samples, without prime factors above 5", kFront}, front.fft_length);
  visit(RecipeField{"window", "Shape of the window", kFront}, front.window);
  visit(RecipeField{"remove-offset", "Subtract the mean of each frame, before or after pre-emphasis", kFront},
        front.remove_offset);
  visit(RecipeField{"framing",
                    "Frames from the first sample on, as many of them as cover all samples, centred on every shift, or "
                    "on the middles of the shifts",
                    kFront},
        front.framing);
  visit(RecipeField{"edges", "What centred frames find beyond the first and the last sample", kFront}, front.edges);
  visit(RecipeField{"pad-last-frame", "Keep the last, incomplete frame instead of dropping it", kFront},
        front.pad_last_frame);
  visit(RecipeField{"spectrum", "What the filters sum", kFront}, front.spectrum);
  visit(RecipeField{"spectrum-scale", "Factor of the spectrum", kFront}, front.spectrum_scale);
  visit(RecipeField{"filters", "Scale on which the sides of the triangles are straight", kFront}, front.filters);
  visit(RecipeField{"unit-area", "Hertz triangles of equal area instead of equal height", kFront}, front.unit_area);
  visit(RecipeField{"round-filters", "Hertz triangles with edges on FFT bins", kFront}, front.round_filters);
  visit(RecipeField{"filter-count", "Filters", kFront}, front.filter_count);
  visit(RecipeField{"mel-scale", "m ln(1 + f / d), or that of Slaney's Auditory Toolbox", kFront}, front.mel_scale);
  visit(RecipeField{"low-frequency", "Hz, lower edge of the first filter", kFront}, front.low_frequency);
  visit(RecipeField{"high-frequency", "Hz, upper edge of the last filter", kFront}, front.high_frequency);
  visit(RecipeField{"mel-multiplier", "m of mel = m ln(1 + f / d)", kFront}, front.mel_multiplier);
  visit(RecipeField{"mel-divisor", "d of mel = m ln(1 + f / d), Hz", kFront}, front.mel_divisor);
  visit(RecipeField{"log-floor", "Smaller energies are raised to it", kFront}, front.log_floor);
  visit(RecipeField{"log-offset", "Added to energies before the logarithm", kFront}, front.log_offset);
  visit(RecipeField{"logarithm", "Of the filters' energies; whisper: (log10 + 4) / 4", kFront}, front.logarithm);
  visit(RecipeField{"dynamic-range",
                    "dB below the largest value of the utterance, where the logarithms end; 0: nowhere, above 0 waits "
                    "for the whole utterance",
                    kFront},
        front.dynamic_range);
  visit(RecipeField{"transform", "Cosine transform", kFront}, front.transform);
  visit(RecipeField{"cepstrum-count", "Cepstra, c0 counted", kFront}, front.cepstrum_count);
  visit(RecipeField{"lifter", "Length of the sine lifter; 0: none", kFront}, front.lifter);
  visit(RecipeField{"lifter-form", "sine: c0 has the factor 1; sine-from-zeroth: that of the first", kFront},
        front.lifter_form);
  visit(RecipeField{"zeroth", "Place of c0 in the row", kFront}, front.zeroth);
  visit(RecipeField{"output-kind", "What the rows hold", kFront}, front.output);
  visit(RecipeField{"prediction-order", "Order of linear prediction, and number of its cepstra", kFront},
        front.prediction_order);
  visit(RecipeField{"energy", "Log energy in the row", kFront}, front.energy);
  visit(RecipeField{"energy-of", "The frame before pre-emphasis, the windowed frame or the power spectrum", kFront},
        front.energy_of);
  visit(RecipeField{"energy-first", "At the start of the row instead of its end", kFront}, front.energy_first);
  visit(RecipeField{"energy-floor", "Smaller energies of frames are raised to it", kFront}, front.energy_floor);

  constexpr std::string_view kNoise = "Noise reduction (waits for the whole utterance)";
  auto& noise = recipe.noise_reduction;
  visit(RecipeField{"noise-reduction", "In the spectra, before the filters", kNoise}, noise.method);
  visit(RecipeField{"noise-memory", "Share of the previous frame in the signal-to-noise ratio", kNoise}, noise.memory);
  visit(RecipeField{"noise-floor", "Smallest gain", kNoise}, noise.floor);
  visit(RecipeField{"noise-residual", "Share of the noise's power that stays", kNoise}, noise.residual);
  visit(RecipeField{"noise-first", "s, whose mean power the noise estimate begins with", kNoise}, noise.first_seconds);
  visit(RecipeField{"noise-smoothing", "s on either side, over which the noise is averaged", kNoise},
        noise.smoothing_seconds);

  constexpr std::string_view kBehind = "Behind the front end";
  visit(RecipeField{"equalise",
                    "Take a fixed channel out of c1, c2, ..., the bias starting from-zero or from-mean, that "
                    "of the whole utterance (blind equalisation)",
                    kBehind},
        recipe.equalisation);
  visit(
      RecipeField{"reference-cepstrum", "c1, c2, ... without a channel, for the equalisation; nothing: zeros", kBehind},
      recipe.reference_cepstrum);
  visit(RecipeField{"normalise-energy",
                    "Log energy against its maximum, which becomes 1; without --energy-maximum "
                    "waits for the whole utterance",
                    kBehind},
        recipe.normalise_energy);
  visit(RecipeField{"silence-floor", "dB below the maximum, where the log energy ends", kBehind}, recipe.silence_floor);
  visit(RecipeField{"energy-scale", "Factor of the normalised log energy", kBehind}, recipe.energy_scale);
  visit(RecipeField{"energy-maximum", "Known maximum of the log energy", kBehind}, recipe.energy_maximum);
  visit(RecipeField{"normalise", "Of the columns, by the whole utterance or, running, along with it", kBehind},
        recipe.normalisation);
  visit(RecipeField{"normalise-cepstra-only", "Leave the log energy as it is", kBehind}, recipe.normalise_cepstra_only);
  visit(RecipeField{"normalise-frames", "Memory of the running forms", kBehind}, recipe.normalisation_frames);
  visit(RecipeField{"dynamics",
                    "Derivatives behind the statics; regression waits for the whole utterance; splice: the statics "
                    "of --regression-window frames on either side instead",
                    kBehind},
        recipe.dynamics);
  visit(RecipeField{"regression-window", "Frames on either side that the regression or the splice sees", kBehind},
        recipe.regression_window);
  visit(RecipeField{"derivatives", "1: first, 2: second, 3: third too", kBehind}, recipe.derivatives);
  visit(RecipeField{"drop-energy", "Leave the log energy out of the rows, its derivatives in", kBehind},
        recipe.drop_energy);
  visit(RecipeField{kTransformField, "Matrix that becomes the columns' new ones, row after row; nothing: they stay",
                    kBehind},
        recipe.feature_transform);
  visit(RecipeField{"pitch", "Append f0 in Hz (0: unvoiced), correlation and probability of voicing", kBehind},
        recipe.pitch);
  visit(RecipeField{"pitch-low", "Hz, lowest f0", kBehind}, recipe.pitch_low_frequency);
  visit(RecipeField{"pitch-high", "Hz, highest f0", kBehind}, recipe.pitch_high_frequency);
  visit(RecipeField{"speech-column", "Append a column: 1 where the frame holds speech, else 0 (etsi-afe)", kBehind},
        recipe.speech_column);
  visit(RecipeField{"drop-frames", "Leave out the rows of frames without speech (etsi-afe)", kBehind},
        recipe.drop_frames);
}

// A value as the text form has it.
std::string field_text(bool value);
std::string field_text(int value);
std::string field_text(float value);
std::string field_text(const std::optional<float>& value);
std::string field_text(const std::vector<float>& values);
template <class Choice>
requires std::is_enum_v<Choice> std::string field_text(Choice value) {
  return std::string(names_of(value)[static_cast<std::size_t>(value)]);
}

// What other tools call a value, in our words; empty if it is none that we know.
std::string_view name_elsewhere(std::string_view text);

// The value of such a text; false for a text that is none.
bool read_field(const std::string& text, bool& value);
bool read_field(const std::string& text, int& value);
bool read_field(const std::string& text, float& value);
bool read_field(const std::string& text, std::optional<float>& value);
bool read_field(const std::string& text, std::vector<float>& values);
template <class Choice>
requires std::is_enum_v<Choice>
bool read_field(const std::string& text, Choice& value) {
  const auto names = names_of(Choice{});
  auto name = std::find(names.begin(), names.end(), text);
  if (name == names.end()) name = std::find(names.begin(), names.end(), name_elsewhere(text));
  if (name == names.end()) return false;
  value = static_cast<Choice>(name - names.begin());
  return true;
}

}  // namespace kivsr::speech
