// SIMD wrapper: every operation on vectors of any width, in the compiler's vector extensions. With lanes.h it is a
// complete backend (KIVSR_GENERIC, and every processor without a file of its own); a file per instruction set beside it
// overloads what the compiler does not find by itself.
// Read vec.h first: it documents the operations.
#pragma once

#include "lanes.h"

namespace kivsr::simd {

// --- arithmetic -------------------------------------------------------------

// Sums of integers wrap.
template <class T, int W>
inline Lanes<T, W> operator+(Lanes<T, W> a, Lanes<T, W> b) {
  if constexpr (std::is_integral_v<T>) {
    return detail::recast<Lanes<T, W>>(detail::as_unsigned(a) + detail::as_unsigned(b));
  } else {
    return {a.raw + b.raw};
  }
}
template <class T, int W>
inline Lanes<T, W> operator-(Lanes<T, W> a, Lanes<T, W> b) {
  if constexpr (std::is_integral_v<T>) {
    return detail::recast<Lanes<T, W>>(detail::as_unsigned(a) - detail::as_unsigned(b));
  } else {
    return {a.raw - b.raw};
  }
}
template <class T, int W>
inline Lanes<T, W> operator*(Lanes<T, W> a, Lanes<T, W> b) {
  return {a.raw * b.raw};
}
template <class T, int W>
inline Lanes<T, W> operator/(Lanes<T, W> a, Lanes<T, W> b) {
  return {a.raw / b.raw};
}
template <class T, int W>
inline Lanes<T, W> mul_add(Lanes<T, W> a, Lanes<T, W> b, Lanes<T, W> c) {
  return a * b + c;
}
template <class T, int W>
inline Lanes<T, W> neg_mul_add(Lanes<T, W> a, Lanes<T, W> b, Lanes<T, W> c) {
  return c - a * b;
}
template <class T, int W>
inline Lanes<T, W> max(Lanes<T, W> a, Lanes<T, W> b) {
  return {a.raw > b.raw ? a.raw : b.raw};
}
template <class T, int W>
inline Lanes<T, W> min(Lanes<T, W> a, Lanes<T, W> b) {
  return {a.raw < b.raw ? a.raw : b.raw};
}
template <class T, int W>
inline Lanes<T, W> at_most(Lanes<T, W> a, T limit) {
  return min(Lanes<T, W>::broadcast(limit), a);
}
template <int W>
inline Lanes<float, W> sqrt(Lanes<float, W> a) {
  for (int l = 0; l < W; ++l) a.raw[l] = __builtin_sqrtf(a.raw[l]);
  return a;
}
template <int W>
inline Lanes<double, W> sqrt(Lanes<double, W> a) {
  for (int l = 0; l < W; ++l) a.raw[l] = __builtin_sqrt(a.raw[l]);
  return a;
}
template <int W>
inline Lanes<double, W> floor(Lanes<double, W> a) {
  // Adding 1.5 * 2^52 leaves a neighbouring integer, whichever rounding mode is in force.
  using V = Lanes<double, W>;
  const V magic = V::broadcast(6755399441055744.0);
  const V near = (a + magic) - magic;
  return near - keep_where(near > a, V::broadcast(1.0));
}
template <int W>
inline Lanes<float, W> reciprocal_estimate(Lanes<float, W> a) {
  return Lanes<float, W>::broadcast(1.0F) / a;
}
template <int W>
inline Lanes<float, W> reciprocal_sqrt_estimate(Lanes<float, W> a) {
  return Lanes<float, W>::broadcast(1.0F) / sqrt(a);
}
template <class T, int W>
inline bool quotients(Lanes<T, W> n, Lanes<T, W> d, Lanes<T, W>* q) {
  *q = n / d;
  return !any(d == Lanes<T, W>::zero());
}

// --- bits -------------------------------------------------------------------

template <class T, int W>
inline Lanes<T, W> operator&(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::recast<Lanes<T, W>>(detail::as_bits(a) & detail::as_bits(b));
}
template <class T, int W>
inline Lanes<T, W> operator|(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::recast<Lanes<T, W>>(detail::as_bits(a) | detail::as_bits(b));
}
template <class T, int W>
inline Lanes<T, W> operator^(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::recast<Lanes<T, W>>(detail::as_bits(a) ^ detail::as_bits(b));
}
template <class T, int W>
inline Lanes<T, W> abs(Lanes<T, W> a) {
  using U = std::make_unsigned_t<detail::Integer<sizeof(T)>>;
  return a & Lanes<T, W>::broadcast(std::bit_cast<T>(static_cast<U>(~U{0} >> 1)));
}
template <int W>
inline Lanes<std::int32_t, W> bits(Lanes<float, W> a) {
  return {detail::as_bits(a)};
}
template <int W>
inline Lanes<float, W> from_bits(Lanes<std::int32_t, W> a) {
  return detail::recast<Lanes<float, W>>(a.raw);
}
template <int W>
inline Lanes<std::int32_t, W> shift_left(Lanes<std::int32_t, W> a, int n) {
  using V = Lanes<std::int32_t, W>;
  return n > 31 ? V::zero() : detail::recast<V>(detail::as_unsigned(a) << n);
}
template <int W>
inline Lanes<std::int32_t, W> shift_right(Lanes<std::int32_t, W> a, int n) {
  return {a.raw >> (n > 31 ? 31 : n)};
}
template <int W>
inline Lanes<std::int32_t, W> multiply_words(Lanes<std::int32_t, W> a, Lanes<std::int32_t, W> b) {
  return {shift_right(shift_left(a, 16), 16).raw * shift_right(shift_left(b, 16), 16).raw};
}
template <int kShift, int W>
inline Lanes<std::int32_t, W> product_shifted(Lanes<std::int32_t, W> a, Lanes<std::int32_t, W> b,
                                              std::int64_t offset = 0) {
  using U = typename Lanes<std::uint64_t, W / 2>::Raw;
  const U low = U{} + 0xFFFFFFFFU;
  const U x = reinterpret_cast<U>(a.raw);
  const U y = reinterpret_cast<U>(b.raw);
  const U even = (x & low) * (y & low) + static_cast<std::uint64_t>(offset);
  const U odd = (x >> 32) * (y >> 32) + static_cast<std::uint64_t>(offset);
  return detail::recast<Lanes<std::int32_t, W>>((even >> kShift & low) | (odd << (32 - kShift) & ~low));
}

// --- comparison and selection -------------------------------------------------

namespace detail {

template <class T, int W, class R>
inline LaneMask<T, W> mask_of(R truth) {
  return {reinterpret_cast<typename Lanes<Integer<sizeof(T)>, W>::Raw>(truth)};
}

}  // namespace detail

template <class T, int W>
inline LaneMask<T, W> operator<(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::mask_of<T, W>(a.raw < b.raw);
}
template <class T, int W>
inline LaneMask<T, W> operator<=(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::mask_of<T, W>(a.raw <= b.raw);
}
template <class T, int W>
inline LaneMask<T, W> operator>(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::mask_of<T, W>(a.raw > b.raw);
}
template <class T, int W>
inline LaneMask<T, W> operator>=(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::mask_of<T, W>(a.raw >= b.raw);
}
template <class T, int W>
inline LaneMask<T, W> operator==(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::mask_of<T, W>(a.raw == b.raw);
}
template <class T, int W>
inline LaneMask<T, W> operator&(LaneMask<T, W> a, LaneMask<T, W> b) {
  return {a.raw & b.raw};
}
template <class T, int W>
inline LaneMask<T, W> operator|(LaneMask<T, W> a, LaneMask<T, W> b) {
  return {a.raw | b.raw};
}
template <class T, int W>
inline Lanes<T, W> select(LaneMask<T, W> m, Lanes<T, W> a, Lanes<T, W> b) {
  return {m.raw ? a.raw : b.raw};
}
template <class T, int W>
inline Lanes<T, W> keep_where(LaneMask<T, W> m, Lanes<T, W> a) {
  return detail::recast<Lanes<T, W>>(detail::as_bits(a) & m.raw);
}
template <class T, int W>
inline Lanes<std::int32_t, W> as_integer(LaneMask<T, W> m) {
  return {m.raw};
}
template <class T, int W>
inline unsigned bit_mask(LaneMask<T, W> m) {
  using U = Lanes<std::uint64_t, W* static_cast<int>(sizeof(T)) / 8>;
  using Bits = Lanes<detail::Integer<sizeof(T)>, W>;
  const Bits one_each = [&]<int... l>(std::integer_sequence<int, l...>) {
    return Bits{typename Bits::Raw{(typename Bits::Element{1} << l)...}};
  }
  (std::make_integer_sequence<int, W>());
  const U words = detail::recast<U>(m.raw & one_each.raw);
  std::uint64_t set = 0;
  for (int k = 0; k < U::width; ++k) set |= words.raw[k];
  return static_cast<unsigned>(sizeof(T) == 4 ? set | set >> 32 : set);
}
template <class T, int W>
inline bool any(LaneMask<T, W> m) {
  return bit_mask(m) != 0;
}
template <class T, int W>
inline bool all(LaneMask<T, W> m) {
  return bit_mask(m) == (1U << W) - 1;
}

template <class T, int W>
struct OneOfThree {
  LaneMask<T, W> first, second;
};
template <class T>
inline auto one_of_three(Mask<T> first, Mask<T> second) {
  return OneOfThree<T, Vec<T>::width>{first, second};
}
template <class T, int W>
inline Lanes<T, W> choose(OneOfThree<T, W> which, const T (&four)[4]) {
  using V = Lanes<T, W>;
  return select(which.first, V::broadcast(four[0]), select(which.second, V::broadcast(four[1]), V::broadcast(four[2])));
}

// --- conversion -------------------------------------------------------------

namespace detail {

// The integer next to a by the mode in force: adding the power of two whose neighbours are one apart rounds.
template <class T, int W>
inline Lanes<T, W> rounded(Lanes<T, W> a) {
  using V = Lanes<T, W>;
  const V power = V::broadcast(sizeof(T) == 4 ? T(0x1p23) : T(0x1p52));
  const V same_sign = power | (a & V::broadcast(T{-0.0F}));
  return select(abs(a) < power, (a + same_sign) - same_sign, a);
}

// Truncated; INT32_MIN for a NaN and for what 32 bits do not hold.
template <class T, int W>
inline Lanes<Integer<sizeof(T)>, W> truncated(Lanes<T, W> a) {
  using V = Lanes<T, W>;
  using I = Lanes<Integer<sizeof(T)>, W>;
  const auto held = abs(a) < V::broadcast(T(0x1p31));
  const I integers = {__builtin_convertvector(keep_where(held, a).raw, typename I::Raw)};
  return select(LaneMask<typename I::Element, W>{held.raw}, integers, I::broadcast(INT32_MIN));
}

}  // namespace detail

template <int W>
inline Lanes<float, W> to_float(Lanes<std::int32_t, W> a) {
  return {__builtin_convertvector(a.raw, typename Lanes<float, W>::Raw)};
}
template <int W>
inline Lanes<std::int32_t, W> round_to_integer(Lanes<float, W> a) {
  return detail::truncated(detail::rounded(a));
}
template <int W>
inline Lanes<std::int32_t, W> truncate_to_integer(Lanes<float, W> a) {
  return detail::truncated(a);
}
template <class D, int W>
inline void store_rounded(D* p, Lanes<double, W> a) {
  store(p, detail::truncated(detail::rounded(a)));
}
template <class D, int W>
inline void store_truncated(D* p, Lanes<double, W> a) {
  store(p, detail::truncated(a));
}
template <int W>
inline Lanes<double, W / 2> widen_low(Lanes<float, W> a) {
  return {__builtin_convertvector(low_half(a).raw, typename Lanes<double, W / 2>::Raw)};
}
template <int W>
inline Lanes<double, W / 2> widen_high(Lanes<float, W> a) {
  return {__builtin_convertvector(high_half(a).raw, typename Lanes<double, W / 2>::Raw)};
}
template <class T, int W>
inline Lanes<float, 2 * W> narrow(Lanes<T, W> low, Lanes<T, W> high) {
  using Half = Lanes<float, W>;
  return joined<Lanes<float, 2 * W>>(Half{__builtin_convertvector(low.raw, typename Half::Raw)},
                                     Half{__builtin_convertvector(high.raw, typename Half::Raw)});
}
template <int W>
inline Lanes<double, W> scale_by_power_of_two(Lanes<double, W> v, Lanes<double, W> biased) {
  return detail::recast<Lanes<double, W>>(detail::as_unsigned(v) + (detail::as_unsigned(biased) << 52));
}

// --- parts of sums ------------------------------------------------------------

template <int W>
inline Lanes<std::int64_t, W> add_unsigned(Lanes<std::int64_t, W> sums, Lanes<std::int32_t, 2 * W> x) {
  const auto pairs = reinterpret_cast<typename Lanes<std::uint64_t, W>::Raw>(x.raw);
  return detail::recast<Lanes<std::int64_t, W>>(detail::as_unsigned(sums) + (pairs & 0xFFFFFFFFU) + (pairs >> 32));
}
// of vectors of words
template <int W>
inline Lanes<std::int32_t, W / 2> products_of_pairs(Lanes<std::int16_t, W> a, Lanes<std::int16_t, W> b) {
  using V = Lanes<std::int32_t, W / 2>;
  const V x = detail::recast<V>(a.raw);
  const V y = detail::recast<V>(b.raw);
  return multiply_words(x, y) + V{shift_right(x, 16).raw * shift_right(y, 16).raw};
}
template <int W>
inline Lanes<std::int16_t, W> subtract_saturated(Lanes<std::int16_t, W> a, Lanes<std::int16_t, W> b) {
  // Where the signs of a and b differ and that of the difference is not a's, it is the bound on a's side.
  using V = Lanes<std::int16_t, W>;
  const V d = a - b;
  const V bound = V{a.raw >> 15} ^ V::broadcast(0x7FFF);
  return select(LaneMask<std::int16_t, W>{((a ^ b) & (a ^ d)).raw >> 15}, bound, d);
}
template <int W>
inline Lanes<std::int64_t, W> exponent_field(Lanes<double, W> a) {
  return detail::recast<Lanes<std::int64_t, W>>(detail::as_unsigned(a) >> 52);
}
template <int W>
inline Lanes<double, W> mantissa(Lanes<double, W> a) {
  using V = Lanes<double, W>;
  return V{detail::recast<V>(detail::as_bits(a) & 0x000FFFFFFFFFFFFF)} | V::broadcast(1.0);
}
template <int W>
inline Lanes<double, W> product_error(Lanes<double, W> a, Lanes<double, W> b, Lanes<double, W> product) {
  // Dekker's product: halves of 26 bits, whose products are exact.
  using V = Lanes<double, W>;
  const auto high_part = [](V x) {
    const V t = x * V::broadcast(134217729.0);
    return t - (t - x);
  };
  const V a1 = high_part(a);
  const V b1 = high_part(b);
  const V a2 = a - a1;
  const V b2 = b - b1;
  return (((a1 * b1 - product) + a1 * b2) + a2 * b1) + a2 * b2;
}
template <class T, int W>
inline Lanes<T, W> sum_pairs(Lanes<T, W> a, Lanes<T, W> b) {
  return detail::shuffled(a, b, [](int l) { return 2 * l; }) + detail::shuffled(a, b, [](int l) { return 2 * l + 1; });
}

// --- lanes ------------------------------------------------------------------

namespace detail {

// Two lanes are folded as numbers, four of 128 bits within the register, more as the halves of a register.
template <class T, int W, class Op>
inline T folded(Lanes<T, W> v, Op op) {
  if constexpr (W == 2) {
    return op(v.raw[0], v.raw[1]);
  } else if constexpr (sizeof v.raw > 16) {
    return folded(op(low_half(v), high_half(v)), op);
  } else {
    v = op(v, permuted(v, [](int l) { return W / 2 + l % (W / 2); }));
    return op(v.raw[0], v.raw[1]);
  }
}

// The lanes folded to a group of 128 bits.
template <class T, int W>
inline auto folded_to_group(Lanes<T, W> v) {
  if constexpr (sizeof v.raw > 16) {
    return folded_to_group(low_half(v) + high_half(v));
  } else {
    return v;
  }
}

template <class T>
inline T larger(T a, T b) {
  return a > b ? a : b;
}
template <class T, int W>
inline Lanes<T, W> larger(Lanes<T, W> a, Lanes<T, W> b) {
  return max(a, b);
}
template <class T>
inline T smaller(T a, T b) {
  return a < b ? a : b;
}
template <class T, int W>
inline Lanes<T, W> smaller(Lanes<T, W> a, Lanes<T, W> b) {
  return min(a, b);
}

}  // namespace detail

template <class T, int W>
inline T sum_lanes(Lanes<T, W> a) {
  if constexpr (std::is_integral_v<T>) {
    using U = std::make_unsigned_t<T>;
    const Lanes<U, W> unsigned_lanes = {detail::as_unsigned(a)};
    return static_cast<T>(detail::folded(unsigned_lanes, [](auto x, auto y) { return x + y; }));
  } else {
    return detail::folded(a, [](auto x, auto y) { return x + y; });
  }
}
template <class T, int W>
inline T max_lanes(Lanes<T, W> a) {
  return detail::folded(a, [](auto x, auto y) { return detail::larger(x, y); });
}
template <class T, int W>
inline T min_lanes(Lanes<T, W> a) {
  return detail::folded(a, [](auto x, auto y) { return detail::smaller(x, y); });
}
template <class T, int W>
inline void store_lane_sums(T* p, Lanes<T, W> a, Lanes<T, W> b, Lanes<T, W> c, Lanes<T, W> d) {
  const auto sum = [](auto x, auto y) { return detail::unpack_low(x, y) + detail::unpack_high(x, y); };
  const auto ab = sum(detail::folded_to_group(a), detail::folded_to_group(b));
  const auto cd = sum(detail::folded_to_group(c), detail::folded_to_group(d));
  if constexpr (sizeof(T) == 4) {
    store(p, detail::join_low(ab, cd) + detail::join_high(ab, cd));
  } else {
    store(p, ab);
    store(p + 2, cd);
  }
}

// --- rows of four lanes ---------------------------------------------------------

template <int W>
inline void transpose_rows(Lanes<float, W>* v) {
  const auto a = detail::unpack_low(v[0], v[1]);
  const auto b = detail::unpack_low(v[2], v[3]);
  const auto c = detail::unpack_high(v[0], v[1]);
  const auto d = detail::unpack_high(v[2], v[3]);
  v[0] = detail::join_low(a, b);
  v[1] = detail::join_high(a, b);
  v[2] = detail::join_low(c, d);
  v[3] = detail::join_high(c, d);
}
template <class T, int W>
inline Lanes<T, W> reverse(Lanes<T, W> a) {
  return detail::permuted(a, [](int l) { return W - 1 - l; });
}
template <int W>
inline Lanes<float, W> interleave_rows(Lanes<float, W> a) {
  return detail::permuted(a, [](int l) { return l % (W / 4) * 4 + l / (W / 4); });
}
template <int W>
inline Lanes<std::int32_t, W> lookup(const std::int32_t (&table)[24], Lanes<std::int32_t, W> index) {
  std::int32_t lanes[W];
  store(lanes, index);
  for (std::int32_t& x : lanes) x = table[x];
  return load<std::int32_t>(lanes);
}

}  // namespace kivsr::simd
