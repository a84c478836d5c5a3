#include "kivsr/speech/front/feat_params.h"

#include <gtest/gtest.h>

#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/io/fault.h"
#include "speech/support/temporary_folder.h"

namespace kivsr::speech::test {
namespace {

std::string fault_of(const auto& action) {
  try {
    action();
  } catch (const Fault& fault) {
    return fault.what();
  }
  return "no fault";
}

TEST(FeatParams, StartOfTheMean) {
  const TemporaryFolder folder;
  const auto mean_of = [&](const std::string& entry) {
    const auto file = folder.write("feat.params", "-nfilt 25 " + entry);
    return read_feat_params(file).static_mean(file);
  };
  EXPECT_TRUE(mean_of("").empty());
  const std::vector<float> mean = mean_of("-cmninit 41.00,-5.29,0.5");
  ASSERT_EQ(mean.size(), 13U);
  EXPECT_EQ(mean[1], -5.29F);
  EXPECT_EQ(mean[3], 0.0F);
  for (const char* const bad : {"1,x", "1,,2", "1,nan", "1,2,3,4,5,6,7,8,9,10,11,12,13,14"}) {
    EXPECT_NE(fault_of([&] { mean_of(std::string("-cmninit ") + bad); }).find("-cmninit"), std::string::npos) << bad;
  }
}

TEST(FeatParams, SetsWhatItNames) {
  const TemporaryFolder folder;
  const auto file = folder.write(
      "feat.params",
      "-samprate 8000.0 -nfilt 31\n-lowerf 200\n-upperf 3500\n-transform dct\n-lifter 22\n-wlen 0.025 -frate 50\n"
      "-alpha 0.9 -ncep 12 -round_filters no -unit_area no -remove_dc yes -svspec 0-12/13-25/26-38\n");
  const FeatParams read = read_feat_params(file);
  const FrontEndParameters& front_end = read.front_end;
  EXPECT_EQ(front_end.sample_rate, 8000);
  EXPECT_EQ(front_end.window_length, 200);
  EXPECT_EQ(front_end.shift, 160);
  EXPECT_EQ(front_end.fft_length, 512);
  EXPECT_EQ(front_end.filter_count, 31);
  EXPECT_FLOAT_EQ(front_end.low_frequency, 200.0F);
  EXPECT_FLOAT_EQ(front_end.high_frequency, 3500.0F);
  EXPECT_FLOAT_EQ(front_end.pre_emphasis, 0.9F);
  EXPECT_EQ(front_end.cepstrum_count, 12);
  EXPECT_EQ(front_end.lifter, 22);
  EXPECT_EQ(front_end.transform, Transform::kDct);
  EXPECT_FALSE(front_end.round_filters);
  EXPECT_FALSE(front_end.unit_area);
  EXPECT_EQ(front_end.remove_offset, OffsetRemoval::kAfterEmphasis);
  EXPECT_EQ(read.entries.at("svspec"), "0-12/13-25/26-38");
}

TEST(FeatParams, FaultsNameFileAndEntry) {
  const TemporaryFolder folder;
  const std::pair<std::string, std::string> cases[] = {
      {"-nfilt many\n", "-nfilt many: is not a number"},
      {"-nfilt 2.5\n", "-nfilt 2.5: is not a whole number"},
      {"-nfilt 25 -lifter\n", "truncated: -lifter has no value"},
      {"nfilt 25\n", "'nfilt' is not the name of an entry"},
      {"-transform fft\n", "-transform fft: is not dct"},
      {"-varnorm yes\n", "-varnorm yes: is not offered"},
      {"-unit_area maybe\n", "-unit_area maybe: is neither yes nor no"},
      {"-upperf 9000\n", "at most half the sampling rate"},
      {"-wlen 0.1 -nfft 512\n", "at least as long as the window"},
      {"-wlen -1\n", "frames of a sensible length"},
      {"-frate 0\n", "frames of a sensible length"},
      {"-samprate 0\n", ""},
      {"", "holds no entries"},
  };
  for (const auto& [text, message] : cases) {
    const auto file = folder.write("feat.params", text);
    const std::string fault = fault_of([&] { read_feat_params(file); });
    EXPECT_EQ(fault.find(file.string() + ": "), 0U) << text << fault;
    EXPECT_NE(fault.find(message), std::string::npos) << text << fault;
  }
  EXPECT_NE(fault_of([&] { read_feat_params(folder / "none"); }).find("no such file"), std::string::npos);
}

TEST(FeatParams, RecipeOfAModel) {
  const TemporaryFolder folder;
  const auto file = folder.write("feat.params", "-lowerf 130 -upperf 6800 -nfilt 25 -transform dct -lifter 22\n");
  EXPECT_EQ(read_feat_params(file).recipe(file), preset("sphinx-39"));
  Recipe spliced = preset("sphinx-39");
  spliced.dynamics = Dynamics::kSplice;
  spliced.regression_window = 4;
  folder.write("feat.params", feat_params_text(spliced) + "-ldadim 29\n");
  EXPECT_EQ(read_feat_params(file).recipe(file), spliced);
  EXPECT_EQ(read_feat_params(file).transform_rows(file), 29);
  for (const char* const fault : {"-feat 13:0\n", "-feat 13:4x\n", "-feat 12:4\n", "-feat 13:400\n"}) {
    folder.write("feat.params", fault);
    EXPECT_THROW((void)read_feat_params(file).recipe(file), Fault) << fault;
  }
  folder.write("feat.params", "-feat s3_1x39\n");
  EXPECT_NE(fault_of([&] { (void)read_feat_params(file).recipe(file); }).find("only 1s_c_d_dd"), std::string::npos);
}

}  // namespace
}  // namespace kivsr::speech::test
