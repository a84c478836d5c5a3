// kivsr features and kivsr info, through the program as users run it.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "speech/support/command.h"
#include "speech/support/signals.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::program::test {

using namespace speech;
using namespace speech::test;

namespace {

class FeaturesCommandTest : public ::testing::Test {
 protected:
  FeaturesCommandTest() : samples_(noise(8000)), audio_(folder_.write("a.wav", wav(whole(samples_), 16000, 1))) {}

  // Values of a file that the program wrote with these options.
  std::vector<float> values(const std::string& options) const {
    const auto output = folder_ / "out.mfc";
    const CommandResult result = run_kivsr("features " + quoted(audio_) + " -o " + quoted(output) + " " + options);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "") << "no progress where there is no terminal";
    const std::string bytes = read_file(output);
    std::vector<float> found(bytes.size() < 4 ? 0 : bytes.size() / 4 - 1);
    if (!found.empty()) std::memcpy(found.data(), bytes.data() + 4, 4 * found.size());
    return found;
  }
  std::vector<float> expected(const Recipe& parameters) const { return FeatureChain(parameters).run(samples_).values; }

  TemporaryFolder folder_;
  std::vector<float> samples_;
  std::filesystem::path audio_;
};

TEST_F(FeaturesCommandTest, WritesWhatTheFrontEndComputes) {
  EXPECT_EQ(values(""), expected(preset("sphinx-en-us").front_end));
  EXPECT_EQ(values("--preset mfcc"), expected(preset("mfcc").front_end));
  const auto file = folder_.write("feat.params", "-nfilt 30 -upperf 7000\n");
  EXPECT_EQ(values("--feat-params " + quoted(file)), expected(read_feat_params(file).front_end));
}

