// Acoustic models, part by part, and models of words with what is made of them.
#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "fuzz/target.h"
#include "kivsr/speech/decode/mixture_scorer.h"
#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/io/little_endian.h"
#include "kivsr/speech/models/arpa_file.h"
#include "kivsr/speech/models/dictionary.h"
#include "kivsr/speech/models/model_definition.h"
#include "kivsr/speech/models/ngram_mixture.h"
#include "kivsr/speech/models/packed_ngram_file.h"
#include "kivsr/speech/models/phone_model.h"
#include "kivsr/speech/models/s3_file.h"
#include "kivsr/speech/models/sendump.h"
#include "kivsr/speech/models/word_acoustic_model.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/trainer.h"

namespace kivsr::fuzz {

namespace {

using namespace speech;

void run_definition(Bytes bytes) {
  const ModelDefinition definition = read_model_definition(file_of(bytes, "mdef"));
  for (const PhoneDefinition& phone : definition.phones) {
    for (const int state : phone.states) {
      if (state < 0 || state >= definition.states) __builtin_trap();  // tables have that many rows
    }
  }
  if (definition.independent_states > definition.states) __builtin_trap();
  definition.phone_index("SIL");
}
const Registration definition("mdef", run_definition);

void run_gaussians(Bytes bytes) {
  const GaussianParameters parameters = read_gaussian_parameters(file_of(bytes, "means"));
  if (parameters.codebooks > 0 && !parameters.stream_lengths.empty()) {
    parameters.rows(parameters.codebooks - 1, static_cast<int>(parameters.stream_lengths.size()) - 1);
  }
}
const Registration gaussians("gaussians", run_gaussians);

void run_mixture_weights(Bytes bytes) { read_mixture_weights(file_of(bytes, "mixture_weights")); }
const Registration mixture_weights("mixture_weights", run_mixture_weights);

void run_transitions(Bytes bytes) { read_transition_matrices(file_of(bytes, "transition_matrices")); }
const Registration transitions("transitions", run_transitions);

void run_sendump(Bytes bytes) {
  const PackedWeights weights = read_sendump(file_of(bytes, "sendump"));
  if (weights.streams > 0 && weights.densities > 0 && weights.states > 0) {
    weights.log_weight(weights.streams - 1, weights.densities - 1, weights.states - 1);
  }
}
const Registration sendump("sendump", run_sendump);

void run_feat_params(Bytes bytes) {
  const auto file = file_of(bytes, "feat.params");
  read_feat_params(file).recipe(file);
}
const Registration feat_params("feat_params", run_feat_params);

void run_dictionary(Bytes bytes) { Dictionary::read(file_of(bytes, "words.dict")); }
const Registration dictionary("dictionary", run_dictionary);

template <class Model>
void follow(const Model& model) {
  int state = 0;
  for (int word = 0; word < std::min(model.words(), 50); ++word) {
    state = model.follow(state, model.words() - 1 - word).next;
    if (state < 0 || state >= model.states()) __builtin_trap();
  }
}

void run_arpa(Bytes bytes) { follow(read_arpa_file(file_of(bytes, "words.lm"))); }
const Registration arpa("arpa", run_arpa);

void run_packed_ngrams(Bytes bytes) { follow(read_packed_ngrams(file_of(bytes, "words.lm.bin"))); }
const Registration packed_ngrams("packed_ngrams", run_packed_ngrams);

// A model as one of two: the text up to a mark, and the rest.
void run_ngram_mixture(Bytes bytes) {
  const auto half = std::find(bytes.begin(), bytes.end(), '#');
  NgramModel first = read_arpa_file(file_of({bytes.begin(), half}, "first.lm"));
  NgramModel second = read_arpa_file(file_of({half + (half == bytes.end() ? 0 : 1), bytes.end()}, "second.lm"));
  follow(NgramMixture(std::move(first), std::move(second), 0.5));
}
const Registration ngram_mixture("ngram_mixture", run_ngram_mixture);

void run_feature_transform(Bytes bytes) { read_feature_transform(file_of(bytes, kFeatureTransformFile)); }
const Registration feature_transform("feature_transform", run_feature_transform);

// A file with the right checksum behind it, without which mutations would get no further.
std::vector<std::uint8_t> with_checksum(std::vector<std::uint8_t> content) {
  const std::uint32_t checksum = checksum_32(content);
  for (int shift = 0; shift < 32; shift += 8) content.push_back(static_cast<std::uint8_t>(checksum >> shift));
  return content;
}

void score(const AcousticModel& model, ScoreArithmetic arithmetic) {
  const auto scorer = make_mixture_scorer(model, {arithmetic, 0});
  std::vector<float> frame(static_cast<std::size_t>(model.dimension), 1.0F);
  std::vector<float> scores(static_cast<std::size_t>(model.definition.independent_states));
  std::vector<int> states(scores.size());
  for (std::size_t i = 0; i < states.size(); ++i) states[i] = static_cast<int>(i);
  scorer->score(frame, states, scores);
}

void run_word_model(Bytes bytes) {
  const auto file = file_of(with_checksum({bytes.begin(), bytes.end()}), "words.model");
  const WordModel model = read_word_model(file);
  const WordRecogniser words = word_recogniser(model, file);
  for (const auto arithmetic :
       {ScoreArithmetic::kSinglePrecision, ScoreArithmetic::kDoublePrecision, ScoreArithmetic::kSixteenBits}) {
    score(words.acoustic, arithmetic);
  }
}
const Registration word_model("word_model", run_word_model);

// What can be read can be written and read again.
void run_phone_model(Bytes bytes) {
  const auto file = file_of(with_checksum({bytes.begin(), bytes.end()}), "training");
  const PhoneModel model = read_phone_model(file);
  write_phone_model(file, model);
  if (phone_model_checksum(read_phone_model(file)) != phone_model_checksum(model)) __builtin_trap();
}
const Registration phone_model("phone_model", run_phone_model);

// A silence of one state and a word of one, of two components and one, for rows of two values.
WordModel tiny_model() {
  WordModel model;
  model.recipe = Recipe::of_features(2);
  model.units = {{"<sil>", true, 0, 1}, {"yes", false, 1, 1}};
  model.variance_floor = {0.01F, 0.01F};
  model.states = {{0.5F, 10.0F, {0.5F, 0.5F}, {0.0F, 1.0F, 2.0F, 3.0F}, {1.0F, 1.0F, 1.0F, 1.0F}},
                  {0.5F, 10.0F, {1.0F}, {4.0F, 5.0F}, {1.0F, 1.0F}}};
  return model;
}

// The sums alone: head and checksum are right. What a pass makes of them must be a model that can be read.
void run_statistics(Bytes bytes) {
  WordModel model = tiny_model();
  const std::string head = "kivsr-statistics 1\nmodel " + std::to_string(word_model_checksum(model)) + "\nend\n";
  std::vector<std::uint8_t> content(head.begin(), head.end());
  content.insert(content.end(), bytes.begin(), bytes.end());
  const Statistics statistics = Statistics::read(file_of(with_checksum(std::move(content)), "sums"), model);
  finish_pass(model, statistics, TrainingSettings{}, 0);
  const auto written = file_of({}, "trained.model");
  write_word_model(written, model);
  try {
    read_word_model(written);
  } catch (const Fault&) {
    __builtin_trap();
  }
}
const Registration statistics("statistics", run_statistics);

}  // namespace

}  // namespace kivsr::fuzz
