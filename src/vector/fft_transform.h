// The real transform of one order: which passes it takes, where its tables stand, and the run through the passes.
#pragma once

#include <algorithm>
#include <cassert>
#include <type_traits>

#include "fft.h"
#include "fft_real_pass.h"
#include "fft_registers.h"
#include "fft_roots.h"
#include "frame/layout.h"

namespace kivsr::fft {

// Orders below this one are computed directly, without tables.
inline constexpr int kFirstTableOrder = 4;

// Lanes for an order: the widest vectors that the mirrored columns of the last pass can fill twice.
template <class T>
constexpr int lanes(int order) {
  constexpr int W = simd::ComplexVec<T>::width;
  if ((1 << (order - 1)) >= 8 * W) return W;
  if (W == 8 && (1 << (order - 1)) >= 32) return 4;
  return 1;
}

// Up to this order the numbers go back and forth between two work areas. Above, the second is the destination, which
// only an even number of middle passes leaves free for the last pass.
inline constexpr int kLastTwoAreas = 20;

// The radices, as powers of two, of the first pass and of those between it and the last.
struct Radices {
  signed char first = 0;
  signed char count = 0;
  signed char middle[14] = {};
};

constexpr Radices choose_radices(int width, int order) {
  Radices r;
  int rest = order - 1 - 2;  // the last pass is of radix 4
  if (width == 8) {
    r.first = 3;
  } else {
    r.first = static_cast<signed char>(rest == 1 ? 1 : rest == 2 || rest == 4 ? 2 : 3);
  }
  rest -= r.first;
  r.count = static_cast<signed char>((rest + 2) / 3);
  if (order > kLastTwoAreas && r.count % 2 != 0) ++r.count;
  for (int i = 0; i < r.count; ++i) {
    r.middle[i] = static_cast<signed char>((rest + r.count - i - 1) / (r.count - i));
    rest -= r.middle[i];
  }
  return r;
}

template <class T>
struct RadixTable {
  Radices by_order[kMaximumOrder + 1] = {};
  constexpr RadixTable() {
    for (int order = kFirstTableOrder; order <= kMaximumOrder; ++order) {
      by_order[order] = choose_radices(lanes<T>(order), order);
    }
  }
};
template <class T>
inline constexpr RadixTable<T> kRadixTable;
template <class T>
constexpr const Radices& radices(int order) {
  return kRadixTable<T>.by_order[order];
}

// Elements of the tables of the passes between the first and the last, and of the last.
template <class T>
constexpr std::uint64_t middle_table_count(int order) {
  if (in_registers<T>(order)) return 2 * simd::ComplexVec<T>::width * kRegisterMiddleBlocks;
  const Radices& r = radices<T>(order);
  std::uint64_t points = std::uint64_t{1} << r.first;
  std::uint64_t count = 0;
  for (int i = 0; i < r.count; ++i) {
    count += 2 * points * ((std::uint64_t{1} << r.middle[i]) - 1);
    points <<= r.middle[i];
  }
  return count;
}

constexpr std::size_t last_table_count(int order) { return (std::size_t{2 * kColumnFactors} << order) / 16; }

// Loads wait for unfinished stores with the same place in a page, as if they were the same address.
inline constexpr std::size_t kPageBytes = 4096;

template <class T>
constexpr std::uint64_t work_count(int order) {
  const std::uint64_t area = std::uint64_t{1} << order;
  if (order > kLastTwoAreas) return area + kPageBytes / sizeof(T);
  return radices<T>(order).count > 0 ? 2 * area : area;
}

template <class T>
struct Tables {
  T* middle;  // complex passes
  T* last;    // real pass, times gain
  T gain;     // 1/2 times the factor of the forward transform
};

namespace detail {

template <class T>
constexpr int lane_element(int width, int lane) {
  if (width == simd::ComplexVec<T>::width) return simd::kLaneElement<simd::ComplexVec<T>>[lane];
  return lane;
}

// Powers 1 .. 7 of a root of unity in each lane.
template <int kLanes>
class RootPowers {
 public:
  // exponents: of the lanes. Products of roots in double precision, but where the wave was rounded to float.
  template <class Wave>
  void fill(const Roots<Wave>& roots, const std::uint64_t (&exponents)[kLanes], int powers) {
    for (int k = 1; k <= powers; ++k) {
      if (k > 1 && std::is_same_v<Wave, double>) {
        multiply(k, k / 2, k - k / 2);
        continue;
      }
      for (int l = 0; l < kLanes; ++l) {
        const Root root = roots.get(exponents[l] * static_cast<std::uint64_t>(k));
        re_[k][l] = root.re;
        im_[k][l] = root.im;
      }
    }
  }