TEST_F(FeaturesCommandTest, EveryOptionReachesItsParameter) {
  using P = FrontEndParameters;
  const std::pair<std::string, void (*)(P&)> cases[] = {
      {"--pre-emphasis 0.5", [](P& p) { p.pre_emphasis = 0.5F; }},
      {"--window-length 320", [](P& p) { p.window_length = 320; }},
      {"--window-length 600", [](P& p) { p.window_length = 600, p.fft_length = 1024; }},
      {"--shift 80", [](P& p) { p.shift = 80; }},
      {"--fft-length 2048", [](P& p) { p.fft_length = 2048; }},
      {"--window hann", [](P& p) { p.window = Window::kHann; }},
      {"--window rectangular", [](P& p) { p.window = Window::kRectangular; }},
      {"--remove-offset after-emphasis", [](P& p) { p.remove_offset = OffsetRemoval::kAfterEmphasis; }},
      {"--remove-offset before-emphasis", [](P& p) { p.remove_offset = OffsetRemoval::kBeforeEmphasis; }},
      {"--input-scale 0.5", [](P& p) { p.input_scale = 0.5F; }},
      {"--dither 100", [](P& p) { p.dither = 100.0F; }},
      {"--dither 100 --dither-seed 7", [](P& p) { p.dither = 100.0F, p.dither_seed = 7; }},
      {"--framing covering", [](P& p) { p.framing = Framing::kCovering; }},
      {"--framing centred --edges reflect", [](P& p) { p.framing = Framing::kCentred, p.edges = Edges::kReflect; }},
      {"--framing half-shift --edges symmetric",
       [](P& p) { p.framing = Framing::kHalfShift, p.edges = Edges::kSymmetric; }},
      {"--fft-length 450", [](P& p) { p.fft_length = 450; }},
      {"--spectrum-scale 2", [](P& p) { p.spectrum_scale = 2.0F; }},
      {"--mel-scale slaney --no-round-filters", [](P& p) { p.mel_scale = MelScale::kSlaney, p.round_filters = false; }},
      {"--filters whole-bins", [](P& p) { p.filters = Filters::kWholeBins; }},
      {"--logarithm db", [](P& p) { p.logarithm = Logarithm::kDecibel; }},
      {"--logarithm log10 --dynamic-range 30", [](P& p) { p.logarithm = Logarithm::kDecimal, p.dynamic_range = 30; }},
      {"--logarithm none --output-kind log-mel",
       [](P& p) { p.logarithm = Logarithm::kNone, p.output = Output::kLogMel; }},
      {"--lifter-form sine-from-zeroth", [](P& p) { p.lifter_form = LifterForm::kSineFromZeroth; }},
      {"--output-kind plp", [](P& p) { p.output = Output::kPlp; }},
      {"--energy --energy-of windowed", [](P& p) { p.energy = true, p.energy_of = EnergyOf::kWindowed; }},
      {"--energy --energy-of spectrum --energy-first",
       [](P& p) { p.energy = p.energy_first = true, p.energy_of = EnergyOf::kSpectrum; }},
      {"--energy --energy-floor 1e9", [](P& p) { p.energy = true, p.energy_floor = 1e9F; }},
      {"--no-pad-last-frame", [](P& p) { p.pad_last_frame = false; }},
      {"--spectrum magnitude", [](P& p) { p.spectrum = Spectrum::kMagnitude; }},
      {"--filters mel", [](P& p) { p.filters = Filters::kMel; }},
      {"--no-unit-area", [](P& p) { p.unit_area = false; }},
      {"--no-round-filters", [](P& p) { p.round_filters = false; }},
      {"--filter-count 30", [](P& p) { p.filter_count = 30; }},
      {"--low-frequency 60.5", [](P& p) { p.low_frequency = 60.5F; }},
      {"--high-frequency 7999", [](P& p) { p.high_frequency = 7999.0F; }},
      {"--mel-multiplier 900 --filters mel --filter-count 20",
       [](P& p) { p.mel_multiplier = 900.0F, p.filters = Filters::kMel, p.filter_count = 20; }},
      {"--mel-divisor 1000", [](P& p) { p.mel_divisor = 1000.0F; }},
      {"--log-floor 1e7", [](P& p) { p.log_floor = 1e7F; }},
      {"--log-offset 1e7", [](P& p) { p.log_offset = 1e7F; }},
      {"--transform legacy", [](P& p) { p.transform = Transform::kLegacy; }},
      {"--transform plain", [](P& p) { p.transform = Transform::kPlain; }},
      {"--cepstrum-count 20", [](P& p) { p.cepstrum_count = 20; }},
      {"--lifter 0", [](P& p) { p.lifter = 0; }},
      {"--zeroth none", [](P& p) { p.zeroth = ZerothCepstrum::kNone; }},
      {"--frame-emphasis", [](P& p) { p.frame_emphasis = true; }},
      {"--filters bins", [](P& p) { p.filters = Filters::kBins; }},
      {"--energy", [](P& p) { p.energy = true; }},
      {"--output-kind lpc-cepstra --prediction-order 9",
       [](P& p) { p.output = Output::kLpcCepstra, p.prediction_order = 9; }},
      {"--output-kind log-mel", [](P& p) { p.output = Output::kLogMel; }},
  };
  for (const auto& [options, change] : cases) {
    FrontEndParameters parameters = preset("sphinx-en-us").front_end;
    change(parameters);
    EXPECT_EQ(values(options), expected(parameters)) << options;
  }
}

TEST_F(FeaturesCommandTest, EveryOptionBehindTheFrontEndReachesItsParameter) {
  using P = Recipe;
  const std::pair<std::string, void (*)(P&)> cases[] = {
      {"", [](P&) {}},
      {"--block 1", [](P&) {}},
      {"--block 999", [](P&) {}},
      {"--dynamics none", [](P& p) { p.dynamics = Dynamics::kNone; }},
      {"--dynamics win1", [](P& p) { p.dynamics = Dynamics::kWin1; }},
      {"--dynamics regression", [](P& p) { p.dynamics = Dynamics::kRegression; }},
      {"--dynamics regression --regression-window 4",
       [](P& p) { p.dynamics = Dynamics::kRegression, p.regression_window = 4; }},
      {"--dynamics aurora", [](P& p) { p.dynamics = Dynamics::kAurora, p.front_end.zeroth = ZerothCepstrum::kLast; }},
      {"--no-normalise-energy", [](P& p) { p.normalise_energy = false; }},
      {"--no-energy", [](P& p) { p.normalise_energy = p.front_end.energy = false; }},
      {"--silence-floor 20", [](P& p) { p.silence_floor = 20.0F; }},
      {"--energy-scale 0.5", [](P& p) { p.energy_scale = 0.5F; }},
      {"--normalise mean --normalise-cepstra-only",
       [](P& p) { p.normalisation = Normalisation::kMean, p.normalise_cepstra_only = true; }},
      {"--derivatives 1", [](P& p) { p.derivatives = 1; }},
      {"--derivatives 3 --drop-energy", [](P& p) { p.derivatives = 3, p.drop_energy = true; }},
      {"--energy-maximum 18.5", [](P& p) { p.energy_maximum = 18.5F; }},
      {"--normalise mean", [](P& p) { p.normalisation = Normalisation::kMean; }},
      {"--normalise mean-variance", [](P& p) { p.normalisation = Normalisation::kMeanVariance; }},
      {"--normalise running-mean", [](P& p) { p.normalisation = Normalisation::kRunningMean; }},
      {"--normalise running-mean-variance --normalise-frames 5",
       [](P& p) { p.normalisation = Normalisation::kRunningMeanVariance, p.normalisation_frames = 5; }},
  };
  for (const auto& [options, change] : cases) {
    Recipe parameters = preset("htk-mfcc:MFCC_E_D_A");
    change(parameters);
    EXPECT_EQ(values("--preset htk-mfcc:MFCC_E_D_A " + options), expected(parameters)) << options;
  }
}

