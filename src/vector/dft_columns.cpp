// Power and magnitude spectra of signals side by side. Short ones: the passes of the DFT over columns, with a signal in
// each lane. Long ones, of which a group would leave the first cache between two passes: turned over, one by one.
#include <cmath>
#include <cstdint>

#include "dft.h"
#include "dft_passes.h"
#include "fft_object.h"
#include "frame/simd/columns.h"
#include "kivsr/vector/dft_columns.h"

// Placed at a 32-byte boundary, its tables or its transform behind it.
struct KivsDFTColumnsSpec_R_32f {
  static constexpr Kiv32s kIdentifier = 0x4C4F4344;
  Kiv32s identifier;
  Kiv32s length;
  const KivsDFTSpec_R_32f* row;  // of one signal, for long ones; null for short ones
  kivsr::dft::Plan plan;
  float factor;
  const float* passes;
  const float* real;  // -i w_N^k for k = 1 .. M / 2, in pairs
};

namespace kivsr::dft {
namespace {

using Spec = KivsDFTColumnsSpec_R_32f;
using V = simd::ColumnVec;
using Bin = Complex<V>;
constexpr int W = V::width;

constexpr KivStatus known_length(int length) { return require(is_exported_length(length), kivStatusBadSize); }

// Every number is one of the columns of the plan: its lanes belong to the signals.
Plan plan_of_signals(int length) {
  Plan plan;
  plan.points = plan.columns = length % 2 == 0 ? length / 2 : length;
  choose_radices(plan);
  return plan;
}

constexpr std::size_t kLargestArea = 16384;
bool is_short(const Plan& plan) { return area_count(plan) * W * sizeof(float) <= kLargestArea; }

std::size_t real_factors(const Plan& plan, int length) {
  return length % 2 == 0 ? 2 * static_cast<std::size_t>(plan.points / 2) : 0;
}

struct SpecParts {
  Layout layout;
  Part<Spec> spec;
  Part<float> passes, real;
  Part<char> row;

  SpecParts(const Plan& plan, int length) : spec(layout.add<Spec>(1)) {
    passes = layout.add<float>(is_short(plan) ? pass_table_count(plan) : 0);
    real = layout.add<float>(is_short(plan) ? real_factors(plan, length) : 0);
    row = layout.add<char>(is_short(plan) ? 0 : row_sizes(length).object);
  }
};

// Of a row that holds N samples and then a CCS spectrum. The rows of a group lie at different places of the cache.
std::size_t row_pitch(int length) { return static_cast<std::size_t>(length) + 2 + 16; }

// Two areas of numbers for short signals; for long ones the rows, and the work memory of one of them behind.
struct WorkParts {
  Layout layout;
  Part<float> area, other;
  Part<char> row;

