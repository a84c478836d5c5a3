// Vector quantisation: the nearest codeword, the nearest few, and all within a relative radius.
#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vq/quantise.h"
#include "nearest.h"

namespace kivsr::vq {
namespace {

// Where the root of a distance goes.
struct NoDistances {
  KivStatus check() const { return kivStatusOk; }
  void put(std::ptrdiff_t, float) const {}
};
struct FloatDistances {
  Kiv32f* dst;
  KivStatus check() const { return not_null(dst); }
  void put(std::ptrdiff_t i, float squared) const { dst[i] = std::sqrt(squared); }
};
class ScaledDistances {
 public:
  ScaledDistances(Kiv32s* dst, int scale_factor) : dst_(dst), scale_(single_scale(scale_factor)) {}
  KivStatus check() const { return not_null(dst_); }
  void put(std::ptrdiff_t i, float squared) const {
    dst_[i] = round_saturated<Kiv32s>(static_cast<double>(std::sqrt(squared) * scale_));
  }

 private:
  Kiv32s* dst_;
  float scale_;
};
template <class D>
inline constexpr bool kWanted = !std::is_same_v<D, NoDistances>;

template <class T, class D>
KivStatus quantise(const T* src, int step, Kiv32s* indices, int height, const Codebook<T>* book, D destination) {
  const KivStatus checks = first_failure(not_null(book, src, indices), destination.check(), positive(step, height));
  if (checks != kivStatusOk) return checks;
  return run(require(step >= book->width, kivStatusBadSize), [&] {
    SearchMemory memory(*book);
    if (!memory) return kivStatusNoMemory;
    Searcher<T> searcher(*book, memory);
    const NearestRounding rounding;  // of scaled distances
    searcher.each_row(src, step, height, [&](int r, int index, const float* x) {
      indices[r] = index;
      if constexpr (kWanted<D>) destination.put(r, distance(searcher.all(), index, x));
    });
    return kivStatusOk;
  });
}

// Distances of a book to one vector, each with its index in the low half: sorted as numbers they stand by distance,
// then by index. The bits of a float that is not negative keep its order; NaN stands behind infinity.
class RankedDistances {
 public:
  explicit RankedDistances(std::size_t count) : keys_(count) {}
  explicit operator bool() const { return static_cast<bool>(keys_); }

  void fill(const Tiles& all, const float* x) {
    each_half_tile(all, x, [&](std::ptrdiff_t first, V d) {
      float lanes[V::width];
      store(lanes, d);
      for (int k = 0; k < V::width && first + k < all.count; ++k) {
        const std::uint64_t bits = std::bit_cast<std::uint32_t>(lanes[k]) & 0x7FFFFFFFU;
        keys_[first + k] = bits << 32 | static_cast<std::uint32_t>(first + k);
      }
    });
  }
  std::uint64_t* keys() { return keys_.data(); }
  static float distance(std::uint64_t key) { return std::bit_cast<float>(static_cast<std::uint32_t>(key >> 32)); }
  static Kiv32s index(std::uint64_t key) { return static_cast<Kiv32s>(key & 0xFFFFFFFFU); }

  template <class D>
  void write(std::ptrdiff_t num, Kiv32s* indices, D destination) {
    const NearestRounding rounding;
    for (std::ptrdiff_t i = 0; i < num; ++i) {
      indices[i] = index(keys_[i]);
      destination.put(i, distance(keys_[i]));
    }
  }

