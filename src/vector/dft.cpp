// Real DFT of composite lengths in single precision: the object, its tables, its transforms and the exports. Powers of
// two are transforms of the FFT family. Other families: dft.h.
#include "dft.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "dft_passes.h"
#include "fft_object.h"
#include "kivsr/vector/dft.h"

// Placed at a 32-byte boundary, the tables behind it.
struct KivsDFTSpec_R_32f {
  static constexpr Kiv32s kIdentifier = 0x52544644;
  Kiv32s identifier;
  Kiv32s length;
  Kiv32f forward_factor;
  Kiv32f inverse_factor;
  Kiv32s hint;
  kivsr::dft::Plan plan;
  KivsFFTSpec_R_32f* power_of_two;  // or null
  kivsr::dft::Factors factors;
};

namespace kivsr::dft {
namespace {

using Spec = KivsDFTSpec_R_32f;

constexpr bool is_power_of_two(int length) { return (length & (length - 1)) == 0; }

int order_of(int length) {
  int order = 0;
  for (; length > 1; length /= 2) ++order;
  return order;
}

struct ObjectParts {
  Layout layout;
  Part<Spec> spec;
  Part<float> passes, lanes, real;
  Part<char> power_of_two;

  explicit ObjectParts(int length) : spec(layout.add<Spec>(1)) {
    if (is_power_of_two(length)) {
      power_of_two = layout.add<char>(fft::sizes<KivsFFTSpec_R_32f>(order_of(length)).object);
    } else {
      const Plan plan = plan_of(length);
      passes = layout.add<float>(pass_table_count(plan));
      lanes = layout.add<float>(lane_table_count(plan));
      real = layout.add<float>(length % 2 == 0 ? real_table_count(plan) : 0);
    }
  }
};

struct WorkParts {
  Layout layout;
  Part<float> area, other;

