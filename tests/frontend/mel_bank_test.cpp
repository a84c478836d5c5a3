// Float and 16-bit mel filter banks: design, access, memory. Next: mel_bank_evaluation_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "frontend/mel_bank_api.h"
#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

struct Description {
  int window;
  float sampling, low, high;
  int filters;
  float multiplier, divisor;
  int order;
};
const std::vector<Description> kDescriptions = {
    {256, 8000, 64, 4000, 23, 1127, 700, 8}, {400, 16000, 133.3334F, 6855.4976F, 40, 2595, 700, 9},
    {512, 16000, 20, 8000, 1, 2595, 700, 9}, {200, 8000, 300, 300, 3, 1127, 700, 8},
    {3, 8000, 1, 4000, 4, 1127, 1000, 2},    {1, 8000, 500, 4000, 2, 1127, 700, 1},
    {64, 8000, 10, 4000, 60, 1127, 700, 6}};

double mel(const Description& d, double f) { return d.multiplier * std::log(1 + f / d.divisor); }
double hertz(const Description& d, double m) { return d.divisor * (std::exp(m / d.multiplier) - 1); }

// Mel values of the edges; the first `linear` steps are equal in hertz.
std::vector<float> edges_of(const Description& d, int linear = 0, double linear_high = 0) {
  std::vector<float> m(static_cast<std::size_t>(d.filters) + 2);
  const double low = static_cast<float>(mel(d, linear > 0 ? linear_high : d.low));
  const double high = static_cast<float>(mel(d, d.high));
  const double linear_step = (linear_high - d.low) / (linear == d.filters ? d.filters + 1 : linear);
  for (int i = 0; i < d.filters + 2; ++i) {
    const bool in_hertz = linear == d.filters || i < linear;
    const double value =
        in_hertz ? mel(d, d.low + i * linear_step) : low + (i - linear) * (high - low) / (d.filters - linear + 1);
    m[static_cast<std::size_t>(i)] = static_cast<float>(value);
  }
  return m;
}

// Positions within rounding of a boundary may fall on either side.
void expect_bin(Kiv32s actual, double position, bool truncates, int index) {
  const auto bin = [&](double p) { return static_cast<Kiv32s>(truncates ? std::floor(p) : std::nearbyint(p)); };
  const double slack = 1e-5 * (1 + position);
  EXPECT_GE(actual, bin(std::max(position - slack, 0.0))) << index;
  EXPECT_LE(actual, bin(position + slack)) << index;
}

// The weights of filter i over c[i-1] .. c[i+1] by the definition of the mode.
std::vector<double> weights_of(const Description& d, const std::vector<float>& m, const std::vector<Kiv32s>& c,
                               std::size_t i, Kiv32s mode) {
  std::vector<double> weights;
  const double bin_width = d.sampling / (1 << d.order);
  for (Kiv32s j = c[i - 1]; j <= c[i + 1]; ++j) {
    const double mel_of_bin = mel(d, j * bin_width);
    if ((mode & KIV_FBANK_MELWEIGHT) != 0) {
      weights.push_back(j > c[i]       ? (m[i + 1] - mel_of_bin) / (m[i + 1] - m[i])
                        : j > c[i - 1] ? (mel_of_bin - m[i - 1]) / (m[i] - m[i - 1])
                                       : 0.0);
    } else {
      weights.push_back(j > c[i] ? (c[i + 1] + 1.0 - j) / (c[i + 1] - c[i] + 1)
                                 : (j - c[i - 1] + 1.0) / (c[i] - c[i - 1] + 1));
    }
  }
  return weights;
}

template <class A>
void check_design(typename A::Bank& bank, const Description& d, const std::vector<float>& m, Kiv32s mode) {
  std::vector<Kiv32s> c(m.size());
  ASSERT_EQ(A::get_centres(&bank, c.data()), kivStatusOk);
  for (std::size_t i = 0; i < c.size(); ++i) {
    expect_bin(c[i], hertz(d, m[i]) * (1 << d.order) / d.sampling, (mode & KIV_FBANK_MELWEIGHT) != 0,
               static_cast<int>(i));
  }
  for (std::size_t i = 1; i + 1 < c.size(); ++i) {
    const auto expected = weights_of(d, m, c, i, mode);
    Guarded<float> actual(expected.size());
    ASSERT_EQ(A::get_coeffs(&bank, static_cast<int>(i), actual.data()), kivStatusOk);
    for (std::size_t k = 0; k < expected.size(); ++k) {
      if (A::kFixed) {
        ASSERT_NEAR(actual[k], std::floor((expected[k] + 1e-9) * 16384) / 16384,
                    (mode & KIV_FBANK_MELWEIGHT) != 0 ? 1.1 / 16384 : 0);
      } else {
        ASSERT_NEAR(actual[k], expected[k], 4e-6) << i << " " << k;
      }
    }
  }
  // The row behind the last filter.
  Guarded<float> last(static_cast<std::size_t>(c[c.size() - 1] - c[c.size() - 2] + 1));
  ASSERT_EQ(A::get_coeffs(&bank, d.filters + 1, last.data()), kivStatusOk);
  expect_exact(last, std::vector<float>(last.size(), 0.0F));
  EXPECT_EQ(A::get_coeffs(&bank, d.filters + 2, last.data()), kivStatusBadSize);
  EXPECT_EQ(A::set_coeffs(&bank, d.filters + 1, last.data()), kivStatusBadSize);
}

