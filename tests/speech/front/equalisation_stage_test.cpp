// Blind equalisation of the front end's rows: on real speech a fixed filter is taken out again, in streams as in one
// piece, by the program as by the classes.
#include "kivsr/speech/front/equalisation_stage.h"
#include "kivsr/speech/front/presets.h"

#include <gtest/gtest.h>

#include <cstring>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/command.h"
#include "speech/support/recordings.h"
#include "speech/support/signals.h"

namespace kivsr::speech::test {
namespace {

// The read sentences one after the other, several times: about 50 s.
std::vector<float> speech(int rate) {
  std::vector<float> samples;
  for (int pass = 0; pass < 2; ++pass) {
    for (const auto& file : read_sentences()) {
      const auto sentence = read_audio_at(file, rate).samples;
      samples.insert(samples.end(), sentence.begin(), sentence.end());
    }
  }
  return samples;
}

// A handset's bass and treble cut: y(n) = x(n) + 0.7 x(n-1) - 0.3 x(n-2)
std::vector<float> filtered(const std::vector<float>& samples) {
  std::vector<float> result = samples;
  for (std::size_t n = 2; n < samples.size(); ++n) result[n] += 0.7F * samples[n - 1] - 0.3F * samples[n - 2];
  return result;
}

// The mean distance of c1, c2, ... over the second half, when the bias has settled.
double distance(const FeatureMatrix& a, const FeatureMatrix& b, int first, int last) {
  double sum = 0.0;
  for (int t = a.height() / 2; t < a.height(); ++t) {
    double square = 0.0;
    for (int k = first; k < last; ++k) {
      const double difference = a.row(t)[static_cast<std::size_t>(k)] - b.row(t)[static_cast<std::size_t>(k)];
      square += difference * difference;
    }
    sum += std::sqrt(square);
  }
  return sum / (a.height() - a.height() / 2);
}

TEST(EqualisationStageTest, TakesAFixedFilterOutOfSpeech) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  for (const char* const name : {"sphinx-en-us", "mfcc", "aurora", "htk-mfcc:MFCC_E_D_A"}) {
    Recipe parameters = preset(name);
    parameters.dynamics = Dynamics::kNone;
    const int first = parameters.front_end.zeroth == ZerothCepstrum::kFirst ? 1 : 0;
    const int last = first + parameters.front_end.cepstrum_count - 1;
    const auto clean = speech(parameters.front_end.sample_rate);
    const auto rows = [&](const std::vector<float>& samples, bool equalise) {
      parameters.equalisation = equalise ? Equalisation::kFromZero : Equalisation::kNone;
      return FeatureChain(parameters).run(samples);
    };
    const double before = distance(rows(clean, false), rows(filtered(clean), false), first, last);
    const auto equalised = rows(clean, true);
    const double after = distance(equalised, rows(filtered(clean), true), first, last);
    std::printf("%s: distance of a filtered recording %.2f, equalised %.2f\n", name, before, after);
    EXPECT_LT(after, 0.4 * before) << name;
    // The mean comes near the reference; c0 and the log energy stay.
    std::vector<float> reference = parameters.reference_cepstrum;
    reference.resize(static_cast<std::size_t>(last - first));
    const auto plain = rows(clean, false);
    for (int k = 0; k < plain.width; ++k) {
      const auto column = static_cast<std::size_t>(k);
      double mean = 0.0, spread = 0.0;
      for (int t = plain.height() / 2; t < plain.height(); ++t) {
        mean += equalised.row(t)[column];
        spread += std::abs(plain.row(t)[column]);
        if (k < first || k >= last) {
          ASSERT_EQ(equalised.row(t)[column], plain.row(t)[column]);
        }
      }
      const double frames = plain.height() - plain.height() / 2;
      if (k >= first && k < last) {
        EXPECT_NEAR(mean / frames, reference[static_cast<std::size_t>(k - first)], 0.3 * spread / frames + 0.1) << k;
      }
    }
  }
}

TEST(EqualisationStageTest, FollowsSpeechAndNotSilence) {
  FrontEndParameters parameters = preset("sphinx-en-us").front_end;
  const auto bias_after = [&](const FrontEndParameters& front_end, float level) {
    FeatureMatrix rows = FrontEnd(front_end).run(noise(16000));
    for (float& x : rows.values) x = 1.0F;
    for (int t = 0; t < rows.height(); ++t) {
      rows.row(t)[0] = front_end.energy ? 1.0F : level * 5.0F;  // sqrt(25) times the mean of the logarithms
      if (front_end.energy) rows.row(t)[rows.row(t).size() - 1] = level;
    }
    FeatureMatrix equalised{rows.width, {}};
    EqualisationStage(front_end, {}).push(rows, equalised);
    return 1.0F - equalised.row(rows.height() - 1)[1];
  };
  for (const bool energy : {false, true}) {
    parameters.energy = energy;
    EXPECT_EQ(bias_after(parameters, 3.2F), 0.0F);
    const float full = bias_after(parameters, 4.4F);
    EXPECT_GT(full, 0.5F);  // 100 frames of 9/1024
    EXPECT_NEAR(bias_after(parameters, 3.297F + 0.1F), 0.1F * full, 0.05F * full);
    EXPECT_EQ(bias_after(parameters, 20.0F), full);
  }
}

TEST(EqualisationStageTest, BlocksUtterancesAndTheProgram) {
  const TemporaryFolder folder;
  const auto samples = noise(20000);
  Recipe parameters = preset("sphinx-en-us");
  parameters.equalisation = Equalisation::kFromZero;
  parameters.reference_cepstrum = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  FeatureChain chain(parameters);
  const FeatureMatrix rows = chain.run(samples);
  EXPECT_EQ(chain.run(samples, 777).values, rows.values) << "blocks, and a second utterance";
  const auto audio = folder.write("a.wav", wav(whole(samples), 16000, 1));
  const auto output = folder / "a.mfc";
  const std::string reference = " --reference-cepstrum 1,2,3,4,5,6,7,8,9,10,11,12";
  const std::string command = "features --equalise from-zero " + quoted(audio) + " -o " + quoted(output);
  ASSERT_EQ(run_kivsr(command + reference).status, 0);
  const std::string bytes = read_file(output);
  ASSERT_EQ(bytes.size(), 4 + 4 * rows.values.size());
  EXPECT_EQ(std::memcmp(bytes.data() + 4, rows.values.data(), 4 * rows.values.size()), 0);
  for (const std::string& wrong : {std::string(" --reference-cepstrum 1,2,3"), std::string(" --output-kind log-mel"),
                                   reference + " --cepstrum-count 12"}) {
    EXPECT_EQ(run_kivsr(command + wrong).status, 2) << wrong;
  }
  parameters.front_end.output = Output::kLogMel;
  EXPECT_THROW(FeatureChain{parameters}, Fault);
}

// A channel that changes in the middle: the mean of an utterance misses it, the equalisation follows.
TEST(EqualisationStageTest, FollowsAChangeWithinAnUtterance) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  const auto clean = speech(16000);
  auto changed = filtered(clean);
  std::copy_n(clean.begin(), clean.size() / 4, changed.begin());
  const auto rows = [&](const std::vector<float>& samples, bool equalise) {
    Recipe recipe = preset("sphinx-en-us");
    if (equalise) recipe.equalisation = Equalisation::kFromMean;
    recipe.normalisation = Normalisation::kMean;
    return FeatureChain(recipe).run(samples);
  };
  const double with_mean = distance(rows(clean, false), rows(changed, false), 1, 13);
  const double equalised = distance(rows(clean, true), rows(changed, true), 1, 13);
  EXPECT_LT(equalised, 0.75 * with_mean) << with_mean;
}

