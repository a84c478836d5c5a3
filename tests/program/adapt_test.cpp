// kivsr adapt of acoustic models through the program: what changes in the files, both recognisers, jobs, faults.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/s3_file.h"
#include "kivsr/speech/models/word_model_file.h"
#include "speech/models/model_bytes.h"
#include "speech/support/command.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

const std::filesystem::path kSmallModel = kTestData / "an4_ci_cont";
const std::filesystem::path kDigits = kTestData / "tidigits";

struct AdaptFolder : TemporaryFolder {
  AdaptFolder() {
    write("dict", "go G OW\nforward F AO R W ER D\nten T EH N\nmeters M IY T ER Z\n");
    write("grammar", "#JSGF V1.0;\ngrammar c;\npublic <c> = (go | forward | ten | meters)+;\n");
    write("list", (kTestData / "goforward.raw").string() + "\tgo forward ten meters\n");
  }
  CommandResult adapt(const std::string& model, const std::string& options) const {
    return run_kivsr("adapt --from " + quoted(kSmallModel) + " --dict " + quoted(*this / "dict") + " --list " +
                     quoted(*this / "list") + " --model " + quoted(*this / model) + " " + options);
  }
  bool same_file(const std::string& model, const char* name) const {
    return read_file(*this / model / name) == read_file(kSmallModel / name);
  }
};

double log_likelihood(const std::string& output, const std::string& pass) {
  const std::size_t line = output.find(pass);
  const std::size_t place = output.find("frames, ", line);
  return place == std::string::npos ? NAN : std::stod(output.substr(place + 8));
}

TEST(Adapt, EachPassFitsBetterAndBothRecognisersReadTheModel) {
  const AdaptFolder folder;
  for (const char* method : {"map", "mllr", "mllr-diagonal", "mllr-map"}) {
    const CommandResult result =
        folder.adapt(method, "--least-class 100 --relevance 5 --iterations 2 --method " + std::string(method));
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_GT(log_likelihood(result.output, "pass 2"), log_likelihood(result.output, "pass 1") + 0.5) << result.output;
    EXPECT_FALSE(folder.same_file(method, "means"));
    for (const char* name : {"variances", "mixture_weights", "mdef", "transition_matrices", "feat.params"}) {
      EXPECT_TRUE(folder.same_file(method, name)) << name;
    }
    const CommandResult heard =
        run_kivsr("recognise --model " + quoted(folder / method) + " --dict " + quoted(folder / "dict") +
                  " --grammar " + quoted(folder / "grammar") + " " + quoted(kTestData / "goforward.raw"));
    EXPECT_NE(heard.output.find("go forward ten meters"), std::string::npos) << heard.output << heard.errors;
  }
  if (run_command("command -v pocketsphinx_batch").status != 0) GTEST_SKIP() << "pocketsphinx is not installed";
  folder.write("names", "goforward\n");
  run_command("pocketsphinx_batch -hmm " + quoted(folder / "mllr-map") + " -dict " + quoted(folder / "dict") +
              " -jsgf " + quoted(folder / "grammar") + " -adcin yes -cepdir " + quoted(kTestData) +
              " -cepext .raw -ctl " + quoted(folder / "names") + " -hyp " + quoted(folder / "heard") +
              " -logfn /dev/null");
  EXPECT_NE(read_file(folder / "heard").find("go forward ten meters"), std::string::npos)
      << read_file(folder / "heard");
}

// A codebook for each phone, three streams, packed weights: all three kinds of numbers are adapted, whatever the
// threads.
TEST(Adapt, SharedCodebooksWithWeightsForAnyJobs) {
  const TemporaryFolder folder;
  folder.write("list", "001\n002\n003\n004\n005\n");
  const auto adapt = [&](const char* model, const std::string& options) {
    return run_kivsr(
        "adapt --from en-us --list " + quoted(folder / "list") + " --folder " + quoted(kTestData / "cards") +
        " --transcripts " + quoted(kTestData / "cards" / "cards.transcription") +
        " --extension .wav --update means,variances,weights --model " + quoted(folder / model) + " " + options);
  };
  const CommandResult one = adapt("one", "");
  ASSERT_EQ(one.status, 0) << one.errors;
  ASSERT_EQ(adapt("three", "--jobs 3").status, 0);
  for (const char* name : {"means", "variances", "mixture_weights"}) {
    EXPECT_EQ(read_file(folder / "one" / name), read_file(folder / "three" / name)) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(folder / "one" / "sendump"));
  const AcousticModel before = read_acoustic_model(find_model_folder("en-us"));
  const AcousticModel after = read_acoustic_model(folder / "one");
  ASSERT_EQ(after.streams.size(), 3U);
  double weight_change = 0.0;
  for (std::size_t i = 0; i < before.streams[0].log_weights.size(); ++i) {
    weight_change = std::max(weight_change, std::abs(std::exp(static_cast<double>(after.streams[0].log_weights[i])) -
                                                     std::exp(static_cast<double>(before.streams[0].log_weights[i]))));
  }
  EXPECT_GT(weight_change, 1e-3);
  EXPECT_NE(after.streams[2].means, before.streams[2].means);
  EXPECT_NE(after.streams[1].inverse_variances, before.streams[1].inverse_variances);
}

TEST(Adapt, ModelsOfWords) {
  const TemporaryFolder folder;
  const std::string list = " --list " + quoted(kDigits / "tidigits.ctl") + " --transcripts " +
                           quoted(kDigits / "tidigits.lsn") + " --extension .mfc --model ";
  ASSERT_EQ(run_kivsr("train --iterations 2" + list + quoted(folder / "words")).status, 0);
  const CommandResult result = run_kivsr("adapt --from " + quoted(folder / "words") + list + quoted(folder / "new") +
                                         " --method mllr-map --iterations 2");
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_GT(log_likelihood(result.output, "pass 2"), log_likelihood(result.output, "pass 1"));
  const WordModel before = read_word_model(folder / "words");
  const WordModel after = read_word_model(folder / "new");
  EXPECT_NE(after.states[4].means, before.states[4].means);
  EXPECT_EQ(after.states[4].variances, before.states[4].variances);
}

TEST(Adapt, FaultsNameTheirPlace) {
  const AdaptFolder folder;
  const auto expect_fault = [&](const CommandResult& result, const std::string& message) {
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
  };
  expect_fault(run_kivsr("adapt --from " + quoted(kSmallModel) + " --dict " + quoted(folder / "dict") + " --model " +
                         quoted(folder / "new") + " " + quoted(kTestData / "goforward.raw")),
               "needs --list");
  folder.write("list", (kTestData / "goforward.raw").string() + "\tgo elephant\n");
  expect_fault(folder.adapt("new", ""), "goforward.raw: the word \"elephant\" cannot be pronounced");
  folder.write("list",
               (kTestData / "goforward.raw").string() +
                   "\tten ten ten ten ten ten ten ten ten ten ten ten ten "
                   "ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten ten\n");
  expect_fault(folder.adapt("new", ""), "none of the utterances can be used");
  EXPECT_FALSE(std::filesystem::exists(folder / "new"));
  folder.write("list", (kTestData / "goforward.raw").string() + "\tgo forward ten meters\n");
  std::filesystem::copy(kSmallModel, folder / "model");
  expect_fault(run_kivsr("adapt --from " + quoted(folder / "model") + " --dict " + quoted(folder / "dict") +
                         " --list " + quoted(folder / "list") + " --model " + quoted(folder / "model")),
               "is the folder of the model that is adapted");
}

}  // namespace

}  // namespace kivsr::program::test