  WorkParts(const Plan& plan, int length, std::size_t row_bytes = 0) {
    area = layout.add<float>(W * (is_short(plan) ? area_count(plan) : row_pitch(length)));
    other = layout.add<float>(is_short(plan) ? W * area_count(plan) : 0);
    row = layout.add<char>(row_bytes);
  }
};

fft::Sizes sizes(int length) {
  const Plan plan = plan_of_signals(length);
  const fft::Sizes row = is_short(plan) ? fft::Sizes{} : row_sizes(length);
  return {fft::bytes_with_slack(SpecParts(plan, length).layout, fft::kAlignmentSlack), row.construction,
          fft::bytes_with_slack(WorkParts(plan, length, row.work).layout, fft::kAlignmentSlack)};
}

float factor_of(int length, int flag) {
  if (!fft::scales_forward(flag)) return 1.0F;
  return static_cast<float>(flag == kivFftScaleSqrt ? std::sqrt(1.0 / length) : 1.0 / length);
}

void build_real_factors(const Plan& plan, int length, float* p) {
  for (std::size_t i = 0; i < real_factors(plan, length); i += 2) {
    // -i w_N^k is a root, a quarter of the circle further on.
    const Root root = root_of_unity(4 * static_cast<std::int64_t>(i / 2 + 1) + length, 4 * std::int64_t{length});
    p[i] = static_cast<float>(root.re);
    p[i + 1] = static_cast<float>(root.im);
  }
}

Spec* make_spec(void* object, void* construction, int length, int flag) {
  const NearestRounding nearest;
  const Plan plan = plan_of_signals(length);
  const SpecParts parts(plan, length);
  void* const block = align_up(object);
  Spec* const spec = parts.spec.in(block);
  *spec = {Spec::kIdentifier, length, nullptr, plan, factor_of(length, flag), nullptr, nullptr};
  if (!is_short(plan)) {
    spec->row = construct_row(parts.row.in(block), construction, length, flag, 0);
    return spec;
  }
  spec->passes = parts.passes.in(block);
  spec->real = parts.real.in(block);
  if (plan.count > 0) build_pass_table(plan, parts.passes.in(block));
  build_real_factors(plan, length, parts.real.in(block));
  return spec;
}

struct Power {
  static V of(Bin x) { return simd::mul_add(x.re, x.re, x.im * x.im); }
  static float of(float re, float im) { return re * re + im * im; }
};
struct Magnitude {
  static V of(Bin x) { return simd::sqrt(Power::of(x)); }
  static float of(float re, float im) { return std::sqrt(Power::of(re, im)); }
};

// --- short signals ----------------------------------------------------------------------------------------------------

// Samples 2 i and 2 i + 1 as number i, or sample i alone.
template <bool kPairs, class Group>
struct Samples {
  const float* from;
  std::ptrdiff_t step;
  Group group;
  template <class>
  Bin load(std::ptrdiff_t i) const {
    if constexpr (!kPairs) return {group.load(from + i * step), V::zero()};
    return {group.load(from + 2 * i * step), group.load(from + (2 * i + 1) * step)};
  }
};

// From the numbers Z to the spectrum, as dft_passes.h has it.
template <class Value, class Store>
[[gnu::flatten, gnu::noinline]] void store_even(const float* __restrict area, const Spec& spec, Store store) {
  const std::ptrdiff_t count = spec.plan.points;
  const V half_gain = V::broadcast(0.5F * spec.factor);
  const V gain = V::broadcast(spec.factor);
  const Bin first = load_block<V>(area, 0);
  store(0, Value::of(Bin{(first.re + first.im) * gain, V::zero()}));
  store(count, Value::of(Bin{(first.re - first.im) * gain, V::zero()}));
  for (std::ptrdiff_t k = 1; k <= count / 2; ++k) {
    const Bin z = load_block<V>(area, k);
    const Bin m = load_block<V>(area, count - k);
    const float* const factor = spec.real + 2 * (k - 1);
    const Bin turn = {V::broadcast(factor[0]), V::broadcast(factor[1])};
    const Bin e = Bin{z.re + m.re, z.im - m.im} * half_gain;
    const Bin d = rotated<false>(Bin{z.re - m.re, z.im + m.im} * half_gain, turn);
    store(k, Value::of(e + d));
    store(count - k, Value::of(e - d));
  }
}

template <class Value, class Store>
void store_odd(const float* area, const Spec& spec, Store store) {
  const V gain = V::broadcast(spec.factor);
  for (std::ptrdiff_t k = 0; k <= spec.plan.points / 2; ++k) store(k, Value::of(load_block<V>(area, k) * gain));
}

template <class Value, class Group>
void transform_short(const float* src, float* dst, std::ptrdiff_t step, const Spec& spec, void* work, Group group) {
  const WorkParts parts(spec.plan, spec.length);
  void* const block = align_up(work);
  float* const area = parts.area.in(block);
  const auto numbers = [&](auto samples) {
    if (spec.plan.count == 0) return fft::store_block(area, 0, samples.template load<V>(0));
    column_passes<V>(spec.plan, spec.passes, samples, area, parts.other.in(block));
  };
  const auto store = [=](std::ptrdiff_t k, V value) { group.store(dst + k * step, value); };
  if (spec.length % 2 == 0) {
    numbers(Samples<true, Group>{src, step, group});
    store_even<Value>(area, spec, store);
  } else {
    numbers(Samples<false, Group>{src, step, group});
    store_odd<Value>(area, spec, store);
  }
}

// --- long signals -----------------------------------------------------------------------------------------------------

// Columns to rows: `height` values of each.
template <class Group>
void turn_to_rows(const float* src, std::ptrdiff_t step, float* rows, std::ptrdiff_t pitch, int height, Group group) {
  int n = 0;
  for (; n + W <= height; n += W) {
    V v[W];
#pragma GCC unroll 8
    for (int i = 0; i < W; ++i) v[i] = group.load(src + (n + i) * step);
    simd::transpose(v);
#pragma GCC unroll 8
    for (int j = 0; j < W; ++j) simd::store(rows + j * pitch + n, v[j]);
  }
  for (; n < height; ++n) {
    for (int j = 0; j < group.count; ++j) rows[j * pitch + n] = src[n * step + j];
  }
}

template <class Group>
void turn_to_columns(const float* rows, std::ptrdiff_t pitch, float* dst, std::ptrdiff_t step, int height,
                     Group group) {
  int n = 0;
  for (; n + W <= height; n += W) {
    V v[W];
#pragma GCC unroll 8
    for (int j = 0; j < W; ++j) v[j] = simd::load_short<float>(rows + j * pitch + n);
    simd::transpose(v);
#pragma GCC unroll 8
    for (int i = 0; i < W; ++i) group.store(dst + (n + i) * step, v[i]);
  }
  for (; n < height; ++n) {
    for (int j = 0; j < group.count; ++j) dst[n * step + j] = rows[j * pitch + n];
  }
}

// Pairs to values, in place.
template <class Value>
void take_values(float* row, int count) {
  int k = 0;
  for (; k + W <= count; k += W) {
    simd::store(row + k, pair_order(Value::of(load_pairs<V>(row + 2 * k))));
  }
  for (; k < count; ++k) row[k] = Value::of(row[2 * k], row[2 * k + 1]);
}

template <class Value, class Group>
[[gnu::flatten]] void transform_long(const float* src, float* dst, std::ptrdiff_t step, const Spec& spec, void* work,
                                     Group group) {
  const WorkParts parts(spec.plan, spec.length);
  void* const block = align_up(work);
  float* const rows = parts.area.in(block);
  const auto pitch = static_cast<std::ptrdiff_t>(row_pitch(spec.length));
  const int bins = spec.length / 2 + 1;
  turn_to_rows(src, step, rows, pitch, spec.length, group);
  for (int j = 0; j < group.count; ++j) {
    float* const row = rows + j * pitch;
    forward_row(row, row, *spec.row, parts.row.in(block));
    take_values<Value>(row, bins);
  }
  turn_to_columns(rows, pitch, dst, step, bins, group);
}

// --- exports ------------------------------------------------------------------------------------------------------------

template <class Value>
KivStatus transform(const Kiv32f* src, Kiv32f* dst, int columns, const Spec* spec, Kiv8u* buffer) {
  const KivStatus checks = first_failure(fft::identified(spec), not_null(src, dst), positive(columns));
  if (checks != kivStatusOk) return checks;
  return fft::transform(
      src, dst, spec, buffer, [](const Spec& of) { return sizes(of.length).work; },
      [&](void* work) {
        simd::for_column_groups(columns, [&](int c, auto group) {
          if (spec->row == nullptr) return transform_short<Value>(src + c, dst + c, columns, *spec, work, group);
          transform_long<Value>(src + c, dst + c, columns, *spec, work, group);
        });
      });
}

KivStatus get_size(int length, int flag, int* object, int* construction, int* work) {
  const KivStatus checks =
      first_failure(known_length(length), not_null(object, construction, work), fft::known_flag(flag));
  return checks != kivStatusOk ? checks : fft::report(sizes(length), object, construction, work);
}

KivStatus init(Spec** spec, int length, int flag, void* object, void* construction) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), not_null(object), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return run(require(construction != nullptr || sizes(length).construction == 0, kivStatusNullPointer),
             [&] { *spec = make_spec(object, construction, length, flag); });
}

