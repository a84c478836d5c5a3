#include "program/recogniser_options.h"

#include "kivsr/speech/front/noise_reduction.h"
#include "kivsr/speech/front/recipe_fields.h"
#include "kivsr/speech/io/fault.h"
#include "program/choices.h"
#include "program/command.h"
#include "program/numbers.h"
#include "program/report_text.h"

namespace kivsr::program {

AcousticModel AcousticOptions::read_model() const { return read_acoustic_model(find_model_folder(model_name), floors); }

std::filesystem::path AcousticOptions::dictionary_path(const AcousticModel& model) const {
  const std::filesystem::path file =
      dictionary_file.empty() ? find_model_dictionary(model.folder) : std::filesystem::path(dictionary_file);
  if (file.empty()) throw Fault("the model " + model_name + " has no dictionary beside it, give --dict");
  return file;
}

Recipe AcousticOptions::recipe_of(const AcousticModel& model) const {
  Recipe recipe = model.recipe;
  NoiseMethod& method = recipe.noise_reduction.method;
  if (!noise_reduction.empty()) {
    read_field(noise_reduction, method);
  } else if (reduces_noise && method == NoiseMethod::kNone && can_reduce_noise(recipe)) {
    method = NoiseMethod::kAuto;
  }
  if (equalise) {
    if (recipe.source == Source::kFeatures) {
      throw Fault("--equalise needs a model of cepstra, " + model_name + " was trained from features");
    }
    recipe.equalisation = Equalisation::kFromMean;
  }
  return recipe;
}

void add_acoustic_options(Command command, AcousticOptions& options) {
  command.add_option("--model", options.model_name,
                     "Folder of the acoustic model, name of one that Debian installs, or file of a model of words");
  command.add_option("--dict", options.dictionary_file, "Pronunciation dictionary (default: the one beside the model)");
  command.add_flag("--equalise", options.equalise,
                   "Follow a channel that changes within an utterance (blind equalisation)");
  command
      .add_option("--noise-reduction", options.noise_reduction,
                  "none, mcra-wiener, mcra-emns, or auto: mcra-wiener where the noise is heavy and steady (default: as "
                  "the model's recipe says; of whole files that are recognised auto, if it says nothing)")
      .one_of({"none", "mcra-wiener", "mcra-emns", "auto"});
  command
      .add_flag_function(
          "--no-noise-reduction", [&options](std::int64_t) { options.noise_reduction = "none"; },
          "The same as --noise-reduction none")
      .excludes("--noise-reduction");
}

namespace {

void add_scoring_options(Command command, AcousticOptions& options) {
  add_number(command, "--top", options.scoring.top, 0, 65536,
             "Gaussians of each codebook and stream that are summed, the likeliest of those scored; 0: all");
  add_number(command, "--score-depth", options.scoring.depth, 0, 1e6,
             "How far below the best of its stream in a frame a Gaussian counts, where states share them; 0: any");
  add_choice(command, "--arithmetic", options.scoring.arithmetic,
             {{"float", ScoreArithmetic::kSinglePrecision},
              {"double", ScoreArithmetic::kDoublePrecision},
              {"16s", ScoreArithmetic::kSixteenBits}},
             "Of the Gaussians: float, double or 16s (16 bits)");
  add_number(command, "--shortlist", options.scoring.shortlist, 0, 65536,
             "Gaussians of each codebook and stream that are scored for a frame, 0: all");
  add_number(command, "--variance-floor", options.floors.variance, 1e-20, 1e6, "Smallest variance of a Gaussian");
  add_number(command, "--weight-floor", options.floors.mixture_weight, 0, 1, "Smallest mixture weight");
}

void add_filler_options(Command command, SearchWeights& weights) {
  add_number(command, "--silence-penalty", weights.silence_penalty, -10000, 10000,
             "Added to the log score for each silence");
  add_number(command, "--noise-penalty", weights.noise_penalty, -10000, 10000, "Added to the log score for each noise");
}

void add_beam_options(Command command, Beams& beams) {
  add_number(command, "--beam", beams.state, 0.001, 1e6, "Log score behind the best at which a path is given up");
  add_number(command, "--word-beam", beams.word, 0.001, 1e6, "The same between the ends of words");
  add_number(command, "--most-phones", beams.phones, 0, 1'000'000'000,
             "Phones that go on after a frame, the best; 0: any number");
  add_number(command, "--phone-beam", beams.phone, 0.001, 1e6,
             "Log score behind the best at which no phone is entered");
}

}  // namespace

void add_search_options(Command command, SearchWeights& weights, Beams& beams, AcousticOptions& acoustic) {
  add_filler_options(command, weights);
  add_beam_options(command, beams);
  add_scoring_options(command, acoustic);
}

SearchWeights GivenWeights::of_words() const {
  SearchWeights weights = given;
  if (has_penalty && !has_cost) weights.word_cost = 0.0F;
  return weights;
}

void add_cost_options(Command command, GivenWeights& weights) {
  add_number(command, "--insertion-penalty", weights.given.insertion_penalty, -10000, 10000,
             "Added to the log score for each word")
      .each([&weights](const std::string&) { weights.has_penalty = true; });
  add_number(command, "--word-cost", weights.given.word_cost, 0, 10000,
             "In loops of a grammar instead of the penalty: words cost at least so much on average")
      .default_text(formatted("%g, with --insertion-penalty 0", double{kWordWeights.word_cost}))
      .each([&weights](const std::string&) { weights.has_cost = true; });
}

Beams ModelBeams::of(const AcousticModel& model) const {
  const Beams usual = default_beams(model);
  Beams beams = given;
  if (!has_state) beams.state = usual.state;
  if (!has_phone) beams.phone = usual.phone;
  if (!has_word) beams.word = usual.word;
  return beams;
}

void follow_model(Command command, ModelBeams& beams) {
  AcousticModel of_words;
  of_words.whole_words = true;
  const Beams wide = default_beams(of_words);
  const auto note = [&](const char* name, float usual, float wider, bool& is_given) {
    command.option(name)
        .default_text(formatted("%g, of models of words %g", double{usual}, double{wider}))
        .each([&is_given](const std::string&) { is_given = true; });
  };
  note("--beam", beams.given.state, wide.state, beams.has_state);
  note("--phone-beam", beams.given.phone, wide.phone, beams.has_phone);
  note("--word-beam", beams.given.word, wide.word, beams.has_word);
}

}  // namespace kivsr::program
