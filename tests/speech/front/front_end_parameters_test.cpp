#include "kivsr/speech/front/front_end_parameters.h"

#include <gtest/gtest.h>

#include "kivsr/speech/front/front_end.h"
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

TEST(FrontEndParameters, ModelFileSetsWhatItNames) {
  const TemporaryFolder folder;
  const auto file = folder.write(
      "feat.params",
      "-samprate 8000.0 -nfilt 31\n-lowerf 200\n-upperf 3500\n-transform dct\n-lifter 22\n-wlen 0.025 -frate 50\n"
      "-alpha 0.9 -ncep 12 -round_filters no -unit_area no -remove_dc yes -svspec 0-12/13-25/26-38\n");
  const ModelFeatureParameters read = read_feature_parameters(file);
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
  EXPECT_TRUE(front_end.remove_offset);
  EXPECT_EQ(read.entries.at("svspec"), "0-12/13-25/26-38");
}

TEST(FrontEndParameters, ModelFileFaultsNameFileAndEntry) {
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
    const std::string fault = fault_of([&] { read_feature_parameters(file); });
    EXPECT_EQ(fault.find(file.string() + ": "), 0U) << text << fault;
    EXPECT_NE(fault.find(message), std::string::npos) << text << fault;
  }
  EXPECT_NE(fault_of([&] { read_feature_parameters(folder / "none"); }).find("cannot be read"), std::string::npos);
}

TEST(FrontEndParameters, RefusesContradictions) {
  EXPECT_NE(fault_of([] { front_end_preset("none"); }).find("sphinx-en-us"), std::string::npos)
      << "names those that there are";
  const auto refused = [](const auto& change) {
    FrontEndParameters parameters;
    parameters.validate();
    change(parameters);
    return fault_of([&] { FrontEnd{parameters}; }).find("front end: ") == 0;
  };
  EXPECT_TRUE(refused([](auto& p) { p.window_length = 513; }));
  EXPECT_TRUE(refused([](auto& p) { p.fft_length = 500; }));
  EXPECT_TRUE(refused([](auto& p) { p.shift = 0; }));
  EXPECT_TRUE(refused([](auto& p) { p.low_frequency = 0.0F; }));
  EXPECT_TRUE(refused([](auto& p) { p.high_frequency = p.low_frequency; }));
  EXPECT_TRUE(refused([](auto& p) { p.cepstrum_count = 41; }));
  EXPECT_TRUE(refused([](auto& p) { p.filter_count = 200; })) << "filters narrower than a bin, edges on bins";
  EXPECT_TRUE(refused([](auto& p) { p.log_floor = -1.0F; }));
  EXPECT_FALSE(refused([](auto& p) { p.filter_count = 100, p.round_filters = false; }));
}

}  // namespace
}  // namespace kivsr::speech::test
