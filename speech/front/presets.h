// Recipes by name.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

// "sphinx-en-us": the static cepstra of Sphinx's US English models; "sphinx-39": the same with the mean of the
// utterance taken out and differences behind, as those models and those of kivsr train want them; "sphinx": what Sphinx
// computes when told nothing; "mfcc"; "htk-like"; "lpc-cepstrum"; "aurora". Throws Fault for another name.
Recipe preset(const std::string& name);
std::vector<std::string> preset_names();

}  // namespace kivsr::speech
