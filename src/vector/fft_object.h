// What the FFT objects of all element types share: orders, flags, scale factors and temporary memory.
#pragma once

#include <cstdint>
#include <limits>

#include "fft_butterfly.h"
#include "frame/allocator.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"

namespace kivsr::fft {

inline constexpr int kMaximumOrder = 30;

// Bytes of an object from any start, of the temporary buffer of its initialisation and of the work buffer of a
// transform, both from any start. 64 bits wide: not all orders fit an int.
struct Sizes {
  std::uint64_t object, initialisation, work;
};

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

constexpr KivStatus sizes_fit_int(Sizes sizes) {
  constexpr std::uint64_t kLargest = std::numeric_limits<int>::max();
  return require(sizes.object <= kLargest && sizes.initialisation <= kLargest && sizes.work <= kLargest,
                 kivStatusBadSize);
}

// From the library allocator; null also when size_t cannot hold the byte count.
inline void* allocate_wide(std::uint64_t bytes) {
  return bytes > std::numeric_limits<std::size_t>::max() ? nullptr : allocate_bytes(static_cast<std::size_t>(bytes));
}

// Memory for the length of a call. None is asked for when the byte count is 0.
class TemporaryBytes {
 public:
  explicit TemporaryBytes(std::uint64_t bytes) : data_(bytes == 0 ? nullptr : allocate_wide(bytes)), bytes_(bytes) {}
  ~TemporaryBytes() { release(data_); }
  TemporaryBytes(const TemporaryBytes&) = delete;
  TemporaryBytes& operator=(const TemporaryBytes&) = delete;
  // False when the allocator returned null: report kivStatusNoMemory.
  explicit operator bool() const { return data_ != nullptr || bytes_ == 0; }
  void* data() const { return data_; }

 private:
  void* data_;
  std::uint64_t bytes_;
};

// The checks of an object that a caller passes: null, then its identifier.
template <class Spec>
inline KivStatus identified(const Spec* spec, Kiv32s identifier) {
  if (spec == nullptr) return kivStatusNullPointer;
  return require(spec->identifier == identifier, kivStatusContextMismatch);
}

// The exports that objects of all types share, in terms of Traits:
//   Spec, kIdentifier, sizes(order), place(memory, temporary, order, flag, hint).
template <class Traits>
struct Exports {
  using Spec = typename Traits::Spec;

  static KivStatus get_size(int order, int flag, int* object, int* initialisation, int* work) {
    KivStatus status = first_failure(known_order(order), not_null(object, initialisation, work), known_flag(flag));
    if (status != kivStatusOk) return status;
    const Sizes sizes = Traits::sizes(order);
    return run(sizes_fit_int(sizes), [&] {
      *object = static_cast<int>(sizes.object);
      *initialisation = static_cast<int>(sizes.initialisation);
      *work = static_cast<int>(sizes.work);
    });
  }

  static KivStatus init(Spec** spec, int order, int flag, int hint, void* memory, void* temporary) {
    const KivStatus status = first_failure(not_null(spec), known_order(order), not_null(memory), known_flag(flag));
    if (status != kivStatusOk) return status;
    return run(require(temporary != nullptr || Traits::sizes(order).initialisation == 0, kivStatusNullPointer),
               [&] { *spec = place(memory, temporary, order, flag, hint); });
  }

  static KivStatus init_alloc(Spec** spec, int order, int flag, int hint) {
    return run(first_failure(not_null(spec), known_order(order), known_flag(flag)), [&]() -> KivStatus {
      const Sizes sizes = Traits::sizes(order);
      const TemporaryBytes temporary(sizes.initialisation);
      if (!temporary) return kivStatusNoMemory;
      void* const memory = allocate_wide(sizes.object);
      if (memory == nullptr) return kivStatusNoMemory;
      *spec = place(memory, temporary.data(), order, flag, hint);  // the block's own, aligned, start
      return kivStatusOk;
    });
  }

  static KivStatus free(Spec* spec) {
    return run(identified(spec, Traits::kIdentifier), [&] {
      spec->identifier = 0;
      release(spec);
    });
  }

  // The tables of an object are the same whatever the caller's rounding mode.
  static Spec* place(void* memory, void* temporary, int order, int flag, int hint) {
    const NearestRounding nearest;
    return Traits::place(memory, temporary, order, flag, hint);
  }

  // apply(work) with the caller's buffer, or with one from the allocator where that is null.
  template <class Apply>
  static KivStatus transform(const void* src, const void* dst, const Spec* spec, Kiv8u* buffer, Apply apply) {
    const KivStatus status = first_failure(identified(spec, Traits::kIdentifier), not_null(src, dst));
    return run(status, [&]() -> KivStatus {
      const TemporaryBytes own(buffer == nullptr ? Traits::sizes(spec->order).work : 0);
      if (!own) return kivStatusNoMemory;
      apply(buffer != nullptr ? buffer : own.data());
      return kivStatusOk;
    });
  }
};

}  // namespace kivsr::fft
