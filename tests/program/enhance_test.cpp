#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/noise/enhancer.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

const std::string kGoForward = "/usr/share/pocketsphinx/test/data/goforward.raw";

double energy(const std::vector<float>& samples) {
  double sum = 0.0;
  for (const float sample : samples) sum += static_cast<double>(sample) * sample;
  return sum;
}

std::vector<float> samples_of(const std::filesystem::path& file) { return read_audio_channels(file).channels.at(0); }

class EnhanceCommandTest : public testing::Test {
 protected:
  CommandResult mix(const std::string& output, const std::string& options) const {
    return run_kivsr("mix " + kGoForward + " " + quoted(folder_ / output) + " " + options);
  }
  TemporaryFolder folder_;
};

TEST_F(EnhanceCommandTest, EveryChannelByItselfInTheFormatOfTheName) {
  const auto left = whole(noise(3000, 1));
  const auto right = whole(noise(3000, 2));
  std::vector<int> both;
  for (std::size_t i = 0; i < left.size(); ++i) both.insert(both.end(), {left[i], right[i]});
  const auto input = folder_.write("in.wav", wav(both, 22050, 2));
  for (const char* name : {"out.wav", "out.flac"}) {
    const CommandResult result =
        run_kivsr("enhance " + quoted(input) + " " + quoted(folder_ / name) + " --method mcra-wiener");
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find(": 0.14 s at 22050 Hz, 2 channels, mcra-wiener\n"), std::string::npos)
        << result.output;
    const AudioChannels output = read_audio_channels(folder_ / name);
    EXPECT_EQ(output.sample_rate, 22050);
    EXPECT_EQ(output.sample_format, read_audio_channels(input).sample_format);
    ASSERT_EQ(output.channels.size(), 2U);
    for (const auto& [channel, values] : {std::pair(0U, &left), std::pair(1U, &right)}) {
      const auto wanted = make_enhancer("mcra-wiener", 22050)->run(std::vector<float>(values->begin(), values->end()));
      ASSERT_EQ(output.channels[channel].size(), wanted.size());
      for (std::size_t i = 0; i < wanted.size(); ++i) {
        ASSERT_NEAR(output.channels[channel][i], wanted[i], 0.501F) << name << ' ' << i;
      }
    }
  }
}

TEST_F(EnhanceCommandTest, ReportsTheGainAndDraws) {
  ASSERT_EQ(mix("noisy.wav", "--snr 5").status, 0);
  const CommandResult result =
      run_kivsr("enhance " + quoted(folder_ / "noisy.wav") + " " + quoted(folder_ / "out.wav") + " --reference " +
                kGoForward + " --picture " + quoted(folder_ / "out.png"));
  ASSERT_EQ(result.status, 0) << result.errors;
  const char* const line = "segmental SNR %lf dB before, %lf dB after, gain %lf dB";
  double before = 0, after = 0, gain = 0;
  const std::size_t place = std::min(result.output.find("segmental SNR"), result.output.size());
  ASSERT_EQ(std::sscanf(result.output.c_str() + place, line, &before, &after, &gain), 3) << result.output;
  EXPECT_GT(gain, 2.0);
  EXPECT_NEAR(after - before, gain, 0.011);
  EXPECT_EQ(read_file(folder_ / "out.png").substr(1, 3), "PNG");
  // The reference against itself cannot be better than the limit.
  const CommandResult same = run_kivsr("enhance " + kGoForward + " " + quoted(folder_ / "b.wav") + " --reference " +
                                       kGoForward + " --method mcra-wiener");
  EXPECT_NE(same.output.find("segmental SNR 35.00 dB before"), std::string::npos) << same.output << same.errors;
}

TEST_F(EnhanceCommandTest, MixesAtTheRatioAndByTheSeed) {
  const auto clean = samples_of(kGoForward);
  const auto other = folder_.write("noise.wav", wav(whole(noise(5000, 4)), 8000, 1));
  for (const std::string& from : {std::string("white"), quoted(other)}) {
    ASSERT_EQ(mix("a.wav", "--snr 7 --seed 3 --noise " + from).status, 0);
    ASSERT_EQ(mix("b.wav", "--snr 7 --seed 3 --noise " + from).status, 0);
    ASSERT_EQ(mix("c.wav", "--snr 7 --seed 4 --noise " + from).status, 0);
    std::vector<float> added = samples_of(folder_ / "a.wav");
    ASSERT_EQ(added.size(), clean.size());
    for (std::size_t i = 0; i < added.size(); ++i) added[i] -= clean[i];
    EXPECT_NEAR(10.0 * std::log10(energy(clean) / energy(added)), 7.0, 0.02) << from;
    EXPECT_EQ(read_file(folder_ / "a.wav"), read_file(folder_ / "b.wav"));
    EXPECT_NE(read_file(folder_ / "a.wav"), read_file(folder_ / "c.wav"));
  }
  // Pipes are kept to be read twice.
  const CommandResult piped =
      run_command("mkfifo " + quoted(folder_ / "fifo") + "; cat " + quoted(other) + " > " + quoted(folder_ / "fifo") +
                  " & cat " + kGoForward + " | \"$KIVSR_EXECUTABLE\" mix --raw-rate 16000 --snr 7 --seed 4 --noise " +
                  quoted(folder_ / "fifo") + " - " + quoted(folder_ / "piped.wav"));
  EXPECT_EQ(piped.status, 0) << piped.errors;
  EXPECT_EQ(read_file(folder_ / "piped.wav"), read_file(folder_ / "c.wav"));
  EXPECT_NE(mix("d.wav", "--snr -40").output.find("samples beyond full scale"), std::string::npos);
}