  // gain times power k, or -i times that, as the passes read it: the real parts, then the imaginary ones.
  template <class T>
  T* store(T* p, int k, double gain) const {
    for (int l = 0; l < kLanes; ++l) p[l] = static_cast<T>(gain * re_[k][l]);
    for (int l = 0; l < kLanes; ++l) p[kLanes + l] = static_cast<T>(gain * im_[k][l]);
    return p + 2 * kLanes;
  }
  template <class T>
  T* store_turned(T* p, int k, double gain) const {
    for (int l = 0; l < kLanes; ++l) p[l] = static_cast<T>(gain * im_[k][l]);
    for (int l = 0; l < kLanes; ++l) p[kLanes + l] = static_cast<T>(-gain * re_[k][l]);
    return p + 2 * kLanes;
  }

 private:
  void multiply(int k, int a, int b) {
    for (int l = 0; l < kLanes; ++l) {
      re_[k][l] = re_[a][l] * re_[b][l] - im_[a][l] * im_[b][l];
      im_[k][l] = re_[a][l] * im_[b][l] + im_[a][l] * re_[b][l];
    }
  }

  double re_[8][kLanes] = {};
  double im_[8][kLanes] = {};
};

}  // namespace detail

// Calls f with a null pointer to the vector type of the order.
template <class T, class F>
inline void with_lanes(int order, F f) {
  const int width = lanes<T>(order);
  if (width == simd::ComplexVec<T>::width) {
    f(static_cast<simd::ComplexVec<T>*>(nullptr));
  } else if (width == 1) {
    f(static_cast<simd::Single<T>*>(nullptr));
  } else {
    if constexpr (std::is_same_v<T, float>) f(static_cast<simd::Quad*>(nullptr));
  }
}

template <int kWidth, class T, class Wave>
void build_tables_of(const Tables<T>& tables, int order, const Roots<Wave>& roots) {
  const std::uint64_t size = roots.size();
  const double gain = static_cast<double>(tables.gain);
  detail::RootPowers<kWidth> powers;
  // Of w_N^(unit column) for a block of columns.
  const auto fill = [&](std::uint64_t first_column, std::uint64_t unit, int count) {
    std::uint64_t exponents[kWidth];
    for (int l = 0; l < kWidth; ++l)
      exponents[l] = unit * (first_column + static_cast<std::uint64_t>(detail::lane_element<T>(kWidth, l)));
    powers.fill(roots, exponents, count);
  };
  const Radices& r = radices<T>(order);
  const auto lane_count = std::uint64_t{kWidth};
  std::uint64_t points = std::uint64_t{1} << r.first;
  T* p = tables.middle;
  for (int i = 0; i < r.count; ++i) {
    const int radix = 1 << r.middle[i];
    const std::uint64_t unit = size / (static_cast<std::uint64_t>(radix) * points);
    for (std::uint64_t j = 0; j < points; j += lane_count) {
      fill(j, unit, radix - 1);
      for (int k = 1; k < radix; ++k) p = powers.store(p, k, 1);
    }
    points *= static_cast<std::uint64_t>(radix);
  }
  p = tables.last;
  for (std::uint64_t j = 0; j < size / 16; j += lane_count) {
    fill(j, 1, 7);
    for (int k = 2; k < 8; k += 2) p = powers.store(p, k, gain);
    for (int k = 1; k < 8; k += 2) p = powers.store_turned(p, k, gain);
  }
}

// `construction`: memory for the quarter wave of the order, where that is not a constant of the library.
template <class T>
void build_tables(const Tables<T>& tables, int order, void* construction) {
  if constexpr (std::is_same_v<T, float>) {
    if (in_registers<T>(order)) {
      const Roots roots(kFixedWave.values, kFixedOrder, order);
      return build_register_tables(tables.middle, tables.last, static_cast<double>(tables.gain), roots);
    }
  }
  with_lanes<T>(order, [&]<class V>(V*) {
    if (order <= kFixedOrder) {
      build_tables_of<V::width>(tables, order, Roots(kFixedWave.values, kFixedOrder, order));
    } else {
      T* const wave = static_cast<T*>(align_up(construction));
      build_quarter_wave(wave, order);
      build_tables_of<V::width>(tables, order, Roots<T>(wave, order, order));
    }
  });
}

template <class V, bool kInverse, class T>
inline void middle_pass(int bits, const T* from, T* to, std::ptrdiff_t blocks, std::ptrdiff_t sub, const T* factors) {
  switch (bits) {
    case 1: return complex_pass<V, 2, kInverse>(from, to, blocks, sub, factors);
    case 2: return complex_pass<V, 4, kInverse>(from, to, blocks, sub, factors);
    default: return complex_pass<V, 8, kInverse>(from, to, blocks, sub, factors);
  }
}

// Both areas of a transform of `count` numbers. The first of a large one is kept half a page away from the destination.
template <class T>
struct Areas {
  T* from;
  T* to;
};
template <class T>
inline Areas<T> areas(T* work, T* dst, std::ptrdiff_t count, int order) {
  if (order <= kLastTwoAreas) return {work, work + 2 * count};
  const auto distance = reinterpret_cast<std::uintptr_t>(dst) + kPageBytes / 2 - reinterpret_cast<std::uintptr_t>(work);
  return {work + distance % kPageBytes / 32 * 32 / sizeof(T), dst};
}

template <class V, Spectrum kSpectrum, class S, class T>
void forward_passes(const S* src, T* dst, int order, const Tables<T>& tables, T* work) {
  assert(order >= kFirstTableOrder && order <= kMaximumOrder && V::width == lanes<T>(order));
  const Radices& r = radices<T>(order);
  const std::ptrdiff_t count = std::ptrdiff_t{1} << (order - 1);
  const std::ptrdiff_t blocks = count / V::width;
  auto [from, to] = areas(work, dst, count, order);
  switch (r.first) {
    case 3: first_pass<V, 8>(src, from, count); break;
    case 2:
      if constexpr (V::width <= 4) first_pass<V, 4>(src, from, count);
      break;
    default:
      if constexpr (V::width <= 2) first_pass<V, 2>(src, from, count);
  }
  const T* factors = tables.middle;
  std::ptrdiff_t points = std::ptrdiff_t{1} << r.first;
  for (int i = 0; i < r.count; ++i) {
    middle_pass<V, false>(r.middle[i], from, to, blocks, points / V::width, factors);
    factors += 2 * points * ((1 << r.middle[i]) - 1);
    points <<= r.middle[i];
    std::swap(from, to);
  }
  forward_real_pass<V, kSpectrum>(from, dst, count, static_cast<const T*>(tables.last), tables.gain);
}

template <class V, class T>
void inverse_passes(const T* src, T* dst, int order, const Tables<T>& tables, T* work, T scale) {
  assert(order >= kFirstTableOrder && order <= kMaximumOrder && V::width == lanes<T>(order));
  const Radices& r = radices<T>(order);
  const std::ptrdiff_t count = std::ptrdiff_t{1} << (order - 1);
  const std::ptrdiff_t blocks = count / V::width;
  auto [from, to] = areas(work, dst, count, order);
  inverse_real_pass<V>(src, from, count, static_cast<const T*>(tables.last), tables.gain, scale / tables.gain);
  const T* factors = tables.middle + middle_table_count<T>(order);
  std::ptrdiff_t points = count / 4;
  for (int i = r.count - 1; i >= 0; --i) {
    points >>= r.middle[i];
    factors -= 2 * points * ((1 << r.middle[i]) - 1);
    middle_pass<V, true>(r.middle[i], from, to, blocks, points / V::width, factors);
    std::swap(from, to);
  }
  switch (r.first) {
    case 3: return last_inverse_pass<V, 8>(from, dst, count);
    case 2:
      if constexpr (V::width <= 4) last_inverse_pass<V, 4>(from, dst, count);
      return;
    default:
      if constexpr (V::width <= 2) last_inverse_pass<V, 2>(from, dst, count);
  }
}

// Calls f.operator()<spectrum>().
template <class F>
inline void with_spectrum(Spectrum spectrum, F f) {
  switch (spectrum) {
    case Spectrum::kCcs: return f.template operator()<Spectrum::kCcs>();
    case Spectrum::kPack: return f.template operator()<Spectrum::kPack>();
    case Spectrum::kPerm: return f.template operator()<Spectrum::kPerm>();
  }
}

// Orders 0 to 3 (N = 1, 2, 4, 8) in direct code. dst may be src.
template <Spectrum kSpectrum, class T>
void small_forward(const T* src, T* dst, int order, T scale) {
  const int n = 1 << order;
  Complex<T> bins[5] = {};
  if (n == 1) {
    bins[0].re = src[0];
  } else if (n == 2) {
    bins[0].re = src[0] + src[1];
    bins[1].re = src[0] - src[1];
  } else {
    // The samples folded to four give the even bins of N = 8, or all of N = 4.
    T s[4];
    for (int i = 0; i < 4; ++i) s[i] = n == 4 ? src[i] : src[i] + src[i + 4];
    bins[0].re = (s[0] + s[2]) + (s[1] + s[3]);
    bins[n / 4] = {s[0] - s[2], s[3] - s[1]};
    bins[n / 2].re = (s[0] + s[2]) - (s[1] + s[3]);
    if (n == 8) {
      T d[4];
      for (int i = 0; i < 4; ++i) d[i] = src[i] - src[i + 4];
      const T re = (d[1] - d[3]) * static_cast<T>(kRootHalf);
      const T im = (d[1] + d[3]) * static_cast<T>(kRootHalf);
      bins[1] = {d[0] + re, -d[2] - im};
      bins[3] = {d[0] - re, d[2] - im};
    }
  }
  dst[0] = bins[0].re * scale;
  if (kSpectrum == Spectrum::kCcs) dst[1] = 0;
  if (n == 1) return;
  T* const pairs = dst + kFirstPair<kSpectrum>;
  for (int k = 1; k < n / 2; ++k) {
    pairs[2 * k] = bins[k].re * scale;
    pairs[2 * k + 1] = bins[k].im * scale;
  }
  dst[kSpectrum == Spectrum::kPerm ? 1 : n + kFirstPair<kSpectrum>] = bins[n / 2].re * scale;
  if (kSpectrum == Spectrum::kCcs) dst[n + 1] = 0;
}

template <class T>
void small_inverse(const T* src, T* dst, int order, T scale) {
  const int n = 1 << order;
  if (n == 1) {
    dst[0] = src[0] * scale;
    return;
  }
  const T sum = src[0] + src[n - 1];
  const T difference = src[0] - src[n - 1];
  if (n == 2) {
    dst[0] = sum * scale;
    dst[1] = difference * scale;
    return;
  }
  const Complex<T> middle = {2 * src[n / 2 - 1], 2 * src[n / 2]};
  const T s[4] = {sum + middle.re, difference - middle.im, sum - middle.re, difference + middle.im};
  T d[4] = {};
  if (n == 8) {
    const T re = (src[1] - src[5]) * static_cast<T>(2 * kRootHalf);
    const T im = (src[2] + src[6]) * static_cast<T>(2 * kRootHalf);
    d[0] = 2 * (src[1] + src[5]);
    d[1] = re - im;
    d[2] = 2 * (src[6] - src[2]);
    d[3] = -re - im;
  }
  for (int i = 0; i < n; ++i) dst[i] = (i < 4 ? s[i & 3] + d[i & 3] : s[i & 3] - d[i & 3]) * scale;
}

}  // namespace kivsr::fft
