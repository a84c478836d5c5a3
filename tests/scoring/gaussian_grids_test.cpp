// Differential test of the two grids of Gaussian scores: every 16-bit member against its sibling in single precision,
// on random models that both represent exactly. With small numbers nothing rounds before the score itself, and the two
// must agree bit for bit (integer results: the truncated score). With large ones each side may be off by what its
// accuracy class allows.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

// Vectors, means and weights in 16 bits, and the same divided by 2^(scale factor / 2), except the weights, as floats:
// squared distances of the floats are those of the integers times 2^-scaleFactor.
struct Model {
  Model(int height_, int len_, int scale_factor_, bool exact_, unsigned seed)
      : height(height_),
        len(len_),
        step(len_ + static_cast<int>(seed % 3)),
        scale_factor(scale_factor_),
        exact(exact_),
        x(height, len, step),
        m(height, len, step),
        w(height, len, step),
        xf(height, len, step),
        mf(height, len, step),
        wf(height, len, step) {
    Random random(seed);
    const double range = exact ? 31 : 16000;  // differences stay within 16 bits
    x.fill([&] { return random.value<Kiv16s>(-range, range); });
    m.fill([&] { return random.value<Kiv16s>(-range, range); });
    w.fill([&] { return random.value<Kiv16s>(1, exact ? 100 : 32767); });
    for (int j = 0; j < height; ++j) {
      for (int i = 0; i < len; ++i) {
        xf.at(j, i) = std::ldexp(static_cast<float>(x.at(j, i)), -scale_factor / 2);
        mf.at(j, i) = std::ldexp(static_cast<float>(m.at(j, i)), -scale_factor / 2);
        wf.at(j, i) = static_cast<float>(w.at(j, i));
      }
    }
    for (int j = 0; j < height; ++j) {
      const float noise = static_cast<float>(random.integer(-9, 9));
      valsf.push_back(std::round(static_cast<float>(distance(0, j, true) / 2)) + noise);
      identity_vals.push_back(std::round(static_cast<float>(distance(0, j, false) / 2)) + noise);
      vals.push_back(static_cast<Kiv32s>(valsf.back()));
      nearby.push_back(random.integer(-9, 9));
    }
  }
  // Squared distance of vector f and Gaussian g, in the units of the scores.
  double distance(int f, int g, bool weighted) {
    double sum = 0;
    for (int i = 0; i < len; ++i) {
      const double d = xf.at(f, i) - mf.at(g, i);
      sum += d * d * (weighted ? wf.at(g, i) : 1.0F);
    }
    return sum;
  }
  double score(int f, int g, bool weighted, float val) { return val - distance(f, g, weighted) / 2; }
  // Bounds the terms of a score, and an old value near it.
  double magnitude(int f, int g, bool weighted, float val) { return 10 + std::abs(val) + distance(f, g, weighted) / 2; }

  int height, len, step, scale_factor;
  bool exact;
  GuardedMatrix<Kiv16s> x, m, w;
  GuardedMatrix<float> xf, mf, wf;
  std::vector<float> valsf, identity_vals;  // constants at which scores of the first vector lie near zero
  std::vector<Kiv32s> vals;                 // valsf in integers
  std::vector<Kiv32s> nearby;               // of old values from scores
};

template <class R>
R as_result(float score) {
  if constexpr (std::is_same_v<R, float>) return score;
  return score >= -2147483648.0F ? static_cast<R>(score) : std::numeric_limits<R>::min();
}

// magnitude(j): of the terms of result j.
template <class R, class Magnitude>
void compare(const Model& model, const std::string& name, const std::vector<R>& integers,
             const std::vector<float>& floats, Magnitude magnitude, bool exact) {
  for (std::size_t j = 0; j < integers.size(); ++j) {
    if (exact) {
      ASSERT_TRUE(same_bits(integers[j], as_result<R>(floats[j])))
          << name << " row " << j << ", length " << model.len << ": " << +integers[j] << ", floats " << floats[j];
      continue;
    }
    const double bound =
        2 * (model.len / 2.0 + 4) * std::numeric_limits<float>::epsilon() * magnitude(static_cast<int>(j)) +
        (std::is_same_v<R, float> ? 0 : 1);
    const double sibling = std::is_same_v<R, float> ? static_cast<double>(floats[j])
                                                    : std::max(static_cast<double>(floats[j]), -2147483648.0);
    const double error = std::abs(static_cast<double>(integers[j]) - sibling);
    ASSERT_LE(error, bound) << name << " row " << j << ", length " << model.len;
  }
}

