// Mixture scores of selected components, against single scores added one after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <type_traits>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kNone = -123.5F;

struct Floats {
  using E = float;
  static constexpr E kRange = 2;
  static constexpr auto single = kivsLogGaussSingle_32f;
  static constexpr auto single_identity = kivsLogGaussSingle_IdVar_32f;
  static constexpr auto d2 = kivsLogGaussMixture_Select_32f_D2;
  static constexpr auto d2l = kivsLogGaussMixture_Select_32f_D2L;
  static constexpr auto identity_d2 = kivsLogGaussMixture_SelectIdVar_32f_D2;
  static constexpr auto identity_d2l = kivsLogGaussMixture_SelectIdVar_32f_D2L;
  template <class F, class... A>
  static KivStatus call(F f, A... arguments) {
    return f(arguments...);
  }
};
struct Integers {
  using E = Kiv16s;
  static constexpr E kRange = 32767;  // differences leave 16 bits
  static constexpr auto single = kivsLogGaussSingle_Scaled_16s32f;
  static constexpr auto single_identity = kivsLogGaussSingle_IdVarScaled_16s32f;
  static constexpr auto d2 = kivsLogGaussMixture_SelectScaled_16s32f_D2;
  static constexpr auto d2l = kivsLogGaussMixture_SelectScaled_16s32f_D2L;
  static constexpr auto identity_d2 = kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2;
  static constexpr auto identity_d2l = kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2L;
  inline static int scale_factor = 17;
  template <class F, class... A>
  static KivStatus call(F f, A... arguments) {
    return f(arguments..., scale_factor);
  }
};

template <class T>
class Selection : public ::testing::Test {};
using Members = ::testing::Types<Floats, Integers>;
TYPED_TEST_SUITE(Selection, Members);

// Frames with every component, some, one and none.
bool selected(int f, int j, int components) {
  switch (f % 4) {
    case 0: return true;
    case 1: return (f * 7 + j * j) % 3 == 0;
    case 2: return j == f % components;
    default: return false;
  }
}

template <class M>
struct Problem {
  using E = typename M::E;
  Problem(int frames_, int components_, int len_, unsigned seed)
      : frames(frames_),
        components(components_),
        len(len_),
        step(len_ + static_cast<int>(seed % 2)),
        x(frames, len, step),
        m(components, len, step),
        w(components, len, step),
        vals(static_cast<std::size_t>(components)),
        sign(static_cast<std::size_t>(frames) * static_cast<std::size_t>((components + 7) / 8)) {
    Random random(seed);
    x.fill([&] { return random.value<E>(-M::kRange, M::kRange); });
    m.fill([&] { return random.value<E>(-M::kRange, M::kRange); });
    w.fill([&] { return random.value<E>(0, 3); });
    for (float& v : vals) v = random.value<float>(-9, 9);
    const int bytes = (components + 7) / 8;
    for (int f = 0; f < frames; ++f) {
      Kiv8u* const row = sign.data() + bytes * f;
      std::fill_n(row, bytes, Kiv8u{0});
      for (int j = 0; j < bytes * 8; ++j) {  // padding bits are set
        if (j >= components || selected(f, j, components)) row[j / 8] = static_cast<Kiv8u>(row[j / 8] | 0x80 >> j % 8);
      }
    }
  }
  // Single scores, added one after the other.
  float truth(int f, bool weighted) {
    float sum = kNone;
    bool first = true;
    for (int j = 0; j < components; ++j) {
      if (!selected(f, j, components)) continue;
      const float val = vals[static_cast<std::size_t>(j)];
      float s = 0;
      weighted ? M::call(M::single, x.row(f), m.row(j), w.row(j), len, &s, val)
               : M::call(M::single_identity, x.row(f), m.row(j), len, &s, val);
      if (first) sum = s;
      if (!first) kivsLogAdd_32f(&s, &sum, 1, kivLogAddHintAc);
      first = false;
    }
    return sum;
  }
  int frames, components, len, step;
  GuardedMatrix<E> x, m, w;
  Guarded<float> vals;
  Guarded<Kiv8u> sign;
};

template <class M>
void expect_truth(Problem<M>& p, bool weighted) {
  std::vector<float> truth;
  for (int f = 0; f < p.frames; ++f) truth.push_back(p.truth(f, weighted));
  Guarded<float> a(truth.size()), b(truth.size());
  const float* const vals = p.vals.data();
  const Kiv8u* const sign = p.sign.data();
  ASSERT_EQ(weighted ? M::call(M::d2, p.x.data(), p.m.data(), p.w.data(), p.step, p.len, vals, sign, p.components,
                               a.data(), p.frames, kNone)
                     : M::call(M::identity_d2, p.x.data(), p.m.data(), p.step, p.len, vals, sign, p.components,
                               a.data(), p.frames, kNone),
            kivStatusOk);
  ASSERT_EQ(weighted ? M::call(M::d2l, p.x.const_rows(), p.m.const_rows(), p.w.const_rows(), p.len, vals, sign,
                               p.components, b.data(), p.frames, kNone)
                     : M::call(M::identity_d2l, p.x.const_rows(), p.m.const_rows(), p.len, vals, sign, p.components,
                               b.data(), p.frames, kNone),
            kivStatusOk);
  expect_exact(a, truth, "D2");
  expect_exact(b, truth, "D2L");
}

