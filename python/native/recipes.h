// Recipes from a preset and keyword arguments, which have the names of the recipe's fields with _ for -.
#pragma once

#include <string>

#include <pybind11/pybind11.h>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::python {

// The preset at a sampling rate (0: its own), its lengths as long in seconds, then the options. Throws TypeError for an
// option that is none and for values of a wrong type, ValueError for names that are none, Fault for what contradicts.
speech::Recipe make_recipe(const std::string& preset, int sample_rate, const pybind11::dict& options);
// Another recipe with the options.
speech::Recipe with_options(const speech::Recipe& recipe, const pybind11::dict& options);

}  // namespace kivsr::python
