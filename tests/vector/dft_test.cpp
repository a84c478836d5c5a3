// Real DFT of composite lengths: the definition in extended precision, single bins, objects and statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <memory>
#include <numbers>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

std::size_t spectrum_size(int n) { return static_cast<std::size_t>(n % 2 == 0 ? n + 2 : n + 1); }

// Bins 0 .. N / 2 by the definition, every root computed on its own.
std::vector<double> definition(const std::vector<float>& x) {
  const auto n = static_cast<long>(x.size());
  std::vector<std::complex<long double>> roots;
  for (long e = 0; e < n; ++e) roots.push_back(std::polar(1.0L, -2 * std::numbers::pi_v<long double> * e / n));
  std::vector<double> ccs;
  for (long k = 0; k <= n / 2; ++k) {
    std::complex<long double> sum = 0;
    for (long i = 0; i < n; ++i) sum += roots[static_cast<std::size_t>(k * i % n)] * (long double){x[i]};
    ccs.push_back(static_cast<double>(sum.real()));
    ccs.push_back(k == 0 || 2 * k == n ? 0 : static_cast<double>(sum.imag()));
  }
  return ccs;
}

double relative_error(const std::vector<float>& actual, const std::vector<double>& truth, double factor) {
  double error = 0, power = 0;
  for (std::size_t i = 0; i < truth.size(); ++i) {
    const double wanted = factor * truth[i];
    error += (actual[i] - wanted) * (actual[i] - wanted);
    power += wanted * wanted;
  }
  return std::sqrt(error / power);
}

double bound(int n) { return 2e-7 * std::sqrt(std::max(std::log2(n), 1.0)); }

