// The N-th largest element.
#include <algorithm>
#include <cassert>
#include <functional>
#include <type_traits>

#include "copy.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/order_statistics.h"

namespace kivsr {
namespace {

// Moves NaN behind the numbers; where the numbers end.
template <class T>
T* separate_nan(T* first, T* last) {
  if constexpr (std::is_floating_point_v<T>) {
    const T check = reduce_sum<T>(
        last - first, [](auto sum, auto x) { return sum + (x - x); }, first);
    if (check != check) return std::partition(first, last, [](T x) { return x == x; });
  }
  return last;
}

// The element at position `place` of [first, last) in decreasing order; the range is reordered. NaN sorts last.
template <class T>
T select_descending(T* first, T* last, int place) {
  assert(place >= 0 && place < last - first);
  T* const end = separate_nan(first, last);
  T* const wanted = first + place;
  if (wanted < end) std::nth_element(first, wanted, end, std::greater<T>());
  return *wanted;
}

template <class T>
KivStatus nth_maximum(const T* src, int len, int place, T* result) {
  const bool inside = place >= 0 && place < len;
  return run(first_failure(not_null(src, result), positive(len), require(inside, kivStatusBadArgument)), [&] {
    Scratch<T> work(static_cast<std::size_t>(len));
    if (!work) return kivStatusNoMemory;
    copy(work.data(), src, len);
    *result = select_descending(work.data(), work.data() + len, place);
    return kivStatusOk;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsNthMaxElement_32s(const Kiv32s* pSrc, int len, int N, Kiv32s* pRes) {
  return nth_maximum(pSrc, len, N, pRes);
}
KivStatus kivsNthMaxElement_32f(const Kiv32f* pSrc, int len, int N, Kiv32f* pRes) {
  return nth_maximum(pSrc, len, N, pRes);
}
KivStatus kivsNthMaxElement_64f(const Kiv64f* pSrc, int len, int N, Kiv64f* pRes) {
  return nth_maximum(pSrc, len, N, pRes);
}
}
