// Real FFT: every order up to 18, and one of the large ones, against a transform in extended precision, layouts,
// objects and statuses.
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

using Complex = std::complex<double>;

// The reference: the definition split into even and odd samples (x, every stride-th), each root computed on its own.
void transform(const Complex* x, std::size_t n, std::size_t stride, const std::vector<Complex>& roots, Complex* bins) {
  if (n == 1) {
    bins[0] = x[0];
    return;
  }
  transform(x, n / 2, 2 * stride, roots, bins);
  transform(x + stride, n / 2, 2 * stride, roots, bins + n / 2);
  for (std::size_t k = 0; k < n / 2; ++k) {
    const Complex even = bins[k];
    const Complex odd = bins[k + n / 2];
    const Complex w = roots[k * stride];
    const Complex turned(odd.real() * w.real() - odd.imag() * w.imag(), odd.real() * w.imag() + odd.imag() * w.real());
    bins[k] = even + turned;
    bins[k + n / 2] = even - turned;
  }
}

std::vector<Complex> transform(const std::vector<Complex>& x) {
  std::vector<Complex> roots, bins(x.size());
  for (std::size_t k = 0; k < x.size() / 2; ++k) {
    roots.push_back(std::polar(1.0, -2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(x.size())));
  }
  transform(x.data(), x.size(), 1, roots, bins.data());
  return bins;
}

// Bins 0 .. N / 2 as CCS.
template <class T>
std::vector<double> reference_spectrum(const std::vector<T>& x) {
  const std::vector<Complex> bins = transform(std::vector<Complex>(x.begin(), x.end()));
  std::vector<double> ccs;
  for (std::size_t k = 0; k <= x.size() / 2; ++k) {
    ccs.push_back(bins[k].real());
    ccs.push_back(k == 0 || 2 * k == x.size() ? 0.0 : bins[k].imag());
  }
  return ccs;
}

std::vector<double> pack_of(const std::vector<double>& ccs) {
  std::vector<double> pack(ccs.begin() + 1, ccs.end() - (ccs.size() > 2 ? 1 : 0));
  pack[0] = ccs[0];
  return pack;
}
std::vector<double> perm_of(const std::vector<double>& ccs) {
  std::vector<double> perm(ccs.begin(), ccs.end() - (ccs.size() > 2 ? 2 : 1));
  if (perm.size() > 1) perm[1] = ccs[ccs.size() - 2];
  return perm;
}

double relative_error(const std::vector<float>& actual, const std::vector<double>& truth) {
  EXPECT_EQ(actual.size(), truth.size());
  double error = 0;
  double power = 0;
  for (std::size_t i = 0; i < truth.size(); ++i) {
    error += (actual[i] - truth[i]) * (actual[i] - truth[i]);
    power += truth[i] * truth[i];
  }
  return std::sqrt(error / power);
}

double bound(int order) { return 2e-7 * std::sqrt(std::max(order, 1)); }

// A block of so many bytes, `behind` of them more between its end and an unreadable page, which must stay as they are:
// the larger `behind`, the earlier the block starts.
class Block {
 public:
  Block(int bytes, int behind) : bytes_(bytes), memory_(static_cast<std::size_t>(bytes + behind)) {}
  ~Block() {
    for (std::size_t i = static_cast<std::size_t>(bytes_); i < memory_.size(); ++i) {
      EXPECT_EQ(memory_[i], 0xA5) << "written at " << i << ", behind a block of " << bytes_ << " bytes";
    }
  }
  Kiv8u* data() { return bytes_ > 0 ? memory_.data() : nullptr; }

 private:
  int bytes_;
  Guarded<Kiv8u> memory_;
};