// Word errors of the read sentences, the second half of each without its bass.
TEST(EqualisationStageTest, RecognisesThroughAFilter) {
  if (read_sentences().empty()) GTEST_SKIP() << "the recordings are not installed";
  const TemporaryFolder folder;
  std::string files;
  for (const auto& file : read_sentences()) {
    const auto clean = read_audio_at(file, 16000).samples;
    auto changed = clean;
    for (std::size_t n = clean.size() / 2; n < clean.size(); ++n) changed[n] -= 0.8F * clean[n - 1];
    files += " " + quoted(folder.write(file.filename().string(), wav(whole(changed), 16000, 1)));
  }
  const std::string transcription = (kRecordings / "librivox" / "transcription").string();
  ASSERT_EQ(run_command("sed 's/<[^>]*>//g' " + transcription + " > " + quoted(folder / "said") + "; sed 's/(.*//' " +
                        quoted(folder / "said") + " > " + quoted(folder / "words"))
                .status,
            0);
  const auto errors = [&](const std::string& option) {
    const CommandResult result = run_kivsr("recognise --words " + quoted(folder / "words") + " --reference " +
                                           quoted(folder / "said") + option + files);
    const auto total = result.output.find(" errors of 71 words");
    if (total == std::string::npos) throw std::runtime_error(result.output + result.errors);
    return std::atoi(result.output.c_str() + result.output.rfind(' ', total - 1));
  };
  const int plain = errors("");
  const int equalised = errors(" --equalise");
  std::printf("word errors of 71 with a changing filter: %d, with --equalise %d\n", plain, equalised);
  EXPECT_LE(equalised, plain + 1);
  EXPECT_LE(equalised, 18);
}

}  // namespace
}  // namespace kivsr::speech::test
