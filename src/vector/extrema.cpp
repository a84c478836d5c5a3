// Extrema and their places.
#include <bit>
#include <cassert>

#include "frame/simd/vec.h"
#include "frame/status.h"
#include "kivsr/vector/extrema.h"

namespace kivsr {
namespace {

// What comes first in the search. `best` keeps its lane where x is NaN.
struct Largest {
  template <class V>
  static V better(V x, V best) {
    return max(x, best);
  }
  template <class X>
  static auto before(X x, X best) {
    return x > best;
  }
  template <class V>
  static auto best_lane(V v) {
    return max_lanes(v);
  }
};
struct Smallest {
  template <class V>
  static V better(V x, V best) {
    return min(x, best);
  }
  template <class X>
  static auto before(X x, X best) {
    return x < best;
  }
  template <class V>
  static auto best_lane(V v) {
    return min_lanes(v);
  }
};

// Blocks of eight vectors only tell whether they beat everything before them. The first place of the best element lies
// in the last block that did, and is looked for once at the end.
template <class Order, class T>
std::ptrdiff_t index_of_best(const T* src, std::ptrdiff_t len) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  assert(len >= 1);
  if (src[0] != src[0]) return 0;
  if (len < W) {
    std::ptrdiff_t index = 0;
    for (std::ptrdiff_t i = 1; i < len; ++i) {
      if (Order::before(src[i], src[index])) index = i;
    }
    return index;
  }
  V best = V::broadcast(src[0]);
  std::ptrdiff_t place = 0;
  const auto note = [&](V candidates, std::ptrdiff_t start) {
    if (!simd::any(Order::before(candidates, best))) return;
    best = V::broadcast(Order::best_lane(candidates));
    place = start;
  };
  std::ptrdiff_t i = 0;
  for (; i + 8 * W <= len; i += 8 * W) {
    V block[4];
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
      block[k] = Order::better(simd::load<T>(src + i + k * W), best);
      block[k] = Order::better(simd::load<T>(src + i + (k + 4) * W), block[k]);
    }
    note(Order::better(Order::better(block[0], block[1]), Order::better(block[2], block[3])), i);
  }
  for (; i + W <= len; i += W) note(Order::better(simd::load<T>(src + i), best), i);
  // The last vector overlaps what has been seen, which cannot beat itself.
  if (i < len) note(Order::better(simd::load<T>(src + len - W), best), len - W);
  for (;; place += W) {
    const unsigned equal = simd::bit_mask(simd::load<T>(src + place) == best);
    if (equal != 0) return place + std::countr_zero(equal);
  }
}

// The best value alone, in four lanes of comparisons. A NaN in front stays, since nothing is better than it.
template <class Order, class T>
class RunningBest {
  using V = simd::Vec<T>;

 public:
  explicit RunningBest(T first) {
    for (V& lanes : lanes_) lanes = V::broadcast(first);
  }
  template <int kLane>
  [[gnu::always_inline]] void note(V x) {
    lanes_[kLane] = Order::better(x, lanes_[kLane]);
  }
  // Of equal zeros the first, as the index search has it.
  T value(const T* src, std::ptrdiff_t len) const {
    const V pair = Order::better(lanes_[0], lanes_[1]);
    const T best = Order::best_lane(Order::better(pair, Order::better(lanes_[2], lanes_[3])));
    return best == T{0} ? src[index_of_best<Order>(src, len)] : best;
  }

 private:
  V lanes_[4];
};

template <class T, class... Best>
void note_all(const T* src, std::ptrdiff_t len, Best&... best) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  std::ptrdiff_t i = 0;
  for (; i + 4 * W <= len; i += 4 * W) {
    (best.template note<0>(simd::load<T>(src + i)), ...);
    (best.template note<1>(simd::load<T>(src + i + W)), ...);
    (best.template note<2>(simd::load<T>(src + i + 2 * W)), ...);
    (best.template note<3>(simd::load<T>(src + i + 3 * W)), ...);
  }
  for (; i + W <= len; i += W) (best.template note<0>(simd::load<T>(src + i)), ...);
  if (i < len && len > W) {
    (best.template note<1>(simd::load<T>(src + len - W)), ...);
  } else {
    for (; i < len; ++i) (best.template note<0>(V::broadcast(src[i])), ...);
  }
}

template <class Order, class T>
KivStatus extremum(const T* src, int len, T* value) {
  return run(first_failure(not_null(src, value), positive(len)), [&] {
    RunningBest<Order, T> best(src[0]);
    note_all(src, len, best);
    *value = best.value(src, len);
  });
}

template <class Order, class T>
KivStatus extremum(const T* src, int len, T* value, int* index) {
  return run(first_failure(not_null(src, value), positive(len)), [&] {
    const std::ptrdiff_t place = index_of_best<Order>(src, len);
    *value = src[place];
    if (index != nullptr) *index = static_cast<int>(place);
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax) { return extremum<Largest>(pSrc, len, pMax); }
KivStatus kivsMax_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax) { return extremum<Largest>(pSrc, len, pMax); }
KivStatus kivsMin_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin) { return extremum<Smallest>(pSrc, len, pMin); }
KivStatus kivsMin_64f(const Kiv64f* pSrc, int len, Kiv64f* pMin) { return extremum<Smallest>(pSrc, len, pMin); }
KivStatus kivsMinMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, Kiv32f* pMax) {
  return run(first_failure(not_null(pSrc, pMin, pMax), positive(len)), [&] {
    RunningBest<Smallest, Kiv32f> smallest(pSrc[0]);
    RunningBest<Largest, Kiv32f> largest(pSrc[0]);
    note_all(pSrc, len, smallest, largest);
    *pMin = smallest.value(pSrc, len);
    *pMax = largest.value(pSrc, len);
  });
}
KivStatus kivsMaxIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax, int* pIndx) {
  return extremum<Largest>(pSrc, len, pMax, pIndx);
}
KivStatus kivsMaxIndx_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax, int* pIndx) {
  return extremum<Largest>(pSrc, len, pMax, pIndx);
}
KivStatus kivsMinIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, int* pIndx) {
  return extremum<Smallest>(pSrc, len, pMin, pIndx);
}
}