TEST_F(FeaturesCommandTest, StatisticsOfAudioAndFeatureFilesTogether) {
  const auto second = folder_.write("b.wav", wav(whole(noise(4000, 2)), 16000, 1));
  ASSERT_EQ(run_kivsr("features " + quoted(second) + " --preset mfcc -o " + quoted(folder_ / "b.npy")).status, 0);
  const auto list = folder_.write("files.txt", (folder_ / "b.npy").string() + "\n\n");
  const auto output = folder_ / "stats.json";
  const CommandResult result = run_kivsr("features --stats " + quoted(audio_) + " --list " + quoted(list) +
                                         " --preset mfcc -o " + quoted(output));
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, "2 files, 71 frames of 13 values\n");
  const auto json = nlohmann::json::parse(read_file(output));
  EXPECT_EQ(json["files"], 2);
  EXPECT_EQ(json["frames"], 71);
  EXPECT_EQ(json["columns"][12], "c12");
  const FeatureMatrix first = FeatureChain(preset("mfcc")).run(samples_);
  const FeatureMatrix other = FeatureChain(preset("mfcc")).run(noise(4000, 2));
  double mean = 0.0;
  for (const auto* rows : {&first, &other}) {
    for (int t = 0; t < rows->height(); ++t) mean += rows->row(t)[3] / 71.0;
  }
  EXPECT_NEAR(json["mean"][3].get<double>(), mean, 1e-4);
}

TEST_F(FeaturesCommandTest, AnotherRateKeepsTheFramesInSeconds) {
  const CommandResult result =
      run_kivsr("features " + quoted(audio_) + " -o " + quoted(folder_ / "b.csv") + " --sample-rate 8000");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("0.50 s, 49 frames of 13 values, resampled from 16000 to 8000 Hz"), std::string::npos)
      << result.output;
}

// etsi-afe takes the form that fits the file's rate, and nothing but the rate may be chosen.
TEST_F(FeaturesCommandTest, EtsiAfeFollowsTheRateOfTheFile) {
  EXPECT_EQ(values("--preset etsi-afe"), expected(preset("etsi-afe")));
  Recipe recipe = preset("etsi-afe");
  recipe.dynamics = Dynamics::kAurora;
  recipe.drop_frames = true;
  EXPECT_EQ(values("--preset etsi-afe --dynamics aurora --drop-frames"), expected(recipe));
  for (const int rate : {8000, 11025}) {
    const auto file = folder_.write("b.wav", wav(whole(noise(rate)), rate, 1));
    const CommandResult result =
        run_kivsr("features " + quoted(file) + " -o " + quoted(folder_ / "b.csv") + " --preset etsi-afe");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.output.find("94 frames of 15 values"), std::string::npos) << result.output;
    EXPECT_EQ(result.output.find("resampled from 11025 to 8000 Hz") != std::string::npos, rate == 11025);
    EXPECT_EQ(read_file(folder_ / "b.csv").find("time_s,c1,c2,"), 0U);
  }
  for (const char* options : {"--window hann", "--noise-reduction mcra-wiener", "--sample-rate 11025"}) {
    const CommandResult result =
        run_kivsr("features " + quoted(audio_) + " -o " + quoted(folder_ / "c.npy") + " --preset etsi-afe " + options);
    EXPECT_EQ(result.status, 2) << options;
    EXPECT_NE(result.errors.find("etsi-afe"), std::string::npos) << result.errors;
  }
  const auto silence = folder_.write("s.wav", wav(std::vector<int>(16000, 0), 16000, 1));
  const CommandResult silent = run_kivsr("features " + quoted(silence) + " -o " + quoted(folder_ / "s.npy") +
                                         " --preset etsi-afe --drop-frames");
  EXPECT_EQ(silent.status, 2);
  EXPECT_NE(silent.errors.find("no frame holds speech"), std::string::npos) << silent.errors;
}

