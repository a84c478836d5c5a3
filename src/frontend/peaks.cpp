// Peaks of a sequence.
#include "kivsr/frontend/peaks.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "frame/status.h"

namespace kivsr {
namespace {

constexpr int kLongest = 65535;

// Looks outwards on both sides at once: an element that is not the largest of its surroundings is found out by the
// nearest larger one, so that a whole sequence takes len log(reach) comparisons.
template <class T>
bool largest_within(const T* x, int i, int len, int reach) {
  const int left = std::min(reach, i);
  const int right = std::min(reach, len - 1 - i);
  for (int d = 1; d <= std::max(left, right); ++d) {
    if (d <= left && !(x[i] > x[i - d])) return false;
    if (d <= right && !(x[i] >= x[i + d])) return false;
  }
  return true;
}

template <class T>
bool above_average(const T* x, int i, int len, int average) {
  using Sum = std::conditional_t<std::is_integral_v<T>, std::int64_t, double>;
  const int first = i - std::min(average, i);
  const int last = i + std::min(average, len - 1 - i);
  Sum sum = 0;
  for (int j = first; j <= last; ++j) sum += static_cast<Sum>(x[j]);
  return (2 * static_cast<Sum>(average) + 1) * static_cast<Sum>(x[i]) > sum;
}

template <class T>
KivStatus find_peaks(const T* src, Kiv8u* dst, int len, int reach, int average) {
  const KivStatus checks = first_failure(not_null(src, dst), require(len >= 1 && len <= kLongest, kivStatusBadLength),
                                         require(reach >= 1 && average >= 0, kivStatusBadArgument));
  return run(checks, [&] {
    for (int i = 0; i < len; ++i) {
      // A sequence of one element has nobody to compare a NaN with.
      const bool peak = src[i] == src[i] && largest_within(src, i, len, reach) &&
                        (average == 0 || above_average(src, i, len, average));
      dst[i] = peak ? 1 : 0;
    }
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsFindPeaks_32s8u(const Kiv32s* pSrc, Kiv8u* pDst, int len, int reach, int average) {
  return find_peaks(pSrc, pDst, len, reach, average);
}
KivStatus kivsFindPeaks_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, int reach, int average) {
  return find_peaks(pSrc, pDst, len, reach, average);
}
}
