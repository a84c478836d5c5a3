// What follows the front end as command-line options, over what belongs to the preset.
#pragma once

#include <string>

#include "kivsr/speech/front/feature_parameters.h"
#include "program/front_end_options.h"
#include "program/speech_names.h"

namespace kivsr::program {

class FeatureOptions {
 public:
  explicit FeatureOptions(CLI::App& command);

  // After the command line was read: the preset with the options applied, checked.
  FeatureParameters parameters() const;

 private:
  FrontEndOptions front_end_;
  std::string delta_;
  std::string normalisation_;
  FeatureParameters given_;  // the values of the options that were given
  float energy_maximum_ = 0.0F;
  CLI::Option* reference_ = nullptr;
  CLI::Option* delta_window_ = nullptr;
  CLI::Option* frames_ = nullptr;
  CLI::Option* normalise_energy_ = nullptr;
  CLI::Option* silence_floor_ = nullptr;
  CLI::Option* energy_scale_ = nullptr;
  CLI::Option* maximum_ = nullptr;
};

}  // namespace kivsr::program