template <class A>
class MelBank : public ::testing::Test {};
using Banks = ::testing::Types<FloatBank, FixedBank>;
TYPED_TEST_SUITE(MelBank, Banks);

TYPED_TEST(MelBank, CentresAndWeightsFollowTheirDefinition) {
  using A = TypeParam;
  using Bank = typename A::Bank;
  for (const auto& d : kDescriptions) {
    for (Kiv32s mode : {1, 2, 5, 6}) {
      SCOPED_TRACE(std::to_string(d.window) + " mode " + std::to_string(mode));
      Bank* bank = nullptr;
      int order = 0;
      ASSERT_EQ(
          A::init_alloc(&bank, &order, d.window, d.sampling, d.low, d.high, d.filters, d.multiplier, d.divisor, mode),
          kivStatusOk);
      EXPECT_EQ(order, d.order);
      check_design<A>(*bank, d, edges_of(d), mode);
      for (int linear : {1, d.filters / 2, d.filters}) {
        if (linear < 1) continue;
        const float linear_high = 0.5F * (d.low + d.high);
        Bank* mixed = nullptr;
        ASSERT_EQ(A::mel_lin(&mixed, &order, d.window, d.sampling, d.low, d.high, d.filters, linear_high, linear,
                             d.multiplier, d.divisor, mode),
                  kivStatusOk);
        check_design<A>(*mixed, d, edges_of(d, linear, linear_high), mode);
        A::free_bank(mixed);
      }
      A::free_bank(bank);
    }
  }
}

// Whether each filter of a bank weighs nothing, and that its edges tell.
std::vector<bool> empty_filters(const Description& d, Kiv32s mode) {
  KivsFBankState_32f* bank = nullptr;
  int order = 0;
  EXPECT_EQ(kivsMelFBankInitAlloc_32f(&bank, &order, d.window, d.sampling, d.low, d.high, d.filters, d.multiplier,
                                      d.divisor, mode),
            kivStatusOk);
  const std::vector<float> flat(static_cast<std::size_t>(1 << order) / 2 + 1, 1.0F);
  std::vector<float> bands(static_cast<std::size_t>(d.filters));
  std::vector<Kiv32s> c(bands.size() + 2);
  EXPECT_EQ(kivsEvalFBank_32f(flat.data(), bands.data(), bank), kivStatusOk);
  EXPECT_EQ(kivsFBankGetCenters_32f(bank, c.data()), kivStatusOk);
  EXPECT_EQ(c[0] == 0, mode == KIV_FBANK_MELWEIGHT ? d.low < d.sampling / static_cast<float>(1 << order)
                                                   : d.low <= 0.5F * d.sampling / static_cast<float>(1 << order));
  std::vector<bool> empty;
  for (std::size_t i = 0; i < bands.size(); ++i) {
    empty.push_back(bands[i] == 0.0F);
    if (mode == KIV_FBANK_MELWEIGHT) {
      EXPECT_EQ(empty[i], c[i] == c[i + 2]) << d.window << " filter " << i + 1;
    }
  }
  EXPECT_EQ(kivsFBankFree_32f(bank), kivStatusOk);
  return empty;
}

