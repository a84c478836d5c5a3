// Copies, moves and fills.
#include "copy.h"

#include <type_traits>

#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/copy.h"

namespace kivsr {
namespace {

template <class T>
KivStatus copy_checked(const T* src, T* dst, int len) {
  return run(first_failure(not_null(src, dst), positive(len)), [&] { copy(dst, src, len); });
}

template <class T>
KivStatus zero_checked(T* dst, int len) {
  return run(first_failure(not_null(dst), positive(len)), [&] { zero(dst, len); });
}

template <class T>
KivStatus fill(T val, T* dst, int len) {
  return run(first_failure(not_null(dst), positive(len)), [&] {
    if constexpr (sizeof(T) == 1) {
      std::memset(dst, val, static_cast<std::size_t>(len));
    } else {
      using Lane = std::conditional_t<sizeof(T) == 2, Kiv32s, T>;
      const auto value = simd::Vec<Lane>::broadcast(val);
      transform<Lane>(
          len, [=] { return value; }, dst);
    }
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsCopy_8u(const Kiv8u* pSrc, Kiv8u* pDst, int len) { return copy_checked(pSrc, pDst, len); }
KivStatus kivsCopy_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len) { return copy_checked(pSrc, pDst, len); }
KivStatus kivsCopy_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len) { return copy_checked(pSrc, pDst, len); }
KivStatus kivsCopy_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) { return copy_checked(pSrc, pDst, len); }
KivStatus kivsCopy_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len) { return copy_checked(pSrc, pDst, len); }

KivStatus kivsMove_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { move(pDst, pSrc, len); });
}

KivStatus kivsSet_8u(Kiv8u val, Kiv8u* pDst, int len) { return fill(val, pDst, len); }
KivStatus kivsSet_16s(Kiv16s val, Kiv16s* pDst, int len) { return fill(val, pDst, len); }
KivStatus kivsSet_32s(Kiv32s val, Kiv32s* pDst, int len) { return fill(val, pDst, len); }
KivStatus kivsSet_32f(Kiv32f val, Kiv32f* pDst, int len) { return fill(val, pDst, len); }
KivStatus kivsSet_64f(Kiv64f val, Kiv64f* pDst, int len) { return fill(val, pDst, len); }

KivStatus kivsZero_8u(Kiv8u* pDst, int len) { return zero_checked(pDst, len); }
KivStatus kivsZero_16s(Kiv16s* pDst, int len) { return zero_checked(pDst, len); }
KivStatus kivsZero_32f(Kiv32f* pDst, int len) { return zero_checked(pDst, len); }
KivStatus kivsZero_64f(Kiv64f* pDst, int len) { return zero_checked(pDst, len); }
}
