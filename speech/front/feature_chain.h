// The one way from samples to the rows of a recipe: front end with its noise reduction, equalisation, normalisation of
// energy, of mean and variance, derivatives.
//
//   FeatureChain chain(preset("mfcc"));
//   const FeatureMatrix rows = chain.run(samples);  // or push block after block, then finish
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/front/advanced_front_end.h"
#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/front/pitch_columns.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/row_stage.h"
#include "kivsr/speech/front/speech_column.h"

namespace kivsr::speech {

// Takes rows as they come; they stay until it returns.
using RowTaker = std::function<void(const FeatureMatrix& rows)>;

// Looks at rows as they come, and may change their values.
using RowChange = std::function<void(FeatureMatrix& rows)>;

// One utterance after the other: push samples, or rows, as they come, then finish, which leaves it ready for the next.
// The rows are the same bits however the input is cut into blocks; a stage that needs the whole utterance gives its
// rows when it ends (Recipe::needs_whole_utterance).
class FeatureChain {
 public:
  explicit FeatureChain(const Recipe& recipe);

  const Recipe& recipe() const { return recipe_; }

  // For what normalises with numbers that the recipe does not hold (speaker_normalisation.h), or finds them: it gets
  // the rows where the recipe's own normalisation of mean and variance would, in front of the derivatives. Empty:
  // nothing.
  void change_statics(RowChange change) { change_ = std::move(change); }

  // Hands over the rows that these samples complete.
  void push(std::span<const float> samples, const RowTaker& take);
  // The same from rows as the front end, or the source, of the recipe gives them.
  void push_rows(const FeatureMatrix& input, const RowTaker& take);
  void finish(const RowTaker& take);
  // The same, appended to rows. rows.width is set.
  void push(std::span<const float> samples, FeatureMatrix& rows) { push(samples, appending_to(rows)); }
  void push_rows(const FeatureMatrix& input, FeatureMatrix& rows) { push_rows(input, appending_to(rows)); }
  void finish(FeatureMatrix& rows) { finish(appending_to(rows)); }
  // A whole utterance, pushed in blocks of that many samples; 0: at once.
  FeatureMatrix run(std::span<const float> samples, std::size_t block = 0);
  FeatureMatrix run_rows(const FeatureMatrix& input);

 private:
  void change(FeatureMatrix& rows) const;
  void pass(std::size_t stage, const RowTaker& take);
  RowTaker appending_to(FeatureMatrix& rows) const;

  Recipe recipe_;
  FrontEnd front_end_;
  std::optional<AdvancedFrontEnd> advanced_;  // in its place
  std::vector<std::unique_ptr<RowStage>> stages_;
  RowChange change_;
  std::size_t changed_ = 0;            // the stage that gets the changed rows
  std::vector<FeatureMatrix> before_;  // each stage, and behind the last
  std::optional<PitchColumns> pitch_;
  FeatureMatrix pitched_;  // rows that have met their pitch
  SpeechColumn speech_;
  std::vector<float> decisions_;  // on their way to it
  FeatureMatrix spoken_;          // rows that have met them
};

}  // namespace kivsr::speech
