// The fixed banks of the advanced front end, the bank for 32-bit spectra, the mel scale and padding.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

#include "frontend/mel_bank_api.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

// --- advanced front end -----------------------------------------------------------

double mel(double f) { return 2595 * std::log(1 + f / 700); }
double hertz(double m) { return 700 * (std::exp(m / 2595) - 1); }

std::vector<Kiv32s> centres_of(double low, int steps, int filters) {
  std::vector<Kiv32s> c;
  for (int i = 0; i <= steps; ++i) {
    c.push_back(static_cast<Kiv32s>(std::lround(hertz(mel(low) + i * (mel(4000) - mel(low)) / steps) * 128 / 8000)));
  }
  if (steps < filters) {  // from bin 0, and to the last bin twice
    c.insert(c.begin(), 0);
    c.push_back(64);
  }
  return c;
}

// The normalised triangle over c[0] .. c[2].
std::vector<double> triangle(const Kiv32s* c) {
  std::vector<double> weights;
  double sum = 0;
  for (Kiv32s j = c[0]; j <= c[2]; ++j) {
    const double rise = c[1] == c[0] ? 1.0 : static_cast<double>(j - c[0]) / (c[1] - c[0]);
    const double fall = c[2] == c[1] ? 1.0 : static_cast<double>(c[2] - j) / (c[2] - c[1]);
    weights.push_back(std::min(rise, fall));
    sum += weights.back();
  }
  for (double& w : weights) w /= sum;
  return weights;
}

template <class A>
void check_aurora(typename A::Bank* bank, const std::vector<Kiv32s>& centres, int filters) {
  std::vector<Kiv32s> c(static_cast<std::size_t>(filters) + 2);
  ASSERT_EQ(A::get_centres(bank, c.data()), kivStatusOk);
  expect_exact(c, centres);
  for (int i = 1; i <= filters; ++i) {
    const auto expected = triangle(c.data() + i - 1);
    Guarded<float> weights(expected.size());
    ASSERT_EQ(A::get_coeffs(bank, i, weights.data()), kivStatusOk);
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_NEAR(weights[k], expected[k], A::kFixed ? 2.0 / 16384 : 1e-7) << i << " " << k;
    }
    double sum = 0;
    for (float w : weights) sum += w;
    EXPECT_NEAR(sum, 1.0, A::kFixed ? static_cast<double>(weights.size()) / 16384 : 1e-6);
    EXPECT_LE(sum, 1.0 + 1e-6);
  }
  const Guarded<typename A::Source> src(std::vector<typename A::Source>(65, 1000));
  Guarded<typename A::Result> bands(static_cast<std::size_t>(filters));
  ASSERT_EQ(A::evaluate(src.data(), bands.data(), bank), kivStatusOk);
  EXPECT_EQ(A::evaluate(src.data(), bands.data(), static_cast<typename A::Bank*>(nullptr)), kivStatusNullPointer);
}

template <class A>
void check_both_makes(KivStatus (*get_size)(int*), KivStatus (*init)(typename A::Bank*),
                      KivStatus (*init_alloc)(typename A::Bank**), const std::vector<Kiv32s>& centres, int filters) {
  typename A::Bank* bank = nullptr;
  ASSERT_EQ(init_alloc(&bank), kivStatusOk);
  check_aurora<A>(bank, centres, filters);
  EXPECT_EQ(A::free_bank(bank), kivStatusOk);
  int size = 0;
  ASSERT_EQ(get_size(&size), kivStatusOk);
  Guarded<Kiv8u> memory((static_cast<std::size_t>(size) + 7) / 8 * 8);
  auto* const placed = reinterpret_cast<typename A::Bank*>(memory.data());
  ASSERT_EQ(init(placed), kivStatusOk);
  check_aurora<A>(placed, centres, filters);
  EXPECT_EQ(get_size(nullptr), kivStatusNullPointer);
  EXPECT_EQ(init(nullptr), kivStatusNullPointer);
  EXPECT_EQ(init_alloc(nullptr), kivStatusNullPointer);
}

