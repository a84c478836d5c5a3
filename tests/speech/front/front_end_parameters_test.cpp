#include "kivsr/speech/front/front_end_parameters.h"

#include <gtest/gtest.h>

#include "kivsr/speech/front/front_end.h"
#include "kivsr/speech/io/fault.h"

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

TEST(FrontEndParameters, RefusesContradictions) {
  const auto refused = [](const auto& change) {
    FrontEndParameters parameters;
    parameters.validate();
    change(parameters);
    return fault_of([&] { FrontEnd{parameters}; }).find("front end: ") == 0;
  };
  EXPECT_TRUE(refused([](auto& p) { p.window_length = 513; }));
  EXPECT_TRUE(refused([](auto& p) { p.fft_length = 518; })) << "7 divides it";
  EXPECT_FALSE(refused([](auto& p) { p.fft_length = 500, p.window_length = 400, p.round_filters = false; }));
  EXPECT_TRUE(refused([](auto& p) { p.shift = 0; }));
  EXPECT_TRUE(refused([](auto& p) { p.low_frequency = -1.0F; }));
  EXPECT_FALSE(refused([](auto& p) { p.low_frequency = 0.0F, p.filter_count = 20; }));
  EXPECT_TRUE(refused([](auto& p) { p.high_frequency = p.low_frequency; }));
  EXPECT_TRUE(refused([](auto& p) { p.cepstrum_count = 41; }));
  EXPECT_FALSE(refused([](auto& p) { p.filter_count = 8, p.output = Output::kLogMel; })) << "no cepstra";
  EXPECT_TRUE(refused([](auto& p) { p.filter_count = 200; })) << "filters narrower than a bin, edges on bins";
  EXPECT_TRUE(refused([](auto& p) { p.log_floor = -1.0F; }));
  EXPECT_FALSE(refused([](auto& p) { p.filter_count = 100, p.round_filters = false; }));
}

TEST(FrontEndParameters, NamesTheNextLengthOfATransform) {
  FrontEndParameters parameters;
  parameters.fft_length = 441;
  parameters.window_length = 441;
  EXPECT_NE(fault_of([&] { parameters.validate(); }).find("not 441, the next such length is 450"), std::string::npos);
}

// What would have no effect, or none that is defined, is refused.
TEST(FrontEndParameters, RefusesWhatWouldBeIgnored) {
  const auto refused = [](const auto& change) {
    FrontEndParameters parameters;
    change(parameters);
    return fault_of([&] { parameters.validate(); }).find("front end: ") == 0;
  };
  EXPECT_TRUE(refused([](auto& p) { p.edges = Edges::kReflect; }));
  EXPECT_TRUE(refused([](auto& p) { p.framing = Framing::kCovering, p.pad_last_frame = false; }));
  EXPECT_TRUE(refused([](auto& p) { p.framing = Framing::kHalfShift, p.pad_last_frame = false; }));
  EXPECT_TRUE(refused([](auto& p) { p.framing = Framing::kCentred, p.pad_last_frame = false, p.shift = 300; }));
  EXPECT_FALSE(refused([](auto& p) { p.framing = Framing::kCentred, p.shift = 300; }));
  EXPECT_TRUE(refused([](auto& p) { p.logarithm = Logarithm::kNone; })) << "cepstra of it";
  EXPECT_TRUE(
      refused([](auto& p) { p.logarithm = Logarithm::kNone, p.output = Output::kLogMel, p.dynamic_range = 80.0F; }));
  EXPECT_TRUE(refused([](auto& p) { p.output = Output::kPlp, p.logarithm = Logarithm::kDecibel; }));
  EXPECT_TRUE(refused([](auto& p) { p.output = Output::kPlp, p.cepstrum_count = 14; }));
  EXPECT_TRUE(
      refused([](auto& p) { p.output = Output::kLpcCepstra, p.energy = true, p.energy_of = EnergyOf::kSpectrum; }));
  EXPECT_TRUE(refused([](auto& p) { p.filters = Filters::kBins, p.mel_scale = MelScale::kSlaney; }));
  EXPECT_TRUE(refused([](auto& p) { p.filters = Filters::kBins, p.low_frequency = 0.0F; }));
  EXPECT_TRUE(refused([](auto& p) { p.dither = -1.0F; }));
  EXPECT_TRUE(refused([](auto& p) { p.input_scale = 0.0F; }));
}

}  // namespace
}  // namespace kivsr::speech::test