// An object in caller memory, with buffers of exactly the reported sizes.
template <class Spec, auto kGetSize, auto kInit>
class Placed {
 public:
  Placed(int order, int flag, int hint = 0, int behind = 0) {
    int object = -1, construction = -1, work = -1;
    EXPECT_EQ(kGetSize(order, flag, hint, &object, &construction, &work), kivStatusOk);
    work_bytes = work;
    object_ = std::make_unique<Block>(object, behind);
    work_ = std::make_unique<Block>(work, behind);
    Block temporary(construction, behind);
    EXPECT_EQ(kInit(&spec, order, flag, hint, object_->data(), temporary.data()), kivStatusOk);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(spec) % 32, 0U);
  }
  Kiv8u* buffer() { return work_->data(); }
  Spec* spec = nullptr;
  int work_bytes;

 private:
  std::unique_ptr<Block> object_, work_;
};
using Placed32f = Placed<KivsFFTSpec_R_32f, kivsFFTGetSize_R_32f, kivsFFTInit_R_32f>;
using Placed16s = Placed<KivsFFTSpec_R_16s32s, kivsFFTGetSize_R_16s32s, kivsFFTInit_R_16s32s>;

constexpr int kFlags[] = {kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt, kivFftScaleNone};

double forward_factor(int flag, double n) {
  return flag == kivFftScaleForward ? 1 / n : flag == kivFftScaleSqrt ? 1 / std::sqrt(n) : 1;
}
double inverse_factor(int flag, double n) {
  return flag == kivFftScaleInverse ? 1 / n : flag == kivFftScaleSqrt ? 1 / std::sqrt(n) : 1;
}

std::vector<double> scaled(std::vector<double> values, double factor) {
  for (double& x : values) x *= factor;
  return values;
}

using Forward = KivStatus (*)(const Kiv32f*, Kiv32f*, const KivsFFTSpec_R_32f*, Kiv8u*);

TEST(Fft, AgreesWithTheDefinitionInEveryLayoutAndOrder) {
  Random random;
  for (int order : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 21}) {
    const std::size_t n = std::size_t{1} << order;
    const std::vector<float> samples = random.values<float>(n, -1, 1);
    const std::vector<double> truth = reference_spectrum(samples);
    for (int flag : kFlags) {
      if (order > 12 && flag != kFlags[order % 4]) continue;
      SCOPED_TRACE(::testing::Message() << "order " << order << " flag " << flag);
      Placed32f fft(order, flag);
      const std::vector<double> ccs = scaled(truth, forward_factor(flag, static_cast<double>(n)));
      const Guarded<float> src(samples);
      std::vector<float> pack;
      const std::tuple<Forward, std::vector<double>> layouts[] = {
          {kivsFFTFwd_RToCCS_32f, ccs}, {kivsFFTFwd_RToPack_32f, pack_of(ccs)}, {kivsFFTFwd_RToPerm_32f, perm_of(ccs)}};
      for (const auto& [forward, expected] : layouts) {
        Guarded<float> dst(expected.size());
        ASSERT_EQ(forward(src.data(), dst.data(), fft.spec, fft.buffer()), kivStatusOk);
        ASSERT_LE(relative_error(dst.values(), expected), bound(order));
        if (forward == kivsFFTFwd_RToCCS_32f) {
          EXPECT_TRUE(same_bits(dst[1], 0.0F) && same_bits(dst[dst.size() - 1], 0.0F));
        }
        if (forward == kivsFFTFwd_RToPack_32f) pack = dst.values();
        // In place, with a buffer of the library's, at other alignments: the same bits.
        Guarded<float> both(expected.size() + 1);
        std::copy(samples.begin(), samples.end(), both.data());
        ASSERT_EQ(forward(both.data(), both.data(), fft.spec, nullptr), kivStatusOk);
        ASSERT_EQ(std::memcmp(both.data(), dst.data(), expected.size() * sizeof(float)), 0);
      }
      Guarded<float> back(n);
      const Guarded<float> spectrum(pack);
      ASSERT_EQ(kivsFFTInv_PackToR_32f(spectrum.data(), back.data(), fft.spec, fft.buffer()), kivStatusOk);
      const double round_trip = static_cast<double>(n) * forward_factor(flag, static_cast<double>(n)) *
                                inverse_factor(flag, static_cast<double>(n));
      ASSERT_LE(relative_error(back.values(), scaled({samples.begin(), samples.end()}, round_trip)), 2 * bound(order));
      Guarded<float> both(pack);
      ASSERT_EQ(kivsFFTInv_PackToR_32f(both.data(), both.data(), fft.spec, nullptr), kivStatusOk);
      expect_exact(both.values(), back.values());
    }
  }
}