template <class A>
class AuroraBank : public ::testing::Test {};
using Banks = ::testing::Types<FloatBank, FixedBank>;
TYPED_TEST_SUITE(AuroraBank, Banks);

TYPED_TEST(AuroraBank, LowBandHasTwentyFiveNormalisedTriangles) {
  using A = TypeParam;
  const auto centres = centres_of(1, 24, 25);
  const Kiv32s first[] = {0, 0, 1, 2, 3, 4, 5, 7, 8, 10};
  EXPECT_TRUE(std::equal(first, first + 10, centres.begin())) << "reference";
  check_both_makes<A>(A::low_aurora_size, A::low_aurora_init, A::low_aurora, centres, 25);
}
TYPED_TEST(AuroraBank, HighBandHasThree) {
  using A = TypeParam;
  check_both_makes<A>(A::high_aurora_size, A::high_aurora_init, A::high_aurora, centres_of(80, 4, 3), 3);
}

// --- 32-bit spectra ---------------------------------------------------------------

constexpr Kiv32s kQ16 = 1 << 16;

struct LongBank {
  explicit LongBank(int window, int filters, Kiv32s sampling, Kiv32s low, Kiv32s high, std::size_t start = 0)
      : c(static_cast<std::size_t>(filters) + 2) {
    int size = 0;
    EXPECT_EQ(kivsMelFBankGetSize_32s(window, filters, 2, &size), kivStatusOk);
    memory.assign(static_cast<std::size_t>(size) + 96, 0xA5);
    const std::size_t begin = (32 - reinterpret_cast<std::uintptr_t>(memory.data()) % 32) % 32 + start;
    bank = reinterpret_cast<KivsFBankState_32s*>(memory.data() + begin);
    EXPECT_EQ(kivsMelFBankInit_32s(bank, &order, window, sampling, low, high, filters, 1127 * kQ16, 700 * kQ16, 2),
              kivStatusOk);
    const auto guard = memory.begin() + static_cast<std::ptrdiff_t>(begin) + size;
    EXPECT_TRUE(std::all_of(guard, memory.end(), [](Kiv8u b) { return b == 0xA5; }));
    const int half = 1 << (order - 1);
    const double mel_low = std::log(1 + low / 700.0);
    const double mel_high = std::log(1 + high / 700.0);
    for (int i = 0; i < filters + 2; ++i) {
      const double f = 700 * (std::exp(mel_low + i * (mel_high - mel_low) / (filters + 1)) - 1);
      c[static_cast<std::size_t>(i)] = static_cast<Kiv32s>(std::min(std::lround(f * 2 * half / sampling), long{half}));
    }
  }
  // The sum of filter i, exact up to 64 bits.
  long double sum(std::size_t i, const Kiv32s* x) const {
    long double total = 0;
    const auto add = [&](Kiv32s j, Kiv64s numerator, Kiv64s denominator) {
      total += static_cast<long double>(((numerator << 30) / denominator * x[j]) >> 8);
    };
    for (Kiv32s j = c[i - 1]; j <= c[i]; ++j) add(j, j - c[i - 1] + 1, c[i] - c[i - 1] + 1);
    for (Kiv32s j = c[i] + 1; j <= c[i + 1]; ++j) add(j, c[i + 1] + 1 - j, c[i + 1] - c[i] + 1);
    return total;
  }
  std::vector<Kiv8u> memory;
  KivsFBankState_32s* bank;
  int order = 0;
  std::vector<Kiv32s> c;
};

