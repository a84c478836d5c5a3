#include "enhance/enhancer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/fault.h"
#include "tools/support/signals.h"

namespace kivsr::tools::test {
namespace {

class EveryMethod : public testing::TestWithParam<std::string> {
 protected:
  // Some methods work at 8000 Hz only.
  std::unique_ptr<Enhancer> enhancer_ = make_enhancer(GetParam(), 8000);
};

TEST_P(EveryMethod, BlocksOfAnySizeGiveTheSameBitsWithBoundedDelay) {
  const auto input = noise(9000, 3);
  const auto whole = enhancer_->run(input);
  ASSERT_EQ(whole.size(), input.size());
  std::mt19937 generator(1);
  for (const std::size_t largest : {1UL, 7UL, 300UL, 5000UL}) {
    std::vector<float> output;
    for (std::size_t begin = 0; begin < input.size();) {
      const std::size_t count = std::min(input.size() - begin, 1 + generator() % largest);
      enhancer_->push(std::span(input).subspan(begin, count), output);
      begin += count;
      ASSERT_LE(begin - output.size(), static_cast<std::size_t>(enhancer_->delay()));
    }
    enhancer_->finish(output);
    EXPECT_EQ(output, whole) << largest;
  }
}

TEST_P(EveryMethod, KeepsEveryLength) {
  const auto input = noise(1500, 4);
  for (const std::size_t length : {0UL, 1UL, 2UL, 63UL, 64UL, 65UL, 191UL, 192UL, 193UL, 255UL, 256UL, 257UL, 1500UL}) {
    NoiseTrack track;
    enhancer_->record_noise(&track);
    EXPECT_EQ(enhancer_->run(std::span(input).first(length)).size(), length);
    const auto hop = static_cast<std::size_t>(std::max(track.hop, 1));
    EXPECT_EQ(track.power.values.empty() ? 0 : track.power.height(), static_cast<int>((length + hop - 1) / hop));
  }
}

TEST_P(EveryMethod, LeavesSilenceSilent) {
  const std::vector<float> silence(3000, 0.0F);
  EXPECT_EQ(enhancer_->run(silence), silence);
}

INSTANTIATE_TEST_SUITE_P(Enhancer, EveryMethod, testing::ValuesIn(enhancement_methods()), [](const auto& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

}  // namespace
}  // namespace kivsr::tools::test