KivStatus init_alloc(Spec** spec, int length, int flag) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return fft::allocate_object(spec, sizes(length), [=](void* object, void* construction) {
    return make_spec(object, construction, length, flag);
  });
}

KivStatus buffer_size(const Spec* spec, int* size) {
  const KivStatus checks = first_failure(not_null(spec, size), fft::identified(spec));
  if (checks != kivStatusOk) return checks;
  const fft::Sizes bytes = sizes(spec->length);
  return run(fft::sizes_fit_int({0, 0, bytes.work}), [&] { *size = static_cast<int>(bytes.work); });
}

}  // namespace
}  // namespace kivsr::dft

extern "C" {
using namespace kivsr;

KivStatus kivsDFTColumnsGetSize_R_32f(int length, int flag, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return dft::get_size(length, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsDFTColumnsInit_R_32f(KivsDFTColumnsSpec_R_32f** ppSpec, int length, int flag, Kiv8u* pMemSpec,
                                   Kiv8u* pMemInit) {
  return dft::init(ppSpec, length, flag, pMemSpec, pMemInit);
}
KivStatus kivsDFTColumnsInitAlloc_R_32f(KivsDFTColumnsSpec_R_32f** ppSpec, int length, int flag) {
  return dft::init_alloc(ppSpec, length, flag);
}
KivStatus kivsDFTColumnsFree_R_32f(KivsDFTColumnsSpec_R_32f* pSpec) { return fft::free_object(pSpec); }
KivStatus kivsDFTColumnsGetBufSize_R_32f(const KivsDFTColumnsSpec_R_32f* pSpec, int* pBufferSize) {
  return dft::buffer_size(pSpec, pBufferSize);
}
KivStatus kivsDFTColumnsPower_R_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                    const KivsDFTColumnsSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform<dft::Power>(pSrc, pDst, columns, pSpec, pBuffer);
}
KivStatus kivsDFTColumnsMagnitude_R_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                        const KivsDFTColumnsSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform<dft::Magnitude>(pSrc, pDst, columns, pSpec, pBuffer);
}
}