TEST(LongBankTest, EvaluationMatchesWideArithmetic) {
  Random random(21);
  for (std::size_t start = 0; start < 32; start += sizeof(void*)) {
    for (const LongBank& b : {LongBank(256, 23, 8000, 64, 4000, start), LongBank(33, 32, 8000, 0, 4000, start),
                              LongBank(1000, 40, 16000, 100, 24000, start), LongBank(8192, 1, 48000, 0, 24000)}) {
      const auto bins = static_cast<std::size_t>((1 << (b.order - 1)) + 1);
      const auto filters = b.c.size() - 2;
      for (int regime : {0, 1, 2}) {
        std::vector<Kiv32s> values(bins);
        for (Kiv32s& x : values) x = random.extreme<Kiv32s>(regime);
        const Guarded<Kiv32s> src(values);
        Guarded<Kiv32s> dst(filters);
        for (int scale_factor : {-31, -30, -9, -1, 0, 1, 5, 30, 31}) {
          ASSERT_EQ(kivsEvalFBank_32s_Sfs(src.data(), dst.data(), b.bank, scale_factor), kivStatusOk);
          for (std::size_t i = 1; i <= filters; ++i) {
            const long double sum = std::clamp(b.sum(i, values.data()), -0x1p63L, 0x1p63L - 1);
            const long double scaled = std::floor(std::ldexp(sum, -scale_factor));
            const long double expected =
                std::clamp<long double>(std::floor(std::ldexp(scaled, -22) + 0.5L), INT32_MIN, INT32_MAX);
            ASSERT_EQ(dst[i - 1], static_cast<Kiv32s>(expected)) << i << " scale factor " << scale_factor;
          }
        }
      }
    }
  }
}

