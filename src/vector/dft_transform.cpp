// Real DFT of composite lengths: its tables and its passes in order.
#include <cmath>
#include <cstdint>
#include <numbers>

#include "dft.h"
#include "dft_passes.h"
#include "fft_object.h"
#include "frame/layout.h"
#include "frame/rounding_mode.h"

namespace kivsr::dft {

// --- tables ---------------------------------------------------------------------------------------------------------

// From an angle within the first eighth of the circle.
Root root_of_unity(std::int64_t e, std::int64_t n) {
  const std::int64_t quarters = 4 * (e % n) / n;
  const std::int64_t rest = 4 * (e % n) - quarters * n;
  const bool beyond = 2 * rest > n;
  const double angle = 0.5 * std::numbers::pi * static_cast<double>(beyond ? n - rest : rest) / static_cast<double>(n);
  const double sine = std::sin(angle);
  const double cosine = std::cos(angle);
  const double c = beyond ? sine : cosine;
  const double s = beyond ? cosine : sine;
  switch (quarters) {
    case 0: return {c, -s};
    case 1: return {-s, -c};
    case 2: return {-c, s};
    default: return {s, c};
  }
}

template <class T>
void build_pass_table(const Plan& plan, T* p) {
  std::int64_t points = plan.radices[0];
  for (int pass = 1; pass < plan.count; ++pass) {
    const std::int64_t radix = plan.radices[pass];
    for (std::int64_t i = 0; i < points; ++i) {
      for (std::int64_t k = 1; k < radix; ++k) {
        const Root root = root_of_unity(k * i, radix * points);
        *p++ = static_cast<T>(root.re);
        *p++ = static_cast<T>(root.im);
      }
    }
    points *= radix;
  }
}

namespace {

// W roots as the passes read them.
template <int W, class T, class Exponent>
T* store_roots(T* p, std::int64_t n, Exponent exponent) {
  for (int lane = 0; lane < W; ++lane) {
    const Root root = root_of_unity(exponent(lane), n);
    p[lane] = static_cast<T>(root.re);
    p[lane + W] = static_cast<T>(root.im);
  }
  return p + 2 * W;
}

template <class V, class T>
void build_lane_table(const Plan& plan, T* p) {
  constexpr int W = V::width;
  for (std::ptrdiff_t group = 0; group < groups_of(plan.columns, W); ++group) {
    const std::int64_t first = first_of(group, plan.columns, W);
    for (std::int64_t l = 1; l < W; ++l) {
      p = store_roots<W>(p, plan.points, [=](int lane) { return l * (first + lane); });
    }
  }
}

// -i w_N^k is a root, a quarter of the circle further on.
template <class V, class T>
void build_real_table(const Plan& plan, T* p) {
  constexpr int W = V::width;
  const std::int64_t samples = 2 * std::int64_t{plan.points};
  for (std::ptrdiff_t group = 0; group < groups_of(plan.points / 2, W); ++group) {
    const std::int64_t first = 1 + first_of(group, plan.points / 2, W);
    p = store_roots<W>(p, 4 * samples,
                       [=](int lane) { return 4 * (first + (W == 1 ? 0 : simd::kLaneElement<V>[lane])) + samples; });
  }
}

// --- transforms ----------------------------------------------------------------------------------------------------

template <class T>
struct ObjectParts {
  Layout layout;
  Part<Transform<T>> transform;
  Part<T> passes, lanes, real;

  ObjectParts(const Plan& plan, int length) : transform(layout.add<Transform<T>>(1)) {
    passes = layout.add<T>(pass_table_count(plan));
    lanes = layout.add<T>(lane_table_count(plan));
    real = layout.add<T>(length % 2 == 0 ? real_table_count<T>(plan) : 0);
  }
};

template <class T>
struct Areas {
  Layout layout;
  Part<T> area, other;

