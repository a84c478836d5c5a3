// Real DFT of columns: the definition in extended precision, single bins, objects and statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/columns.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

using Spec = KivsDFTColumnsSpec_R_32f;

std::vector<double> magnitudes(const std::vector<float>& x) {
  const std::size_t n = x.size();
  std::vector<std::complex<long double>> roots;
  for (std::size_t e = 0; e < n; ++e) {
    roots.push_back(std::polar(1.0L, -2 * std::numbers::pi_v<long double> * static_cast<long double>(e) / n));
  }
  std::vector<double> result;
  for (std::size_t k = 0; k <= n / 2; ++k) {
    std::complex<long double> sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += roots[k * i % n] * (long double){x[i]};
    result.push_back(static_cast<double>(std::abs(sum)));
  }
  return result;
}

// An object in caller memory, each block of exactly the reported size, so many bytes in front of an unreadable page.
class Placed {
 public:
  Placed(int length, int flag, int behind = 0) {
    int sizes[3] = {};
    EXPECT_EQ(kivsDFTColumnsGetSize_R_32f(length, flag, &sizes[0], &sizes[1], &sizes[2]), kivStatusOk) << length;
    const auto block = [behind](int bytes) {
      return std::make_unique<Guarded<Kiv8u>>(static_cast<std::size_t>(bytes + behind));
    };
    object_ = block(sizes[0]);
    work_ = block(sizes[2]);
    const auto temporary = block(sizes[1]);
    EXPECT_EQ(kivsDFTColumnsInit_R_32f(&spec, length, flag, object_->data(), temporary->data()), kivStatusOk);
    int reported = -1;
    EXPECT_EQ(kivsDFTColumnsGetBufSize_R_32f(spec, &reported), kivStatusOk);
    EXPECT_EQ(reported, sizes[2]);
  }
  Kiv8u* buffer() { return work_->data(); }
  Spec* spec = nullptr;

 private:
  std::unique_ptr<Guarded<Kiv8u>> object_, work_;
};

// Every radix, one pass and many, odd lengths, and those that are transformed one by one.
const std::vector<int> kLengths = {1,   2,   3,   4,   5,   6,    8,    9,    10,   12,  15,  16,  18,
                                   20,  24,  25,  27,  30,  32,   36,   40,   45,   48,  50,  64,  75,
                                   96,  100, 125, 128, 135, 160,  192,  200,  225,  240, 256, 320, 400,
                                   405, 480, 512, 600, 625, 1000, 1024, 1125, 2048, 2400};

TEST(DftColumns, AgreeWithTheDefinition) {
  Random random(5);
  int next = 0;
  for (const int n : kLengths) {
    const int flag = std::vector{kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt, kivFftScaleNone}[++next % 4];
    const double factor = flag == kivFftScaleForward ? 1.0 / n : flag == kivFftScaleSqrt ? std::sqrt(1.0 / n) : 1.0;
    SCOPED_TRACE(::testing::Message() << "length " << n << " flag " << flag);
    Placed dft(n, flag, next % 32);
    std::vector<std::vector<float>> signals;
    for (int c = n > 1000 ? 8 : 0; c < 9; ++c) {
      signals.push_back(random.values<float>(static_cast<std::size_t>(n), -std::exp(c), std::exp(c)));
    }
    const std::size_t rows = static_cast<std::size_t>(n) / 2 + 1;
    const auto power = results_side_by_side(signals, rows, [&](const float* src, float* dst, int columns) {
      return kivsDFTColumnsPower_R_32f(src, dst, columns, dft.spec, dft.buffer());
    });
    const auto magnitude = results_side_by_side(signals, rows, [&](const float* src, float* dst, int columns) {
      return kivsDFTColumnsMagnitude_R_32f(src, dst, columns, dft.spec, nullptr);
    });
    for (std::size_t c = 0; c < signals.size(); ++c) {
      double error = 0, whole = 0;
      const auto truth = magnitudes(signals[c]);
      for (std::size_t k = 0; k < rows; ++k) {
        const double wanted = factor * truth[k];
        error += std::pow(magnitude[c][k] - wanted, 2);
        whole += wanted * wanted;
        ASSERT_TRUE(within_units(magnitude[c][k], std::sqrt(static_cast<double>(power[c][k])), 1.0));
      }
      ASSERT_LE(std::sqrt(error / whole), 2e-7 * std::sqrt(std::max(std::log2(n), 1.0))) << "signal " << c;
    }
  }
}