TEST(MelBankFilters, AreEmptyOnlyWhereTwoStepsStayWithinABin) {
  int with_empty_filters = 0;
  for (const int window : {32, 64, 128, 256, 512}) {
    for (const int filters : {5, 20, 23, 40, 60, 80}) {
      for (const float low : {1.0F, 31.0F, 64.0F, 300.0F}) {
        const Description d{window, 8000, low, 4000, filters, 1127, 700, 0};
        const auto empty = empty_filters(d, KIV_FBANK_MELWEIGHT);
        const bool any = std::find(empty.begin(), empty.end(), true) != empty.end();
        with_empty_filters += any ? 1 : 0;
        const double step = (mel(d, d.high) - mel(d, low)) / (filters + 1);
        const double reach = (low + d.divisor) * (std::exp(2 * step / d.multiplier) - 1);
        if (reach >= static_cast<double>(d.sampling) / window) {
          EXPECT_FALSE(any) << window << " " << filters;
        }
        const auto never = empty_filters(d, KIV_FBANK_BINWEIGHT);
        EXPECT_EQ(std::count(never.begin(), never.end(), true), 0);
      }
    }
  }
  EXPECT_GT(with_empty_filters, 10);
}

TYPED_TEST(MelBank, DesignIgnoresTheRoundingMode) {
  using A = TypeParam;
  for (const auto& d : kDescriptions) {
    for (Kiv32s mode : {1, 2}) {
      const auto designs = under_rounding_modes([&] {
        typename A::Bank* bank = nullptr;
        int order;
        A::init_alloc(&bank, &order, d.window, d.sampling, d.low, d.high, d.filters, d.multiplier, d.divisor, mode);
        std::vector<Kiv32s> centres(static_cast<std::size_t>(d.filters) + 2);
        A::get_centres(bank, centres.data());
        std::vector<float> weights(static_cast<std::size_t>(2 << order));
        A::get_coeffs(bank, d.filters, weights.data());
        A::free_bank(bank);
        return std::pair(centres, weights);
      });
      for (const auto& design : designs) EXPECT_EQ(design, designs[0]);
    }
  }
}

// A bank in the caller's memory holds and computes the same at every start, and stays inside its block.
TYPED_TEST(MelBank, PlacedBanksEqualAllocatedOnes) {
  using A = TypeParam;
  using Bank = typename A::Bank;
  Random random(7);
  for (const auto& d : kDescriptions) {
    for (Kiv32s mode : {1, 2, 5, 6}) {
      const int fft_length = 1 << d.order;
      const Guarded<typename A::Source> src(random.values<typename A::Source>(
          static_cast<std::size_t>((mode & 4) != 0 ? fft_length : fft_length / 2 + 1), 0, 900));
      const auto count = static_cast<std::size_t>(d.filters);
      Guarded<typename A::Result> expected(count);
      Guarded<typename A::Result> actual(count);
      Bank* bank = nullptr;
      int order = 0;
      int size = 0;
      A::init_alloc(&bank, &order, d.window, d.sampling, d.low, d.high, d.filters, d.multiplier, d.divisor, mode);
      ASSERT_EQ(A::evaluate(src.data(), expected.data(), bank), kivStatusOk);
      A::free_bank(bank);
      ASSERT_EQ(A::get_size(d.window, d.filters, mode, &size), kivStatusOk);
      for (std::size_t start = 0; start < 32; start += sizeof(void*)) {
        std::vector<Kiv8u> memory(static_cast<std::size_t>(size) + 96, 0xA5);
        const std::size_t begin = (32 - reinterpret_cast<std::uintptr_t>(memory.data()) % 32) % 32 + start;
        bank = reinterpret_cast<Bank*>(memory.data() + begin);
        {
          const AllocationWatch watch;
          ASSERT_EQ(
              A::init(bank, &order, d.window, d.sampling, d.low, d.high, d.filters, d.multiplier, d.divisor, mode),
              kivStatusOk);
          ASSERT_EQ(A::evaluate(src.data(), actual.data(), bank), kivStatusOk);
          EXPECT_EQ(AllocationWatch::calls(), 0);
        }
        expect_exact(actual, expected.values());
        EXPECT_TRUE(std::all_of(memory.begin(), memory.begin() + static_cast<std::ptrdiff_t>(begin),
                                [](Kiv8u b) { return b == 0xA5; }));
        EXPECT_TRUE(std::all_of(memory.begin() + static_cast<std::ptrdiff_t>(begin) + size, memory.end(),
                                [](Kiv8u b) { return b == 0xA5; }));
      }
    }
  }
}