TEST_F(EnhanceCommandTest, NoiseReductionFindsTheWords) {
  ASSERT_EQ(mix("noisy.wav", "--snr 5").status, 0);
  const std::string words = "recognise --words \"go,stop,forward,backward,ten,two,six,meters,miles\" ";
  const auto heard = [&](const std::string& options) {
    const CommandResult result = run_kivsr(words + options + " " + quoted(folder_ / "noisy.wav"));
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.output;
  };
  for (const char* method : {"mcra-wiener", "mcra-emns"}) {
    EXPECT_NE(heard(std::string("--noise-reduction ") + method).find("go forward ten meters"), std::string::npos)
        << method;
  }
  EXPECT_NE(heard("").find("go forward ten meters"), std::string::npos);
  for (const char* options : {"--noise-reduction none", "--no-noise-reduction", "--segment"}) {
    EXPECT_EQ(heard(options).find("go forward ten meters"), std::string::npos) << options;
  }
  // Features are taken as they are.
  const CommandResult rows = run_kivsr(words + "/usr/share/pocketsphinx/test/data/goforward.mfc");
  EXPECT_NE(rows.output.find("go forward ten meters"), std::string::npos) << rows.errors;
}

TEST_F(EnhanceCommandTest, AFaultIsOneLineAndLeavesNothing) {
  const std::string output = " " + quoted(folder_ / "out.wav");
  const auto slow = folder_.write("slow.wav", wav({1, 2, 3, 4}, 7000, 1));
  const auto stereo = folder_.write("stereo.wav", wav({1, 2, 3, 4}, 16000, 2));
  const auto silent = folder_.write("silent.wav", wav(std::vector<int>(2000, 0), 16000, 1));
  const auto noisy = folder_.write("noisy.wav", wav(whole(noise(2000, 1)), 16000, 1));
  ASSERT_EQ(run_kivsr("features " + quoted(noisy) + " -o " + quoted(folder_ / "rows.mfc")).status, 0);
  const auto before = folder_.names();
  const std::pair<std::string, std::string> cases[] = {
      {"enhance " + quoted(slow) + output, "slow.wav: MCRA estimates noise from 8000 to 384000 Hz, not at 7000 Hz"},
      {"enhance " + kGoForward + " " + quoted(folder_ / "out.mp4"), "out.mp4: audio is written to names"},
      {"enhance " + kGoForward + output + " --method best", "--method"},
      {"enhance " + kGoForward + output + " --picture " + quoted(folder_ / "p.gif"), "p.gif: a picture's name"},
      {"enhance " + kGoForward + output + " --picture " + quoted(folder_ / "no/p.png"), "p.png: cannot be written"},
      {"enhance " + kGoForward + output + " --reference " + quoted(slow), "slow.wav: has 7000 Hz, the input 16000"},
      {"enhance " + kGoForward + output + " --reference " + quoted(stereo), "stereo.wav: has 2 channels, the input 1"},
      {"enhance " + kGoForward + output + " --reference " + quoted(noisy), "noisy.wav: has 2000 samples, the input"},
      {"enhance " + quoted(noisy) + output + " --reference " + quoted(silent), "silent.wav: is silent"},
      {"mix " + quoted(silent) + output, "silent.wav with white: the recording is silent"},
      {"mix " + kGoForward + output + " --noise " + quoted(silent), "the noise is silent"},
      {"mix " + kGoForward + output + " --noise pink", "pink: no such file"},
      {"mix " + kGoForward + output + " --snr 1000", "--snr"},
      {"recognise --words yes --noise-reduction mcra-emns " + quoted(folder_ / "rows.mfc"),
       "rows.mfc: noise is reduced in audio, not in features"},
  };
  for (const auto& [arguments, message] : cases) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    EXPECT_NE(result.errors.find(message), std::string::npos) << arguments << ": " << result.errors;
    EXPECT_EQ(folder_.names(), before) << arguments;
  }
}

TEST_F(EnhanceCommandTest, OneSampleIsEnoughAndAFullDiskIsAFault) {
  const auto single = folder_.write("single.wav", wav({77}, 48000, 1));
  const CommandResult result = run_kivsr("enhance " + quoted(single) + " " + quoted(folder_ / "out.wav") +
                                         " --picture " + quoted(folder_ / "out.png"));
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(samples_of(folder_ / "out.wav").size(), 1U);

  const auto before = folder_.names();
  const CommandResult full =
      run_kivsr("enhance " + kGoForward + " " + quoted(folder_ / "full.wav"), "trap '' XFSZ; ulimit -f 8; ");
  EXPECT_EQ(full.status, 2);
  EXPECT_NE(full.errors.find("full.wav: cannot be written"), std::string::npos) << full.errors;
  EXPECT_EQ(folder_.names(), before);
}

}  // namespace
}  // namespace kivsr::program::test
