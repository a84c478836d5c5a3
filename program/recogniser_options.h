// Options of the subcommands that search with an acoustic model: which one, how it is scored, how wide the search is.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/decode/search_language.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "program/command.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct AcousticOptions {
  std::string model_name = "en-us";
  std::string dictionary_file;
  std::string noise_reduction;  // empty: as the model's recipe says
  bool reduces_noise = false;   // without that too, where the recipe does not and can: of steady noise alone
  bool equalise = false;
  ModelFloors floors;
  ScorerOptions scoring;

  AcousticModel read_model() const;
  // The one that was given, else the one beside the model.
  std::filesystem::path dictionary_path(const AcousticModel& model) const;
  // The model's own, with what the command line adds for a difficult channel.
  Recipe recipe_of(const AcousticModel& model) const;
};

void add_acoustic_options(Command command, AcousticOptions& options);
// Penalties of silence and noise, beams, and how Gaussians are scored.
void add_search_options(Command command, SearchWeights& weights, Beams& beams, AcousticOptions& acoustic);

// A penalty that is given holds everywhere, in loops too, unless --word-cost is given beside it.
struct GivenWeights {
  SearchWeights given = kWordWeights;
  bool has_penalty = false;
  bool has_cost = false;

  SearchWeights of_words() const;
};
// --insertion-penalty and --word-cost.
void add_cost_options(Command command, GivenWeights& weights);

// Beams that follow from the kind of the model where the command line does not give them.
struct ModelBeams {
  Beams given;
  bool has_state = false;
  bool has_phone = false;
  bool has_word = false;

  Beams of(const AcousticModel& model) const;
};
// Behind add_search_options with what is given.
void follow_model(Command command, ModelBeams& beams);

}  // namespace kivsr::program