// One bin at a time: a wrong factor in one place of a table shows in full, not averaged over the spectrum.
TEST(Fft, InverseOfEachBinIsItsWave) {
  for (int order : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}) {
    const int n = 1 << order;
    Placed32f fft(order, kivFftScaleNone);
    for (int position = 0; position < n; ++position) {
      Guarded<float> wave(n);
      std::fill(wave.begin(), wave.end(), 0.0F);
      wave[position] = 1;
      ASSERT_EQ(kivsFFTInv_PackToR_32f(wave.data(), wave.data(), fft.spec, fft.buffer()), kivStatusOk);
      const int k = (position + 1) / 2;
      const bool real = position % 2 == 1 || position == 0;
      const double amplitude = position == 0 || position == n - 1 ? 1 : 2;
      for (int i = 0; i < n; ++i) {
        const double angle = 2 * std::numbers::pi * ((static_cast<long>(k) * i) % n) / n;
        ASSERT_NEAR(wave[i], amplitude * (real ? std::cos(angle) : -std::sin(angle)), 6e-7)
            << "order " << order << " position " << position << " sample " << i;
      }
    }
  }
}

TEST(Fft, SizesAndHeader) {
  for (int order = 0; order <= 28; ++order) {
    int object = 0, initialisation = 0, work = 0;
    ASSERT_EQ(kivsFFTGetSize_R_32f(order, kivFftScaleNone, 0, &object, &initialisation, &work), kivStatusOk) << order;
    if (order < 4) {
      EXPECT_EQ(object, 112);
      EXPECT_EQ(work, 0);
    } else {
      EXPECT_GE(object, 64 * ((1 << order) / 16) + 128);
      EXPECT_GT(work, 32);
    }
    EXPECT_EQ(initialisation, order < 11 ? 0 : (1 << order) + 64);
  }
  for (int order : {0, 3, 4, 11}) {
    for (int flag : kFlags) {
      Placed32f fft(order, flag, 77);
      Kiv32s words[8];
      std::memcpy(words, fft.spec, sizeof words);
      float factor;
      std::memcpy(&factor, &words[4], sizeof factor);
      const double n = 1 << order;
      EXPECT_EQ(words[0], 6);
      EXPECT_EQ(words[1], order);
      EXPECT_EQ(words[2], flag == kivFftScaleForward || flag == kivFftScaleSqrt);
      EXPECT_EQ(words[3], flag == kivFftScaleInverse || flag == kivFftScaleSqrt);
      EXPECT_EQ(factor, static_cast<float>(std::min(forward_factor(flag, n), inverse_factor(flag, n))));
      EXPECT_EQ(words[5], 77);
      EXPECT_EQ(words[6], fft.work_bytes == 0 ? 0 : fft.work_bytes - 32);
      EXPECT_EQ(words[7], 0);
      int reported = -1;
      EXPECT_EQ(kivsFFTGetBufSize_R_32f(fft.spec, &reported), kivStatusOk);
      EXPECT_EQ(reported, fft.work_bytes);
    }
  }
}