 private:
  Scratch<std::uint64_t, 1024> keys_;
};

template <class T, class D>
KivStatus nearest_few(const T* src, Kiv32s* indices, const Codebook<T>* book, int num, D destination) {
  const KivStatus null = first_failure(not_null(src, indices, book), destination.check());
  if (null != kivStatusOk) return null;
  return run(require(num >= 1 && num <= book->count, kivStatusBadSize), [&] {
    SearchMemory memory(*book);
    RankedDistances ranked(static_cast<std::size_t>(book->count));
    if (!memory || !ranked) return kivStatusNoMemory;
    Searcher<T> searcher(*book, memory);
    ranked.fill(searcher.all(), searcher.as_floats(src));
    std::uint64_t* const keys = ranked.keys();
    std::partial_sort(keys, keys + num, keys + book->count);
    ranked.write(num, indices, destination);
    return kivStatusOk;
  });
}

template <class T, class D>
KivStatus within_radius(const T* src, Kiv32s* indices, const Codebook<T>* book, float relative, int* count,
                        D destination) {
  return run(first_failure(not_null(src, indices, book, count), destination.check(),
                           require(relative >= 1.0F, kivStatusBadArgument)),
             [&] {
               SearchMemory memory(*book);
               RankedDistances ranked(static_cast<std::size_t>(book->count));
               if (!memory || !ranked) return kivStatusNoMemory;
               Searcher<T> searcher(*book, memory);
               const float* const x = searcher.as_floats(src);
               const int best = searcher.nearest_codeword(x);
               const auto d = static_cast<double>(std::sqrt(distance(searcher.all(), best, x)));
               const double radius = d * d * static_cast<double>(relative) * static_cast<double>(relative);
               ranked.fill(searcher.all(), x);
               std::uint64_t* const keys = ranked.keys();
               std::uint64_t* const end = std::partition(keys, keys + book->count, [radius](std::uint64_t key) {
                 return !tolerant_greater(static_cast<double>(RankedDistances::distance(key)), radius);
               });
               std::sort(keys, end);
               *count = static_cast<int>(end - keys);
               ranked.write(end - keys, indices, destination);
               return kivStatusOk;
             });
}

}  // namespace
}  // namespace kivsr::vq

extern "C" {
using namespace kivsr::vq;

KivStatus kivsVQ_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_32f* pCdbk) {
  return quantise<Kiv32f>(pSrc, step, pIndx, height, pCdbk, NoDistances{});
}
KivStatus kivsVQ_16s(const Kiv16s* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_16s* pCdbk) {
  return quantise<Kiv16s>(pSrc, step, pIndx, height, pCdbk, NoDistances{});
}
KivStatus kivsVQDist_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, Kiv32f* pDist, int height,
                         const KivsCdbkState_32f* pCdbk) {
  return quantise<Kiv32f>(pSrc, step, pIndx, height, pCdbk, FloatDistances{pDist});
}
KivStatus kivsVQDist_16s32s_Sfs(const Kiv16s* pSrc, int step, Kiv32s* pIndx, Kiv32s* pDist, int height,
                                const KivsCdbkState_16s* pCdbk, int scaleFactor) {
  return quantise<Kiv16s>(pSrc, step, pIndx, height, pCdbk, ScaledDistances(pDist, scaleFactor));
}

KivStatus kivsVQSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, int num) {
  return nearest_few<Kiv32f>(pSrc, pIndx, pCdbk, num, NoDistances{});
}
KivStatus kivsVQSingle_Sort_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, int num) {
  return nearest_few<Kiv16s>(pSrc, pIndx, pCdbk, num, NoDistances{});
}
KivStatus kivsVQDistSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist, const KivsCdbkState_32f* pCdbk,
                                    int num) {
  return nearest_few<Kiv32f>(pSrc, pIndx, pCdbk, num, FloatDistances{pDist});
}
KivStatus kivsVQDistSingle_Sort_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                           const KivsCdbkState_16s* pCdbk, int num, int scaleFactor) {
  return nearest_few<Kiv16s>(pSrc, pIndx, pCdbk, num, ScaledDistances(pDist, scaleFactor));
}

KivStatus kivsVQSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, Kiv32f relThresh,
                                  int* pCount) {
  return within_radius<Kiv32f>(pSrc, pIndx, pCdbk, relThresh, pCount, NoDistances{});
}
KivStatus kivsVQSingle_Thresh_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, Kiv32f relThresh,
                                  int* pCount) {
  return within_radius<Kiv16s>(pSrc, pIndx, pCdbk, relThresh, pCount, NoDistances{});
}
KivStatus kivsVQDistSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist, const KivsCdbkState_32f* pCdbk,
                                      Kiv32f relThresh, int* pCount) {
  return within_radius<Kiv32f>(pSrc, pIndx, pCdbk, relThresh, pCount, FloatDistances{pDist});
}
KivStatus kivsVQDistSingle_Thresh_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                             const KivsCdbkState_16s* pCdbk, Kiv32f relThresh, int* pCount,
                                             int scaleFactor) {
  return within_radius<Kiv16s>(pSrc, pIndx, pCdbk, relThresh, pCount, ScaledDistances(pDist, scaleFactor));
}
}
