// Options of a recipe that mean nothing without another: given alone they are refused, not ignored.
#pragma once

#include <functional>
#include <string>

#include "kivsr/speech/front/recipe.h"
#include "program/speech_names.h"

namespace kivsr::program {

// Throws Fault for an option that was given and that nothing in the recipe looks at.
void require_partners(const Recipe& recipe, const std::function<bool(const std::string& option)>& given);

}  // namespace kivsr::program