// Blocks of exactly the reported sizes suffice wherever they start, and the results do not depend on it.
template <class Object, class S, class D, class Forward, class Inverse>
void check_blocks(int order, Forward forward, Inverse inverse) {
  const std::size_t n = std::size_t{1} << order;
  const Guarded<S> samples(Random(9).values<S>(n, -1000, 1000));
  std::vector<D> spectrum, back;
  for (int behind = 0; behind < 32; ++behind) {
    SCOPED_TRACE(::testing::Message() << "order " << order << ", " << behind << " bytes behind each block");
    Object fft(order, kivFftScaleNone, 0, behind);
    Guarded<D> dst(n + 2);
    ASSERT_EQ(forward(samples.data(), dst.data(), fft.spec, fft.buffer()), kivStatusOk);
    if (behind == 0) spectrum = dst.values();
    expect_exact(dst.values(), spectrum);
    ASSERT_EQ(inverse(dst.data(), dst.data(), fft.spec, fft.buffer()), kivStatusOk);
    if (behind == 0) back = dst.values();
    expect_exact(dst.values(), back);
  }
}

TEST(Fft, BlocksOfTheReportedSizesAtEveryAlignment) {
  for (int order = 0; order <= 14; ++order) {
    check_blocks<Placed32f, Kiv32f, Kiv32f>(order, kivsFFTFwd_RToCCS_32f, kivsFFTInv_PackToR_32f);
    check_blocks<Placed16s, Kiv16s, Kiv32s>(
        order, [](auto... arguments) { return kivsFFTFwd_RToCCS_16s32s_Sfs(arguments..., 0); },
        [](auto...) { return kivStatusOk; });
  }
}

