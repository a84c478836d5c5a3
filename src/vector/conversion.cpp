// Conversions between element types with scale factors and rounding modes.
#include "conversion.h"

#include <algorithm>
#include <type_traits>
#include <variant>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/conversion.h"

namespace kivsr {
namespace {

using simd::Vec;

template <bool kNearest>
Vec<Kiv32s> to_integer(Vec<float> x) {
  return kNearest ? round_to_integer(x) : truncate_to_integer(x);
}

template <bool kNearest>
void convert(Kiv16s* dst, const float* src, std::ptrdiff_t len, float factor) {
  const auto scale = Vec<float>::broadcast(factor);
  // Only the upper clamp must come before the conversion: what is too low converts to INT32_MIN and is packed.
  transform<float>(
      len, [=](Vec<float> x) { return to_integer<kNearest>(at_most(x * scale, 32767.0F)); }, dst, src);
}

template <bool kNearest>
void convert(Kiv32s* dst, const float* src, std::ptrdiff_t len, float factor) {
  const auto scale = Vec<float>::broadcast(factor);
  const auto limit = Vec<float>::broadcast(2147483648.0F);
  transform<float>(
      len,
      [=](Vec<float> x) {
        const Vec<float> y = x * scale;
        // Overflow converts to INT32_MIN; its complement is INT32_MAX.
        return to_integer<kNearest>(y) ^ as_integer(y >= limit);
      },
      dst, src);
}

template <bool kNearest>
void convert(Kiv32s* dst, const double* src, std::ptrdiff_t len, float factor) {
  const auto scale = Vec<double>::broadcast(factor);
  constexpr std::ptrdiff_t W = Vec<double>::width;
  const auto step = [=](Kiv32s* to, Vec<double> x) {
    const Vec<double> y = at_most(x * scale, 2147483647.0);
    if constexpr (kNearest) {
      store_rounded(to, y);
    } else {
      store_truncated(to, y);
    }
  };
  std::ptrdiff_t i = 0;
  for (; i + W <= len; i += W) step(dst + i, simd::load<double>(src + i));
  if (i < len) {
    Kiv32s tail[W];
    step(tail, simd::load_some<double>(src + i, static_cast<int>(len - i)));
    std::copy_n(tail, len - i, dst + i);
  }
}

template <class D, class S>
void convert_with_mode(D* dst, const S* src, std::ptrdiff_t len, int rounding, int scale_factor) {
  const float factor = single_scale(scale_factor);
  if (rounding == kivRndZero) {
    convert<false>(dst, src, len, factor);
  } else {
    const NearestRounding nearest;
    convert<true>(dst, src, len, factor);
  }
}

// To nearest whatever the caller's rounding mode; small integers convert exactly and leave it alone.
template <class S>
using ConversionRounding = std::conditional_t<sizeof(S) < sizeof(float), std::monostate, NearestRounding>;

template <class T, class S>
KivStatus convert_plain(const S* src, T* dst, int len) {
  return run(first_failure(not_null(src, dst), positive(len)), [&] {
    [[maybe_unused]] const ConversionRounding<S> nearest;
    transform<T>(
        len, [](auto x) { return x; }, dst, src);
  });
}

template <class T, class S>
KivStatus convert_scaled_checked(const S* src, T* dst, int len, int scale_factor) {
  return run(first_failure(not_null(src, dst), positive(len)), [&] {
    [[maybe_unused]] const ConversionRounding<S> nearest;
    convert_scaled(dst, src, len, scale_factor);
  });
}

template <class D, class S>
KivStatus convert_to_integer_checked(const S* src, D* dst, int len, int rounding, int scale_factor) {
  return run(first_failure(not_null(src, dst), positive(len)),
             [&] { convert_to_integer(dst, src, len, rounding, scale_factor); });
}

// Shifts to the right end at 31 places, which leave the sign of large numbers.
void rescale(Kiv16s* dst, const Kiv32s* src, int len, int scale_factor) {
  scale_to_16_bits(std::min(scale_factor, 31), [&](auto scale) {
    transform<Kiv32s>(
        len, [&](auto x) { return scale(x); }, dst, src);
  });
}

}  // namespace

void convert_to_integer(Kiv16s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor) {
  convert_with_mode(dst, src, len, rounding, scale_factor);
}
void convert_to_integer(Kiv32s* dst, const float* src, std::ptrdiff_t len, int rounding, int scale_factor) {
  convert_with_mode(dst, src, len, rounding, scale_factor);
}
void convert_to_integer(Kiv32s* dst, const double* src, std::ptrdiff_t len, int rounding, int scale_factor) {
  convert_with_mode(dst, src, len, rounding, scale_factor);
}

}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsConvert_8u32f(const Kiv8u* pSrc, Kiv32f* pDst, int len) { return convert_plain(pSrc, pDst, len); }
KivStatus kivsConvert_16s32f(const Kiv16s* pSrc, Kiv32f* pDst, int len) { return convert_plain(pSrc, pDst, len); }
KivStatus kivsConvert_32s32f(const Kiv32s* pSrc, Kiv32f* pDst, int len) { return convert_plain(pSrc, pDst, len); }
KivStatus kivsConvert_64f32f(const Kiv64f* pSrc, Kiv32f* pDst, int len) { return convert_plain(pSrc, pDst, len); }

KivStatus kivsConvert_16s32f_Sfs(const Kiv16s* pSrc, Kiv32f* pDst, int len, int scaleFactor) {
  return convert_scaled_checked(pSrc, pDst, len, scaleFactor);
}
KivStatus kivsConvert_32s32f_Sfs(const Kiv32s* pSrc, Kiv32f* pDst, int len, int scaleFactor) {
  return convert_scaled_checked(pSrc, pDst, len, scaleFactor);
}
KivStatus kivsConvert_16s64f_Sfs(const Kiv16s* pSrc, Kiv64f* pDst, int len, int scaleFactor) {
  return convert_scaled_checked(pSrc, pDst, len, scaleFactor);
}

KivStatus kivsConvert_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { rescale(pDst, pSrc, len, scaleFactor); });
}

KivStatus kivsConvert_32f16s_Sfs(const Kiv32f* pSrc, Kiv16s* pDst, int len, int rndMode, int scaleFactor) {
  return convert_to_integer_checked(pSrc, pDst, len, rndMode, scaleFactor);
}
KivStatus kivsConvert_32f32s_Sfs(const Kiv32f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor) {
  return convert_to_integer_checked(pSrc, pDst, len, rndMode, scaleFactor);
}
KivStatus kivsConvert_64f32s_Sfs(const Kiv64f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor) {
  return convert_to_integer_checked(pSrc, pDst, len, rndMode, scaleFactor);
}
}
