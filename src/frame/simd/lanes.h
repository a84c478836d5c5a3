// SIMD wrapper, the part that every processor shares: vectors of any width and their masks, shuffles of lanes, memory.
// Read vec.h first: it documents the operations.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace kivsr::simd {

#if defined(KIVSR_GENERIC)
inline constexpr int kRegisterBytes = 16;
#elif defined(__AVX512BW__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
inline constexpr int kRegisterBytes = 64;
#elif defined(__AVX2__)
inline constexpr int kRegisterBytes = 32;
#else
inline constexpr int kRegisterBytes = 16;
#endif
// Whether loads and stores of some lanes cost no more than those of all.
inline constexpr bool kMaskedTails = kRegisterBytes == 64;

template <class T, int kWidth>
struct Lanes {
  using Element = T;
  static constexpr int width = kWidth;
  typedef T Raw __attribute__((vector_size(sizeof(T) * kWidth)));
  typedef T InMemory __attribute__((vector_size(sizeof(T) * kWidth), aligned(1), may_alias));
  Raw raw;
  static Lanes zero() { return {Raw{}}; }
  static Lanes broadcast(T x) {
    return [x]<int... l>(std::integer_sequence<int, l...>) { return Lanes{Raw{(static_cast<void>(l), x)...}}; }
    (std::make_integer_sequence<int, kWidth>());
  }
  static Lanes in_first_lane(T x) { return {Raw{x}}; }
  T first() const { return raw[0]; }
};

namespace detail {

template <int kBytes>
using Integer = std::conditional_t<
    kBytes == 1, std::int8_t,
    std::conditional_t<kBytes == 2, std::int16_t, std::conditional_t<kBytes == 4, std::int32_t, std::int64_t>>>;

}  // namespace detail

// -1 in the lanes that are true, 0 in the others.
template <class T, int kWidth>
struct LaneMask {
  typename Lanes<detail::Integer<sizeof(T)>, kWidth>::Raw raw;
};

using Quad = Lanes<float, 4>;
template <class T>
using Vec = Lanes<T, kRegisterBytes / static_cast<int>(sizeof(T))>;
// For short rows: sixteen lanes would often be more than there are numbers.
template <class T>
using ShortVec = Lanes<T, (kRegisterBytes < 32 ? kRegisterBytes : 32) / static_cast<int>(sizeof(T))>;
template <class T>
using Mask = LaneMask<T, Vec<T>::width>;

namespace detail {

// Lanes as integers of their size, with and without sign, and back.
template <class T, int W>
inline typename Lanes<Integer<sizeof(T)>, W>::Raw as_bits(Lanes<T, W> v) {
  return reinterpret_cast<typename Lanes<Integer<sizeof(T)>, W>::Raw>(v.raw);
}
template <class T, int W>
inline typename Lanes<std::make_unsigned_t<Integer<sizeof(T)>>, W>::Raw as_unsigned(Lanes<T, W> v) {
  return reinterpret_cast<typename Lanes<std::make_unsigned_t<Integer<sizeof(T)>>, W>::Raw>(v.raw);
}
// The bits of any vector or raw register as another type of vector.
template <class V, class R>
inline V recast(R raw) {
  static_assert(sizeof(V) == sizeof(R));
  return {reinterpret_cast<typename V::Raw>(raw)};
}

// Lane l of the result is lane from(l) of a and b one behind the other.
template <class V, class From>
inline V shuffled(V a, V b, From) {
  return [&]<int... l>(std::integer_sequence<int, l...>) {
    return V{__builtin_shufflevector(a.raw, b.raw, From{}(l)...)};
  }
  (std::make_integer_sequence<int, V::width>());
}
// Lane l of the result is lane from(l) of a. A backend specialises it where one instruction serves any order.
template <class V>
struct Permutation {
  template <class From>
  static V of(V a, From from) {
    return shuffled(a, a, from);
  }
};
template <class V, class From>
inline V permuted(V a, From from) {
  return Permutation<V>::of(a, from);
}

// Lanes of one group of 128 bits, which shuffles of wider registers do not leave.
template <class V>
inline constexpr int kGroup = 16 / static_cast<int>(sizeof(typename V::Element));
template <class V>
constexpr int group_start(int lane) {
  return lane / kGroup<V> * kGroup<V>;
}

// a0 b0 a1 b1 of the lower half of each group, and of its upper half.
template <class V>
inline V unpack_low(V a, V b) {
  return shuffled(a, b, [](int l) { return l % 2 * V::width + group_start<V>(l) + l % kGroup<V> / 2; });
}
template <class V>
inline V unpack_high(V a, V b) {
  return shuffled(a, b, [](int l) { return l % 2 * V::width + group_start<V>(l) + (l % kGroup<V> + kGroup<V>) / 2; });
}
// The lower halves of the groups of a and of b side by side, and the upper ones.
template <class V>
inline V join_low(V a, V b) {
  return shuffled(a, b, [](int l) {
    constexpr int kHalf = kGroup<V> / 2;
    return l % kGroup<V> / kHalf * V::width + group_start<V>(l) + l % kHalf;
  });
}
template <class V>
inline V join_high(V a, V b) {
  return shuffled(a, b, [](int l) {
    constexpr int kHalf = kGroup<V> / 2;
    return l % kGroup<V> / kHalf * V::width + group_start<V>(l) + kHalf + l % kHalf;
  });
}
// Runs of kLanes lanes: the odd ones of a change places with the even ones of b.
template <int kLanes, class V>
inline void exchange_runs(V& a, V& b) {
  const V even = shuffled(a, b, [](int l) { return (l & kLanes) != 0 ? V::width + l - kLanes : l; });
  b = shuffled(a, b, [](int l) { return (l & kLanes) != 0 ? V::width + l : l + kLanes; });
  a = even;
}

template <class T, int W>
inline Lanes<T, W / 2> half(Lanes<T, W> v, std::integral_constant<int, 0>) {
  return [&]<int... l>(std::integer_sequence<int, l...>) {
    return Lanes<T, W / 2>{__builtin_shufflevector(v.raw, v.raw, l...)};
  }
  (std::make_integer_sequence<int, W / 2>());
}
template <class T, int W>
inline Lanes<T, W / 2> half(Lanes<T, W> v, std::integral_constant<int, 1>) {
  return [&]<int... l>(std::integer_sequence<int, l...>) {
    return Lanes<T, W / 2>{__builtin_shufflevector(v.raw, v.raw, (l + W / 2)...)};
  }
  (std::make_integer_sequence<int, W / 2>());
}

}  // namespace detail