TEST(LongBankTest, ChecksInOrder) {
  int size = -1;
  int order = -1;
  EXPECT_EQ(kivsMelFBankGetSize_32s(0, 0, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsMelFBankGetSize_32s(256, 0, 1, &size), kivStatusBadSize);
  EXPECT_EQ(kivsMelFBankGetSize_32s(31, 1, 1, &size), kivStatusBadSize);
  EXPECT_EQ(kivsMelFBankGetSize_32s(8193, 1, 1, &size), kivStatusBadSize);
  EXPECT_EQ(kivsMelFBankGetSize_32s(256, 129, 1, &size), kivStatusBadMelMode);
  EXPECT_EQ(kivsMelFBankGetSize_32s(256, 129, 2, &size), kivStatusBadSize);
  EXPECT_EQ(size, -1);
  std::vector<Kiv8u> memory(1 << 20);
  auto* const bank = reinterpret_cast<KivsFBankState_32s*>(memory.data());
  const Kiv32s mul = 1127 * kQ16;
  const Kiv32s div = 700 * kQ16;
  struct Case {
    int window, filters;
    Kiv32s sampling, low, high, multiplier, divisor, mode;
    KivStatus expected;
  };
  for (const Case& c : std::vector<Case>{{256, 0, 0, -1, 0, 0, 0, 1, kivStatusBadSize},
                                         {256, 5, 8000, 0, 0, mul, div, 1, kivStatusBadSize},
                                         {31, 5, 8000, 0, 4000, mul, div, 1, kivStatusBadSize},
                                         {256, 5, 0, -1, 4000, mul, div, 6, kivStatusBadMelMode},
                                         {256, 5, 48001, 4000, 4000, mul, div, 2, kivStatusBadSize},
                                         {256, 5, 8000, -1, 4000, 0, 0, 2, kivStatusBadSize},
                                         {256, 5, 8000, 4000, 4000, 0, 0, 2, kivStatusBadFreqRange},
                                         {256, 5, 8000, 0, 24001, 0, 0, 2, kivStatusBadFreqRange},
                                         {256, 200, 8000, 0, 4000, mul, 524288, 2, kivStatusBadArgument},
                                         {256, 200, 8000, 0, 4000, mul, 268435456, 2, kivStatusBadArgument},
                                         {256, 200, 8000, 0, 4000, 524288, div, 2, kivStatusBadArgument},
                                         {256, 200, 8000, 0, 4000, 1073741824, div, 2, kivStatusBadArgument},
                                         {256, 130, 8000, 0, 4000, mul, div, 2, kivStatusBadSize}}) {
    EXPECT_EQ(kivsMelFBankInit_32s(bank, &order, c.window, c.sampling, c.low, c.high, c.filters, c.multiplier,
                                   c.divisor, c.mode),
              c.expected);
  }
  EXPECT_EQ(order, -1);
  EXPECT_EQ(kivsMelFBankInit_32s(bank, nullptr, 0, 0, 0, 0, 0, 0, 0, 0), kivStatusNullPointer);
  ASSERT_EQ(kivsMelFBankInit_32s(bank, &order, 256, 8000, 0, 4000, 129, mul, div, 2), kivStatusOk);
  EXPECT_EQ(order, 8);
  Kiv32s x[129] = {};
  EXPECT_EQ(kivsEvalFBank_32s_Sfs(x, nullptr, bank, 40), kivStatusNullPointer);
  EXPECT_EQ(kivsEvalFBank_32s_Sfs(x, x, bank, 32), kivStatusBadArgument);
  EXPECT_EQ(kivsEvalFBank_32s_Sfs(x, x, bank, -32), kivStatusBadArgument);
}

// --- mel scale and padding ----------------------------------------------------------

TEST(MelScale, ConvertsBothWays) {
  Random random(22);
  const auto src = random.values<float>(100, 0, 24000);
  std::vector<float> mels(100);
  std::vector<float> back(100);
  for (const auto& [multiplier, divisor] :
       std::vector<std::pair<float, float>>{{2595, 700}, {1127, 700}, {0.37F, 3.1F}}) {
    ASSERT_EQ(kivsLinearToMel_32f(src.data(), mels.data(), 100, multiplier, divisor), kivStatusOk);
    ASSERT_EQ(kivsMelToLinear_32f(mels.data(), back.data(), 100, multiplier, divisor), kivStatusOk);
    for (std::size_t i = 0; i < src.size(); ++i) {
      const double m = multiplier * std::log1p(static_cast<double>(src[i]) / divisor);
      EXPECT_TRUE(within_units(mels[i], m, 1));
      EXPECT_TRUE(within_units(back[i], divisor * std::expm1(mels[i] / static_cast<double>(multiplier)), 1));
    }
  }
  // Outside of the scale: a NaN or an infinity, and no other trace.
  const float odd[] = {-512, -1000, 1e9F};
  float results[3];
  errno = 0;
  EXPECT_EQ(kivsLinearToMel_32f(odd, results, 2, 2595, 512), kivStatusOk);
  EXPECT_EQ(results[0], -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(std::isnan(results[1]));
  EXPECT_EQ(kivsMelToLinear_32f(odd + 2, results, 1, 2595, 700), kivStatusOk);
  EXPECT_EQ(results[0], std::numeric_limits<float>::infinity());
  EXPECT_EQ(errno, 0);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (auto convert : {kivsLinearToMel_32f, kivsMelToLinear_32f}) {
    EXPECT_EQ(convert(nullptr, results, 0, 0, 0), kivStatusNullPointer);
    EXPECT_EQ(convert(odd, nullptr, 1, 1, 1), kivStatusNullPointer);
    EXPECT_EQ(convert(odd, results, 0, 1, 1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, 0, 1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, 1, -1), kivStatusBadSize);
    EXPECT_EQ(convert(odd, results, 1, nan, 1), kivStatusOk);
  }
}

template <class T>
void check_padding(KivStatus (*pad)(const T*, int, T*, int)) {
  const Guarded<T> src(std::vector<T>{1, 2, 3});
  Guarded<T> dst(7);
  EXPECT_EQ(pad(src.data(), 3, dst.data(), 2), kivStatusBadSize);
  EXPECT_EQ(pad(src.data(), 0, dst.data(), 7), kivStatusBadSize);
  EXPECT_EQ(pad(nullptr, 0, dst.data(), 7), kivStatusNullPointer);
  EXPECT_EQ(pad(src.data(), 3, dst.data(), 7), kivStatusOk);
  expect_exact(dst, std::vector<T>{1, 2, 3, 0, 0, 0, 0});
}
TEST(Padding, AppendsZeros) {
  check_padding(kivsCopyWithPadding_32f);
  check_padding(kivsCopyWithPadding_16s);
}

}  // namespace
}  // namespace kivsr::test
