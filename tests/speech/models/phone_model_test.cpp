// Models of phones to a record and back, and in Sphinx layout as the reader of that layout finds them.
#include "kivsr/speech/models/phone_model.h"

#include <cmath>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/phone_contexts.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

PhoneModel phone_model() {
  PhoneModel model;
  model.recipe = preset("sphinx-39");
  model.fillers.add("<sil>", {"SIL"});
  ModelDefinition& definition = model.definition;
  for (const char* name : {"A", "B", "SIL"}) {
    PhoneDefinition phone{name, name[0] == 'S', definition.transition_matrices++, {}};
    for (int i = 0; i < 3; ++i) phone.states.push_back(definition.states++);
    definition.phones.push_back(phone);
  }
  definition.independent_states = definition.states;
  definition.states_per_phone = 3;
  definition.states += 2;
  add_independent_hmms(definition);
  PhoneContexts contexts(definition);
  contexts.add({0, 1, 2, WordPosition::kEnd, 0}, {9, 1, 10});
  contexts.add({0, 2, 2, WordPosition::kSingle, 0}, {9, 1, 10});
  definition = parse_model_definition("mdef", model_definition_text(definition));
  for (int row = 0; row < model.rows(); ++row) model.stays.push_back(0.1F * static_cast<float>(1 + row));
  for (int s = 0; s < definition.states; ++s) {
    MixtureState& state = model.states.emplace_back();
    state.stay = 0.5F;
    state.occupation = 100.0F;
    const int components = 1 + s % 2;
    for (int component = 0; component < components; ++component) {
      state.weights.push_back(components == 1 ? 1.0F : component == 0 ? 0.25F : 0.75F);
      for (int i = 0; i < 39; ++i) {
        state.means.push_back(static_cast<float>(s + component) + 0.01F * static_cast<float>(i));
        state.variances.push_back(0.5F + 0.1F * static_cast<float>(i));
      }
    }
  }
  model.variance_floor.assign(39, 1e-3F);
  model.training["pass"] = "3";
  return model;
}

TEST(PhoneModel, RecordHoldsEverything) {
  const TemporaryFolder folder;
  const PhoneModel model = phone_model();
  write_phone_model(folder / "record", model);
  const PhoneModel found = read_phone_model(folder / "record");
  EXPECT_EQ(phone_model_checksum(found), phone_model_checksum(model));
  EXPECT_EQ(found.recipe, model.recipe);
  EXPECT_EQ(found.stays, model.stays);
  EXPECT_EQ(found.training, model.training);
  EXPECT_EQ(found.states[10].means, model.states[10].means);
  EXPECT_EQ(found.definition.hmm_of(0, 1, 2, WordPosition::kEnd), model.definition.hmm_of(0, 1, 2, WordPosition::kEnd));
  expect_fault_at_every_length(
      read_file(folder / "record"), [](const auto& file) { read_phone_model(file); }, 97);
}

TEST(PhoneModel, SphinxLayoutAsItsReaderFindsIt) {
  const TemporaryFolder folder;
  const PhoneModel model = phone_model();
  write_sphinx_model(folder.path(), model);
  const AcousticModel found = read_acoustic_model(folder.path());
  EXPECT_EQ(found.recipe, model.recipe);
  EXPECT_EQ(found.definition.states, 11);
  EXPECT_EQ(found.codebooks, 11);
  EXPECT_EQ(found.densities, 2);
  const int hmm = found.definition.hmm_of(0, 1, 2, WordPosition::kEnd);
  const auto states = found.definition.states_of_hmm(hmm);
  EXPECT_EQ((std::vector<int>(states.begin(), states.end())), (std::vector<int>{9, 1, 10}));
  EXPECT_TRUE(found.definition.phones[2].filler);
  ASSERT_EQ(found.streams.size(), 1U);
  const ModelStream& stream = found.streams.front();
  for (std::size_t s = 0; s < 11; ++s) {
    const std::size_t first = s * 2 * 39;
    EXPECT_EQ(stream.means[first + 5], model.states[s].means[5]);
    EXPECT_FLOAT_EQ(stream.inverse_variances[first + 5], 1.0F / model.states[s].variances[5]);
    const float weight = model.states[s].weights.front();
    EXPECT_NEAR(std::exp(stream.log_weights[2 * s]), weight, 1e-6);
    if (weight == 1.0F) {
      EXPECT_LT(stream.log_weights[2 * s + 1], -15.0F) << "what fills up has no weight";
    }
  }
  const float* const transitions = found.transitions(1);
  EXPECT_NEAR(std::exp(transitions[0]), 0.4F, 1e-6);
  EXPECT_NEAR(std::exp(transitions[1]), 0.6F, 1e-6);
  EXPECT_EQ(transitions[2], kLogZero);
  EXPECT_NEAR(std::exp(transitions[2 * 4 + 3]), 0.4F, 1e-6) << "the exit";
}

TEST(PhoneModel, FeatParamsDescribeTheRecipeOrRefuseIt) {
  const TemporaryFolder folder;
  Recipe recipe = preset("sphinx-39");
  recipe.front_end.sample_rate = 8000;
  recipe.front_end.window_length = 205;
  recipe.front_end.shift = 80;
  recipe.front_end.high_frequency = 3500.5F;
  recipe.front_end.transform = Transform::kLegacy;
  const auto file = folder.write("feat.params", feat_params_text(recipe));
  EXPECT_EQ(read_feat_params(file).recipe(file), recipe);
  recipe.front_end.mel_scale = MelScale::kSlaney;
  EXPECT_NE(fault_of([&] { feat_params_text(recipe); }).find("a model in Sphinx layout cannot have these features: "),
            std::string::npos);
  EXPECT_NE(fault_of([&] { feat_params_text(preset("mfcc")); }), "");
}

}  // namespace
}  // namespace kivsr::speech::test