  explicit Areas(const Plan& plan) {
    area = layout.add<T>(area_count(plan));
    other = layout.add<T>(area_count(plan));
  }
};

template <class T, class F>
void with_areas(const Plan& plan, void* work, F f) {
  const Areas<T> parts(plan);
  void* const block = align_up(work);
  f(parts.area.in(block), parts.other.in(block));
}

template <class S, class T>
void forward_even(const S* src, T* dst, const Transform<T>& t, void* work) {
  with_areas<T>(t.plan, work, [&](T* area, T* other) {
    const std::ptrdiff_t count = t.plan.points;
    with_lanes<T>(t.plan.lanes, [&]<class V>(V*) {
      complex_transform<V>(t.plan, t.factors, Pairs<S>{src}, area, other, SplitResult<T>{other, other + count});
    });
    with_lanes<T>(real_lanes<T>(t.plan), [&]<class V>(V*) {
      forward_real_pass<V>(other, other + count, dst, count, t.factors.real, t.forward_factor);
    });
  });
}

template <class S, class T>
void inverse_even(const S* src, T* dst, const Transform<T>& t, void* work) {
  with_areas<T>(t.plan, work, [&](T* area, T* other) {
    T* const re = t.plan.count % 2 != 0 ? other : area;  // where the first pass does not write
    T* const im = re + t.plan.points;
    with_lanes<T>(real_lanes<T>(t.plan),
                  [&]<class V>(V*) { inverse_real_pass<V>(src, re, im, t.plan.points, t.factors.real); });
    with_lanes<T>(t.plan.lanes, [&]<class V>(V*) {
      complex_transform<V>(t.plan, t.factors, Parts<T>{re, im}, area, other, ExchangedPairs<T>{dst, t.inverse_factor});
    });
  });
}

template <class S, class T>
void forward_odd(const S* src, T* dst, const Transform<T>& t, void* work) {
  with_areas<T>(t.plan, work, [&](T* area, T* other) {
    const std::ptrdiff_t count = t.length;
    complex_transform<simd::Single<T>>(t.plan, t.factors, Reals<S>{src}, area, other,
                                       SplitResult<T>{other, other + count});
    for (std::ptrdiff_t k = 0; k <= count / 2; ++k) {
      dst[2 * k] = other[k] * t.forward_factor;
      dst[2 * k + 1] = k == 0 ? 0 : other[count + k] * t.forward_factor;
    }
  });
}

template <class S, class T>
void inverse_odd(const S* src, T* dst, const Transform<T>& t, void* work) {
  with_areas<T>(t.plan, work, [&](T* area, T* other) {
    const std::ptrdiff_t count = t.length;
    T* const pairs = t.plan.count % 2 != 0 ? other : area;
    pairs[0] = 0;
    pairs[1] = src[0];
    for (std::ptrdiff_t k = 1; k <= count / 2; ++k) {
      pairs[2 * k] = src[2 * k + 1];
      pairs[2 * k + 1] = src[2 * k];
      pairs[2 * (count - k)] = -src[2 * k + 1];
      pairs[2 * (count - k) + 1] = src[2 * k];
    }
    complex_transform<simd::Single<T>>(t.plan, t.factors, Pairs<T>{pairs}, area, other,
                                       ExchangedReals<T>{dst, t.inverse_factor});
  });
}

}  // namespace

template <class T>
std::size_t object_bytes(int length) {
  return fft::bytes_with_slack(ObjectParts<T>(plan_of<T>(length), length).layout, fft::kAlignmentSlack);
}

template <class T>
std::size_t work_bytes(int length) {
  return fft::bytes_with_slack(Areas<T>(plan_of<T>(length)).layout, fft::kAlignmentSlack);
}

template <class T>
Transform<T>* construct(void* object, int length, double forward_factor, double inverse_factor) {
  const NearestRounding nearest;  // tables are the same whatever the caller's rounding mode
  const Plan plan = plan_of<T>(length);
  const ObjectParts<T> parts(plan, length);
  void* const block = align_up(object);
  Transform<T>* const t = parts.transform.in(block);
  *t = {plan,
        length,
        static_cast<T>(forward_factor),
        static_cast<T>(inverse_factor),
        {parts.passes.in(block), parts.lanes.in(block), parts.real.in(block)}};
  build_pass_table(plan, parts.passes.in(block));
  if (length % 2 != 0) return t;
  with_lanes<T>(plan.lanes, [&]<class V>(V*) { build_lane_table<V>(plan, parts.lanes.in(block)); });
  with_lanes<T>(real_lanes<T>(plan), [&]<class V>(V*) { build_real_table<V>(plan, parts.real.in(block)); });
  return t;
}

template <class S, class T>
void forward(const S* src, T* dst, const Transform<T>& transform, void* work) {
  if (transform.length % 2 != 0) return forward_odd(src, dst, transform, work);
  forward_even(src, dst, transform, work);
}

template <class S, class T>
void inverse(const S* src, T* dst, const Transform<T>& transform, void* work) {
  if (transform.length % 2 != 0) return inverse_odd(src, dst, transform, work);
  inverse_even(src, dst, transform, work);
}

template void build_pass_table(const Plan& plan, float* p);
template void build_pass_table(const Plan& plan, double* p);
template std::size_t object_bytes<float>(int length);
template std::size_t object_bytes<double>(int length);
template std::size_t work_bytes<float>(int length);
template std::size_t work_bytes<double>(int length);
template Transform<float>* construct<float>(void* object, int length, double forward_factor, double inverse_factor);
template Transform<double>* construct<double>(void* object, int length, double forward_factor, double inverse_factor);
template void forward(const float* src, float* dst, const Transform<float>& transform, void* work);
template void forward(const float* src, double* dst, const Transform<double>& transform, void* work);
template void inverse(const float* src, float* dst, const Transform<float>& transform, void* work);
template void inverse(const double* src, double* dst, const Transform<double>& transform, void* work);

}  // namespace kivsr::dft