  explicit WorkParts(const Plan& plan) {
    area = layout.add<float>(area_count(plan));
    other = layout.add<float>(area_count(plan));
  }
};

// --- tables ---------------------------------------------------------------------------------------------------------

struct Root {
  double re, im;
};

// exp(-2 pi i e / n) from an angle within the first eighth of the circle.
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

void build_pass_table(const Plan& plan, float* p) {
  std::int64_t points = plan.radices[0];
  for (int pass = 1; pass < plan.count; ++pass) {
    const std::int64_t radix = plan.radices[pass];
    for (std::int64_t i = 0; i < points; ++i) {
      for (std::int64_t k = 1; k < radix; ++k) {
        const Root root = root_of_unity(k * i, radix * points);
        *p++ = static_cast<float>(root.re);
        *p++ = static_cast<float>(root.im);
      }
    }
    points *= radix;
  }
}

// W roots as the passes read them.
template <int W, class Exponent>
float* store_roots(float* p, std::int64_t n, Exponent exponent) {
  for (int lane = 0; lane < W; ++lane) {
    const Root root = root_of_unity(exponent(lane), n);
    p[lane] = static_cast<float>(root.re);
    p[lane + W] = static_cast<float>(root.im);
  }
  return p + 2 * W;
}

template <class V>
void build_lane_table(const Plan& plan, float* p) {
  constexpr int W = V::width;
  for (std::ptrdiff_t group = 0; group < groups_of(plan.columns, W); ++group) {
    const std::int64_t first = first_of(group, plan.columns, W);
    for (std::int64_t l = 1; l < W; ++l) {
      p = store_roots<W>(p, plan.points, [=](int lane) { return l * (first + lane); });
    }
  }
}

// -i w_N^k is a root, a quarter of the circle further on.
template <class V>
void build_real_table(const Plan& plan, float* p) {
  constexpr int W = V::width;
  const std::int64_t samples = 2 * std::int64_t{plan.points};
  for (std::ptrdiff_t group = 0; group < groups_of(plan.points / 2, W); ++group) {
    const std::int64_t first = 1 + first_of(group, plan.points / 2, W);
    p = store_roots<W>(p, 4 * samples,
                       [=](int lane) { return 4 * (first + (W == 1 ? 0 : simd::kLaneElement<V>[lane])) + samples; });
  }
}

// --- transforms -------------------------------------------------------------------------------------------------------

struct Areas {
  float* area;
  float* other;
};
Areas areas_in(const Plan& plan, void* work) {
  const WorkParts parts(plan);
  void* const block = align_up(work);
  return {parts.area.in(block), parts.other.in(block)};
}

template <class V>
void forward_even(const float* src, float* dst, const Spec& spec, void* work) {
  const auto [area, other] = areas_in(spec.plan, work);
  const std::ptrdiff_t count = spec.plan.points;
  complex_transform<V>(spec.plan, spec.factors, Pairs{src}, area, other, SplitResult{other, other + count});
  forward_real_pass<V>(other, other + count, dst, count, spec.factors.real, spec.forward_factor);
}

template <class V>
void inverse_even(const float* src, float* dst, const Spec& spec, void* work) {
  const auto [area, other] = areas_in(spec.plan, work);
  float* const pairs = spec.plan.count % 2 != 0 ? other : area;  // where the first pass does not write
  inverse_real_pass<V>(src, pairs, spec.plan.points, spec.factors.real);
  complex_transform<V>(spec.plan, spec.factors, Pairs{pairs}, area, other, ExchangedPairs{dst, spec.inverse_factor});
}

using One = simd::Single<float>;

void forward_odd(const float* src, float* dst, const Spec& spec, void* work) {
  const auto [area, other] = areas_in(spec.plan, work);
  const std::ptrdiff_t count = spec.length;
  complex_transform<One>(spec.plan, spec.factors, Reals{src}, area, other, SplitResult{other, other + count});
  for (std::ptrdiff_t k = 0; k <= count / 2; ++k) {
    dst[2 * k] = other[k] * spec.forward_factor;
    dst[2 * k + 1] = k == 0 ? 0 : other[count + k] * spec.forward_factor;
  }
}

void inverse_odd(const float* src, float* dst, const Spec& spec, void* work) {
  const auto [area, other] = areas_in(spec.plan, work);
  const std::ptrdiff_t count = spec.length;
  float* const pairs = spec.plan.count % 2 != 0 ? other : area;
  pairs[0] = 0;
  pairs[1] = src[0];
  for (std::ptrdiff_t k = 1; k <= count / 2; ++k) {
    pairs[2 * k] = src[2 * k + 1];
    pairs[2 * k + 1] = src[2 * k];
    pairs[2 * (count - k)] = -src[2 * k + 1];
    pairs[2 * (count - k) + 1] = src[2 * k];
  }
  complex_transform<One>(spec.plan, spec.factors, Pairs{pairs}, area, other, ExchangedReals{dst, spec.inverse_factor});
}

}  // namespace

fft::Sizes sizes(int length) {
  if (is_power_of_two(length)) {
    const fft::Sizes bytes = fft::sizes<KivsFFTSpec_R_32f>(order_of(length));
    return {fft::bytes_with_slack(ObjectParts(length).layout, fft::kAlignmentSlack), bytes.construction, bytes.work};
  }
  return {fft::bytes_with_slack(ObjectParts(length).layout, fft::kAlignmentSlack), 0,
          fft::bytes_with_slack(WorkParts(plan_of(length)).layout, fft::kAlignmentSlack)};
}

KivsDFTSpec_R_32f* construct(void* object, void* construction, int length, int flag, int hint) {
  const NearestRounding nearest;  // tables are the same whatever the caller's rounding mode
  const ObjectParts parts(length);
  void* const block = align_up(object);
  Spec* const spec = parts.spec.in(block);
  std::memset(static_cast<void*>(spec), 0, sizeof *spec);
  spec->identifier = Spec::kIdentifier;
  spec->length = length;
  spec->hint = hint;
  if (is_power_of_two(length)) {
    spec->power_of_two =
        fft::construct<KivsFFTSpec_R_32f>(parts.power_of_two.in(block), construction, order_of(length), flag, hint);
    return spec;
  }
  const double factor = flag == kivFftScaleNone   ? 1.0
                        : flag == kivFftScaleSqrt ? std::sqrt(1.0 / length)
                                                  : 1.0 / length;
  spec->forward_factor = fft::scales_forward(flag) ? static_cast<float>(factor) : 1.0F;
  spec->inverse_factor = fft::scales_inverse(flag) ? static_cast<float>(factor) : 1.0F;
  spec->plan = plan_of(length);
  spec->factors = {parts.passes.in(block), parts.lanes.in(block), parts.real.in(block)};
  build_pass_table(spec->plan, parts.passes.in(block));
  if (length % 2 != 0) return spec;
  with_lanes(spec->plan, [&]<class V>(V*) {
    build_lane_table<V>(spec->plan, parts.lanes.in(block));
    build_real_table<V>(spec->plan, parts.real.in(block));
  });
  return spec;
}

void forward(const Kiv32f* src, Kiv32f* dst, const KivsDFTSpec_R_32f& spec, void* work) {
  if (spec.power_of_two != nullptr) return fft::forward(src, dst, *spec.power_of_two, work, fft::Spectrum::kCcs);
  if (spec.length % 2 != 0) return forward_odd(src, dst, spec, work);
  with_lanes(spec.plan, [&]<class V>(V*) { forward_even<V>(src, dst, spec, work); });
}

void inverse(const Kiv32f* src, Kiv32f* dst, const KivsDFTSpec_R_32f& spec, void* work) {
  if (spec.power_of_two != nullptr) {
    dst[0] = src[0];
    std::memmove(dst + 1, src + 2, (static_cast<std::size_t>(spec.length) - 1) * sizeof *dst);
    return fft::inverse(dst, dst, *spec.power_of_two, work);
  }
  if (spec.length % 2 != 0) return inverse_odd(src, dst, spec, work);
  with_lanes(spec.plan, [&]<class V>(V*) { inverse_even<V>(src, dst, spec, work); });
}

namespace {

// Exported objects take the factors 2, 3 and 5.
constexpr KivStatus known_length(int length) {
  return require(has_passes(length) && length % 7 != 0 && length % 11 != 0 && length % 13 != 0, kivStatusBadSize);
}

KivStatus get_size(int length, int flag, int* object, int* construction, int* work) {
  const KivStatus checks =
      first_failure(known_length(length), not_null(object, construction, work), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return fft::report(sizes(length), object, construction, work);
}

KivStatus init(Spec** spec, int length, int flag, int hint, void* object, void* construction) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), not_null(object), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return run(require(construction != nullptr || sizes(length).construction == 0, kivStatusNullPointer),
             [&] { *spec = construct(object, construction, length, flag, hint); });
}

KivStatus init_alloc(Spec** spec, int length, int flag, int hint) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  const fft::Sizes bytes = sizes(length);
  const auto build = [&](void* construction) {
    void* const object = allocate_bytes(bytes.object);
    if (object == nullptr) return kivStatusNoMemory;
    *spec = construct(object, construction, length, flag, hint);  // at the block's own, aligned, start
    return kivStatusOk;
  };
  if (bytes.construction == 0) return build(nullptr);
  Scratch<Kiv8u> construction(bytes.construction);
  return construction ? build(construction.data()) : kivStatusNoMemory;
}