TYPED_TEST(MelBank, AccessChecksCentresAndRoundTripsWeights) {
  using A = TypeParam;
  using Bank = typename A::Bank;
  Bank* bank = nullptr;
  int order = -1;
  ASSERT_EQ(A::empty(&bank, &order, 30, 3, 77), kivStatusOk);
  EXPECT_EQ(order, 5);
  typename A::Source src[17] = {};
  typename A::Result dst[3];
  float coeffs[20];
  Kiv32s c[5];
  EXPECT_EQ(A::evaluate(src, dst, bank), kivStatusFBankNotReady);
  EXPECT_EQ(A::get_centres(bank, c), kivStatusFBankNotReady);
  EXPECT_EQ(A::get_coeffs(bank, 0, coeffs), kivStatusFBankNotReady);
  EXPECT_EQ(A::set_coeffs(bank, 0, coeffs), kivStatusFBankNotReady);
  for (const auto& bad : std::vector<std::vector<Kiv32s>>{
           {-1, 2, 3, 4, 5}, {0, 2, 1, 4, 5}, {3, 2, 3, 4, 5}, {0, 2, 3, 6, 5}, {0, 2, 3, 16, 17}, {0, 2, 3, 17, 16}}) {
    EXPECT_EQ(A::set_centres(bank, bad.data()), kivStatusFBankNotReady);
  }
  EXPECT_EQ(A::evaluate(src, dst, bank), kivStatusFBankNotReady);
  const std::vector<Kiv32s> centres = {0, 2, 2, 9, 16};
  ASSERT_EQ(A::set_centres(bank, centres.data()), kivStatusOk);
  ASSERT_EQ(A::get_centres(bank, c), kivStatusOk);
  expect_exact(std::vector<Kiv32s>(c, c + 5), centres);
  const std::vector<float> run = {0.5F, 1.0F, 0.25F, -1.5F, 0.125F, 0.75F, 1.25F, -0.5F};
  ASSERT_EQ(A::set_coeffs(bank, 2, run.data()), kivStatusOk);
  ASSERT_EQ(A::get_coeffs(bank, 2, coeffs), kivStatusOk);
  expect_exact(std::vector<float>(coeffs, coeffs + 8), run);
  EXPECT_EQ(A::set_coeffs(bank, 0, coeffs), kivStatusBadSize);
  EXPECT_EQ(A::get_coeffs(bank, 0, coeffs), kivStatusBadSize);
  if (A::kFixed) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float extremes[] = {131072.0F, -131072.0F, -200000.0F, nan, 0.9F / 16384, -0.9F / 16384, 131071.99F, 0.0F};
    A::set_coeffs(bank, 2, extremes);
    A::get_coeffs(bank, 2, coeffs);
    expect_exact(std::vector<float>(coeffs, coeffs + 8),
                 std::vector<float>{-131072.0F, -131072.0F, -131072.0F, -131072.0F, 0.0F, 0.0F, 131071.99F, 0.0F});
  }
  EXPECT_EQ(A::get_coeffs(nullptr, 1, coeffs), kivStatusNullPointer);
  EXPECT_EQ(A::set_coeffs(bank, 1, nullptr), kivStatusNullPointer);
  EXPECT_EQ(A::get_centres(bank, nullptr), kivStatusNullPointer);
  EXPECT_EQ(A::set_centres(nullptr, centres.data()), kivStatusNullPointer);
  EXPECT_EQ(A::evaluate(nullptr, dst, bank), kivStatusNullPointer);
  EXPECT_EQ(A::evaluate(src, nullptr, bank), kivStatusNullPointer);
  EXPECT_EQ(A::evaluate(src, dst, nullptr), kivStatusNullPointer);
  A::free_bank(bank);
  EXPECT_EQ(A::free_bank(nullptr), kivStatusNullPointer);
}

