// Training against expectation maximisation written out in double precision, sums by parts, floors, merging, splitting.
#include <cmath>
#include <functional>
#include <numeric>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/models/word_model_file.h"
#include "kivsr/speech/train/start_model.h"
#include "kivsr/speech/train/trainer.h"
#include "speech/models/model_bytes.h"
#include "speech/support/temporary_folder.h"
#include "speech/train/training_data.h"

namespace kivsr::speech::test {
namespace {

// One pass of expectation maximisation as the textbooks have it; returns the log likelihood before it.
struct ReferenceMixture {
  std::size_t width;
  std::vector<double> weights, means, variances;

  double pass(const std::vector<FeatureMatrix>& data, const std::vector<float>& floor) {
    const std::size_t count = weights.size();
    std::vector<double> occupation(count), first(count * width), second(count * width), logs(count);
    double total = 0.0;
    for (const FeatureMatrix& rows : data) {
      for (int t = 0; t < rows.height(); ++t) {
        for (std::size_t k = 0; k < count; ++k) {
          logs[k] = std::log(weights[k]);
          for (std::size_t i = 0; i < width; ++i) {
            const double d = static_cast<double>(rows.row(t)[i]) - means[k * width + i];
            const double v = variances[k * width + i];
            logs[k] -= 0.5 * (std::log(2.0 * std::acos(-1.0) * v) + d * d / v);
          }
        }
        const double greatest = *std::max_element(logs.begin(), logs.end());
        double sum = 0.0;
        for (const double value : logs) sum += std::exp(value - greatest);
        total += greatest + std::log(sum);
        for (std::size_t k = 0; k < count; ++k) {
          const double share = std::exp(logs[k] - greatest) / sum;
          occupation[k] += share;
          for (std::size_t i = 0; i < width; ++i) {
            const double x = static_cast<double>(rows.row(t)[i]);
            first[k * width + i] += share * x;
            second[k * width + i] += share * x * x;
          }
        }
      }
    }
    const double frames = std::accumulate(occupation.begin(), occupation.end(), 0.0);
    for (std::size_t k = 0; k < count; ++k) {
      weights[k] = occupation[k] / frames;
      for (std::size_t i = k * width; i < (k + 1) * width; ++i) {
        means[i] = first[i] / occupation[k];
        variances[i] =
            std::max(second[i] / occupation[k] - means[i] * means[i], static_cast<double>(floor[i - k * width]));
      }
    }
    return total;
  }
};

TrainingUtterances tidigits(const std::vector<std::string>& names, const WordModel& model) {
  std::vector<TrainingItem> items;
  for (const std::string& name : names) items.push_back({kTestData / "tidigits" / (name + ".mfc"), {}});
  return load_utterances(items, model, {});
}

void add(const std::vector<int>& words, const FeatureMatrix& rows, TrainingUtterances& utterances) {
  utterances.add("x", words);
  utterances.append(rows);
}

// Files, rows and faults in the order of the list, however many are read at a time.
TEST(Training, FilesAreLoadedInTheOrderOfTheList) {
  const WordModel model = model_shape(preset("sphinx-39"), {}, true, {}, nullptr);
  std::vector<TrainingItem> items;
  for (int i = 0; i < 40; ++i) {
    const std::string names[] = {"man.ah.111a", "man.ah.35oa", "missing", "woman.ak.334a"};
    const std::string& name = names[i % 4];
    items.push_back({kTestData / "tidigits" / (name + (i % 4 == 2 ? std::to_string(i) : "") + ".mfc"), {}, i});
  }
  const auto load = [&](int jobs, std::vector<std::string>& faults) {
    const auto left_out = [&](const Fault& fault) { faults.emplace_back(fault.what()); };
    return load_utterances(items, model, {{}, nullptr, jobs}, {}, {}, left_out);
  };
  std::vector<std::string> faults;
  const TrainingUtterances alone = load(1, faults);
  EXPECT_EQ(alone.all().size(), 30U);
  EXPECT_EQ(faults.size(), 10U);
  for (const int jobs : {2, 5}) {
    std::vector<std::string> others;
    const TrainingUtterances together = load(jobs, others);
    EXPECT_EQ(others, faults);
    ASSERT_EQ(together.all().size(), alone.all().size());
    for (std::size_t i = 0; i < alone.all().size(); ++i) {
      EXPECT_EQ(together.all()[i].file, alone.all()[i].file);
      EXPECT_EQ(together.all()[i].item, alone.all()[i].item);
      EXPECT_EQ(together.rows(together.all()[i]).values, alone.rows(alone.all()[i]).values);
    }
    try {
      load_utterances(items, model, {{}, nullptr, jobs});
      FAIL() << "no fault";
    } catch (const Fault& fault) {
      EXPECT_EQ(fault.what(), faults.front());
    }
  }
}

TEST(Training, MixtureFollowsExpectationMaximisation) {
  TrainingSettings settings;
  settings.components = settings.start_components = 8;
  settings.iterations = 10;
  settings.least_occupation = 1.0;
  settings.weight_floor = 0.0;
  WordModel model = model_shape(preset("sphinx-39"), {}, true, settings, nullptr);
  const auto utterances = tidigits({"man.ah.111a", "man.ah.35oa", "woman.ak.334a", "woman.ak.ooa"}, model);
  start_model(model, utterances, settings, nullptr);
  const MixtureState& state = model.states.front();
  ASSERT_EQ(state.components(), 8);
  const auto wide = [](const std::vector<float>& values) { return std::vector<double>(values.begin(), values.end()); };
  ReferenceMixture reference{39, wide(state.weights), wide(state.means), wide(state.variances)};
  std::vector<FeatureMatrix> data;
  for (const TrainingUtterance& utterance : utterances.all()) data.push_back(utterances.rows(utterance));
  double last = -INFINITY;
  for (int pass = 0; pass <= settings.iterations; ++pass) {
    const Statistics statistics = collect(model, utterances, settings);
    const double expected = reference.pass(data, model.variance_floor);
    EXPECT_NEAR(statistics.log_likelihood / expected, 1.0, 1e-6) << "pass " << pass;
    EXPECT_GE(statistics.log_likelihood, last) << "pass " << pass;
    last = statistics.log_likelihood;
    finish_pass(model, statistics, settings, pass);
  }
}

TEST(Training, PartsAddUpToTheWhole) {
  const WordModel model = small_model();
  TrainingUtterances utterances;
  TrainingUtterances parts[3];
  auto add_to_both = [&, next = 0](const std::vector<int>& words, const FeatureMatrix& rows) mutable {
    add(words, rows, utterances);
    add(words, rows, parts[next++ % 3]);
  };
  for (unsigned i = 0; i < 7; ++i) add_to_both({i % 2 == 0 ? 1 : 2, 2}, random_rows(40, 3, i));
  add_to_both({1, 2, 1, 2}, random_rows(9, 3, 50));  // too short
  add_to_both({}, random_rows(9, 3, 51));            // no words
  for (const bool viterbi : {false, true}) {
    TrainingSettings settings;
    settings.viterbi = viterbi;
    settings.least_occupation = 3.0;
    const Statistics whole = collect(model, utterances, settings);
    EXPECT_EQ(whole.utterances, 7.0);
    EXPECT_EQ(whole.skipped, 2.0);
    double frames = 0.0;
    for (const StateStatistics& state : whole.states) frames += state.total();
    EXPECT_NEAR(frames, 280.0, 1e-5) << "every frame is shared out once";
    WordModel expected = model;
    reestimate(expected, whole, settings);

    const TemporaryFolder folder;
    Statistics sum(model);
    for (const TrainingUtterances& part : parts) {
      collect(model, part, settings).write(folder / "part");
      sum.add(Statistics::read(folder / "part", model));
    }
    EXPECT_NEAR(sum.log_likelihood, whole.log_likelihood, 1e-9 * std::abs(whole.log_likelihood));
    WordModel found = model;
    reestimate(found, sum, settings);
    for (std::size_t s = 0; s < model.states.size(); ++s) {
      ASSERT_EQ(found.states[s].components(), expected.states[s].components());
      EXPECT_FLOAT_EQ(found.states[s].stay, expected.states[s].stay);
      for (std::size_t i = 0; i < found.states[s].means.size(); ++i) {
        EXPECT_NEAR(found.states[s].means[i], expected.states[s].means[i], 1e-5);
        EXPECT_NEAR(found.states[s].variances[i], expected.states[s].variances[i], 1e-5);
      }
    }
    EXPECT_THROW(Statistics::read(folder / "part", expected), Fault) << "sums of another model";
  }
}

// All frames belong to the only place: their covariance about the mean, formed here frame by frame.
TEST(Training, ProductsOfAState) {
  const WordModel model = small_model({1});
  Statistics zero(std::span(model.states), 3, 0, 0);
  zero.want_products();
  Statistics sums = zero;
  GraphBuilder builder;
  builder.add_begin(builder.add_place(0, 0.5), 1.0);
  builder.add_end(0, 1.0);
  const MixtureEvaluator evaluator(model.states, 3);
  TrainingWork work(evaluator, kDefaultBeam);
  const FeatureMatrix rows = random_rows(25, 3, 4);
  ASSERT_EQ(sums.add_utterance(builder.finish(), rows, AlignmentMethod::kBaumWelch, work), Statistics::Outcome::kUsed);
  std::size_t place = 0;
  for (int i = 0; i < 3; ++i) {
    for (int k = i; k < 3; ++k, ++place) {
      double expected = 0.0;
      for (int t = 0; t < 25; ++t) {
        const auto difference = [&](int column) {
          return static_cast<double>(rows.row(t)[column]) -
                 static_cast<double>(model.states[0].means[static_cast<std::size_t>(column)]);
        };
        expected += difference(i) * difference(k);
      }
      EXPECT_NEAR(sums.states[0].products[place], expected, 1e-9 * (1.0 + std::abs(expected)));
    }
  }
  const TemporaryFolder folder;
  sums.write(folder / "sums");
  EXPECT_EQ(Statistics::read(folder / "sums", zero).states[0].products, sums.states[0].products);
  sums.states[0].products[1] = 1e9;
  sums.write(folder / "sums");
  EXPECT_NE(fault_of([&] { Statistics::read(folder / "sums", zero); }).find("a sum of products is larger"),
            std::string::npos);
}

// A file with the right checksum may still hold what no run gives.
TEST(Training, SumsThatNoRunGivesAreRefused) {
  const WordModel model = small_model();
  const TemporaryFolder folder;
  Statistics good(model);
  good.frames = 100.0;
  good.add_rows(model, 1, random_rows(20, 3, 7), std::vector<double>(40, 0.5));
  good.states[1].stay = 12.0;
  good.write(folder / "good");
  EXPECT_NO_THROW(Statistics::read(folder / "good", model));
  const std::pair<const char*, std::function<void(Statistics&)>> spoilt[] = {
      {"occupied for less", [](Statistics& sums) { sums.states[1].occupation[0] = -1.0; }},
      {"infinite", [](Statistics& sums) { sums.states[1].occupation[1] = INFINITY; }},
      {"infinite", [](Statistics& sums) { sums.states[1].second[2] = NAN; }},
      {"infinite", [](Statistics& sums) { sums.log_likelihood = -INFINITY; }},
      {"squares is negative", [](Statistics& sums) { sums.states[1].second[4] = -0.5; }},
      {"larger than its squares", [](Statistics& sums) { sums.states[1].first[0] = 1e6; }},
      {"stayed in", [](Statistics& sums) { sums.states[1].stay = 30.0; }},
      {"more frames than there are", [](Statistics& sums) { sums.frames = 10.0; }},
  };
  for (const auto& [fault, spoil] : spoilt) {
    Statistics sums = good;
    spoil(sums);
    sums.write(folder / "bad");
    try {
      Statistics::read(folder / "bad", model);
      ADD_FAILURE() << fault;
    } catch (const Fault& error) {
      EXPECT_NE(std::string(error.what()).find(fault), std::string::npos) << error.what();
    }
  }
  // Rows out of all bounds give no model that could be read again.
  Statistics wild(model);
  wild.frames = 20.0;
  FeatureMatrix rows = random_rows(20, 3, 7);
  for (float& value : rows.values) value *= 1e20F;
  wild.add_rows(model, 1, rows, std::vector<double>(40, 0.5));
  WordModel next = model;
  EXPECT_THROW(finish_pass(next, wild, TrainingSettings{}, 0), Fault);
}

// Sums of two components: mean 1 and -1, variance 0.5, given frames.
Statistics sums_of(const WordModel& model, double frames_1, double frames_2) {
  Statistics sums(model);
  StateStatistics& state = sums.states[1];
  state.occupation = {frames_1, frames_2};
  state.stay = 0.75 * (frames_1 + frames_2);
  for (int component = 0; component < 2; ++component) {
    for (int i = 0; i < 3; ++i) {
      const auto place = static_cast<std::size_t>(3 * component + i);
      const double frames = component == 0 ? frames_1 : frames_2;
      const double offset = (component == 0 ? 1.0 : -1.0) - static_cast<double>(model.states[1].means[place]);
      state.first[place] = frames * offset;
      state.second[place] = frames * (0.5 + offset * offset);
    }
  }
  return sums;
}

TEST(Training, ReestimationFloorsMergesAndLeavesTheUnseen) {
  const WordModel before = small_model();
  TrainingSettings settings;
  WordModel model = before;
  ReestimationReport report = reestimate(model, sums_of(model, 30.0, 90.0), settings);
  EXPECT_EQ(report.merged_components, 0);
  EXPECT_EQ(report.floored_variances, 0);
  EXPECT_EQ(report.unseen_states, 5);
  EXPECT_EQ(model.states[4].means, before.states[4].means);
  EXPECT_FLOAT_EQ(model.states[1].stay, 0.75F);
  EXPECT_FLOAT_EQ(model.states[1].weights[0], 0.25F);
  EXPECT_NEAR(model.states[1].means[3], -1.0F, 1e-6);
  EXPECT_NEAR(model.states[1].variances[0], 0.5F, 1e-6);

  // a component of 6 frames falls below the 10 that are asked for: the pair's mean and variance remain
  model = before;
  report = reestimate(model, sums_of(model, 6.0, 90.0), settings);
  EXPECT_EQ(report.merged_components, 1);
  ASSERT_EQ(model.states[1].components(), 1);
  const double mean = (6.0 - 90.0) / 96.0;
  EXPECT_NEAR(model.states[1].means[2], mean, 1e-6);
  EXPECT_NEAR(model.states[1].variances[2], 1.5 - mean * mean, 1e-6);
  EXPECT_FLOAT_EQ(model.states[1].weights[0], 1.0F);

  // variances up to the floor are raised and counted; so are weights
  model = before;
  model.variance_floor = {0.5F, 0.6F, 0.4F};
  settings.weight_floor = 0.3;
  report = reestimate(model, sums_of(model, 30.0, 90.0), settings);
  EXPECT_GE(report.floored_variances, 2);
  EXPECT_EQ(report.floored_weights, 1);
  EXPECT_FLOAT_EQ(model.states[1].variances[1], 0.6F);
  EXPECT_NEAR(model.states[1].weights[0], 0.3 / 1.05, 1e-6);

  // the prior draws towards the mean variance of all words, which is that of the only state seen
  model = before;
  settings = {};
  settings.variance_prior = 30.0;
  Statistics sums = sums_of(model, 30.0, 90.0);
  for (std::size_t i = 0; i < 3; ++i) sums.states[1].second[i] += 30.0;  // variance 1.5 instead of 0.5
  reestimate(model, sums, settings);
  EXPECT_NEAR(model.states[1].variances[0], (30.0 * 1.5 + 30.0 * 0.75) / 60.0, 1e-6);
}

TEST(Training, SplittingTakesTheHeaviestAndStopsWhereFramesAreFew) {
  WordModel model = small_model();
  model.states[1].weights = {0.2F, 0.8F};
  model.states[1].occupation = 60.0F;
  model.states[4].occupation = 0.0F;
  const MixtureState before = model.states[1];
  split_components(model.states, model.dimension(), 3, 0.5, 10.0);
  ASSERT_EQ(model.states[1].components(), 3);
  EXPECT_EQ(model.states[1].weights, (std::vector<float>{0.2F, 0.4F, 0.4F}));
  for (std::size_t i = 0; i < 3; ++i) {
    const float step = 0.5F * std::sqrt(before.variances[3 + i]);
    EXPECT_NEAR(model.states[1].means[3 + i], before.means[3 + i] + step, 1e-5);
    EXPECT_NEAR(model.states[1].means[6 + i], before.means[3 + i] - step, 1e-5);
    EXPECT_EQ(model.states[1].variances[6 + i], before.variances[3 + i]);
  }
  EXPECT_EQ(model.states[4].components(), 3) << "already as many";
  split_components(model.states, model.dimension(), 8, 0.5, 10.0);
  EXPECT_EQ(model.states[1].components(), 5) << "60 frames: 12, 12, 12, 12 and 12 cannot be halved";
}

// Frames that are all equal or few: a codebook cannot be as large as asked for, and the training still ends.
TEST(Training, FewDifferentFrames) {
  for (const bool random : {false, true}) {
    TrainingSettings settings;
    settings.components = settings.start_components = 4;
    settings.random_start = random;
    settings.least_occupation = 1.0;
    FeatureMatrix rows;
    rows.width = 39;
    rows.values.assign(39 * 20, 1.5F);
    std::fill_n(rows.values.begin(), 39 * 5, -0.5F);
    WordModel model = model_shape(preset("sphinx-39"), {}, true, settings, nullptr);
    TrainingUtterances utterances;
    add({}, rows, utterances);
    start_model(model, utterances, settings, nullptr);
    for (int pass = 0; pass < 3; ++pass) finish_pass(model, collect(model, utterances, settings), settings, pass);
    EXPECT_LE(model.states[0].components(), 4);
    for (const float value : model.states[0].variances) EXPECT_GE(value, 1e-4F);
  }
}

}  // namespace
}  // namespace kivsr::speech::test