// One wave at a time: a wrong factor in one place of a table shows in full, not averaged over the spectrum.
TEST(DftColumns, OfAWaveHaveOneBin) {
  for (const int n : {3, 6, 15, 48, 60, 90, 160, 400, 512}) {
    Placed dft(n, kivFftScaleForward);
    std::vector<std::vector<float>> waves;
    for (int k = 0; k <= n / 2; ++k) {
      waves.emplace_back();
      for (int i = 0; i < n; ++i) {
        waves.back().push_back(static_cast<float>(std::cos(2 * std::numbers::pi * (k * i % n) / n)));
      }
    }
    const std::vector<float> samples = side_by_side(waves);
    std::vector<float> bins(waves.size() * waves.size());
    ASSERT_EQ(kivsDFTColumnsMagnitude_R_32f(samples.data(), bins.data(), static_cast<int>(waves.size()), dft.spec,
                                            dft.buffer()),
              kivStatusOk);
    for (std::size_t k = 0; k < waves.size(); ++k) {
      const bool alone = k == 0 || 2 * k == static_cast<std::size_t>(n);
      for (std::size_t bin = 0; bin < waves.size(); ++bin) {
        ASSERT_NEAR(bins[bin * waves.size() + k],
                    bin != k ? 0.0
                    : alone  ? 1.0
                             : 0.5,
                    2e-7)
            << n << " " << k << " " << bin;
      }
    }
  }
}

TEST(DftColumns, AreApart) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  for (const int n : {30, 2048}) {
    Placed dft(n, kivFftScaleNone);
    Random random(7);
    std::vector<std::vector<float>> signals;
    for (int c = 0; c < 5; ++c) signals.push_back(random.values<float>(static_cast<std::size_t>(n), -1, 1));
    const std::size_t rows = static_cast<std::size_t>(n) / 2 + 1;
    const auto power = [&](const float* src, float* dst, int columns) {
      return kivsDFTColumnsPower_R_32f(src, dst, columns, dft.spec, dft.buffer());
    };
    const auto before = results_side_by_side(signals, rows, power);
    signals[2][7] = kNan;
    const auto after = results_side_by_side(signals, rows, power);
    for (const std::size_t c : {0U, 1U, 3U, 4U}) expect_exact(after[c], before[c]);
    EXPECT_TRUE(std::isnan(after[2][0]));
  }
}