KivStatus buffer_size(const Spec* spec, int* size) {
  const KivStatus checks = first_failure(not_null(spec, size), fft::identified(spec));
  if (checks != kivStatusOk) return checks;
  const fft::Sizes bytes = sizes(spec->length);
  return run(fft::sizes_fit_int({0, 0, bytes.work}), [&] { *size = static_cast<int>(bytes.work); });
}

// apply(work) with the caller's buffer, or with one from the allocator where that is null and one is needed.
template <class Apply>
KivStatus transform(const void* src, const void* dst, const Spec* spec, Kiv8u* buffer, Apply apply) {
  const KivStatus checks = first_failure(fft::identified(spec), not_null(src, dst));
  if (checks != kivStatusOk) return checks;
  if (const std::size_t bytes = buffer == nullptr ? sizes(spec->length).work : 0; bytes > 0) {
    Scratch<Kiv8u> work(bytes);
    return run(require(static_cast<bool>(work), kivStatusNoMemory), [&] { apply(work.data()); });
  }
  apply(buffer);
  return kivStatusOk;
}

}  // namespace
}  // namespace kivsr::dft

extern "C" {
using namespace kivsr;

KivStatus kivsDFTGetSize_R_32f(int length, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return dft::get_size(length, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsDFTInit_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint, Kiv8u* pMemSpec,
                            Kiv8u* pMemInit) {
  return dft::init(ppSpec, length, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsDFTInitAlloc_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint) {
  return dft::init_alloc(ppSpec, length, flag, hint);
}
KivStatus kivsDFTFree_R_32f(KivsDFTSpec_R_32f* pSpec) { return fft::free_object(pSpec); }
KivStatus kivsDFTGetBufSize_R_32f(const KivsDFTSpec_R_32f* pSpec, int* pBufferSize) {
  return dft::buffer_size(pSpec, pBufferSize);
}
KivStatus kivsDFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform(pSrc, pDst, pSpec, pBuffer, [&](void* work) { dft::forward(pSrc, pDst, *pSpec, work); });
}
KivStatus kivsDFTInv_CCSToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform(pSrc, pDst, pSpec, pBuffer, [&](void* work) { dft::inverse(pSrc, pDst, *pSpec, work); });
}
}