TYPED_TEST(MelBank, ChecksItsDescriptionInOrder) {
  using A = TypeParam;
  using Bank = typename A::Bank;
  struct Case {
    int window;
    float sampling, low, high;
    int filters;
    Kiv32s mode;
    KivStatus expected;
  };
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const std::vector<Case> cases = {{0, 0, 0, -1, 0, 3, kivStatusBadSize},
                                   {256, 8000, 64, 4000, 0, 1, kivStatusBadSize},
                                   {256, 0, 64, 4000, 3, 1, kivStatusBadSize},
                                   {256, 8000, 0, 4000, 3, 1, kivStatusBadSize},
                                   {256, 8000, 64, 63, 3, 3, kivStatusBadFreqRange},
                                   {256, 8000, 64, 4000.5F, 3, 0, kivStatusBadFreqRange},
                                   {256, 8000, 64, 4000, 3, 3, kivStatusBadMelMode},
                                   {256, 8000, 64, 4000, 3, 7, kivStatusBadMelMode},
                                   {256, 8000, 64, 4000, 3, 4, kivStatusBadMelMode},
                                   {256, 8000, 64, 4000, 3, 9, kivStatusBadMelMode},
                                   {256, 8000, 64, 64, 3, 1, kivStatusOk},
                                   {256, nan, nan, nan, 3, 1, kivStatusOk}};
  std::vector<Kiv8u> memory(1 << 16);
  auto* const block = reinterpret_cast<Bank*>(memory.data());
  Bank* bank = nullptr;
  for (const auto& c : cases) {
    int order = -1;
    const auto finish = [&](KivStatus status) {
      EXPECT_EQ(status, c.expected);
      EXPECT_EQ(order, c.expected == kivStatusOk ? 8 : -1);
      if (bank != nullptr) A::free_bank(bank);
      bank = nullptr;
      order = -1;
    };
    finish(A::init(block, &order, c.window, c.sampling, c.low, c.high, c.filters, 1127, 700, c.mode));
    finish(A::init_alloc(&bank, &order, c.window, c.sampling, c.low, c.high, c.filters, 1127, 700, c.mode));
    finish(A::mel_lin(&bank, &order, c.window, c.sampling, c.low, c.high, c.filters, c.high, 1, 1127, 700, c.mode));
    EXPECT_EQ(A::init(block, nullptr, 0, 0, 0, 0, 0, 1, 1, 0), kivStatusNullPointer);
    EXPECT_EQ(A::init_alloc(nullptr, &order, 0, 0, 0, 0, 0, 1, 1, 0), kivStatusNullPointer);
    EXPECT_EQ(A::mel_lin(&bank, nullptr, 0, 0, 0, 0, 0, 0, 0, 1, 1, 0), kivStatusNullPointer);
  }
}

TYPED_TEST(MelBank, ChecksItsOtherMakesInOrder) {
  using A = TypeParam;
  typename A::Bank* bank = nullptr;
  int order = -1;
  const auto mixed = [&](float linear_high, int linear, Kiv32s mode) {
    return A::mel_lin(&bank, &order, 256, 8000, 64, 4000, 5, linear_high, linear, 1127, 700, mode);
  };
  EXPECT_EQ(mixed(1000, 0, 3), kivStatusBadSize);
  EXPECT_EQ(mixed(1000, 6, 3), kivStatusBadSize);
  EXPECT_EQ(mixed(63, 2, 3), kivStatusBadFreqRange);
  EXPECT_EQ(mixed(4001, 2, 3), kivStatusBadFreqRange);
  EXPECT_EQ(A::empty(nullptr, nullptr, 0, 1, 1), kivStatusBadSize);
  EXPECT_EQ(A::empty(&bank, &order, 1, 0, 1), kivStatusBadSize);
  int size = -1;
  EXPECT_EQ(A::get_size(0, 1, 1, nullptr), kivStatusNullPointer);
  EXPECT_EQ(A::get_size(1, 0, 3, &size), kivStatusBadSize);
  EXPECT_EQ(A::get_size(1, 1, 3, &size), kivStatusBadMelMode);
  EXPECT_EQ(A::get_size(1 << 30, 10, 2, &size), kivStatusBadSize);
  EXPECT_EQ(A::get_size(INT32_MAX, INT32_MAX, 2, &size), kivStatusBadSize);
  EXPECT_EQ(A::init_alloc(&bank, &order, INT32_MAX, 8000, 64, 4000, 3, 1127, 700, 1), kivStatusNoMemory);
  EXPECT_EQ(size, -1);
  EXPECT_EQ(order, -1);
  EXPECT_EQ(bank, nullptr);
}

TYPED_TEST(MelBank, SurvivesFailedAllocations) {
  using A = TypeParam;
  using Bank = typename A::Bank;
  const auto survives = [](auto create, int at_least) {
    expect_survives_failed_allocations(
        [&] {
          Bank* bank = nullptr;
          int order = -1;
          const KivStatus status = create(&bank, &order);
          if (status == kivStatusOk) return A::free_bank(bank);
          EXPECT_EQ(bank, nullptr);
          EXPECT_EQ(order, -1);
          return status;
        },
        at_least);
  };
  survives([](auto b, auto o) { return A::init_alloc(b, o, 256, 8000, 64, 4000, 23, 1127, 700, 6); }, 6);
  survives([](auto b, auto o) { return A::init_alloc(b, o, 256, 8000, 64, 4000, 100, 1127, 700, 1); }, 5);
  survives([](auto b, auto o) { return A::mel_lin(b, o, 256, 8000, 64, 4000, 23, 500, 3, 1127, 700, 2); }, 4);
  survives([](auto b, auto o) { return A::empty(b, o, 4096, 23, 4); }, 6);
  survives([](auto b, auto) { return A::low_aurora(b); }, 4);
  survives([](auto b, auto) { return A::high_aurora(b); }, 4);
}

}  // namespace
}  // namespace kivsr::test
