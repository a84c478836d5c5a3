// kivsr features from and to feature files, archives and lists of Kaldi, with statistics of speakers, as users run it.
#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include <nlohmann/json.hpp>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/feature_file.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/feature_reader.h"
#include "kivsr/speech/io/kaldi_archive.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

class FeaturesArchiveTest : public ::testing::Test {
 protected:
  FeaturesArchiveTest() {
    std::string list;
    std::string table;
    for (int i = 0; i < 4; ++i) {
      const std::string key = "u" + std::to_string(i);
      const auto samples = noise(4000 + 500 * i, static_cast<unsigned>(i + 1));
      const auto file = folder_.write(key + ".wav", wav(whole(samples), 16000, 1));
      const std::vector<int> rounded = whole(samples);
      rows_[key] = FeatureChain(preset("kaldi-mfcc")).run(std::vector<float>(rounded.begin(), rounded.end()));
      list += key + " " + file.string() + "\n";
      table += key + (i < 3 ? " anna\n" : " ben\n");
    }
    folder_.write("wav.scp", list);
    folder_.write("utt2spk", table);
  }
  std::string at(const char* name) const { return (folder_ / name).string(); }
  void run(const std::string& arguments) const {
    const CommandResult result = run_kivsr("features --preset kaldi-mfcc " + arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
  }
  std::map<std::string, FeatureMatrix> entries(const std::string& name) const {
    std::map<std::string, FeatureMatrix> all;
    for (const auto& [key, place] : archive_entries(*kaldi_specifier(at(name.c_str())))) {
      all[key] = read_feature_file(place);
    }
    return all;
  }
  void expect_rows(const std::map<std::string, FeatureMatrix>& given) const {
    ASSERT_EQ(given.size(), rows_.size());
    for (const auto& [key, rows] : rows_) EXPECT_EQ(given.at(key).values, rows.values) << key;
  }

  TemporaryFolder folder_;
  std::map<std::string, FeatureMatrix> rows_;
};

TEST_F(FeaturesArchiveTest, FromListsToArchivesWithTheSameBytesForAnyJobs) {
  run("scp:" + at("wav.scp") + " ark,scp:" + at("a.ark") + "," + at("a.scp"));
  expect_rows(entries("a.ark"));
  expect_rows(entries("a.scp"));
  run("--jobs 3 -o " + at("b.ark") + " " + at("wav.scp"));
  EXPECT_EQ(read_file(at("b.ark")), read_file(at("a.ark")));
  run("-o ark,t:" + at("c.ark") + " " + at("wav.scp"));
  expect_rows(entries("c.ark"));
  run("--output-folder " + at("out") + " --format htk " + at("wav.scp"));
  EXPECT_TRUE(std::filesystem::exists(folder_ / "out" / "u3.htk"));
  const CommandResult piped = run_kivsr("features ark:- -o " + at("e.ark"), "cat " + at("a.ark") + " | ");
  EXPECT_EQ(piped.status, 0) << piped.errors;
  EXPECT_EQ(read_file(at("e.ark")), read_file(at("a.ark")));
  run("-o " + at("d.ark") + " " + at("u0.wav") + " " + at("u1.wav"));
  EXPECT_EQ(entries("d.ark").at("u1").values, rows_["u1"].values);
}

TEST_F(FeaturesArchiveTest, SoundsInAnArchive) {
  std::string bytes;
  for (const auto& [key, rows] : rows_) bytes += key + " " + read_file(folder_ / (key + ".wav"));
  folder_.write("wav.ark", bytes);
  run("--jobs 2 " + at("wav.ark") + " -o " + at("a.ark"));
  expect_rows(entries("a.ark"));
  const CommandResult shown = run_kivsr("show " + at("wav.ark") + ":3");
  EXPECT_NE(shown.output.find("\nsamples        4000\n"), std::string::npos) << shown.output << shown.errors;
  folder_.write("cut.ark", bytes.substr(0, bytes.size() - 1));
  EXPECT_EQ(run_kivsr("features ark:" + at("cut.ark") + " -o " + at("b.ark")).status, 2);
}

TEST_F(FeaturesArchiveTest, RowsAreConvertedAndGetDerivatives) {
  run(at("u0.wav") + " -o " + at("a.htk"));
  const auto convert = [&](const std::string& arguments) {
    const CommandResult result = run_kivsr("features " + arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
  };
  const FeatureMatrix rows = read_feature_file(at("a.htk"));
  for (const char* name : {"b.npy", "b.csv", "b.mat", "b.arff", "b.mfc", "b.htk"}) {
    convert(at("a.htk") + " " + at(name) + " --htk-checksum");
    const FeatureMatrix back = read_feature_file(at(name));
    ASSERT_EQ(back.values.size(), rows.values.size()) << name;
    for (std::size_t i = 0; i < rows.values.size(); ++i) ASSERT_EQ(back.values[i], rows.values[i]) << name << ' ' << i;
  }
  EXPECT_EQ(htk_kind_name(FeatureReader(at("b.htk")).layout().htk_kind), "MFCC_E_K");
  EXPECT_EQ(htk_checksum_fits(at("b.htk")), true);
  convert(at("u0.wav") + " --preset kaldi-mfcc -o " + at("named.csv"));
  convert(at("named.csv") + " --dynamics win2 --derivatives 1 --format opensmile -o " + at("deltas.csv"));
  FeatureReader reader(at("deltas.csv"));
  EXPECT_EQ(reader.format(), FeatureFormat::kOpenSmile);
  EXPECT_EQ(reader.layout().columns[14], "c1_d");
  Recipe behind = Recipe::of_features(13);
  behind.dynamics = Dynamics::kWin2;
  behind.derivatives = 1;
  const std::vector<float> wanted = FeatureChain(behind).run_rows(read_feature_file(at("named.csv"))).values;
  EXPECT_EQ(read_feature_file(at("deltas.csv")).values, wanted);
  // The rows of a preset's front end go through what follows it.
  convert(at("named.csv") + " --preset mfcc --normalise mean -o " + at("normal.npy"));
  double mean = 0.0;
  const FeatureMatrix normal = read_feature_file(at("normal.npy"));
  for (int t = 0; t < normal.height(); ++t) mean += normal.row(t)[2];
  EXPECT_NEAR(mean, 0.0, 1e-3);
}

// Standard input says by its first bytes that it holds rows, or the name does. What audio does is looked at in the same
// way first.
TEST_F(FeaturesArchiveTest, RowsFromStandardInputAndUnderAnyName) {
  const std::pair<const char*, const char*> cases[] = {
      {"npy", "-"},     {"csv", "-"},     {"opensmile", "-"}, {"arff", "-"},    {"mat", "-"},
      {"htk", "htk:-"}, {"mfc", "mfc:-"}, {"npy", "npy:-"},   {"csv", "csv:-"}, {"mat", "mat:-"}};
  const std::vector<float>& rows = rows_.at("u0").values;
  run(at("u0.wav") + " " + at("u0.htk"));
  const std::vector<float> in_htk_order = read_feature_file(at("u0.htk")).values;
  for (const auto& [format, name] : cases) {
    const std::vector<float>& wanted = std::string(format) == "htk" ? in_htk_order : rows;
    run(at("u0.wav") + " -o " + at("rows") + " --format " + format);
    const std::string arguments = std::string(name) + " --format npy -o " + at("back");
    for (const std::string& before : {"cat " + at("rows") + " | ", "< " + at("rows") + " "}) {
      const CommandResult result = run_kivsr("features " + arguments, before);
      ASSERT_EQ(result.status, 0) << name << result.errors;
      EXPECT_EQ(read_feature_file("npy:" + at("back")).values, wanted) << format << ' ' << name;
    }
  }
  const CommandResult shown = run_kivsr("show -", "cat " + at("back") + " | ");
  EXPECT_NE(shown.output.find(" 13"), std::string::npos) << shown.output << shown.errors;
  const CommandResult sound = run_kivsr("features --preset kaldi-mfcc - " + at("s.npy"), "cat " + at("u0.wav") + " | ");
  EXPECT_EQ(read_feature_file(at("s.npy")).values, rows) << sound.errors;
}

// Against sums and rows computed here in double precision.
TEST_F(FeaturesArchiveTest, MeanAndVarianceOfEachSpeaker) {
  const std::string speakers = " --utt2spk " + at("utt2spk") + " " + at("wav.scp");
  run("--jobs 2 --cmvn-out " + at("cmvn.ark") + speakers);
  run("--cmvn " + at("cmvn.ark") + " --cmvn-variance -o " + at("a.ark") + speakers);
  std::map<std::string, std::vector<double>> sums, squares;
  std::map<std::string, double> counts;
  const auto speaker_of = [](const std::string& key) { return key == "u3" ? "ben" : "anna"; };
  for (const auto& [key, rows] : rows_) {
    auto& sum = sums[speaker_of(key)];
    auto& square = squares[speaker_of(key)];
    sum.resize(13);
    square.resize(13);
    counts[speaker_of(key)] += rows.height();
    for (std::size_t i = 0; i < rows.values.size(); ++i) {
      sum[i % 13] += static_cast<double>(rows.values[i]);
      square[i % 13] += static_cast<double>(rows.values[i]) * rows.values[i];
    }
  }
  const auto statistics = entries("cmvn.ark");
  ASSERT_EQ(statistics.size(), 2U);
  EXPECT_EQ(statistics.at("anna").row(0)[13], static_cast<float>(counts["anna"]));
  EXPECT_EQ(statistics.at("ben").row(1)[5], static_cast<float>(squares["ben"][5]));
  const auto normalised = entries("a.ark");
  for (const auto& [key, rows] : rows_) {
    const std::string speaker = speaker_of(key);
    for (std::size_t i = 0; i < rows.values.size(); ++i) {
      const double mean = sums[speaker][i % 13] / counts[speaker];
      const double deviation = std::sqrt(squares[speaker][i % 13] / counts[speaker] - mean * mean);
      ASSERT_NEAR(normalised.at(key).values[i], (rows.values[i] - mean) / deviation, 1e-5) << key << ' ' << i;
    }
  }
  // Ours, for all speakers; the derivatives are those of the rows without their mean.
  run("--stats " + at("u0.wav") + " -o " + at("s.json"));
  run("--cmvn " + at("s.json") + " " + at("u0.wav") + " -o " + at("b.npy"));
  const FeatureMatrix rows = read_feature_file(at("b.npy"));
  for (int column = 0; column < 13; ++column) {
    double mean = 0.0;
    for (int t = 0; t < rows.height(); ++t) mean += rows.row(t)[static_cast<std::size_t>(column)] / rows.height();
    EXPECT_NEAR(mean, 0.0, 1e-5) << column;
  }
}

TEST_F(FeaturesArchiveTest, FaultsNameTheEntry) {
  folder_.write("bad.scp", "u0 " + at("u0.wav") + "\nu9 " + at("u9.wav") + "\n");
  folder_.write("twice.scp", "u0 " + at("u0.wav") + "\nu0 " + at("u1.wav") + "\n");
  folder_.write("command.scp", "u0 cat " + at("u0.wav") + " |\n");
  folder_.write("short", "u0 anna\n");
  folder_.write("one.ark", "ben  [\n 1 2 3\n 1 2 0 ]\n");
  const std::string preset = "features --preset kaldi-mfcc -o " + at("a.ark") + " ";
  const std::pair<std::string, std::string> cases[] = {
      {preset + at("twice.scp"), "are both utterance u0"},
      {preset + at("command.scp"), "the entry of u0 is a command"},
      {preset + at("wav.scp") + " --cmvn " + at("one.ark"), "has no statistics of u0"},
      {preset + at("u0.wav") + " --cmvn " + at("one.ark") + " --utt2spk " + at("short"), "no statistics of anna"},
      {preset + at("u3.wav") + " --cmvn " + at("one.ark") + " --utt2spk " + at("utt2spk"), "do not fit rows of 13"},
      {preset + at("u1.wav") + " --cmvn-out " + at("c.ark") + " --utt2spk " + at("short"), "has no speaker of u1"},
      {preset + at("u0.wav") + " --utt2spk " + at("short"), "--utt2spk is for"},
      {preset + at("u0.wav") + " --cmvn-out " + at("c.npy"), "go into an archive"},
      {"features " + at("wav.scp") + " -o scp:" + at("a.scp"), "a list alone is not written"},
      {"features " + at("wav.scp") + " -o " + at("a.npy"), "give --output-folder"},
      {"features " + at("one.ark") + " -o " + at("a.npy") + " --window hann",
       "hold rows of features: options of the front end"},
      {"features " + at("one.ark") + " -o " + at("a.npy") + " --noise-reduction mcra-wiener",
       "go through no front end"},
  };
  for (const auto& [arguments, message] : cases) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_NE(result.errors.find(message), std::string::npos) << arguments << ": " << result.errors;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.ark")) << arguments;
  }
  const CommandResult some = run_kivsr(preset + at("bad.scp"));
  EXPECT_EQ(some.status, 2);
  EXPECT_NE(some.errors.find("u9.wav: no such file"), std::string::npos) << some.errors;
  EXPECT_EQ(entries("a.ark").size(), 1U) << "the good one is there";
}

}  // namespace
}  // namespace kivsr::program::test
