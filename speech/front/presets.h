// Recipes by name.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

// "sphinx-en-us": the static cepstra of Sphinx's US English models; "sphinx-39": the same with the mean of the
// utterance taken out and differences behind, as those models and those of kivsr train want them; "sphinx": what Sphinx
// computes when told nothing; "mfcc"; "htk-like"; "lpc-cepstrum"; "aurora"; "etsi-afe": the advanced front end at 16
// kHz, with its decision about speech. Throws Fault for another name.
Recipe preset(const std::string& name);
// The same for audio of a rate (0: not known): etsi-afe at 8 kHz for rates below 16 kHz.
Recipe preset(const std::string& name, int file_rate);
std::vector<std::string> preset_names();

}  // namespace kivsr::speech
