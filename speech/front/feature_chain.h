// The one way from samples to the rows of a recipe: front end with its noise reduction, equalisation, normalisation of
// energy, of mean and variance, derivatives.
//
//   FeatureChain chain(preset("mfcc"));
//   const FeatureMatrix rows = chain.run(samples);  // or push block after block, then finish
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"

namespace kivsr::speech {

// One utterance after the other: push samples, or rows, as they come, then finish, which leaves it ready for the next.
// The rows are the same bits however the input is cut into blocks; a stage that needs the whole utterance gives its
// rows when it ends (Recipe::needs_whole_utterance).
class FeatureChain {
 public:
  explicit FeatureChain(const Recipe& recipe);

  const Recipe& recipe() const { return recipe_; }

  // Appends the rows that these samples complete. rows.width is set.
  void push(std::span<const float> samples, FeatureMatrix& rows);
  // The same from rows as the front end, or the source, of the recipe gives them.
  void push_rows(const FeatureMatrix& input, FeatureMatrix& rows);
  void finish(FeatureMatrix& rows);
  // A whole utterance, pushed in blocks of that many samples; 0: at once.
  FeatureMatrix run(std::span<const float> samples, std::size_t block = 0);
  FeatureMatrix run_rows(const FeatureMatrix& input);

 private:
  FeatureMatrix& first_of(FeatureMatrix& rows) { return stages_.empty() ? rows : current_; }
  void pass(bool last, FeatureMatrix& rows);

  Recipe recipe_;
  FrontEnd front_end_;
  std::vector<std::unique_ptr<RowStage>> stages_;
  FeatureMatrix current_;  // between two stages
  FeatureMatrix next_;
};

}  // namespace kivsr::speech