// The statuses of a family's object functions, in order; outputs stay as they were.
template <auto kGetSize, auto kInit, auto kInitAlloc, auto kFree, class Spec>
void expect_object_statuses(Spec* valid) {
  int sizes[3] = {-5, -5, -5};
  EXPECT_EQ(kGetSize(31, 0, 0, nullptr, nullptr, nullptr), kivStatusFftOrderError);
  EXPECT_EQ(kGetSize(-1, 8, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusFftOrderError);
  EXPECT_EQ(kGetSize(5, 0, 0, &sizes[0], nullptr, &sizes[2]), kivStatusNullPointer);
  EXPECT_EQ(kGetSize(5, 3, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusFftFlagError);
  EXPECT_EQ(kGetSize(30, 8, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusBadSize);
  EXPECT_EQ(kGetSize(29, 8, 0, &sizes[0], &sizes[1], &sizes[2]), kivStatusBadSize);
  expect_exact(std::vector<int>(sizes, sizes + 3), std::vector<int>(3, -5));

  std::vector<Kiv8u> memory(1 << 18, 0xA5);
  Spec* const untouched = reinterpret_cast<Spec*>(&sizes);
  Spec* spec = untouched;
  EXPECT_EQ(kInit(nullptr, 31, 0, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kInit(&spec, 31, 0, 0, nullptr, nullptr), kivStatusFftOrderError);
  EXPECT_EQ(kInit(&spec, 11, 0, 0, nullptr, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kInit(&spec, 11, 0, 0, memory.data(), nullptr), kivStatusFftFlagError);
  EXPECT_EQ(kInit(&spec, 11, 8, 0, memory.data(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(kInitAlloc(nullptr, 31, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kInitAlloc(&spec, 31, 0, 0), kivStatusFftOrderError);
  EXPECT_EQ(kInitAlloc(&spec, 4, 16, 0), kivStatusFftFlagError);
  EXPECT_EQ(spec, untouched);
  EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), static_cast<std::ptrdiff_t>(memory.size()));

  EXPECT_EQ(kFree(nullptr), kivStatusNullPointer);
  Kiv32s word;
  std::memcpy(&word, valid, sizeof word);
  const Kiv32s other = word + 1;
  std::memcpy(static_cast<void*>(valid), &other, sizeof other);
  EXPECT_EQ(kFree(valid), kivStatusContextMismatch);
  std::memcpy(static_cast<void*>(valid), &word, sizeof word);

  for (int order : {2, 8, 11}) {
    expect_survives_failed_allocations([&] {
      spec = untouched;
      const KivStatus status = kInitAlloc(&spec, order, 8, 0);
      if (status != kivStatusOk) {
        EXPECT_EQ(spec, untouched);
        return status;
      }
      return kFree(spec);
    });
  }
}

TEST(Fft, StatusesOfObjects) {
  Placed32f single(4, kivFftScaleNone);
  expect_object_statuses<kivsFFTGetSize_R_32f, kivsFFTInit_R_32f, kivsFFTInitAlloc_R_32f, kivsFFTFree_R_32f>(
      single.spec);
  Placed16s integer(4, kivFftScaleNone);
  expect_object_statuses<kivsFFTGetSize_R_16s32s, kivsFFTInit_R_16s32s, kivsFFTInitAlloc_R_16s32s,
                         kivsFFTFree_R_16s32s>(integer.spec);
  int size = -5;
  EXPECT_EQ(kivsFFTGetBufSize_R_32f(nullptr, &size), kivStatusNullPointer);
  EXPECT_EQ(kivsFFTGetBufSize_R_32f(single.spec, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsFFTGetBufSize_R_32f(reinterpret_cast<KivsFFTSpec_R_32f*>(integer.spec), &size),
            kivStatusContextMismatch);
  EXPECT_EQ(size, -5);
}

TEST(Fft, StatusesOfTransforms) {
  Placed32f single(4, kivFftScaleNone);
  Placed16s integer(4, kivFftScaleNone);
  const auto* const foreign = reinterpret_cast<const KivsFFTSpec_R_32f*>(integer.spec);
  std::vector<float> a(16, 1.0F), b(18, 7.0F);
  const std::vector<float> before = b;
  for (Forward call : {kivsFFTFwd_RToCCS_32f, kivsFFTFwd_RToPack_32f, kivsFFTFwd_RToPerm_32f, kivsFFTInv_PackToR_32f}) {
    EXPECT_EQ(call(nullptr, b.data(), nullptr, nullptr), kivStatusNullPointer);
    EXPECT_EQ(call(nullptr, b.data(), foreign, nullptr), kivStatusContextMismatch);
    EXPECT_EQ(call(nullptr, b.data(), single.spec, nullptr), kivStatusNullPointer);
    EXPECT_EQ(call(a.data(), nullptr, single.spec, nullptr), kivStatusNullPointer);
    {
      const AllocationWatch watch(1);
      EXPECT_EQ(call(a.data(), b.data(), single.spec, nullptr), kivStatusNoMemory);
    }
    expect_exact(b, before);
    expect_survives_failed_allocations(
        [&] { return call(a.data(), std::vector<float>(18).data(), single.spec, nullptr); });
    const AllocationWatch watch(1);
    EXPECT_EQ(call(a.data(), std::vector<float>(18).data(), single.spec, single.buffer()), kivStatusOk);
  }
  const std::vector<Kiv16s> x(16, 1);
  std::vector<Kiv32s> y(18, 7);
  const auto* const other = reinterpret_cast<const KivsFFTSpec_R_16s32s*>(single.spec);
  EXPECT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(nullptr, y.data(), nullptr, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(nullptr, y.data(), other, nullptr, 0), kivStatusContextMismatch);
  EXPECT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(x.data(), nullptr, integer.spec, nullptr, 0), kivStatusNullPointer);
  expect_survives_failed_allocations(
      [&] { return kivsFFTFwd_RToCCS_16s32s_Sfs(x.data(), y.data(), integer.spec, nullptr, 0); });
}

TEST(Fft, IntegersAreTheNearestToTheExactSpectrum) {
  Random random(3);
  for (int order = 0; order <= 14; ++order) {
    const std::size_t n = std::size_t{1} << order;
    for (int regime = 0; regime < 3; ++regime) {
      std::vector<Kiv16s> samples(n);
      for (Kiv16s& x : samples) x = random.extreme<Kiv16s>(regime);
      const std::vector<double> truth = reference_spectrum(samples);
      for (int flag : kFlags) {
        Placed16s fft(order, flag);
        const double factor = forward_factor(flag, static_cast<double>(n));
        for (int scale_factor : {0, 3, -4, 40, -20}) {
          const Guarded<Kiv16s> src(samples);
          Guarded<Kiv32s> dst(truth.size());
          ASSERT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(src.data(), dst.data(), fft.spec, fft.buffer(), scale_factor),
                    kivStatusOk);
          for (std::size_t i = 0; i < truth.size(); ++i) {
            const double exact = truth[i] * factor * std::ldexp(1.0, -scale_factor);
            const double expected = std::clamp(exact, -2147483648.0, 2147483647.0);
            const double slack = 0.5 + 1e-11 * std::ldexp(factor * 32768 * static_cast<double>(n), -scale_factor);
            ASSERT_LE(std::abs(dst[i] - expected), slack)
                << "order " << order << " flag " << flag << " scale " << scale_factor << " element " << i;
          }
        }
      }
    }
  }
}

TEST(Fft, IntegerTiesGoToEven) {
  Placed16s fft(1, kivFftScaleNone);
  const Kiv16s samples[] = {4, 1};  // bins 5 and 3
  Kiv32s dst[4];
  ASSERT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(samples, dst, fft.spec, nullptr, 1), kivStatusOk);
  EXPECT_EQ(dst[0], 2);
  EXPECT_EQ(dst[2], 2);
  ASSERT_EQ(kivsFFTFwd_RToCCS_16s32s_Sfs(samples, dst, fft.spec, nullptr, -40), kivStatusOk);
  EXPECT_EQ(dst[0], 2147483647);
  EXPECT_EQ(dst[1], 0);
}

TEST(Fft, MulPackConj) {
  Random random(4);
  for (int len : test_lengths()) {
    const std::vector<float> a = random.values<float>(len, -2, 2);
    const std::vector<float> b = random.values<float>(len, -2, 2);
    std::vector<float> expected(len);
    expected[0] = a[0] * b[0];
    int i = 1;
    for (; i + 1 < len; i += 2) {
      expected[i] = a[i] * b[i] + a[i + 1] * b[i + 1];
      expected[i + 1] = a[i + 1] * b[i] - a[i] * b[i + 1];
    }
    if (i < len) expected[i] = a[i] * b[i];
    const Guarded<float> src(a);
    Guarded<float> src_dst(b);
    ASSERT_EQ(kivsMulPackConj_32f_I(src.data(), src_dst.data(), len), kivStatusOk);
    expect_exact(src_dst.values(), expected);
  }
  float x = 3;
  EXPECT_EQ(kivsMulPackConj_32f_I(nullptr, &x, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMulPackConj_32f_I(&x, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMulPackConj_32f_I(&x, &x, 0), kivStatusBadSize);
  EXPECT_EQ(x, 3);
}

// Circular correlation through the transform: what the product with a conjugate is for.
TEST(Fft, ProductWithConjugateCorrelates) {
  constexpr int kOrder = 7;
  constexpr int n = 1 << kOrder;
  Random random(5);
  std::vector<float> x = random.values<float>(n, -1, 1);
  std::vector<float> y = random.values<float>(n, -1, 1);
  std::vector<double> truth(n);
  for (int lag = 0; lag < n; ++lag) {
    for (int i = 0; i < n; ++i) truth[lag] += static_cast<double>(x[(i + lag) % n]) * y[i];
  }
  Placed32f fft(kOrder, kivFftScaleInverse);
  kivsFFTFwd_RToPack_32f(x.data(), x.data(), fft.spec, fft.buffer());
  kivsFFTFwd_RToPack_32f(y.data(), y.data(), fft.spec, fft.buffer());
  ASSERT_EQ(kivsMulPackConj_32f_I(x.data(), y.data(), n), kivStatusOk);
  kivsFFTInv_PackToR_32f(y.data(), y.data(), fft.spec, fft.buffer());
  EXPECT_LE(relative_error(y, truth), 3 * bound(kOrder));
}

}  // namespace
}  // namespace kivsr::test