TEST(DftColumns, StatusesOfObjects) {
  int sizes[3] = {-5, -5, -5};
  for (const int length : {0, -4, 7, 14, 11, 26, (1 << 28) + 1, 2147483647}) {
    EXPECT_EQ(kivsDFTColumnsGetSize_R_32f(length, 3, nullptr, nullptr, nullptr), kivStatusBadSize) << length;
  }
  EXPECT_EQ(kivsDFTColumnsGetSize_R_32f(15, 3, &sizes[0], nullptr, &sizes[2]), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsGetSize_R_32f(15, 3, &sizes[0], &sizes[1], &sizes[2]), kivStatusFftFlagError);
  EXPECT_EQ(kivsDFTColumnsGetSize_R_32f(1 << 28, 8, &sizes[0], &sizes[1], &sizes[2]), kivStatusBadSize);
  EXPECT_EQ(sizes[0], -5);

  std::vector<Kiv8u> memory(1 << 16, 0xA5);
  auto* const untouched = reinterpret_cast<Spec*>(&sizes);
  Spec* spec = untouched;
  EXPECT_EQ(kivsDFTColumnsInit_R_32f(nullptr, 7, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsInit_R_32f(&spec, 7, 0, nullptr, nullptr), kivStatusBadSize);
  EXPECT_EQ(kivsDFTColumnsInit_R_32f(&spec, 2048, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsInit_R_32f(&spec, 2048, 0, memory.data(), nullptr), kivStatusFftFlagError);
  EXPECT_EQ(kivsDFTColumnsInit_R_32f(&spec, 2048, 8, memory.data(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsInitAlloc_R_32f(nullptr, 7, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsInitAlloc_R_32f(&spec, 7, 0), kivStatusBadSize);
  EXPECT_EQ(kivsDFTColumnsInitAlloc_R_32f(&spec, 12, 16), kivStatusFftFlagError);
  EXPECT_EQ(spec, untouched);
  EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), static_cast<std::ptrdiff_t>(memory.size()));

  for (const int length : {45, 400, 2048}) {
    expect_survives_failed_allocations([&] {
      spec = untouched;
      const KivStatus status = kivsDFTColumnsInitAlloc_R_32f(&spec, length, 8);
      if (status == kivStatusOk) return kivsDFTColumnsFree_R_32f(spec);
      EXPECT_EQ(spec, untouched);
      return status;
    });
  }
  EXPECT_EQ(kivsDFTColumnsFree_R_32f(nullptr), kivStatusNullPointer);
  Placed dft(15, kivFftScaleNone);
  sizes[0] = -5;
  EXPECT_EQ(kivsDFTColumnsGetBufSize_R_32f(nullptr, &sizes[0]), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTColumnsGetBufSize_R_32f(dft.spec, nullptr), kivStatusNullPointer);
  const Kiv32s foreign[60] = {6};
  auto* const other = reinterpret_cast<Spec*>(const_cast<Kiv32s*>(foreign));
  EXPECT_EQ(kivsDFTColumnsGetBufSize_R_32f(other, &sizes[0]), kivStatusContextMismatch);
  EXPECT_EQ(kivsDFTColumnsFree_R_32f(other), kivStatusContextMismatch);
  EXPECT_EQ(sizes[0], -5);
}

TEST(DftColumns, StatusesOfTransforms) {
  const Kiv32s foreign[60] = {6};
  const auto* const other = reinterpret_cast<const Spec*>(foreign);
  for (const int length : {15, 80, 2048}) {
    Placed dft(length, kivFftScaleNone);
    const std::vector<float> a(static_cast<std::size_t>(length), 1.0F);
    std::vector<float> b(static_cast<std::size_t>(length) / 2 + 1, 7.0F);
    const std::vector<float> before = b;
    for (const auto call : {kivsDFTColumnsPower_R_32f, kivsDFTColumnsMagnitude_R_32f}) {
      EXPECT_EQ(call(nullptr, b.data(), 0, nullptr, nullptr), kivStatusNullPointer);
      EXPECT_EQ(call(nullptr, b.data(), 0, other, nullptr), kivStatusContextMismatch);
      EXPECT_EQ(call(nullptr, b.data(), 0, dft.spec, nullptr), kivStatusNullPointer);
      EXPECT_EQ(call(a.data(), nullptr, 0, dft.spec, nullptr), kivStatusNullPointer);
      EXPECT_EQ(call(a.data(), b.data(), 0, dft.spec, nullptr), kivStatusBadSize);
      {
        const AllocationWatch watch(1);
        EXPECT_EQ(call(a.data(), b.data(), 1, dft.spec, nullptr), kivStatusNoMemory);
      }
      expect_exact(b, before);
      std::vector<float> c(b.size());
      const AllocationWatch watch(1);
      EXPECT_EQ(call(a.data(), c.data(), 1, dft.spec, dft.buffer()), kivStatusOk);
    }
  }
}

}  // namespace
}  // namespace kivsr::test
