// What follows from the fields of a recipe that somebody has set, for the fields that nobody has.
#pragma once

#include <functional>
#include <string>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

// start: the recipe before the fields were set. is_set(name of a field): whether it was one of them; it stays as it is.
//   - another sampling rate keeps the window and the shift in seconds and the band within half the rate
//   - a window longer than the transform takes the next power of two; one as long as the transform stays as long
//   - what the start says about columns that are there no more goes with them
//   - Dynamics::kAurora reads c1 .. c12, c0 and the log energy, in that order, whatever the front end would give by itself
void fit_dependent_fields(const Recipe& start, const std::function<bool(const std::string& field)>& is_set,
                          Recipe& recipe);

}  // namespace kivsr::speech