TEST_F(FeaturesCommandTest, WritesFeaturesAndPictureTogether) {
  const CommandResult result = run_kivsr("features " + quoted(audio_) + " -o " + quoted(folder_ / "b.npy") +
                                         " --picture " + quoted(folder_ / "b.png"));
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.wav", "b.npy", "b.png"}));
  EXPECT_EQ(read_file(folder_ / "b.png").substr(1, 3), "PNG");
}

TEST_F(FeaturesCommandTest, PicturesOfAnySizeAndFormat) {
  const auto draw = [&](const std::string& input, const std::string& picture, const std::string& options) {
    const CommandResult result = run_kivsr("features " + input + " --picture " + quoted(folder_ / picture) + options);
    EXPECT_EQ(result.status, 0) << result.errors;
    return read_file(folder_ / picture);
  };
  const std::string sound = quoted(audio_);
  EXPECT_EQ(draw(sound, "a.png", " --size 640x480").substr(16, 8), std::string("\0\0\x02\x80\0\0\x01\xE0", 8));
  EXPECT_NE(draw(sound, "a.svg", " --size 700x500").find("width=\"700"), std::string::npos);
  EXPECT_EQ(draw(sound, "a.pdf", "").substr(0, 5), "%PDF-");
  EXPECT_NE(draw(sound, "b.png", ""), draw(sound, "c.png", " --range -1,1"));
  for (const char* options : {" --size 9x9", " --size 640", " --range 1,0", " --range 1"}) {
    EXPECT_EQ(run_kivsr("features " + sound + " --picture x.png" + options).status, 2) << options;
  }
  EXPECT_NE(run_kivsr("features " + sound + " -o x.npy --size 640x480").errors.find("--picture"), std::string::npos);
}

TEST_F(FeaturesCommandTest, AFaultIsOneLineAndStatusTwoAndLeavesNothing) {
  const std::string output = " -o " + quoted(folder_ / "out.npy");
  const auto zero = folder_.write("zero.wav", wav({}, 16000, 1));
  const auto cut = folder_.write("cut.wav", read_file(audio_).substr(0, 9000));
  const auto tiny = folder_.write("tiny.wav", wav({1, 2, 3}, 16000, 1));
  const auto wide = folder_.write("wide.csv", "time_s,x,y\n0,1,2\n");
  const auto infinite = folder_.write("infinite.csv", "time_s,x\n0,1\n0.01,inf\n");
  const auto before = folder_.names();
  const std::pair<std::string, std::string> cases[] = {
      {"features " + quoted(folder_ / "none.wav") + output, "none.wav: no such file"},
      {"features " + quoted(zero) + output, "zero.wav: holds no samples"},
      {"features " + quoted(cut) + output, "cut.wav: truncated"},
      {"features " + quoted(tiny) + output + " --preset mfcc", "tiny.wav: shorter than one frame"},
      {"features " + quoted(audio_), "give --output, --output-folder or --picture"},
      {"features " + quoted(audio_) + " -o " + quoted(folder_ / "out.txt"), "out.txt: the extension"},
      {"features " + quoted(audio_) + " -o " + quoted(folder_ / "no/out.npy"), "out.npy: cannot be written"},
      {"features " + quoted(audio_) + output + " --picture " + quoted(folder_ / "p.jpg"), "p.jpg: a picture's name"},
      {"features " + quoted(audio_) + output + " --picture " + quoted(folder_ / "no/p.png"),
       "p.png: cannot be written"},
      {"features " + quoted(audio_) + output + " --preset none", "no preset 'none'"},
      {"features " + quoted(audio_) + output + " --filter-count 0", "front end: the filters"},
      {"features " + quoted(audio_) + output + " --filter-count x", "--filter-count"},
      {"features " + quoted(audio_) + output + " --window square", "--window"},
      {"features " + quoted(audio_) + output + " --energy=maybe", "--energy: maybe is neither yes nor no"},
      {"features - " + output + " < " + quoted(cut), "standard input: truncated"},
      {"features mfc:" + quoted(folder_ / "none") + output, "none: no such file"},
      {"features " + quoted(audio_) + output + " --shift 99999999999999999999", "--shift"},
      {"features", "audio"},
      {"features " + quoted(audio_) + " " + quoted(audio_) + output, "out.npy: takes what one input becomes"},
      {"features " + quoted(audio_) + output + " --dynamics five", "--dynamics"},
      {"features " + quoted(audio_) + output + " --dynamics aurora --cepstrum-count 12", "aurora dynamics need 13"},
      {"features " + quoted(audio_) + output + " --normalise-energy", "without the log energy"},
      {"features --stats " + quoted(audio_), "nothing to write"},
      {"features --stats " + output, "no audio file"},
      {"features --stats --list none.txt" + output, "none.txt: cannot be read"},
      {"features --stats " + quoted(audio_) + " -o " + quoted(folder_ / "s.mfc"), "s.mfc: the extension"},
      {"features --stats " + quoted(wide) + output, "at least two frames"},
      {"features --stats " + quoted(infinite) + output, "infinite.csv: frame 1, value 0 is not finite"},
      {"", "subcommand"},
      {"nonsense", "no subcommand 'nonsense'"},
  };
  for (const auto& [arguments, message] : cases) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(result.errors.find("kivsr: "), 0U) << result.errors;
    EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1) << result.errors;
    EXPECT_NE(result.errors.find(message), std::string::npos) << arguments << ": " << result.errors;
    EXPECT_EQ(folder_.names(), before) << arguments;
  }
}

