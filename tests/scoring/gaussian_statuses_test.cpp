// Argument checks of floating-point Gaussian scoring: the first check in order decides.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "gaussian_members.h"
#include "kivsr.h"

namespace kivsr::test {
namespace {

template <class Code>
class GaussianStatuses : public ::testing::Test {
 protected:
  using E = typename Code::E;
  using R = typename Code::R;
  struct Sizes {
    int step, len, height;
  };
  // The k-th pointer is null, none for k = -1.
  using Call = std::function<KivStatus(int, Sizes)>;

  // Every null pointer in turn, sizes and the step, alone and together.
  void check(const char* what, int pointers, bool step_first, bool has_step, const Call& call) {
    for (int k = 0; k < pointers; ++k) {
      EXPECT_EQ(call(k, {4, 0, 0}), kivStatusNullPointer) << what << " pointer " << k;
      if (has_step) {
        EXPECT_EQ(call(k, {3, 4, 0}), step_first ? kivStatusBadStep : kivStatusNullPointer) << what;
      }
    }
    EXPECT_EQ(call(-1, {4, 0, 3}), kivStatusBadSize) << what;
    EXPECT_EQ(call(-1, {4, 4, 0}), kivStatusBadSize) << what;
    if (has_step) {
      EXPECT_EQ(call(-1, {3, 4, 0}), kivStatusBadStep) << what;
      EXPECT_EQ(call(-1, {-5, -1, 3}), kivStatusBadStep) << what;
    }
    EXPECT_EQ(out_, std::vector<R>(3, R{5})) << what << " wrote";
    EXPECT_EQ(call(-1, {4, 4, 3}), kivStatusOk) << what;
    EXPECT_NE(out_, std::vector<R>(3, R{5})) << what << " wrote nothing";
    std::fill(out_.begin(), out_.end(), R{5});
  }

  // Arguments, or null for the null-th pointer.
  const E* x(int k, int null) const { return k == null ? nullptr : far_.data(); }
  const E* e(int k, int null) const { return k == null ? nullptr : cells_.data(); }
  const E** l(int k, int null) { return k == null ? nullptr : rows_; }
  const R* v(int k, int null) const { return k == null ? nullptr : vals_.data(); }
  R* o(int k, int null) { return k == null ? nullptr : out_.data(); }

