// Trees over contexts whose sounds are known, and the questions that are made from phones.
#include "kivsr/speech/train/state_trees.h"

#include <gtest/gtest.h>

#include <random>

#include "kivsr/speech/io/fault.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

constexpr int kPhones = 6;  // the last one is silence

ModelDefinition six_phones() {
  ModelDefinition definition;
  for (const char* name : {"A", "B", "C", "D", "E", "SIL"}) definition.phones.push_back({name, name[0] == 'S', 0, {}});
  definition.states_per_phone = 2;
  return definition;
}

PhoneSet set_of(std::initializer_list<int> phones) {
  PhoneSet set(kPhones, 0);
  for (const int phone : phones) set[static_cast<std::size_t>(phone)] = 1;
  return set;
}

// What A sounds like: its first state by the phone before it (A, B or others), its second one always the same.
std::vector<ContextSums> heard_of_a(int lefts) {
  std::vector<ContextSums> sums;
  for (int left = 0; left < lefts; ++left) {
    for (int right = 0; right < kPhones; ++right) {
      const std::vector<double> first{left < 2 ? 4.0 : -4.0, 0.1 * right};
      const std::vector<double> variance{1.0, 1.0};
      sums.push_back({{0, left, right, WordPosition::kInternal},
                      {GaussianPool(first, variance, 50.0), GaussianPool({0.0, 0.0}, variance, 50.0)}});
    }
  }
  return sums;
}

TEST(StateTrees, SplitWhereTheSoundDiffers) {
  const std::vector<PhoneSet> sets{set_of({0, 1}), set_of({0}), set_of({2, 3}), set_of({5})};
  const auto sums = heard_of_a(4);
  const ModelDefinition definition = six_phones();
  // ten roots, five phones of two states; the first split is the one that matters
  const StateTrees trees(sums, make_questions(sets), definition, 11, 100.0);
  EXPECT_EQ(trees.leaves(), 11);
  const auto leaf = [&](int left, int right, int state) {
    return trees.leaf({0, left, right, WordPosition::kInternal}, state);
  };
  EXPECT_EQ(leaf(0, 3, 0), leaf(1, 2, 0));
  EXPECT_EQ(leaf(2, 3, 0), leaf(3, 2, 0));
  EXPECT_NE(leaf(0, 3, 0), leaf(2, 3, 0));
  EXPECT_EQ(leaf(0, 3, 1), leaf(2, 3, 1)) << "the second state has one leaf";
  EXPECT_EQ(leaf(4, 0, 0), leaf(2, 0, 0)) << "a context that was not heard goes where the answers lead";
  EXPECT_NEAR(trees.pool(leaf(0, 0, 0)).mean(0), 4.0, 1e-9);
  EXPECT_NEAR(trees.pool(leaf(2, 0, 0)).mean(0), -4.0, 1e-9);
  EXPECT_NEAR(trees.pool(leaf(2, 0, 0)).frames(), 2 * 6 * 50.0, 1e-9);
  EXPECT_EQ(trees.pool(trees.leaf({3, 0, 0, WordPosition::kBegin}, 0)).frames(), 0.0);

  EXPECT_EQ(StateTrees(sums, make_questions(sets), definition, 5, 100.0).leaves(), 10) << "one for each state at least";
  EXPECT_EQ(StateTrees(sums, make_questions(sets), definition, 1000, 601.0).leaves(), 10) << "halves of 600 frames";
}

TEST(StateTrees, LogLikelihoodOfAPool) {
  std::mt19937 generator(3);
  std::normal_distribution<double> normal(1.0, 2.0);
  GaussianPool pool(1);
  double sum = 0.0;
  double squares = 0.0;
  std::vector<double> values;
  for (int i = 0; i < 100; ++i) {
    values.push_back(normal(generator));
    pool.add(GaussianPool({values.back()}, {0.0}, 1.0));
    sum += values.back();
    squares += values.back() * values.back();
  }
  const double mean = sum / 100.0;
  const double variance = squares / 100.0 - mean * mean;
  double expected = 0.0;
  for (const double x : values) {
    expected -= 0.5 * (std::log(2.0 * std::acos(-1.0) * variance) + (x - mean) * (x - mean) / variance);
  }
  EXPECT_NEAR(pool.log_likelihood(), expected, 1e-8);
}

TEST(PhoneQuestions, FromPhonesThatSoundAlike) {
  PhoneModel model;
  model.recipe = Recipe::of_features(1);
  model.definition = six_phones();
  model.definition.states_per_phone = 1;
  const float means[] = {0.0F, 10.0F, 0.5F, 10.7F, 30.0F, 0.1F};
  for (int phone = 0; phone < kPhones; ++phone) {
    model.definition.phones[static_cast<std::size_t>(phone)].states = {phone};
    model.states.push_back({0.5F, 100.0F, {1.0F}, {means[phone]}, {1.0F}});
  }
  const std::vector<PhoneSet> sets = make_phone_sets(model);
  const auto has = [&](const PhoneSet& set) { return std::find(sets.begin(), sets.end(), set) != sets.end(); };
  EXPECT_TRUE(has(set_of({0, 2})));
  EXPECT_TRUE(has(set_of({1, 3})));
  EXPECT_TRUE(has(set_of({0, 1, 2, 3})) || has(set_of({1, 3, 4})));
  EXPECT_TRUE(has(set_of({5}))) << "silence is asked for alone";
  EXPECT_FALSE(has(set_of({0, 1})));

  const TemporaryFolder folder;
  const auto file = folder.write("questions", "# sets\nVOWELS A E # two\nWDBNDRY_B\nSTOPS B\n");
  EXPECT_EQ(read_phone_sets(file, model.definition).size(), 2U);
  const auto bad = folder.write("bad", "VOWELS A\nSTOPS B XX\n");
  EXPECT_EQ(fault_of([&] { read_phone_sets(bad, model.definition); }), bad.string() + ":2: no phone \"XX\" is trained");
}

}  // namespace
}  // namespace kivsr::speech::test