TEST_F(FeaturesCommandTest, AFullDiskKeepsTheOldFile) {
  folder_.write("out.csv", "old");
  const CommandResult result =
      run_kivsr("features " + quoted(audio_) + " -o " + quoted(folder_ / "out.csv"), "ulimit -f 4; ");
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.errors.find("out.csv: cannot be written"), std::string::npos) << result.errors;
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.wav", "out.csv"}));
  EXPECT_EQ(read_file(folder_ / "out.csv"), "old");
}

TEST(Program, HelpIsNoFault) {
  for (const char* arguments : {"--help", "features --help", "info --help"}) {
    const CommandResult result = run_kivsr(arguments);
    EXPECT_EQ(result.status, 0) << arguments;
    EXPECT_EQ(result.errors, "") << arguments;
    EXPECT_GT(result.output.size(), 40U) << arguments;
  }
}

TEST(InfoCommand, NamesTheLibraryAndItsFile) {
  const CommandResult result = run_kivsr("info");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("libkivsrw7.so.5.2 5.2"), std::string::npos) << result.output;
  const std::size_t line = result.output.find("\nfile ");
  ASSERT_NE(line, std::string::npos) << result.output;
  std::string file;
  std::istringstream(result.output.substr(line + 5)) >> file;
  EXPECT_EQ(std::filesystem::path(file).filename(), "libkivsrw7.so.5.2");
  EXPECT_TRUE(std::filesystem::is_regular_file(file)) << result.output;
}

TEST(InfoCommand, NamesTheBackendOfTheFile) {
  const std::string output = run_kivsr("info").output;
  const bool wide = output.find("glibc-hwcaps/x86-64-v3") != std::string::npos;
  EXPECT_EQ(output.find("backend    x86-64-v3 (AVX2, FMA)") != std::string::npos, wide) << output;
  EXPECT_NE(output.find("\nbackend "), std::string::npos) << output;
}

TEST(SelftestCommand, FindsTheExpectedDigests) {
  const CommandResult result = run_kivsr("selftest");
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_NE(result.output.find("\nvector/fft "), std::string::npos) << result.output;
  EXPECT_EQ(result.output.find("DIFFERS"), std::string::npos) << result.output;
}

TEST(InfoCommand, NamesFeaturesThatTheSystemReportsToo) {
  const auto words = [](const std::string& text) {
    std::istringstream stream(text);
    return std::set<std::string>(std::istream_iterator<std::string>(stream), {});
  };
  const auto system = words(read_file("/proc/cpuinfo"));
  const std::string output = run_kivsr("info").output;
  const auto features = words(output.substr(output.find("\nfeatures") + 9));
  for (const char* name : {"sse2", "ssse3", "avx", "avx2", "fma", "bmi2"}) {
    EXPECT_EQ(features.count(name), system.count(name)) << name;
  }
}

TEST(Program, AFullOutputIsAFault) {
  const CommandResult result = run_kivsr("info > /dev/full");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.errors, "kivsr: standard output cannot be written\n");
}

}  // namespace
}  // namespace kivsr::program::test