// An object in caller memory, each block of exactly the reported size, so many bytes in front of an unreadable page.
class Placed {
 public:
  Placed(int length, int flag, int behind = 0) {
    int sizes[3] = {};
    EXPECT_EQ(kivsDFTGetSize_R_32f(length, flag, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusOk) << length;
    const auto block = [behind](int bytes) {
      return std::make_unique<Guarded<Kiv8u>>(static_cast<std::size_t>(bytes + behind));
    };
    object_ = block(sizes[0]);
    work_ = block(sizes[2]);
    const auto temporary = block(sizes[1]);
    EXPECT_EQ(kivsDFTInit_R_32f(&spec, length, flag, 0, object_->data(), temporary->data()), kivStatusOk) << length;
    int reported = -1;
    EXPECT_EQ(kivsDFTGetBufSize_R_32f(spec, &reported), kivStatusOk);
    EXPECT_EQ(reported, sizes[2]);
  }
  Kiv8u* buffer() { return work_->data(); }
  KivsDFTSpec_R_32f* spec = nullptr;

 private:
  std::unique_ptr<Guarded<Kiv8u>> object_, work_;
};

double factor_of(int flag, int n, int whole) {
  return flag == whole ? 1.0 / n : flag == kivFftScaleSqrt ? std::sqrt(1.0 / n) : 1.0;
}

// Every length below 200, those of speech windows, and long ones: lanes of 8, 4 and 1, every radix, one pass and many.
std::vector<int> lengths() {
  std::vector<int> result;
  for (int n = 1; n <= 2000; ++n) {
    int rest = n;
    for (const int prime : {2, 3, 5}) {
      while (rest % prime == 0) rest /= prime;
    }
    const bool usual = n == 320 || n == 400 || n == 480 || n == 512 || n == 1000 || n == 1024 || n == 1536;
    if (rest == 1 && (n < 200 || usual)) result.push_back(n);
  }
  for (const int n : {1125, 1215, 2400, 3000, 4096, 6480}) result.push_back(n);
  return result;
}

TEST(Dft, AgreesWithTheDefinition) {
  Random random;
  int next = 0;
  for (const int n : lengths()) {
    const std::vector<float> samples = random.values<float>(static_cast<std::size_t>(n), -1, 1);
    const std::vector<double> truth = definition(samples);
    for (const int flag : {kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt, kivFftScaleNone}) {
      if (n > 200 && ++next % 4 != 0) continue;
      SCOPED_TRACE(::testing::Message() << "length " << n << " flag " << flag);
      Placed dft(n, flag, next % 32);
      const Guarded<float> src(samples);
      Guarded<float> bins(spectrum_size(n));
      ASSERT_EQ(kivsDFTFwd_RToCCS_32f(src.data(), bins.data(), dft.spec, dft.buffer()), kivStatusOk);
      ASSERT_LE(relative_error(bins.values(), truth, factor_of(flag, n, kivFftScaleForward)), bound(n));
      ASSERT_TRUE(same_bits(bins[1], 0.0F));
      if (n % 2 == 0) {
        ASSERT_TRUE(same_bits(bins[bins.size() - 1], 0.0F));
      }
      // In place, with a buffer of the library's, at another alignment: the same bits.
      Guarded<float> both(bins.size() + 1);
      std::copy(samples.begin(), samples.end(), both.data());
      ASSERT_EQ(kivsDFTFwd_RToCCS_32f(both.data(), both.data(), dft.spec, nullptr), kivStatusOk);
      ASSERT_EQ(std::memcmp(both.data(), bins.data(), bins.size() * sizeof(float)), 0);

      Guarded<float> back(static_cast<std::size_t>(n));
      const double whole = n * factor_of(flag, n, kivFftScaleForward) * factor_of(flag, n, kivFftScaleInverse);
      ASSERT_EQ(kivsDFTInv_CCSToR_32f(bins.data(), back.data(), dft.spec, dft.buffer()), kivStatusOk);
      ASSERT_LE(relative_error(back.values(), {samples.begin(), samples.end()}, whole), 2 * bound(n));
      ASSERT_EQ(kivsDFTInv_CCSToR_32f(bins.data(), bins.data(), dft.spec, nullptr), kivStatusOk);
      ASSERT_EQ(std::memcmp(bins.data(), back.data(), back.size() * sizeof(float)), 0);
    }
  }
}

// One bin at a time: a wrong factor in one place of a table shows in full, not averaged over the spectrum. What stands
// in the places of the zeros is not read.
TEST(Dft, InverseOfEachBinIsItsWave) {
  for (const int n : {3, 6, 15, 48, 60, 90, 96, 160, 200, 240}) {
    Placed dft(n, kivFftScaleNone);
    for (int position = 0; position < static_cast<int>(spectrum_size(n)); ++position) {
      const int k = position / 2;
      const bool alone = k == 0 || 2 * k == n;
      std::vector<float> wave(spectrum_size(n));
      wave[static_cast<std::size_t>(position)] = 1;
      ASSERT_EQ(kivsDFTInv_CCSToR_32f(wave.data(), wave.data(), dft.spec, dft.buffer()), kivStatusOk);
      for (int i = 0; i < n; ++i) {
        const double angle = 2 * std::numbers::pi * (k * i % n) / n;
        const double expected =
            position % 2 == 0 ? (alone ? 1 : 2) * std::cos(angle) : (alone ? 0 : -2 * std::sin(angle));
        ASSERT_NEAR(wave[static_cast<std::size_t>(i)], expected, 6e-7)
            << "length " << n << " position " << position << " sample " << i;
      }
    }
  }
}

TEST(Dft, StatusesOfObjects) {
  int sizes[3] = {-5, -5, -5};
  for (const int length : {0, -4, 7, 14, 11, 26, (1 << 28) + 1, 2147483647}) {
    EXPECT_EQ(kivsDFTGetSize_R_32f(length, 3, 0, nullptr, nullptr, nullptr), kivStatusBadSize) << length;
  }
  EXPECT_EQ(kivsDFTGetSize_R_32f(15, 3, 0, &sizes[0], nullptr, &sizes[2]), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTGetSize_R_32f(15, 3, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusFftFlagError);
  EXPECT_EQ(kivsDFTGetSize_R_32f(1 << 28, 8, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusOk);
  EXPECT_EQ(kivsDFTGetSize_R_32f(15 << 24, 8, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusOk);
  EXPECT_GE(*std::min_element(sizes, sizes + 3), 0);

  std::vector<Kiv8u> memory(1 << 16, 0xA5);
  auto* const untouched = reinterpret_cast<KivsDFTSpec_R_32f*>(&sizes);
  KivsDFTSpec_R_32f* spec = untouched;
  EXPECT_EQ(kivsDFTInit_R_32f(nullptr, 7, 0, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTInit_R_32f(&spec, 7, 0, 0, nullptr, nullptr), kivStatusBadSize);
  EXPECT_EQ(kivsDFTInit_R_32f(&spec, 2048, 0, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTInit_R_32f(&spec, 2048, 0, 0, memory.data(), nullptr), kivStatusFftFlagError);
  EXPECT_EQ(kivsDFTInit_R_32f(&spec, 2048, 8, 0, memory.data(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTInitAlloc_R_32f(nullptr, 7, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTInitAlloc_R_32f(&spec, 7, 0, 0), kivStatusBadSize);
  EXPECT_EQ(kivsDFTInitAlloc_R_32f(&spec, 12, 16, 0), kivStatusFftFlagError);
  EXPECT_EQ(spec, untouched);
  EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), static_cast<std::ptrdiff_t>(memory.size()));

  for (const int length : {45, 400, 2048}) {
    expect_survives_failed_allocations([&] {
      spec = untouched;
      const KivStatus status = kivsDFTInitAlloc_R_32f(&spec, length, 8, 0);
      if (status == kivStatusOk) return kivsDFTFree_R_32f(spec);
      EXPECT_EQ(spec, untouched);
      return status;
    });
  }
  EXPECT_EQ(kivsDFTFree_R_32f(nullptr), kivStatusNullPointer);
  Placed dft(15, kivFftScaleNone);
  sizes[0] = -5;
  EXPECT_EQ(kivsDFTGetBufSize_R_32f(nullptr, &sizes[0]), kivStatusNullPointer);
  EXPECT_EQ(kivsDFTGetBufSize_R_32f(dft.spec, nullptr), kivStatusNullPointer);
  const Kiv32s foreign[40] = {6};
  auto* const other = reinterpret_cast<KivsDFTSpec_R_32f*>(const_cast<Kiv32s*>(foreign));
  EXPECT_EQ(kivsDFTGetBufSize_R_32f(other, &sizes[0]), kivStatusContextMismatch);
  EXPECT_EQ(kivsDFTFree_R_32f(other), kivStatusContextMismatch);
  EXPECT_EQ(sizes[0], -5);
}

TEST(Dft, StatusesOfTransforms) {
  const Kiv32s foreign[40] = {6};
  const auto* const other = reinterpret_cast<const KivsDFTSpec_R_32f*>(foreign);
  for (const int length : {15, 80, 32}) {
    Placed dft(length, kivFftScaleNone);
    std::vector<float> a(spectrum_size(length), 1.0F), b(spectrum_size(length), 7.0F);
    const std::vector<float> before = b;
    for (const auto call : {kivsDFTFwd_RToCCS_32f, kivsDFTInv_CCSToR_32f}) {
      EXPECT_EQ(call(nullptr, b.data(), nullptr, nullptr), kivStatusNullPointer);
      EXPECT_EQ(call(nullptr, b.data(), other, nullptr), kivStatusContextMismatch);
      EXPECT_EQ(call(nullptr, b.data(), dft.spec, nullptr), kivStatusNullPointer);
      EXPECT_EQ(call(a.data(), nullptr, dft.spec, nullptr), kivStatusNullPointer);
      {
        const AllocationWatch watch(1);
        EXPECT_EQ(call(a.data(), b.data(), dft.spec, nullptr), kivStatusNoMemory);
      }
      expect_exact(b, before);
      std::vector<float> c(b.size());
      expect_survives_failed_allocations([&] { return call(a.data(), c.data(), dft.spec, nullptr); });
      const AllocationWatch watch(1);
      EXPECT_EQ(call(a.data(), c.data(), dft.spec, dft.buffer()), kivStatusOk);
    }
  }
}

}  // namespace
}  // namespace kivsr::test