 private:
  const std::vector<E> cells_ = std::vector<E>(12, E{1});
  const std::vector<E> far_ = std::vector<E>(12, E{3});
  const E* rows_[3] = {cells_.data(), cells_.data() + 4, cells_.data() + 8};
  const std::vector<R> vals_ = std::vector<R>(3, R{90});
  std::vector<R> out_ = std::vector<R>(3, R{5});
};
TYPED_TEST_SUITE(GaussianStatuses, Codes);

TYPED_TEST(GaussianStatuses, Frames) {
  using M = Members<TypeParam>;
  auto& t = *this;
  const auto frames = [&](auto d2, auto d2l, auto d2_identity, auto d2l_identity) {
    constexpr typename TypeParam::R val = 90;
    t.check("D2", 4, true, true, [=, &t](int k, auto s) {
      return d2(t.e(k, 0), s.step, t.e(k, 1), t.e(k, 2), s.len, t.o(k, 3), s.height, val);
    });
    t.check("IdVar D2", 3, true, true, [=, &t](int k, auto s) {
      return d2_identity(t.e(k, 0), s.step, t.e(k, 1), s.len, t.o(k, 2), s.height, val);
    });
    t.check("D2L", 4, true, false,
            [=, &t](int k, auto s) { return d2l(t.l(k, 0), t.e(k, 1), t.e(k, 2), s.len, t.o(k, 3), s.height, val); });
    t.check("IdVar D2L", 3, true, false,
            [=, &t](int k, auto s) { return d2l_identity(t.l(k, 0), t.e(k, 1), s.len, t.o(k, 2), s.height, val); });
  };
  frames(M::plain_d2, M::plain_d2l, M::plain_identity_d2, M::plain_identity_d2l);
  frames(M::maximum_d2, M::maximum_d2l, M::maximum_identity_d2, M::maximum_identity_d2l);
  frames(M::log_add_d2, M::log_add_d2l, M::log_add_identity_d2, M::log_add_identity_d2l);
}

TYPED_TEST(GaussianStatuses, Gaussians) {
  using M = Members<TypeParam>;
  auto& t = *this;
  t.check("D2", 4, true, true, [&](int k, auto s) {
    return M::multi_mix_d2(t.e(k, 0), t.e(k, 1), s.step, t.x(k, 2), s.len, t.o(k, 3), s.height);
  });
  t.check("IdVar D2", 3, true, true, [&](int k, auto s) {
    return M::multi_mix_identity_d2(t.e(k, 0), s.step, t.x(k, 1), s.len, t.o(k, 2), s.height);
  });
  t.check("D2L", 4, true, false,
          [&](int k, auto s) { return M::multi_mix_d2l(t.l(k, 0), t.l(k, 1), t.x(k, 2), s.len, t.o(k, 3), s.height); });
  t.check("IdVar D2L", 3, true, false,
          [&](int k, auto s) { return M::multi_mix_identity_d2l(t.l(k, 0), t.x(k, 1), s.len, t.o(k, 2), s.height); });
}

TYPED_TEST(GaussianStatuses, MergedGaussians) {
  using M = Members<TypeParam>;
  auto& t = *this;
  const auto merged = [&](auto d2, auto d2l, auto d2_identity, auto d2l_identity) {
    t.check("D2", 5, true, true, [=, &t](int k, auto s) {
      return d2(t.e(k, 0), t.e(k, 1), s.step, t.e(k, 2), s.len, t.v(k, 3), t.o(k, 4), s.height);
    });
    t.check("IdVar D2", 4, true, true, [=, &t](int k, auto s) {
      return d2_identity(t.e(k, 0), s.step, t.e(k, 1), s.len, t.v(k, 2), t.o(k, 3), s.height);
    });
    t.check("D2L", 5, true, false, [=, &t](int k, auto s) {
      return d2l(t.l(k, 0), t.l(k, 1), t.e(k, 2), s.len, t.v(k, 3), t.o(k, 4), s.height);
    });
    t.check("IdVar D2L", 4, true, false, [=, &t](int k, auto s) {
      return d2l_identity(t.l(k, 0), t.e(k, 1), s.len, t.v(k, 2), t.o(k, 3), s.height);
    });
  };
  merged(M::add_mix_d2, M::add_mix_d2l, M::add_mix_identity_d2, M::add_mix_identity_d2l);
  merged(M::max_mix_d2, M::max_mix_d2l, M::max_mix_identity_d2, M::max_mix_identity_d2l);
}

TYPED_TEST(GaussianStatuses, Mixtures) {
  using M = Members<TypeParam>;
  auto& t = *this;
  t.check("D2", 5, false, true, [&](int k, auto s) {
    return M::mixture_d2(t.e(k, 0), t.e(k, 1), t.e(k, 2), s.height, s.step, s.len, t.v(k, 3), t.o(k, 4));
  });
  t.check("IdVar D2", 4, false, true, [&](int k, auto s) {
    return M::mixture_identity_d2(t.e(k, 0), t.e(k, 1), s.height, s.step, s.len, t.v(k, 2), t.o(k, 3));
  });
  t.check("D2L", 5, false, false, [&](int k, auto s) {
    return M::mixture_d2l(t.e(k, 0), t.l(k, 1), t.l(k, 2), s.height, s.len, t.v(k, 3), t.o(k, 4));
  });
  t.check("IdVar D2L", 4, false, false, [&](int k, auto s) {
    return M::mixture_identity_d2l(t.e(k, 0), t.l(k, 1), s.height, s.len, t.v(k, 2), t.o(k, 3));
  });
}

}  // namespace
}  // namespace kivsr::test
