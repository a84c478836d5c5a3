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
