// What the FFT objects of both element types share: scale factors, the placement of an object and its tables, and the
// exports that make, measure and release objects.
#pragma once

#include <cstdint>
#include <limits>

#include "fft.h"
#include "fft_transform.h"
#include "frame/allocator.h"
#include "frame/layout.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "frame/status.h"

namespace kivsr::fft {

constexpr KivStatus known_order(int order) {
  return require(order >= 0 && order <= kMaximumOrder, kivStatusFftOrderError);
}
constexpr KivStatus known_flag(int flag) {
  return require(
      flag == kivFftScaleForward || flag == kivFftScaleInverse || flag == kivFftScaleSqrt || flag == kivFftScaleNone,
      kivStatusFftFlagError);
}

constexpr bool scales_forward(int flag) { return flag == kivFftScaleForward || flag == kivFftScaleSqrt; }
constexpr bool scales_inverse(int flag) { return flag == kivFftScaleInverse || flag == kivFftScaleSqrt; }

// 1 / N, 1 / sqrt N, or 1 without scaling; N = 2^order.
template <class T>
constexpr T scale_factor(int order, int flag) {
  if (flag == kivFftScaleNone) return 1;
  if (flag != kivFftScaleSqrt) return static_cast<T>(power_of_two_64(-order));
  return static_cast<T>(power_of_two_64(-order / 2) * (order % 2 != 0 ? kRootHalf : 1.0));
}

// --- placement ------------------------------------------------------------------

// An object, the tables of the passes in T behind it.
template <class Spec, class T>
struct ObjectParts {
  Layout layout;
  Part<Spec> spec;
  Part<T> middle;
  Part<T> last;

  ObjectParts(int order, std::size_t last_count) : spec(layout.add<Spec>(1)) {
    const bool has_tables = order >= kFirstTableOrder;
    middle = layout.add<T>(has_tables ? static_cast<std::size_t>(middle_table_count<T>(order)) : 0);
    last = layout.add<T>(has_tables ? last_count : 0);
  }
};

// What a caller has to provide for a layout, with `slack` for an address of any alignment: a reported size that does
// not fit size_t is its largest value.
inline std::size_t bytes_with_slack(const Layout& layout, std::size_t slack) {
  return layout.overflow() ? std::numeric_limits<std::size_t>::max() : layout.bytes() + slack;
}
inline constexpr std::size_t kAlignmentSlack = kPartAlignment - 1;

constexpr KivStatus sizes_fit_int(const Sizes& sizes) {
  constexpr std::size_t kLargest = std::numeric_limits<int>::max();
  return require(sizes.object <= kLargest && sizes.construction <= kLargest && sizes.work <= kLargest,
                 kivStatusBadSize);
}

// --- exports --------------------------------------------------------------------

// The checks of an object that a caller passes: null, then the identifier in its first word.
template <class Spec>
inline KivStatus identified(const Spec* spec) {
  if (spec == nullptr) return kivStatusNullPointer;
  return require(spec->identifier == Spec::kIdentifier, kivStatusContextMismatch);
}

inline KivStatus report(const Sizes& sizes, int* object, int* construction, int* work) {
  return run(sizes_fit_int(sizes), [&] {
    *object = static_cast<int>(sizes.object);
    *construction = static_cast<int>(sizes.construction);
    *work = static_cast<int>(sizes.work);
  });
}

template <class Spec>
KivStatus get_size(int order, int flag, int* object, int* construction, int* work) {
  const KivStatus checks = first_failure(known_order(order), not_null(object, construction, work), known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return report(sizes<Spec>(order), object, construction, work);
}

template <class Spec>
KivStatus init(Spec** spec, int order, int flag, int hint, void* object, void* construction) {
  const KivStatus checks = first_failure(not_null(spec), known_order(order), not_null(object), known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return run(require(construction != nullptr || sizes<Spec>(order).construction == 0, kivStatusNullPointer),
             [&] { *spec = construct<Spec>(object, construction, order, flag, hint); });
}

// *spec = make(object, construction), in memory of the allocator.
template <class Spec, class Make>
KivStatus allocate_object(Spec** spec, const Sizes& bytes, Make make) {
  const auto build = [&](void* construction) {
    void* const object = allocate_bytes(bytes.object);
    if (object == nullptr) return kivStatusNoMemory;
    *spec = make(object, construction);  // at the block's own, aligned, start
    return kivStatusOk;
  };
  if (bytes.construction == 0) return build(nullptr);
  Scratch<Kiv8u> construction(bytes.construction);
  return construction ? build(construction.data()) : kivStatusNoMemory;
}

template <class Spec>
KivStatus init_alloc(Spec** spec, int order, int flag, int hint) {
  const KivStatus checks = first_failure(not_null(spec), known_order(order), known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return allocate_object(spec, sizes<Spec>(order), [=](void* object, void* construction) {
    return construct<Spec>(object, construction, order, flag, hint);
  });
}

template <class Spec>
KivStatus free_object(Spec* spec) {
  return run(identified(spec), [&] {
    spec->identifier = 0;
    release(spec);
  });
}

// apply(work) with the caller's buffer, or with one of size_of_work(spec) bytes from the allocator where that is null
// and one is needed.
template <class Spec, class Size, class Apply>
KivStatus transform(const void* src, const void* dst, const Spec* spec, Kiv8u* buffer, Size size_of_work, Apply apply) {
  const KivStatus checks = first_failure(identified(spec), not_null(src, dst));
  if (checks != kivStatusOk) return checks;
  if (const std::size_t bytes = buffer == nullptr ? size_of_work(*spec) : 0; bytes > 0) {
    Scratch<Kiv8u> work(bytes);
    return run(require(static_cast<bool>(work), kivStatusNoMemory), [&] { apply(work.data()); });
  }
  apply(buffer);
  return kivStatusOk;
}

template <class Spec, class Apply>
KivStatus transform(const void* src, const void* dst, const Spec* spec, Kiv8u* buffer, Apply apply) {
  return transform(
      src, dst, spec, buffer, [](const Spec& of) { return sizes<Spec>(of.order).work; }, apply);
}

}  // namespace kivsr::fft
