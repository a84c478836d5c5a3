// Gaussian log-likelihoods of 16-bit vectors: the element arithmetic bit for bit, then every operation through it.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

using Words = std::vector<Kiv16s>;

// The distance by its definition. The lanes of a group are added in the order of a fold in halves.
float distance(const Kiv16s* x, const Kiv16s* m, const Kiv16s* w, int len, bool low) {
  const auto weight = [&](int i) { return w == nullptr ? 1.0F : static_cast<float>(w[i]); };
  float sum = 0.0F;
  int i = 0;
  for (; i + 8 <= len; i += 8) {
    float t[8];
    for (int k = 0; k < 8; ++k) {
      const int d = std::clamp(x[i + k] - m[i + k], -32768, 32767);
      const auto f = static_cast<float>(d);
      t[k] = (low ? f * f : static_cast<float>(d * d)) * weight(i + k);
    }
    sum += ((t[0] + t[4]) + (t[2] + t[6])) + ((t[1] + t[5]) + (t[3] + t[7]));
  }
  for (; i < len; ++i) {
    const auto d = static_cast<float>(x[i] - m[i]);
    sum += d * d * weight(i);
  }
  return sum;
}

template <class R>
R as_result(float score) {
  if constexpr (std::is_same_v<R, float>) {
    return score;
  } else {
    const bool fits = score >= -2147483648.0F && score < 2147483648.0F;
    return fits ? static_cast<R>(score) : INT_MIN;
  }
}

struct Problem {
  Problem(int height_, int len_, unsigned seed)
      : height(height_), len(len_), x(height, len, len + seed % 3), m(height, len, x.step()), w(height, len, x.step()) {
    Random random(seed);
    x.fill([&] { return random.extreme<Kiv16s>(random.integer(0, 2)); });
    m.fill([&] { return random.extreme<Kiv16s>(random.integer(0, 2)); });
    w.fill([&] { return random.value<Kiv16s>(-3, 300); });
  }
  int height, len;
  GuardedMatrix<Kiv16s> x, m, w;
};

constexpr int kScale = 11;
float score(float val, float d, int scale_factor = kScale) { return val - d * std::ldexp(1.0F, -(scale_factor + 1)); }

float log_add_once(float a, float b) {
  kivsLogAdd_32f(&a, &b, 1, kivLogAddHintAc);
  return b;
}

// Calls both layouts on copies of old values and compares with expected(j) bit for bit.
template <class R, class D2, class D2L, class Expected>
void expect_rows(const char* what, const std::vector<R>& old, D2 d2, D2L d2l, Expected expected) {
  Guarded<R> a(old);
  Guarded<R> b(old);
  ASSERT_EQ(d2(a.data()), kivStatusOk) << what;
  ASSERT_EQ(d2l(b.data()), kivStatusOk) << what;
  std::vector<R> truth(old.size());
  for (std::size_t j = 0; j < truth.size(); ++j) truth[j] = expected(static_cast<int>(j), old[j]);
  expect_exact(a, truth, what);
  expect_exact(b, truth, what);
}

template <class Body>
void for_each_problem(Body body) {
  unsigned seed = 1;
  for (const int len : {1, 3, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 39, 64}) {
    for (const int height : {1, 2, 3, 6, 8, 11, 25, 101, 130}) body(Problem(height, len, seed++));
  }
}

