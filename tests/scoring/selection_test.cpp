// Mixture scores of selected components, against single scores added one after the other.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr float kNone = -123.5F;
constexpr int kScale = 17;

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
  template <class F, class... A>
  static KivStatus call(F f, A... arguments) {
    return f(arguments..., kScale);
  }
};

template <class T>
class Selection : public ::testing::Test {};
using Members = ::testing::Types<Floats, Integers>;
TYPED_TEST_SUITE(Selection, Members);

TYPED_TEST(Selection, AddsTheSelectedComponentsInOrder) {
  using M = TypeParam;
  using E = typename M::E;
  unsigned seed = 1;
  for (const int components : {1, 7, 8, 9, 16, 20, 21, 150}) {
    for (const int frames : {1, 2, 20, 21, 64, 65, 130}) {
      for (const int len : {3, 8, 13}) {
        Random random(seed++);
        const int step = len + static_cast<int>(seed % 2);
        GuardedMatrix<E> x(frames, len, step), m(components, len, step), w(components, len, step);
        x.fill([&] { return random.value<E>(-M::kRange, M::kRange); });
        m.fill([&] { return random.value<E>(-M::kRange, M::kRange); });
        w.fill([&] { return random.value<E>(0, 3); });
        const Guarded<float> vals(random.values<float>(static_cast<std::size_t>(components), -9, 9));
        // Frames with every component, some, one and none; padding bits are set.
        const auto bytes = static_cast<std::size_t>((components + 7) / 8);
        Guarded<Kiv8u> sign(bytes * static_cast<std::size_t>(frames));
        const auto selected = [&](int f, int j) {
          switch (f % 4) {
            case 0: return true;
            case 1: return (f * 7 + j * j) % 3 == 0;
            case 2: return j == f % components;
            default: return false;
          }
        };
        for (int f = 0; f < frames; ++f) {
          Kiv8u* const row = sign.data() + bytes * static_cast<std::size_t>(f);
          for (std::size_t k = 0; k < bytes; ++k) row[k] = 0;
          for (int j = 0; j < static_cast<int>(bytes) * 8; ++j) {
            if (j >= components || selected(f, j)) row[j / 8] = static_cast<Kiv8u>(row[j / 8] | 0x80 >> j % 8);
          }
        }
        for (const bool weighted : {true, false}) {
          std::vector<float> truth;
          for (int f = 0; f < frames; ++f) {
            float sum = kNone;
            bool first = true;
            for (int j = 0; j < components; ++j) {
              if (!selected(f, j)) continue;
              const float val = vals[static_cast<std::size_t>(j)];
              float s = 0;
              weighted ? M::call(M::single, x.row(f), m.row(j), w.row(j), len, &s, val)
                       : M::call(M::single_identity, x.row(f), m.row(j), len, &s, val);
              if (first) sum = s;
              if (!first) kivsLogAdd_32f(&s, &sum, 1, kivLogAddHintAc);
              first = false;
            }
            truth.push_back(sum);
          }
          Guarded<float> a(truth.size()), b(truth.size());
          ASSERT_EQ(weighted ? M::call(M::d2, x.data(), m.data(), w.data(), step, len, vals.data(), sign.data(),
                                       components, a.data(), frames, kNone)
                             : M::call(M::identity_d2, x.data(), m.data(), step, len, vals.data(), sign.data(),
                                       components, a.data(), frames, kNone),
                    kivStatusOk);
          ASSERT_EQ(weighted ? M::call(M::d2l, x.const_rows(), m.const_rows(), w.const_rows(), len, vals.data(),
                                       sign.data(), components, b.data(), frames, kNone)
                             : M::call(M::identity_d2l, x.const_rows(), m.const_rows(), len, vals.data(), sign.data(),
                                       components, b.data(), frames, kNone),
                    kivStatusOk);
          expect_exact(a, truth, "D2");
          expect_exact(b, truth, "D2L");
        }
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
  expect_survives_failed_allocations([&] {
    dst[0] = 6;
    const KivStatus status = M::call(M::d2, cells, cells, cells, 2, 2, vals, sign, 1, dst, 1, kNone);
    EXPECT_EQ(dst[0] == 6.0F, status == kivStatusNoMemory);
    return status;
  });
}

}  // namespace
}  // namespace kivsr::test
