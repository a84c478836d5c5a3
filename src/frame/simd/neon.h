// SIMD wrapper, ARM64: what generic.h does not make of 128-bit registers by itself. Multiply-add takes two roundings,
// as in the baseline of x86, so that the two agree bit for bit. Read vec.h first: it documents the operations.
#pragma once

#include <arm_neon.h>

#include "generic.h"

namespace kivsr::simd {

using Float4 = Lanes<float, 4>;
using Double2 = Lanes<double, 2>;
using Int4 = Lanes<std::int32_t, 4>;

namespace detail {

inline float32x4_t arm(Float4 v) { return reinterpret_cast<float32x4_t>(v.raw); }
inline float64x2_t arm(Double2 v) { return reinterpret_cast<float64x2_t>(v.raw); }
inline int32x4_t arm(Int4 v) { return reinterpret_cast<int32x4_t>(v.raw); }
inline int16x8_t arm(Lanes<std::int16_t, 8> v) { return reinterpret_cast<int16x8_t>(v.raw); }
inline Float4 vec(float32x4_t v) { return recast<Float4>(v); }
inline Double2 vec(float64x2_t v) { return recast<Double2>(v); }
inline Int4 vec(int32x4_t v) { return recast<Int4>(v); }
template <class T, int W>
inline uint32x4_t words(LaneMask<T, W> m) {
  return reinterpret_cast<uint32x4_t>(m.raw);
}

// --- memory -----------------------------------------------------------------

inline int32x4_t load_bytes(const std::uint8_t* p) {
  std::uint32_t four;
  std::memcpy(&four, p, sizeof four);
  const uint16x8_t wide = vmovl_u8(vreinterpret_u8_u32(vdup_n_u32(four)));
  return vreinterpretq_s32_u32(vmovl_u16(vget_low_u16(wide)));
}

template <>
struct Load<Int4, std::int16_t> {
  static Int4 full(const std::int16_t* p) { return vec(vmovl_s16(vld1_s16(p))); }
};
template <>
struct Load<Int4, std::uint8_t> {
  static Int4 full(const std::uint8_t* p) { return vec(load_bytes(p)); }
};
template <>
struct Load<Double2, float> {
  static Double2 full(const float* p) { return vec(vcvt_f64_f32(vld1_f32(p))); }
};
template <>
struct Load<Double2, std::int16_t> {
  static Double2 full(const std::int16_t* p) { return {Double2::Raw{double(p[0]), double(p[1])}}; }
};
template <>
struct Load<Double2, std::int32_t> {
  static Double2 full(const std::int32_t* p) { return vec(vcvtq_f64_s64(vmovl_s32(vld1_s32(p)))); }
};

template <>
struct Part<Float4> {
  static Float4 load(const float* p, int n) {
    const float32x4_t zero = vdupq_n_f32(0);
    switch (n) {
      case 0: return vec(zero);
      case 1: return vec(vld1q_lane_f32(p, zero, 0));
      case 2: return vec(vcombine_f32(vld1_f32(p), vdup_n_f32(0)));
      default: return vec(vcombine_f32(vld1_f32(p), vld1_lane_f32(p + 2, vdup_n_f32(0), 0)));
    }
  }
  static void store(float* p, Float4 v, int n) {
    if (n >= 2) vst1_f32(p, vget_low_f32(arm(v)));
    if (n == 1) vst1q_lane_f32(p, arm(v), 0);
    if (n == 3) vst1q_lane_f32(p + 2, arm(v), 2);
  }
  template <int kLanes>
  static Float4 load_constant(const float* p) {
    return load(p, kLanes);
  }
  template <int kLanes>
  static void store_constant(float* p, Float4 v) {
    store(p, v, kLanes);
  }
};
template <>
struct Part<Double2> {
  static Double2 load(const double* p, int n) {
    const float64x2_t zero = vdupq_n_f64(0);
    return vec(n == 0 ? zero : vld1q_lane_f64(p, zero, 0));
  }
  static void store(double* p, Double2 v, int n) {
    if (n == 1) vst1q_lane_f64(p, arm(v), 0);
  }
};

}  // namespace detail

inline void store(std::int16_t* p, Int4 v) { vst1_s16(p, vqmovn_s32(detail::arm(v))); }
inline void store(std::uint8_t* p, Int4 v) {
  const int16x4_t words = vqmovn_s32(detail::arm(v));
  const uint8x8_t bytes = vqmovun_s16(vcombine_s16(words, words));
  const std::uint32_t four = vget_lane_u32(vreinterpret_u32_u8(bytes), 0);
  std::memcpy(p, &four, sizeof four);
}
inline void store(float* p, Double2 v) { vst1_f32(p, vcvt_f32_f64(detail::arm(v))); }

// --- arithmetic -------------------------------------------------------------

inline Float4 at_most(Float4 a, float limit) { return detail::vec(vminq_f32(vdupq_n_f32(limit), detail::arm(a))); }
inline Double2 at_most(Double2 a, double limit) { return detail::vec(vminq_f64(vdupq_n_f64(limit), detail::arm(a))); }
inline Float4 sqrt(Float4 a) { return detail::vec(vsqrtq_f32(detail::arm(a))); }
inline Double2 sqrt(Double2 a) { return detail::vec(vsqrtq_f64(detail::arm(a))); }
inline Double2 floor(Double2 a) { return detail::vec(vrndmq_f64(detail::arm(a))); }
inline Double2 product_error(Double2 a, Double2 b, Double2 product) {
  return detail::vec(vfmaq_f64(vnegq_f64(detail::arm(product)), detail::arm(a), detail::arm(b)));
}
// The instruction reads the lowest byte of each lane of n, signed.
inline Int4 shift_left(Int4 a, int n) { return detail::vec(vshlq_s32(detail::arm(a), vdupq_n_s32(n > 32 ? 32 : n))); }
inline Int4 shift_right(Int4 a, int n) {
  return detail::vec(vshlq_s32(detail::arm(a), vdupq_n_s32(n > 32 ? -32 : -n)));
}
inline Int4 multiply_words(Int4 a, Int4 b) {
  return detail::vec(vmull_s16(vmovn_s32(detail::arm(a)), vmovn_s32(detail::arm(b))));
}
template <int kShift>
inline Int4 product_shifted(Int4 a, Int4 b, std::int64_t offset = 0) {
  const uint32x4_t x = vreinterpretq_u32_s32(detail::arm(a));
  const uint32x4_t y = vreinterpretq_u32_s32(detail::arm(b));
  const uint64x2_t added = vdupq_n_u64(static_cast<std::uint64_t>(offset));
  const uint32x2_t low = vshrn_n_u64(vmlal_u32(added, vget_low_u32(x), vget_low_u32(y)), kShift);
  return detail::vec(vreinterpretq_s32_u32(vshrn_high_n_u64(low, vmlal_high_u32(added, x, y), kShift)));
}

// --- selection ----------------------------------------------------------------

inline unsigned bit_mask(LaneMask<float, 4> m) {
  constexpr uint32x4_t kBits = {1, 2, 4, 8};
  return vaddvq_u32(vandq_u32(detail::words(m), kBits));
}
inline unsigned bit_mask(LaneMask<std::int32_t, 4> m) { return bit_mask(LaneMask<float, 4>{m.raw}); }
template <class T, int W>
inline bool any(LaneMask<T, W> m) requires(sizeof m.raw == 16) {
  return vmaxvq_u32(detail::words(m)) != 0;
}
template <class T, int W>
inline bool all(LaneMask<T, W> m) requires(sizeof m.raw == 16) {
  return vminvq_u32(detail::words(m)) != 0;
}

// --- conversion -------------------------------------------------------------

namespace detail {

// The conversion saturates and takes a NaN for zero: only what lies above and NaNs are left to correct.
inline Int4 held_or_lowest(float32x4_t integers) {
  const uint32x4_t below = vcltq_f32(integers, vdupq_n_f32(0x1p31F));
  return vec(vbslq_s32(below, vcvtq_s32_f32(integers), vdupq_n_s32(INT32_MIN)));
}
inline int32x2_t held_or_lowest(float64x2_t integers) {
  const uint64x2_t held = vcaltq_f64(integers, vdupq_n_f64(0x1p31));
  return vmovn_s64(vbslq_s64(held, vcvtq_s64_f64(integers), vdupq_n_s64(INT32_MIN)));
}

}  // namespace detail

inline Int4 round_to_integer(Float4 a) { return detail::held_or_lowest(vrndiq_f32(detail::arm(a))); }
inline Int4 truncate_to_integer(Float4 a) { return detail::held_or_lowest(detail::arm(a)); }
inline void store_rounded(std::int32_t* p, Double2 a) {
  vst1_s32(p, detail::held_or_lowest(vrndiq_f64(detail::arm(a))));
}
inline void store_truncated(std::int32_t* p, Double2 a) { vst1_s32(p, detail::held_or_lowest(detail::arm(a))); }
inline void store_rounded(std::int16_t* p, Double2 a) {
  const int32x2_t integers = detail::held_or_lowest(vrndiq_f64(detail::arm(a)));
  const int16x4_t words = vqmovn_s32(vcombine_s32(integers, integers));
  vst1_lane_s32(reinterpret_cast<std::int32_t*>(p), vreinterpret_s32_s16(words), 0);
}
inline Double2 widen_low(Float4 a) { return detail::vec(vcvt_f64_f32(vget_low_f32(detail::arm(a)))); }
inline Double2 widen_high(Float4 a) { return detail::vec(vcvt_high_f64_f32(detail::arm(a))); }
inline Float4 narrow(Double2 low, Double2 high) {
  return detail::vec(vcvt_high_f32_f64(vcvt_f32_f64(detail::arm(low)), detail::arm(high)));
}

// --- parts of sums ------------------------------------------------------------

inline Lanes<std::int64_t, 2> add_unsigned(Lanes<std::int64_t, 2> sums, Int4 x) {
  const uint64x2_t before = reinterpret_cast<uint64x2_t>(sums.raw);
  return detail::recast<Lanes<std::int64_t, 2>>(vpadalq_u32(before, vreinterpretq_u32_s32(detail::arm(x))));
}
inline Int4 products_of_pairs(Lanes<std::int16_t, 8> a, Lanes<std::int16_t, 8> b) {
  const int16x8_t x = detail::arm(a);
  const int16x8_t y = detail::arm(b);
  return detail::vec(vpaddq_s32(vmull_s16(vget_low_s16(x), vget_low_s16(y)), vmull_high_s16(x, y)));
}
inline Lanes<std::int16_t, 8> subtract_saturated(Lanes<std::int16_t, 8> a, Lanes<std::int16_t, 8> b) {
  return detail::recast<Lanes<std::int16_t, 8>>(vqsubq_s16(detail::arm(a), detail::arm(b)));
}
inline Float4 sum_pairs(Float4 a, Float4 b) { return detail::vec(vpaddq_f32(detail::arm(a), detail::arm(b))); }
inline Double2 sum_pairs(Double2 a, Double2 b) { return detail::vec(vpaddq_f64(detail::arm(a), detail::arm(b))); }

}  // namespace kivsr::simd