// Both calls on the same old values: score(j) and a little more or less, so that log-additions and maxima take both.
template <class R, class Call16, class Call32, class Score, class Magnitude>
void compare_calls(Model& model, const std::string& name, Call16 call16, Call32 call32, Score score,
                   Magnitude magnitude) {
  std::vector<R> integers;
  std::vector<float> floats;
  for (int j = 0; j < model.height; ++j) {
    floats.push_back(std::round(static_cast<float>(score(j))) +
                     static_cast<float>(model.nearby[static_cast<std::size_t>(j)]));
    integers.push_back(static_cast<R>(floats.back()));
  }
  ASSERT_EQ(call16(integers.data()), kivStatusOk) << name;
  ASSERT_EQ(call32(floats.data()), kivStatusOk) << name;
  compare(model, name, integers, floats, magnitude, model.exact);
}

// Vectors against the first Gaussian. The four functions: both layouts of the two grids.
template <class R, class A, class B, class C, class D>
void frames(Model& p, const std::string& name, A d2, B d2l, C d2f, D d2lf) {
  const R val = static_cast<R>(p.vals[0]);
  const auto score = [&](int j) { return p.score(j, 0, true, p.valsf[0]); };
  const auto magnitude = [&](int j) { return p.magnitude(j, 0, true, p.valsf[0]); };
  compare_calls<R>(
      p, name + "D2",
      [&](R* o) { return d2(p.x.data(), p.step, p.m.data(), p.w.data(), p.len, o, p.height, val, p.scale_factor); },
      [&](float* o) { return d2f(p.xf.data(), p.step, p.mf.data(), p.wf.data(), p.len, o, p.height, p.valsf[0]); },
      score, magnitude);
  compare_calls<R>(
      p, name + "D2L",
      [&](R* o) { return d2l(p.x.const_rows(), p.m.data(), p.w.data(), p.len, o, p.height, val, p.scale_factor); },
      [&](float* o) { return d2lf(p.xf.const_rows(), p.mf.data(), p.wf.data(), p.len, o, p.height, p.valsf[0]); },
      score, magnitude);
}

template <class R, class A, class B, class C, class D>
void identity_frames(Model& p, const std::string& name, A d2, B d2l, C d2f, D d2lf) {
  const R val = static_cast<R>(p.identity_vals[0]);
  const auto score = [&](int j) { return p.score(j, 0, false, p.identity_vals[0]); };
  const auto magnitude = [&](int j) { return p.magnitude(j, 0, false, p.identity_vals[0]); };
  compare_calls<R>(
      p, name + "D2", [&](R* o) { return d2(p.x.data(), p.step, p.m.data(), p.len, o, p.height, val, p.scale_factor); },
      [&](float* o) { return d2f(p.xf.data(), p.step, p.mf.data(), p.len, o, p.height, p.identity_vals[0]); }, score,
      magnitude);
  compare_calls<R>(
      p, name + "D2L", [&](R* o) { return d2l(p.x.const_rows(), p.m.data(), p.len, o, p.height, val, p.scale_factor); },
      [&](float* o) { return d2lf(p.xf.const_rows(), p.mf.data(), p.len, o, p.height, p.identity_vals[0]); }, score,
      magnitude);
}

// The first vector against all Gaussians; constants... are pVal where the operation has it.
template <class R, class A, class B, class C, class D, class... Constants>
void gaussians(Model& p, const std::string& name, A d2, B d2l, C d2f, D d2lf, const Constants*... constants) {
  const auto score = [&](int j) { return p.score(0, j, true, p.valsf[static_cast<std::size_t>(j)]); };
  const auto magnitude = [&](int j) { return p.magnitude(0, j, true, p.valsf[static_cast<std::size_t>(j)]); };
  const auto floats = [&](const auto*) { return p.valsf.data(); };
  compare_calls<R>(
      p, name + "D2",
      [&](R* o) {
        return d2(p.m.data(), p.w.data(), p.step, p.x.data(), p.len, constants..., o, p.height, p.scale_factor);
      },
      [&](float* o) {
        return d2f(p.mf.data(), p.wf.data(), p.step, p.xf.data(), p.len, floats(constants)..., o, p.height);
      },
      score, magnitude);
  compare_calls<R>(
      p, name + "D2L",
      [&](R* o) {
        return d2l(p.m.const_rows(), p.w.const_rows(), p.x.data(), p.len, constants..., o, p.height, p.scale_factor);
      },
      [&](float* o) {
        return d2lf(p.mf.const_rows(), p.wf.const_rows(), p.xf.data(), p.len, floats(constants)..., o, p.height);
      },
      score, magnitude);
}

