// What the field's toolkits compute, as recipes. Sources and differences: docs/guide/conventions.md.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

// sample_rate: 0 for the toolkit's own. Nothing for a name that is none of them; Fault for a target kind that HTK does
// not have or that is not one of mel cepstra.
std::optional<Recipe> toolkit_preset(const std::string& name, int sample_rate);
std::vector<std::string> toolkit_preset_names();

}  // namespace kivsr::speech
