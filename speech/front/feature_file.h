// What the rows of a recipe are called in the formats of files of features.
#pragma once

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/io/feature_writer.h"

namespace kivsr::speech {

// HTK wants c0 behind the other cepstra and the log energy behind that, in the statics and in each of their
// derivatives.
FeatureLayout layout_of(const Recipe& recipe);

// Of rows whose source was a file of features: its names, its kind and the distance of its frames, with what the recipe
// adds to them.
FeatureLayout layout_behind(const FeatureLayout& source, const Recipe& recipe);

// All rows at once.
void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const Recipe& recipe);

}  // namespace kivsr::speech