TYPED_TEST(Selection, AddsTheSelectedComponentsInOrder) {
  unsigned seed = 1;
  for (const int components : {1, 7, 8, 9, 16, 20, 21, 150}) {
    for (const int frames : {1, 2, 20, 21, 64, 65, 130}) {
      for (const int len : {3, 8, 13}) {
        if constexpr (std::is_same_v<TypeParam, Integers>) Integers::scale_factor = seed % 2 == 0 ? 30 : 17;
        Problem<TypeParam> p(frames, components, len, seed++);
        for (const bool weighted : {true, false}) expect_truth(p, weighted);
        if (this->HasFatalFailure()) return;
      }
    }
  }
}

// A lone score below the log zero would be lifted to it by an addition, and the log zero itself kept out of sums.
TEST(SelectionEdges, LoneScoresAreNotAddedToAnything) {
  const float x[2] = {0, 0}, m[4] = {0, 0, 0, 0}, w[4] = {1, 1, 1, 1};
  const float vals[2] = {-9e6F, -4500001.0F};
  const Kiv8u sign[2] = {0x80, 0xC0};
  float dst[2] = {};
  ASSERT_EQ(kivsLogGaussMixture_Select_32f_D2(x, m, w, 1, 1, vals, sign, 2, dst, 2, kNone), kivStatusOk);
  EXPECT_EQ(dst[0], -9e6F);
  EXPECT_EQ(dst[1], -4500000.0F);
}

TYPED_TEST(Selection, FirstFailureWins) {
  using M = TypeParam;
  using E = typename M::E;
  const E cells[4] = {1, 2, 3, 4};
  const E* rows[1] = {cells};
  const float vals[1] = {1};
  const Kiv8u sign[1] = {0x80};
  float dst[1] = {6};
  for (int k = 0; k < 6; ++k) {
    const auto e = [&](int i) { return i == k ? nullptr : cells; };
    const auto l = [&](int i) { return i == k ? nullptr : rows; };
    const float* const v = k == 3 ? nullptr : vals;
    const Kiv8u* const s = k == 4 ? nullptr : sign;
    float* const d = k == 5 ? nullptr : dst;
    EXPECT_EQ(M::call(M::d2, e(0), e(1), e(2), 0, 0, v, s, 1, d, 1, kNone), kivStatusNullPointer);
    EXPECT_EQ(M::call(M::d2l, l(0), l(1), l(2), 0, v, s, 1, d, 1, kNone), kivStatusNullPointer);
    if (k == 2) continue;
    EXPECT_EQ(M::call(M::identity_d2, e(0), e(1), 0, 0, v, s, 1, d, 1, kNone), kivStatusNullPointer);
    EXPECT_EQ(M::call(M::identity_d2l, l(0), l(1), 0, v, s, 1, d, 1, kNone), kivStatusNullPointer);
  }
  for (int k = 0; k < 3; ++k) {
    const int len = k == 0 ? 0 : 2, components = k == 1 ? 0 : 1, frames = k == 2 ? INT_MIN : 1;
    EXPECT_EQ(M::call(M::d2, cells, cells, cells, 0, len, vals, sign, components, dst, frames, kNone),
              kivStatusBadSize);
    EXPECT_EQ(M::call(M::identity_d2l, rows, rows, len, vals, sign, components, dst, frames, kNone), kivStatusBadSize);
  }
  EXPECT_EQ(M::call(M::d2, cells, cells, cells, 1, 2, vals, sign, 1, dst, 1, kNone), kivStatusBadStep);
  EXPECT_EQ(M::call(M::identity_d2, cells, cells, 1, 2, vals, sign, 1, dst, 1, kNone), kivStatusBadStep);
  EXPECT_EQ(dst[0], 6.0F);
  {
    const AllocationWatch watch;
    EXPECT_EQ(M::call(M::d2, cells, cells, cells, 2, 2, vals, sign, 1, dst, 1, kNone), kivStatusOk);
    EXPECT_EQ(AllocationWatch::calls(), 1) << "the counters";
  }
  expect_survives_failed_allocations([&] {
    dst[0] = 6;
    const KivStatus status = M::call(M::d2, cells, cells, cells, 2, 2, vals, sign, 1, dst, 1, kNone);
    EXPECT_EQ(dst[0] == 6.0F, status == kivStatusNoMemory);
    return status;
  });
}

}  // namespace
}  // namespace kivsr::test
