#include "program/front_end_options.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <CLI/CLI.hpp>

namespace kivsr::program {

namespace {

constexpr const char* kGroup = "Front end";

std::string join(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

template <class Value>
CLI::Option* FrontEndOptions::add(CLI::App& command, const std::string& name, Value FrontEndParameters::*member,
                                  const std::string& text) {
  const auto value = std::make_shared<Value>();
  CLI::Option* const option = command.add_option(name, *value, text)->group(kGroup);
  changes_.push_back([value, option, member](FrontEndParameters& parameters) {
    if (option->count() > 0) parameters.*member = *value;
  });
  return option;
}

template <class Value>
void FrontEndOptions::add_choice(CLI::App& command, const std::string& name, Value FrontEndParameters::*member,
                                 const std::vector<std::pair<std::string, Value>>& choices, const std::string& text) {
  std::vector<std::string> names;
  for (const auto& choice : choices) names.push_back(choice.first);
  const auto word = std::make_shared<std::string>();
  CLI::Option* const option =
      command.add_option(name, *word, text + ": " + join(names))->check(CLI::IsMember(names))->group(kGroup);
  changes_.push_back([word, option, member, choices](FrontEndParameters& parameters) {
    if (option->count() == 0) return;
    parameters.*member =
        std::find_if(choices.begin(), choices.end(), [&](const auto& c) { return c.first == *word; })->second;
  });
}

void FrontEndOptions::add_switch(CLI::App& command, const std::string& name, bool FrontEndParameters::*member,
                                 const std::string& text) {
  const auto value = std::make_shared<bool>(false);
  CLI::Option* const option = command.add_flag("--" + name + ",!--no-" + name, *value, text)->group(kGroup);
  changes_.push_back([value, option, member](FrontEndParameters& parameters) {
    if (option->count() > 0) parameters.*member = *value;
  });
}

FrontEndOptions::FrontEndOptions(CLI::App& command) {
  using P = FrontEndParameters;
  CLI::Option* const preset =
      command.add_option("--preset", preset_, "Parameters to start from: " + join(front_end_preset_names()))
          ->capture_default_str();
  preset->group(kGroup);
  command.add_option("--feat-params", feature_parameters_, "A model's feat.params to start from")
      ->group(kGroup)
      ->excludes(preset);

  add(command, "--sample-rate", &P::sample_rate, "Hz; audio of another rate is resampled");
  add(command, "--pre-emphasis", &P::pre_emphasis, "a of y(n) = x(n) - a x(n-1)");
  add_switch(command, "frame-emphasis", &P::frame_emphasis, "Pre-emphasis that starts anew in each frame");
  window_length_ = add(command, "--window-length", &P::window_length, "samples");
  shift_ = add(command, "--shift", &P::shift, "samples from frame to frame");
  fft_length_ = add(command, "--fft-length", &P::fft_length, "a power of two");
  add_choice<Window>(command, "--window", &P::window,
                     {{"hamming", Window::kHamming}, {"hann", Window::kHann}, {"rectangular", Window::kRectangular}},
                     "Shape of the window");
  add_switch(command, "remove-offset", &P::remove_offset, "Subtract the mean of each frame");
  add_switch(command, "pad-last-frame", &P::pad_last_frame, "Fill the last frame with zeros instead of dropping it");
  add_choice<Spectrum>(command, "--spectrum", &P::spectrum,
                       {{"power", Spectrum::kPower}, {"magnitude", Spectrum::kMagnitude}}, "What the filters sum");
  add_choice<Filters>(command, "--filters", &P::filters,
                      {{"hertz", Filters::kHertz}, {"mel", Filters::kMel}, {"bins", Filters::kBins}},
                      "Scale on which the sides of the triangles are straight");
  add_switch(command, "unit-area", &P::unit_area, "Hertz triangles of equal area instead of equal height");
  add_switch(command, "round-filters", &P::round_filters, "Hertz triangles with edges on FFT bins");
  add(command, "--filter-count", &P::filter_count, "Filters");
  add(command, "--low-frequency", &P::low_frequency, "Hz, lower edge of the first filter");
  high_frequency_ = add(command, "--high-frequency", &P::high_frequency, "Hz, upper edge of the last filter");
  add(command, "--mel-multiplier", &P::mel_multiplier, "m of mel = m ln(1 + f / d)");
  add(command, "--mel-divisor", &P::mel_divisor, "d of mel = m ln(1 + f / d), Hz");
  add(command, "--log-floor", &P::log_floor, "Smaller energies are raised to it");
  add(command, "--log-offset", &P::log_offset, "Added to energies before the logarithm");
  add_choice<Transform>(command, "--transform", &P::transform,
                        {{"dct", Transform::kDct},
                         {"legacy", Transform::kLegacy},
                         {"htk", Transform::kHtk},
                         {"plain", Transform::kPlain}},
                        "Cosine transform");
  add(command, "--cepstrum-count", &P::cepstrum_count, "Cepstra, c0 counted");
  add(command, "--lifter", &P::lifter, "Length of the sine lifter; 0: none");
  add_choice<ZerothCepstrum>(
      command, "--zeroth", &P::zeroth,
      {{"first", ZerothCepstrum::kFirst}, {"last", ZerothCepstrum::kLast}, {"none", ZerothCepstrum::kNone}},
      "Place of c0 in the row");
  add_choice<Output>(
      command, "--output-kind", &P::output,
      {{"cepstra", Output::kCepstra}, {"log-mel", Output::kLogMel}, {"lpc-cepstra", Output::kLpcCepstra}},
      "What the rows hold");
  add(command, "--prediction-order", &P::prediction_order, "Order of linear prediction, and number of its cepstra");
  add_switch(command, "energy", &P::energy, "Append the log energy of the frame as it came");
}

FrontEndParameters FrontEndOptions::parameters() const {
  const FrontEndParameters start =
      feature_parameters_.empty() ? front_end_preset(preset_) : read_feature_parameters(feature_parameters_).front_end;
  FrontEndParameters parameters = start;
  for (const auto& change : changes_) change(parameters);
  if (parameters.sample_rate != start.sample_rate && parameters.sample_rate > 0) {
    const double ratio = static_cast<double>(parameters.sample_rate) / start.sample_rate;
    if (window_length_->count() == 0) {
      parameters.window_length = static_cast<int>(std::lround(start.window_length * ratio));
    }
    if (shift_->count() == 0) parameters.shift = static_cast<int>(std::lround(start.shift * ratio));
    if (high_frequency_->count() == 0) {
      parameters.high_frequency =
          std::min(parameters.high_frequency, 0.5F * static_cast<float>(parameters.sample_rate));
    }
  }
  constexpr int kLongestChosen = 1 << 20;
  if (fft_length_->count() == 0 && parameters.window_length > parameters.fft_length &&
      parameters.window_length <= kLongestChosen) {
    parameters.fft_length = static_cast<int>(std::bit_ceil(static_cast<unsigned>(parameters.window_length)));
  }
  parameters.validate();
  return parameters;
}

}  // namespace kivsr::program