// The log-sum over all Gaussians.
template <class A, class B, class C, class D>
void mixtures(Model& p, const std::string& name, bool weighted, const std::vector<float>& vals, A d2, B d2l, C d2f,
              D d2lf) {
  double largest = 0;
  for (int j = 0; j < p.height; ++j)
    largest = std::max(largest, p.magnitude(0, j, weighted, vals[static_cast<std::size_t>(j)]));
  std::vector<float> integers(2), floats(2);
  ASSERT_EQ(d2(&integers[0]), kivStatusOk) << name;
  ASSERT_EQ(d2l(&integers[1]), kivStatusOk) << name;
  ASSERT_EQ(d2f(&floats[0]), kivStatusOk) << name;
  ASSERT_EQ(d2lf(&floats[1]), kivStatusOk) << name;
  compare(
      p, name, integers, floats, [&](int) { return largest; }, p.exact);
}

// One vector and one Gaussian.
template <class R, class A, class B>
void single(Model& p, const std::string& name, bool weighted, A call16, B call32, bool exact) {
  std::vector<R> integers(1);
  std::vector<float> floats(1);
  ASSERT_EQ(call16(integers.data()), kivStatusOk) << name;
  ASSERT_EQ(call32(floats.data()), kivStatusOk) << name;
  compare(
      p, name, integers, floats,
      [&](int) { return p.magnitude(0, 0, weighted, weighted ? p.valsf[0] : p.identity_vals[0]); }, exact);
}

#define LAYOUTS(name16, name32) #name16, name16##D2, name16##D2L, name32##_D2, name32##_D2L
#define LAYOUTS_32S(name16, name32) #name16, name16##D2Sfs, name16##D2LSfs, name32##_D2, name32##_D2L

void all_frames(Model& p) {
  frames<float>(p, LAYOUTS(kivsLogGauss_Scaled_16s32f_, kivsLogGauss_32f));
  frames<float>(p, LAYOUTS(kivsLogGauss_LowScaled_16s32f_, kivsLogGauss_32f));
  frames<float>(p, LAYOUTS(kivsLogGauss_Low_16s32f_, kivsLogGauss_32f));
  frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGauss_16s32s_, kivsLogGauss_32f));
  frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGauss_Low_16s32s_, kivsLogGauss_32f));
  frames<float>(p, LAYOUTS(kivsLogGaussMax_Scaled_16s32f_, kivsLogGaussMax_32f));
  frames<float>(p, LAYOUTS(kivsLogGaussMax_LowScaled_16s32f_, kivsLogGaussMax_32f));
  frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMax_16s32s_, kivsLogGaussMax_32f));
  frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMax_Low_16s32s_, kivsLogGaussMax_32f));
  frames<float>(p, LAYOUTS(kivsLogGaussAdd_Scaled_16s32f_, kivsLogGaussAdd_32f));
  frames<float>(p, LAYOUTS(kivsLogGaussAdd_LowScaled_16s32f_, kivsLogGaussAdd_32f));

  identity_frames<float>(p, LAYOUTS(kivsLogGauss_IdVarScaled_16s32f_, kivsLogGauss_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGauss_IdVarLowScaled_16s32f_, kivsLogGauss_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGauss_IdVarLow_16s32f_, kivsLogGauss_IdVar_32f));
  identity_frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGauss_IdVar_16s32s_, kivsLogGauss_IdVar_32f));
  identity_frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGauss_IdVarLow_16s32s_, kivsLogGauss_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGaussMax_IdVarScaled_16s32f_, kivsLogGaussMax_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGaussMax_IdVarLowScaled_16s32f_, kivsLogGaussMax_IdVar_32f));
  identity_frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMax_IdVar_16s32s_, kivsLogGaussMax_IdVar_32f));
  identity_frames<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMax_IdVarLow_16s32s_, kivsLogGaussMax_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGaussAdd_IdVarScaled_16s32f_, kivsLogGaussAdd_IdVar_32f));
  identity_frames<float>(p, LAYOUTS(kivsLogGaussAdd_IdVarLowScaled_16s32f_, kivsLogGaussAdd_IdVar_32f));
}