template <class T, int W>
inline Lanes<T, W / 2> low_half(Lanes<T, W> v) {
  return detail::half(v, std::integral_constant<int, 0>());
}
template <class T, int W>
inline Lanes<T, W / 2> high_half(Lanes<T, W> v) {
  return detail::half(v, std::integral_constant<int, 1>());
}
template <class V, class T, int W>
inline V joined(Lanes<T, W> low, Lanes<T, W> high) {
  static_assert(V::width == 2 * W);
  return [&]<int... l>(std::integer_sequence<int, l...>) { return V{__builtin_shufflevector(low.raw, high.raw, l...)}; }
  (std::make_integer_sequence<int, V::width>());
}

// --- memory -----------------------------------------------------------------

template <class T, int W>
inline Lanes<float, 2 * W> narrow(Lanes<T, W> low, Lanes<T, W> high);

namespace detail {

template <class V, class S>
struct Load {
  static V full(const S* p) {
    using T = typename V::Element;
    if constexpr (std::is_same_v<T, float> && std::is_same_v<S, double>) {
      using D = Load<Lanes<double, V::width / 2>, double>;
      return narrow(D::full(p), D::full(p + V::width / 2));
    } else if constexpr (std::is_floating_point_v<T> && sizeof(S) < 4) {
      const auto integers = Load<Lanes<std::int32_t, V::width>, S>::full(p);
      return {__builtin_convertvector(integers.raw, typename V::Raw)};
    } else {
      using Elements = Lanes<S, V::width>;
      const typename Elements::Raw elements = *reinterpret_cast<const typename Elements::InMemory*>(p);
      return {__builtin_convertvector(elements, typename V::Raw)};
    }
  }
};

}  // namespace detail

template <class V, class S>
inline V load_as(const S* p) {
  return detail::Load<V, S>::full(p);
}
template <class T, class S>
inline Vec<T> load(const S* p) {
  return load_as<Vec<T>>(p);
}

namespace detail {

// The first n < width lanes of floats or doubles.
template <class V>
struct Part {
  using T = typename V::Element;
  static V load(const T* p, int n) {
    // Not by way of memory, where a load that gathers several stores waits for all of them.
    V v = V::zero();
    [&]<int... k>(std::integer_sequence<int, k...>) {
      ((n == k + 1 ? static_cast<void>(v = load_constant<k + 1>(p)) : static_cast<void>(0)), ...);
    }
    (std::make_integer_sequence<int, V::width - 1>());
    return v;
  }
  static void store(T* p, V v, int n) {
    T lanes[V::width];
    std::memcpy(lanes, &v.raw, sizeof lanes);
    for (int i = 0; i < n; ++i) p[i] = lanes[i];
  }
  template <int kLanes>
  static V load_constant(const T* p) {
    return [p]<int... l>(std::integer_sequence<int, l...>) { return V{typename V::Raw{p[l]...}}; }
    (std::make_integer_sequence<int, kLanes>());
  }
  template <int kLanes>
  static void store_constant(T* p, V v) {
    std::memcpy(p, &v.raw, kLanes * sizeof(T));
  }
};

}  // namespace detail

template <class T, class S>
inline Vec<T> load_some(const S* p, int n) {
  if constexpr (std::is_same_v<T, S> && std::is_floating_point_v<T>) {
    return detail::Part<Vec<T>>::load(p, n);
  } else {
    S lanes[Vec<T>::width] = {};
    for (int i = 0; i < n; ++i) lanes[i] = p[i];
    return load<T>(lanes);
  }
}
template <class T, class S>
inline Vec<T> load_filled(const S* p, int n) {
  S lanes[Vec<T>::width];
  for (int i = 0; i < Vec<T>::width; ++i) lanes[i] = p[i < n ? i : 0];
  return load<T>(lanes);
}

template <class D, class T, int W>
inline void store(D* p, Lanes<T, W> v) {
  if constexpr (std::is_integral_v<D> && sizeof(D) < sizeof(T)) {
    using L = std::numeric_limits<D>;
    v = max(min(v, Lanes<T, W>::broadcast(L::max())), Lanes<T, W>::broadcast(L::min()));
  }
  using Elements = Lanes<D, W>;
  *reinterpret_cast<typename Elements::InMemory*>(p) = __builtin_convertvector(v.raw, typename Elements::Raw);
}
template <class D, class T, int W>
inline void store_some(D* p, Lanes<T, W> v, int n) {
  if constexpr (std::is_same_v<D, T> && std::is_floating_point_v<T>) {
    detail::Part<Lanes<T, W>>::store(p, v, n);
  } else {
    D lanes[W];
    store(lanes, v);
    for (int i = 0; i < n; ++i) p[i] = lanes[i];
  }
}

}  // namespace kivsr::simd
