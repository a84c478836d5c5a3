// Our front end beside sphinx_fe, an independent implementation, on real speech and over its options.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/audio_file.h"
#include "speech/support/command.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

const std::filesystem::path kSpeech = "/usr/share/pocketsphinx/test/data";
const std::filesystem::path kModel = "/usr/share/pocketsphinx/model/en-us/en-us";

std::vector<float> sphinx_cepstra(const std::filesystem::path& audio, const std::filesystem::path& feature_parameters) {
  const TemporaryFolder folder;
  const auto output = folder / "out.mfc";
  const CommandResult result = run_command(
      "sphinx_fe -argfile " + quoted(feature_parameters) + " -remove_noise no -remove_silence no -dither no -i " +
      quoted(audio) + " -o " + quoted(output) + (audio.extension() == ".raw" ? " -raw yes" : " -mswav yes"));
  EXPECT_EQ(result.status, 0) << "sphinx_fe of the package sphinxbase-utils is needed: "
                              << result.errors.substr(0, 400);
  const std::string bytes = read_file(output);
  if (bytes.size() < 4) return {};
  std::vector<float> values(bytes.size() / 4 - 1);
  std::memcpy(values.data(), bytes.data() + 4, 4 * values.size());
  return values;
}

struct Agreement {
  double largest = 0.0;
  double beyond_a_thousandth = 0.0;  // share of the values
};

Agreement compare(const std::filesystem::path& audio, const std::filesystem::path& feature_parameters) {
  const auto expected = sphinx_cepstra(audio, feature_parameters);
  const FrontEndParameters parameters = read_feat_params(feature_parameters).front_end;
  const auto values = FrontEnd(parameters).run(read_audio(audio).samples).values;
  EXPECT_FALSE(expected.empty());
  EXPECT_EQ(values.size(), expected.size()) << audio;
  Agreement agreement;
  for (std::size_t i = 0; i < std::min(values.size(), expected.size()); ++i) {
    const double difference = std::abs(static_cast<double>(values[i]) - expected[i]);
    agreement.largest = std::isnan(difference) ? INFINITY : std::max(agreement.largest, difference);
    agreement.beyond_a_thousandth += difference > 1e-3 ? 1.0 / static_cast<double>(expected.size()) : 0.0;
  }
  return agreement;
}

TEST(SphinxAgreement, EveryFrameOfTheCommandsWithTheModelsParameters) {
  for (const char* name :
       {"goforward.raw", "cards/001.wav", "cards/002.wav", "cards/003.wav", "cards/004.wav", "cards/005.wav"}) {
    const Agreement agreement = compare(kSpeech / name, kModel / "feat.params");
    EXPECT_LT(agreement.largest, 0.02) << name;
    EXPECT_LT(agreement.beyond_a_thousandth, 0.05) << name;
  }
}

TEST(SphinxAgreement, TheOptionsOfModels) {
  const TemporaryFolder folder;
  for (const char* options :
       {"-nfilt 40 -lowerf 133.3334 -upperf 6855.4976", "-transform legacy -lifter 22 -nfilt 20",
        "-transform htk -lifter 22", "-round_filters no -transform dct", "-unit_area no -transform dct",
        "-remove_dc yes -transform dct -ncep 20", "-wlen 0.016 -frate 80 -alpha 0.5 -transform dct",
        "-nfft 1024 -wlen 0.03 -upperf 7000 -lowerf 100 -nfilt 30"}) {
    const auto file = folder.write("feat.params", std::string(options) + "\n");
    const Agreement agreement = compare(kSpeech / "goforward.raw", file);
    EXPECT_LT(agreement.largest, 0.02) << options;
    EXPECT_LT(agreement.beyond_a_thousandth, 0.05) << options;
  }
}

// Digital silence and single steps of the converter: the offset inside the logarithm decides.
TEST(SphinxAgreement, SignalsNearSilence) {
  const TemporaryFolder folder;
  std::string samples(20000, '\0');
  for (std::size_t i = 8000; i < samples.size(); i += 800) samples[i] = 1;
  const auto audio = folder.write("clicks.raw", samples);
  EXPECT_LT(compare(audio, kModel / "feat.params").largest, 0.02);
}

}  // namespace
}  // namespace kivsr::speech::test
