// The filter bank for 32-bit integer spectra.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "kivsr.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

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

}  // namespace
}  // namespace kivsr::test