#define FRAMES(name, R, low, kept)                                                                   \
  expect_rows<R>(                                                                                    \
      #name, olds<R>(p.height),                                                                      \
      [&](R* o) { return name##D2(p.x.data(), p.x.step(), m, w, p.len, o, p.height, val, kScale); }, \
      [&](R* o) { return name##D2L(p.x.const_rows(), m, w, p.len, o, p.height, val, kScale); },      \
      [&](int j, R old) { return kept(score(val, distance(p.x.row(j), m, w, p.len, low)), old); });
#define FRAMES_IDENTITY(name, R, low, kept)                                                       \
  expect_rows<R>(                                                                                 \
      #name, olds<R>(p.height),                                                                   \
      [&](R* o) { return name##D2(p.x.data(), p.x.step(), m, p.len, o, p.height, val, kScale); }, \
      [&](R* o) { return name##D2L(p.x.const_rows(), m, p.len, o, p.height, val, kScale); },      \
      [&](int j, R old) { return kept(score(val, distance(p.x.row(j), m, nullptr, p.len, low)), old); });

template <class R>
std::vector<R> olds(int n) {
  return Random(77).values<R>(static_cast<std::size_t>(n), -3e7, 3e7);
}

// Not a single-precision number; a function, so that its rounding is the library's.
int odd_value() { return -16777217; }

TEST(Gaussian16, FramesBitForBit) {
  for_each_problem([](Problem&& p) {
    const Kiv16s* const m = p.m.row(0);
    const Kiv16s* const w = p.w.row(0);
    const int val = odd_value();
    const auto plain = [](float s, auto old) { return as_result<decltype(old)>(s); };
    const auto maximum = [](float s, auto old) {
      return as_result<decltype(old)>(std::max(s, static_cast<float>(old)));
    };
    const auto added = [](float s, float old) { return log_add_once(s, old); };
    FRAMES(kivsLogGauss_Scaled_16s32f_, float, false, plain)
    FRAMES(kivsLogGauss_LowScaled_16s32f_, float, true, plain)
    FRAMES(kivsLogGauss_Low_16s32f_, float, true, plain)
    FRAMES_IDENTITY(kivsLogGauss_IdVarScaled_16s32f_, float, false, plain)
    FRAMES_IDENTITY(kivsLogGauss_IdVarLowScaled_16s32f_, float, true, plain)
    FRAMES_IDENTITY(kivsLogGauss_IdVarLow_16s32f_, float, true, plain)
    FRAMES(kivsLogGaussMax_Scaled_16s32f_, float, false, maximum)
    FRAMES(kivsLogGaussMax_LowScaled_16s32f_, float, true, maximum)
    FRAMES_IDENTITY(kivsLogGaussMax_IdVarScaled_16s32f_, float, false, maximum)
    FRAMES_IDENTITY(kivsLogGaussMax_IdVarLowScaled_16s32f_, float, true, maximum)
    FRAMES(kivsLogGaussAdd_Scaled_16s32f_, float, false, added)
    FRAMES(kivsLogGaussAdd_LowScaled_16s32f_, float, true, added)
    FRAMES_IDENTITY(kivsLogGaussAdd_IdVarScaled_16s32f_, float, false, added)
    FRAMES_IDENTITY(kivsLogGaussAdd_IdVarLowScaled_16s32f_, float, true, added)
#define INTEGERS(shape, name, low, kept)     \
  {                                          \
    constexpr auto name##D2 = name##D2Sfs;   \
    constexpr auto name##D2L = name##D2LSfs; \
    shape(name, Kiv32s, low, kept)           \
  }
    INTEGERS(FRAMES, kivsLogGauss_16s32s_, false, plain)
    INTEGERS(FRAMES, kivsLogGauss_Low_16s32s_, true, plain)
    INTEGERS(FRAMES_IDENTITY, kivsLogGauss_IdVar_16s32s_, false, plain)
    INTEGERS(FRAMES_IDENTITY, kivsLogGauss_IdVarLow_16s32s_, true, plain)
    INTEGERS(FRAMES, kivsLogGaussMax_16s32s_, false, maximum)
    INTEGERS(FRAMES, kivsLogGaussMax_Low_16s32s_, true, maximum)
    INTEGERS(FRAMES_IDENTITY, kivsLogGaussMax_IdVar_16s32s_, false, maximum)
    INTEGERS(FRAMES_IDENTITY, kivsLogGaussMax_IdVarLow_16s32s_, true, maximum)
#undef INTEGERS
  });
}
#undef FRAMES
#undef FRAMES_IDENTITY

TEST(Gaussian16, GaussiansBitForBit) {
  for_each_problem([](Problem&& p) {
    const Kiv16s* const x = p.x.row(0);
    const auto d = [&](int j, bool low = false) { return distance(x, p.m.row(j), p.w.row(j), p.len, low); };
    const auto mix = [&](const char* what, auto old_values, auto d2, auto d2l, auto expected) {
      using R = typename decltype(old_values)::value_type;
      expect_rows<R>(
          what, old_values, [&](R* o) { return d2(p.m.data(), p.w.data(), p.m.step(), x, p.len, o, p.height, kScale); },
          [&](R* o) { return d2l(p.m.const_rows(), p.w.const_rows(), x, p.len, o, p.height, kScale); }, expected);
    };
    mix("MultiMix", olds<float>(p.height), kivsLogGaussMultiMix_Scaled_16s32f_D2,
        kivsLogGaussMultiMix_Scaled_16s32f_D2L, [&](int j, float old) { return score(old, d(j)); });
    mix("MultiMix 32s", olds<Kiv32s>(p.height), kivsLogGaussMultiMix_16s32s_D2Sfs, kivsLogGaussMultiMix_16s32s_D2LSfs,
        [&](int j, Kiv32s old) { return as_result<Kiv32s>(score(static_cast<float>(old), d(j))); });

    const auto merged = [&](const char* what, auto vals, auto d2, auto d2l, auto expected) {
      using R = typename decltype(vals)::value_type;
      const Guarded<R> v(vals);
      expect_rows<R>(
          what, olds<R>(p.height),
          [&](R* o) { return d2(p.m.data(), p.w.data(), p.m.step(), x, p.len, v.data(), o, p.height, kScale); },
          [&](R* o) { return d2l(p.m.const_rows(), p.w.const_rows(), x, p.len, v.data(), o, p.height, kScale); },
          [&](int j, R old) { return expected(j, static_cast<float>(v[static_cast<std::size_t>(j)]), old); });
    };
    const auto n = static_cast<std::size_t>(p.height);
    const auto vals = Random(5).values<float>(n, -2e7, 2e7);
    const auto integers = Random(6).values<Kiv32s>(n, INT_MIN, INT_MAX);
    merged("Max", vals, kivsLogGaussMaxMultiMix_Scaled_16s32f_D2, kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L,
           [&](int j, float v, float old) { return std::max(score(v, d(j)), old); });
    merged("Max 32s", integers, kivsLogGaussMaxMultiMix_16s32s_D2Sfs, kivsLogGaussMaxMultiMix_16s32s_D2LSfs,
           [&](int j, float v, Kiv32s old) {
             return as_result<Kiv32s>(std::max(score(v, d(j)), static_cast<float>(old)));
           });
    merged("Add", vals, kivsLogGaussAddMultiMix_Scaled_16s32f_D2, kivsLogGaussAddMultiMix_Scaled_16s32f_D2L,
           [&](int j, float v, float old) { return log_add_once(score(v, d(j)), old); });
    merged("Add low", vals, kivsLogGaussAddMultiMix_LowScaled_16s32f_D2, kivsLogGaussAddMultiMix_LowScaled_16s32f_D2L,
           [&](int j, float v, float old) { return log_add_once(score(v, d(j, true)), old); });
  });
}

// The log-sum of scores, block behind block.
TEST(Gaussian16, MixturesBitForBit) {
  for_each_problem([](Problem&& p) {
    const Kiv16s* const x = p.x.row(0);
    const auto vals = Random(5).values<float>(static_cast<std::size_t>(p.height), -2e7, 2e7);
    const auto mixture = [&](bool low, bool weighted, auto d2, auto d2l) {
      std::vector<float> scores;
      float sum = 0;
      for (int j = 0; j < p.height; ++j) {
        if (j % 100 == 0) scores.assign(j == 0 ? 0 : 1, sum);
        scores.push_back(score(vals[static_cast<std::size_t>(j)],
                               distance(x, p.m.row(j), weighted ? p.w.row(j) : nullptr, p.len, low)));
        if (j % 100 == 99 || j == p.height - 1) kivsLogSum_32f(scores.data(), &sum, static_cast<int>(scores.size()));
      }
      float a = 0, b = 0;
      ASSERT_EQ(d2(&a), kivStatusOk);
      ASSERT_EQ(d2l(&b), kivStatusOk);
      EXPECT_EQ(a, sum);
      EXPECT_EQ(b, sum);
    };
#define MIXTURE(name, low)                                                                                \
  mixture(                                                                                                \
      low, true,                                                                                          \
      [&](float* r) {                                                                                     \
        return name##D2(x, p.m.data(), p.w.data(), p.height, p.m.step(), p.len, vals.data(), r, kScale);  \
      },                                                                                                  \
      [&](float* r) {                                                                                     \
        return name##D2L(x, p.m.const_rows(), p.w.const_rows(), p.height, p.len, vals.data(), r, kScale); \
      });
#define MIXTURE_IDENTITY(name, low)                                                                           \
  mixture(                                                                                                    \
      low, false,                                                                                             \
      [&](float* r) { return name##D2(x, p.m.data(), p.height, p.m.step(), p.len, vals.data(), r, kScale); }, \
      [&](float* r) { return name##D2L(x, p.m.const_rows(), p.height, p.len, vals.data(), r, kScale); });
    MIXTURE(kivsLogGaussMixture_Scaled_16s32f_, false)
    MIXTURE(kivsLogGaussMixture_LowScaled_16s32f_, true)
    MIXTURE_IDENTITY(kivsLogGaussMixture_IdVarScaled_16s32f_, false)
    MIXTURE_IDENTITY(kivsLogGaussMixture_IdVarLowScaled_16s32f_, true)
#undef MIXTURE
#undef MIXTURE_IDENTITY
  });
}

TEST(Gaussian16, SinglesBitForBit) {
  for_each_problem([](Problem&& p) {
    if (p.height != 1) return;
    const Kiv16s *const x = p.x.row(0), *const m = p.m.row(0), *const w = p.w.row(0);
    const auto check = [&](bool low, bool weighted, auto call, auto result) {
      for (const int scale_factor : {-1, 0, 20, INT_MAX, 148, -127, -100}) {
        ASSERT_EQ(call(&result, scale_factor), kivStatusOk);
        const float d = distance(x, m, weighted ? w : nullptr, p.len, low);
        const float s = scale_factor > 148 ? 0.0F : std::ldexp(1.0F, -(scale_factor + 1));
        ASSERT_TRUE(same_bits(result, as_result<decltype(result)>(5 - d * s))) << p.len << " by " << scale_factor;
      }
    };
    const auto weighted = [&](bool low, auto call, auto result) {
      check(
          low, true, [&](auto* r, int sf) { return call(x, m, w, p.len, r, 5, sf); }, result);
    };
    const auto identity = [&](bool low, auto call, auto result) {
      check(
          low, false, [&](auto* r, int sf) { return call(x, m, p.len, r, 5, sf); }, result);
    };
    weighted(false, kivsLogGaussSingle_Scaled_16s32f, 0.0F);
    weighted(true, kivsLogGaussSingle_LowScaled_16s32f, 0.0F);
    weighted(false, kivsLogGaussSingle_16s32s_Sfs, 0);
    weighted(true, kivsLogGaussSingle_Low_16s32s_Sfs, 0);
    identity(false, kivsLogGaussSingle_IdVarScaled_16s32f, 0.0F);
    identity(true, kivsLogGaussSingle_IdVarLowScaled_16s32f, 0.0F);
    identity(false, kivsLogGaussSingle_IdVar_16s32s_Sfs, 0);
    identity(true, kivsLogGaussSingle_IdVarLow_16s32s_Sfs, 0);
    float f = 0;
    Kiv32s i = 0;
    const float d = distance(x, m, w, p.len, false);
    ASSERT_EQ(kivsMahDistSingle_16s32f(x, m, w, p.len, &f), kivStatusOk);
    EXPECT_EQ(f, d);
    ASSERT_EQ(kivsMahDistSingle_16s32s_Sfs(x, m, w, p.len, &i, 15), kivStatusOk);
    EXPECT_EQ(i, as_result<Kiv32s>(d / 32768));
  });
}

TEST(Gaussian16, IntegerScoresIgnoreTheRoundingMode) {
  Random random(12);
  constexpr int kLen = 21;
  const auto x = random.values<Kiv16s>(kLen, -30000, 30000);
  const auto rows = random.values<Kiv16s>(kLen * 9, -30000, 30000);
  const auto w = random.values<Kiv16s>(kLen * 9, 1, 30000);
  const auto results = under_rounding_modes([&] {
    std::vector<Kiv32s> all(9 * 2 + 3, 5);
    Kiv32s* const singles = &all[18];
    kivsLogGauss_16s32s_D2Sfs(rows.data(), kLen, x.data(), w.data(), kLen, &all[0], 9, 1000003, 17);
    kivsLogGaussMultiMix_16s32s_D2Sfs(rows.data(), w.data(), kLen, x.data(), kLen, &all[9], 9, 18);
    kivsLogGaussSingle_Low_16s32s_Sfs(x.data(), rows.data(), w.data(), kLen, &singles[0], 77, 19);
    kivsLogGaussSingle_DirectVar_16s32s_Sfs(x.data(), rows.data(), w.data(), kLen, &singles[1], 77, -9);
    kivsMahDistSingle_16s32s_Sfs(x.data(), rows.data(), w.data(), kLen, &singles[2], 18);
    return all;
  });
  for (const auto& result : results) EXPECT_EQ(result, results[0]);
}

TEST(Gaussian16, GroupsOfEightSaturateAndTheRestDoesNot) {
  Words x(8, 0), m(8, 0);
  x[0] = 32767;
  m[0] = -32768;
  float seven = 0, eight = 0, low = 0;
  kivsLogGaussSingle_IdVarScaled_16s32f(x.data(), m.data(), 7, &seven, 0, -1);
  kivsLogGaussSingle_IdVarScaled_16s32f(x.data(), m.data(), 8, &eight, 0, -1);
  EXPECT_EQ(seven, -65535.0F * 65535.0F);
  EXPECT_EQ(eight, -32767.0F * 32767.0F);
  x = Words{4097, 0, 0, 0, 0, 0, 0, 0};
  m = Words(8, 0);
  const Words w(8, 3);
  kivsLogGaussSingle_LowScaled_16s32f(x.data(), m.data(), w.data(), 8, &low, 0, -1);
  EXPECT_EQ(low, -(4097.0F * 4097.0F) * 3);
}

TEST(Gaussian16, VariancesAndBlocks) {
  Random random(8);
  for (const int len : {1, 7, 8, 21, 111, 112, 130}) {
    const auto n = static_cast<std::size_t>(len);
    const Guarded<Kiv16s> x(random.values<Kiv16s>(n, -900, 900)), m(random.values<Kiv16s>(n, -900, 900));
    Guarded<Kiv16s> var(random.values<Kiv16s>(n, 1, 50));
    double direct = 0;
    for (std::size_t i = 0; i < n; ++i) direct += std::pow(x[i] - m[i], 2) / var[i];
    float f = 0;
    Kiv32s s = 0;
    ASSERT_EQ(kivsLogGaussSingle_DirectVarScaled_16s32f(x.data(), m.data(), var.data(), len, &f, 9, 3), kivStatusOk);
    EXPECT_TRUE(within_reduction<float>(f, 9 - direct / 16, 9 + direct / 16, n + 2));
    ASSERT_EQ(kivsLogGaussSingle_DirectVar_16s32s_Sfs(x.data(), m.data(), var.data(), len, &s, 9, 3), kivStatusOk);
    EXPECT_EQ(s, static_cast<Kiv32s>(f));
    expect_survives_failed_allocations(
        [&] { return kivsLogGaussSingle_DirectVar_16s32s_Sfs(x.data(), m.data(), var.data(), len, &s, 9, 3); });
    var[n - 1] = 0;
    EXPECT_EQ(kivsLogGaussSingle_DirectVarScaled_16s32f(x.data(), m.data(), var.data(), len, &f, 9, 3),
              kivStatusDivByZero);
    EXPECT_FALSE(std::isfinite(f));

    // Two blocks, or one.
    const int sizes[2] = {len == 1 ? 1 : len / 2, len - len / 2};
    const int blocks = len == 1 ? 1 : 2;
    std::vector<Words> rows;
    std::vector<const Kiv16s*> pointers;
    double form = 0;
    for (int b = 0, first = 0; b < blocks; first += sizes[b++]) {
      for (int r = 0; r < sizes[b]; ++r) {
        rows.push_back(random.values<Kiv16s>(static_cast<std::size_t>(sizes[b]), -20, 20));
        for (int c = 0; c < sizes[b]; ++c) {
          const auto i = static_cast<std::size_t>(first + r), k = static_cast<std::size_t>(first + c);
          form += static_cast<double>(x[i] - m[i]) * rows.back()[static_cast<std::size_t>(c)] * (x[k] - m[k]);
        }
      }
    }
    for (const Words& row : rows) pointers.push_back(row.data());
    Kiv16s** matrix = nullptr;
    ASSERT_EQ(kivsBlockDMatrixInitAlloc_16s(&matrix, pointers.data(), sizes, blocks), kivStatusOk);
    const Kiv16s* const* const block = matrix;
    const float expected = -7 - static_cast<float>(form) / 64;
    EXPECT_EQ(kivsLogGaussSingle_BlockDVarScaled_16s32f(x.data(), m.data(), block, len, &f, -7, 5), kivStatusOk);
    EXPECT_EQ(f, expected);
    EXPECT_EQ(kivsLogGaussSingle_BlockDVar_16s32s_Sfs(x.data(), m.data(), block, len, &s, -7, 5), kivStatusOk);
    EXPECT_EQ(s, static_cast<Kiv32s>(expected));
    EXPECT_EQ(kivsLogGaussSingle_BlockDVar_16s32s_Sfs(x.data(), m.data(), block, len + 1, &s, -7, 5), kivStatusBadSize);
    expect_survives_failed_allocations(
        [&] { return kivsLogGaussSingle_BlockDVar_16s32s_Sfs(x.data(), m.data(), block, len, &s, -7, 5); },
        len < 112 ? 0 : 1);
    kivsBlockDMatrixFree_16s(matrix);
  }
}

TEST(Gaussian16, FirstFailureWins) {
  const Words c(4, 1);
  const Kiv16s* rows[1] = {c.data()};
  const Kiv16s* const e = c.data();
  const Kiv16s* const none = nullptr;
  float f[2] = {3, 3};
  Kiv32s i[2] = {3, 3};
  const Kiv32s vi[2] = {};
  const float vf[2] = {};
  EXPECT_EQ(kivsLogGauss_Scaled_16s32f_D2(none, 1, e, e, 2, f, 0, 0, 0), kivStatusBadStep);
  EXPECT_EQ(kivsLogGaussMax_IdVar_16s32s_D2Sfs(none, 1, e, 2, i, 0, 0, 0), kivStatusBadStep);
  EXPECT_EQ(kivsLogGaussMaxMultiMix_16s32s_D2Sfs(none, e, 1, e, 2, vi, i, 0, 0), kivStatusBadStep);
  EXPECT_EQ(kivsLogGaussMixture_Scaled_16s32f_D2(none, e, e, 0, 1, 2, vf, f, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGaussMixture_Scaled_16s32f_D2(e, e, e, 0, 1, 2, vf, f, 0), kivStatusBadStep);
  EXPECT_EQ(kivsLogGaussMixture_IdVarLowScaled_16s32f_D2(e, e, 0, 2, 2, vf, f, 0), kivStatusBadSize);
  EXPECT_EQ(kivsLogGaussMixture_Scaled_16s32f_D2L(e, rows, nullptr, 0, 1, vf, f, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGauss_Low_16s32f_D2(e, 2, e, none, 0, f, 1, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGauss_16s32s_D2LSfs(rows, e, e, 0, nullptr, 1, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGaussAdd_LowScaled_16s32f_D2L(rows, e, e, 1, f, 0, 0, 0), kivStatusBadSize);
  EXPECT_EQ(kivsLogGaussMultiMix_16s32s_D2LSfs(rows, rows, e, 0, i, 1, 0), kivStatusBadSize);
  EXPECT_EQ(kivsLogGaussAddMultiMix_Scaled_16s32f_D2(e, e, 2, e, 2, nullptr, f, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGaussSingle_Low_16s32s_Sfs(e, e, none, 0, i, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsLogGaussSingle_BlockDVarScaled_16s32f(e, e, nullptr, 0, f, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMahDistSingle_16s32s_Sfs(e, e, e, 0, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsMahDistSingle_16s32f(e, e, e, 0, f), kivStatusBadSize);
  EXPECT_EQ(f[0], 3.0F);
  EXPECT_EQ(i[0], 3);
}

}  // namespace
}  // namespace kivsr::test
