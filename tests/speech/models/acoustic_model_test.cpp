// Whole models and dictionaries of the packages.
#include "kivsr/speech/models/acoustic_model.h"

#include <array>
#include <cmath>

#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {
namespace {

double probability_sum(const float* logs, int count) {
  double sum = 0.0;
  for (int i = 0; i < count; ++i) sum += std::exp(static_cast<double>(logs[i]));
  return sum;
}

void expect_probabilities(const AcousticModel& model, double weight_tolerance) {
  for (const ModelStream& stream : model.streams) {
    for (int state = 0; state < model.definition.states; state += 7) {
      EXPECT_NEAR(
          probability_sum(&stream.log_weights[static_cast<std::size_t>(state * model.densities)], model.densities), 1.0,
          weight_tolerance);
    }
  }
  const int states = model.definition.states_per_phone;
  for (int phone = 0; phone < static_cast<int>(model.definition.phones.size()); ++phone) {
    for (int state = 0; state < states; ++state) {
      EXPECT_NEAR(probability_sum(model.transitions(phone) + state * (states + 1), states + 1), 1.0, 1e-5);
    }
  }
}

TEST(AcousticModel, PhoneticallyTied) {
  const AcousticModel model = read_acoustic_model(find_model_folder("en-us"));
  EXPECT_EQ(model.dimension, 39);
  EXPECT_EQ(model.codebooks, 42);
  EXPECT_EQ(model.densities, 128);
  ASSERT_EQ(model.streams.size(), 3U);
  EXPECT_EQ(model.streams[2].offset, 26);
  for (std::size_t phone = 0; phone < model.definition.phones.size(); ++phone) {
    for (const int state : model.definition.phones[phone].states) {
      EXPECT_EQ(model.codebook_of_state[static_cast<std::size_t>(state)], static_cast<int>(phone));
    }
  }
  expect_probabilities(model, 0.1);  // 8-bit weights are a tenth apart
  EXPECT_NE(model.fillers.find("[NOISE]"), nullptr);
}

TEST(AcousticModel, SingleGaussians) {
  const AcousticModel model = read_acoustic_model(kTestData / "an4_ci_cont");
  EXPECT_EQ(model.codebooks, 102);
  EXPECT_EQ(model.densities, 1);
  EXPECT_EQ(model.codebook_of_state.back(), 101);
  expect_probabilities(model, 1e-6);
}

// Four streams of 256 Gaussians that all states share, weights of 4 bits, and no list of noises.
TEST(AcousticModel, SemiContinuousInFourStreams) {
  const AcousticModel model = read_acoustic_model(kTestData / "tidigits" / "hmm");
  EXPECT_EQ(model.codebooks, 1);
  EXPECT_EQ(model.densities, 256);
  ASSERT_EQ(model.streams.size(), 4U);
  const std::array<int, 4> lengths{12, 24, 3, 12};
  for (std::size_t i = 0; i < lengths.size(); ++i) EXPECT_EQ(model.streams[i].length, lengths[i]);
  EXPECT_EQ(model.recipe.width(), model.dimension);
  expect_probabilities(model, 0.75);  // 16 different weights stand for all
  ASSERT_NE(model.fillers.find("<sil>"), nullptr);
  EXPECT_EQ(*model.fillers.find("<sil>"), (std::vector<Pronunciation>{{"SIL"}}));
}

TEST(AcousticModel, FloorsVariancesBeforeInvertingThem) {
  const AcousticModel plain = read_acoustic_model(kTestData / "an4_ci_cont");
  ModelFloors floors;
  floors.variance = 0.5F;
  const AcousticModel floored = read_acoustic_model(kTestData / "an4_ci_cont", floors);
  const ModelStream& a = plain.streams[0];
  const ModelStream& b = floored.streams[0];
  double normaliser = 0.0;
  for (std::size_t i = 0; i < a.inverse_variances.size(); ++i) {
    EXPECT_EQ(b.inverse_variances[i], std::min(a.inverse_variances[i], 2.0F));
  }
  for (std::size_t i = 0; i < 39; ++i) normaliser += 0.5 * std::log(b.inverse_variances[i] / (2.0 * std::acos(-1.0)));
  EXPECT_NEAR(b.normalisers[0], normaliser, 1e-4);
}

TEST(AcousticModel, MissingAndContradictingFilesAreNamed) {
  EXPECT_NE(fault_of([] { find_model_folder("no-such-model"); }).find("no-such-model: no such acoustic model"),
            std::string::npos);
  const std::filesystem::path source = kTestData / "an4_ci_cont";
  for (const char* name : {"feat.params", "mdef", "means", "variances", "mixture_weights", "transition_matrices"}) {
    const TemporaryFolder folder;
    std::filesystem::copy(source, folder.path());
    std::filesystem::remove(folder / name);
    EXPECT_NE(fault_of([&] { read_acoustic_model(folder.path()); }).find(std::string(name) + ": "), std::string::npos);
  }
  const TemporaryFolder folder;
  std::filesystem::copy(source, folder.path());
  for (const auto& [name, counts, values] : {std::tuple{"transition_matrices", std::vector<std::uint32_t>{1, 3, 4}, 12},
                                             std::tuple{"mixture_weights", std::vector<std::uint32_t>{5, 1, 1}, 5},
                                             std::tuple{"variances", std::vector<std::uint32_t>{3, 1, 1, 39}, 117}}) {
    const std::string original = read_file(folder / name);
    folder.write(name, s3_bytes(counts, std::vector<float>(static_cast<std::size_t>(values), 1.0F)));
    EXPECT_NE(fault_of([&] { read_acoustic_model(folder.path()); }).find(std::string(name) + ": "), std::string::npos);
    folder.write(name, original);
  }
}

// -ldadim takes the first rows; Gaussians and features have to fit the transform.
TEST(AcousticModel, FeatureTransforms) {
  const TemporaryFolder folder;
  std::filesystem::copy(kTestData / "an4_ci_cont", folder.path());
  std::vector<float> matrix(39 * 39);
  for (std::size_t i = 0; i < matrix.size(); ++i) matrix[i] = static_cast<float>(i);
  folder.write("feature_transform", s3_bytes({1, 39, 39}, matrix));
  EXPECT_EQ(read_acoustic_model(folder.path()).recipe.feature_transform, matrix);
  folder.write("feat.params", read_file(folder / "feat.params") + "\n-ldadim 20\n");
  EXPECT_NE(fault_of([&] { read_acoustic_model(folder.path()); }).find("do not fit the 20"), std::string::npos);
  folder.write("feature_transform", s3_bytes({1, 39, 38}, std::vector<float>(39 * 38)));
  EXPECT_NE(fault_of([&] { read_acoustic_model(folder.path()); }).find("feature_transform: a transform of 38 values"),
            std::string::npos);
}

TEST(Dictionary, AlternatesCommentsAndFaults) {
  const TemporaryFolder folder;
  const auto file = folder.write(
      "d", ";; comment\n## comment\n\nread R EH D\r\nread(2)\tR IY D\nsmile :)\na(2) EY\n(x) K\nlast L AE S T");
  const Dictionary dictionary = Dictionary::read(file);
  ASSERT_NE(dictionary.find("read"), nullptr);
  EXPECT_EQ(*dictionary.find("read"), (std::vector<Pronunciation>{{"R", "EH", "D"}, {"R", "IY", "D"}}));
  EXPECT_EQ(dictionary.find("read(2)"), nullptr);
  EXPECT_NE(dictionary.find("a"), nullptr);
  EXPECT_NE(dictionary.find("(x)"), nullptr);
  EXPECT_EQ(dictionary.find("last")->front().size(), 4U);
  const std::set<std::string, std::less<>> wanted{"read"};
  EXPECT_EQ(Dictionary::read(file, &wanted).words().size(), 1U);
  EXPECT_NE(fault_of([&] { Dictionary::read(folder.write("d", "one W AH N\ntwo\n")); }).find("d:2: "),
            std::string::npos);
  EXPECT_EQ(base_word("word(12)"), "word");
  EXPECT_EQ(base_word("word()"), "word()");
  EXPECT_EQ(base_word("word(x)"), "word(x)");
}

}  // namespace
}  // namespace kivsr::speech::test