void all_gaussians(Model& p) {
  const float* const v = p.valsf.data();
  const float* const i = p.identity_vals.data();
  gaussians<float>(p, LAYOUTS(kivsLogGaussMultiMix_Scaled_16s32f_, kivsLogGaussMultiMix_32f));
  gaussians<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMultiMix_16s32s_, kivsLogGaussMultiMix_32f));
  gaussians<float>(p, LAYOUTS(kivsLogGaussMaxMultiMix_Scaled_16s32f_, kivsLogGaussMaxMultiMix_32f), v);
  gaussians<Kiv32s>(p, LAYOUTS_32S(kivsLogGaussMaxMultiMix_16s32s_, kivsLogGaussMaxMultiMix_32f), p.vals.data());
  gaussians<float>(p, LAYOUTS(kivsLogGaussAddMultiMix_Scaled_16s32f_, kivsLogGaussAddMultiMix_32f), v);
  gaussians<float>(p, LAYOUTS(kivsLogGaussAddMultiMix_LowScaled_16s32f_, kivsLogGaussAddMultiMix_32f), v);

  const auto x = p.x.data();
  const auto xf = p.xf.data();
  const int n = p.height, step = p.step, len = p.len, scale = p.scale_factor;
#define MIXTURE(name)                                                                                         \
  mixtures(                                                                                                   \
      p, #name, true, p.valsf,                                                                                \
      [&](float* r) { return name##_D2(x, p.m.data(), p.w.data(), n, step, len, v, r, scale); },              \
      [&](float* r) { return name##_D2L(x, p.m.const_rows(), p.w.const_rows(), n, len, v, r, scale); },       \
      [&](float* r) { return kivsLogGaussMixture_32f_D2(xf, p.mf.data(), p.wf.data(), n, step, len, v, r); }, \
      [&](float* r) { return kivsLogGaussMixture_32f_D2L(xf, p.mf.const_rows(), p.wf.const_rows(), n, len, v, r); });
#define IDENTITY_MIXTURE(name)                                                                                         \
  mixtures(                                                                                                            \
      p, #name, false, p.identity_vals, [&](float* r) { return name##_D2(x, p.m.data(), n, step, len, i, r, scale); }, \
      [&](float* r) { return name##_D2L(x, p.m.const_rows(), n, len, i, r, scale); },                                  \
      [&](float* r) { return kivsLogGaussMixture_IdVar_32f_D2(xf, p.mf.data(), n, step, len, i, r); },                 \
      [&](float* r) { return kivsLogGaussMixture_IdVar_32f_D2L(xf, p.mf.const_rows(), n, len, i, r); });
  MIXTURE(kivsLogGaussMixture_Scaled_16s32f)
  MIXTURE(kivsLogGaussMixture_LowScaled_16s32f)
  IDENTITY_MIXTURE(kivsLogGaussMixture_IdVarScaled_16s32f)
  IDENTITY_MIXTURE(kivsLogGaussMixture_IdVarLowScaled_16s32f)
#undef MIXTURE
#undef IDENTITY_MIXTURE
}

void all_singles(Model& p) {
  const Kiv16s *const x = p.x.data(), *const m = p.m.data(), *const w = p.w.data();
  const float *const xf = p.xf.data(), *const mf = p.mf.data(), *const wf = p.wf.data();
  const int len = p.len, scale = p.scale_factor;
  const auto weighted = [&](auto value, const char* name, auto call16, auto call32, bool exact) {
    using R = decltype(value);
    single<R>(
        p, name, true, [&](R* r) { return call16(x, m, w, len, r, static_cast<R>(p.vals[0]), scale); },
        [&](float* r) { return call32(xf, mf, wf, len, r, p.valsf[0]); }, exact);
  };
  const auto identity = [&](auto value, const char* name, auto call16) {
    using R = decltype(value);
    single<R>(
        p, name, false, [&](R* r) { return call16(x, m, len, r, static_cast<R>(p.identity_vals[0]), scale); },
        [&](float* r) { return kivsLogGaussSingle_IdVar_32f(xf, mf, len, r, p.identity_vals[0]); }, p.exact);
  };
#define NAMED(function) #function, function
  weighted(0.0F, NAMED(kivsLogGaussSingle_Scaled_16s32f), kivsLogGaussSingle_32f, p.exact);
  weighted(0.0F, NAMED(kivsLogGaussSingle_LowScaled_16s32f), kivsLogGaussSingle_32f, p.exact);
  weighted(0, NAMED(kivsLogGaussSingle_16s32s_Sfs), kivsLogGaussSingle_32f, p.exact);
  weighted(0, NAMED(kivsLogGaussSingle_Low_16s32s_Sfs), kivsLogGaussSingle_32f, p.exact);
  weighted(0.0F, NAMED(kivsLogGaussSingle_DirectVarScaled_16s32f), kivsLogGaussSingle_DirectVar_32f, false);
  weighted(0, NAMED(kivsLogGaussSingle_DirectVar_16s32s_Sfs), kivsLogGaussSingle_DirectVar_32f, false);
  identity(0.0F, NAMED(kivsLogGaussSingle_IdVarScaled_16s32f));
  identity(0.0F, NAMED(kivsLogGaussSingle_IdVarLowScaled_16s32f));
  identity(0, NAMED(kivsLogGaussSingle_IdVar_16s32s_Sfs));
  identity(0, NAMED(kivsLogGaussSingle_IdVarLow_16s32s_Sfs));
  single<float>(
      p, "kivsMahDistSingle_16s32f", true,
      [&](float* r) {
        const KivStatus status = kivsMahDistSingle_16s32f(x, m, w, len, r);
        *r = std::ldexp(*r, -scale);
        return status;
      },
      [&](float* r) { return kivsMahDistSingle_32f(xf, mf, wf, len, r); }, p.exact);
  single<Kiv32s>(
      p, "kivsMahDistSingle_16s32s_Sfs", true,
      [&](Kiv32s* r) { return kivsMahDistSingle_16s32s_Sfs(x, m, w, len, r, scale); },
      [&](float* r) { return kivsMahDistSingle_32f(xf, mf, wf, len, r); }, p.exact);
}

// Block-diagonal inverse covariances: the 16-bit forms accumulate in double precision.
void all_blocks(Model& p) {
  const int sizes[2] = {(p.len + 1) / 2, p.len / 2};
  const int blocks = p.len > 1 ? 2 : 1;
  std::vector<std::vector<Kiv16s>> rows;
  std::vector<std::vector<float>> rowsf;
  std::vector<const Kiv16s*> pointers;
  std::vector<const float*> pointersf;
  double magnitude = p.magnitude(0, 0, true, p.valsf[0]);
  Random random(4);
  for (int b = 0, first = 0; b < blocks; first += sizes[b++]) {
    for (int r = 0; r < sizes[b]; ++r) {
      rows.push_back(random.values<Kiv16s>(static_cast<std::size_t>(sizes[b]), -3, 3));
      rowsf.emplace_back(rows.back().begin(), rows.back().end());
      for (int c = 0; c < sizes[b]; ++c)
        magnitude +=
            std::abs(static_cast<double>(p.xf.at(0, first + r) - p.mf.at(0, first + r)) *
                     rows.back()[static_cast<std::size_t>(c)] * (p.xf.at(0, first + c) - p.mf.at(0, first + c)));
    }
  }
  for (const auto& row : rows) pointers.push_back(row.data());
  for (const auto& row : rowsf) pointersf.push_back(row.data());
  Kiv16s** matrix = nullptr;
  Kiv32f** matrixf = nullptr;
  ASSERT_EQ(kivsBlockDMatrixInitAlloc_16s(&matrix, pointers.data(), sizes, blocks), kivStatusOk);
  ASSERT_EQ(kivsBlockDMatrixInitAlloc_32f(&matrixf, pointersf.data(), sizes, blocks), kivStatusOk);
  std::vector<float> scaled(1), floats(1);
  std::vector<Kiv32s> integers(1);
  EXPECT_EQ(kivsLogGaussSingle_BlockDVarScaled_16s32f(p.x.data(), p.m.data(), matrix, p.len, scaled.data(), p.valsf[0],
                                                      p.scale_factor),
            kivStatusOk);
  EXPECT_EQ(kivsLogGaussSingle_BlockDVar_16s32s_Sfs(p.x.data(), p.m.data(), matrix, p.len, integers.data(), p.vals[0],
                                                    p.scale_factor),
            kivStatusOk);
  EXPECT_EQ(kivsLogGaussSingle_BlockDVar_32f(p.xf.data(), p.mf.data(), matrixf, p.len, floats.data(), p.valsf[0]),
            kivStatusOk);
  kivsBlockDMatrixFree_16s(matrix);
  kivsBlockDMatrixFree_32f(matrixf);
  const auto terms = [&](int) { return magnitude; };
  compare(p, "kivsLogGaussSingle_BlockDVarScaled_16s32f", scaled, floats, terms, p.exact);
  compare(p, "kivsLogGaussSingle_BlockDVar_16s32s_Sfs", integers, floats, terms, p.exact);
}

// The large scale factors keep scores above the log zero, at which log-additions are not continuous.
TEST(GaussianGrids, ShortAndFloatAgree) {
  unsigned seed = 1;
  for (const int len : {1, 7, 8, 9, 16, 39}) {
    for (const int height : {1, 7, 8, 25, 101}) {
      for (const int scale_factor : {-4, 0, 6, 24, 30}) {
        Model model(height, len, scale_factor, scale_factor < 10, seed++);
        all_frames(model);
        all_gaussians(model);
        all_singles(model);
        all_blocks(model);
        if (HasFailure()) return;
      }
    }
  }
}

}  // namespace
}  // namespace kivsr::test
