// Mixture scores of selected components.
#include "kivsr/scoring/selection.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "frame/layout.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "gaussian_arithmetic.h"
#include "gaussian_arithmetic_16s.h"
#include "gaussian_rows.h"
#include "log_add.h"

namespace kivsr {
namespace {

// Blocks of frames by blocks of components; a power of two of lanes divides both.
constexpr int kFrames = 64;
constexpr int kComponents = 128;
constexpr int kRow = kFrames + 16;  // of scores: not all rows in the same few sets of a cache

// The places of the bits of a byte, most significant first, a byte each from the lowest one on, and how many they are.
struct BitList {
  std::uint64_t places;
  std::uint64_t count;
};
constexpr auto kBitLists = [] {
  std::array<BitList, 256> lists{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (unsigned k = 0; k < 8; ++k) {
      if ((byte & 0x80U >> k) != 0) lists[byte].places |= std::uint64_t{k} << 8 * lists[byte].count++;
    }
  }
  return lists;
}();

// Lists the bits of a row and returns their number. A byte writes eight places, of which its bits count.
int list_bits(Kiv8u* list, const Kiv8u* row, int components) {
  constexpr std::uint64_t kEights = 0x0808080808080808;
  const Kiv8u* const start = list;
  std::uint64_t first = 0;
  const auto add = [&](unsigned byte) {
    const std::uint64_t places = kBitLists[byte].places + first;
    std::memcpy(list, &places, sizeof places);
    list += kBitLists[byte].count;
    first += kEights;
  };
  for (int i = 0; i < components / 8; ++i) add(row[i]);
  if (const int bits = components % 8; bits != 0) add(row[components / 8] & ~(0xFFU >> bits));
  return static_cast<int>(list - start);
}

// Scores the selected components of one frame after the other and keeps them by their number within the frame. Frames
// stand in the order of these numbers, most first: the k-th additions of all frames are then one log-addition of two
// vectors, and frames leave at its end.
template <class A, class X, class M, class W>
class Selection {
  using V = simd::Vec<float>;

 public:
  Selection(const A& arithmetic, X x, M m, W w, int len, const float* vals)
      : arithmetic_(arithmetic), x_(x), m_(m), w_(w), len_(len), vals_(vals) {}

  // Frames first .. first + frames - 1 and components from `component` on; dst and counts (components added so far)
  // belong to the first frame, the table to both.
  void add(int first, int frames, int component, int components, const Kiv8u* table, std::ptrdiff_t columns, float* dst,
           std::int32_t* counts) {
    assert(frames <= kFrames && components <= kComponents && component % 8 == 0);
    const int most = sort(frames, components, table, columns);
    int n = frames;
    while (n > 0 && selected_[order_[n - 1]] == 0) --n;
    for (int k = 0; k < most; ++k) {
      for (int place = 0; place < n; place += V::width) simd::store(scores_[k] + place, V::zero());
    }
    // One frame behind: vectors are not read back while narrower ones are still on their way to memory.
    for (int place = 0; place < n; ++place) {
      measure(place, x_.row(first + order_[place]), component);
      if (place > 0) score(place - 1);
    }
    if (n > 0) score(n - 1);
    alignas(32) float running[kFrames] = {};
    for (int place = 0; place < n; ++place) running[place] = dst[order_[place]];
    for (int k = 0; n > 0; ++k) {
      // Lanes behind the last frame do not matter any more.
      log_add(running, scores_[k], static_cast<int>(round_up(static_cast<std::size_t>(n), V::width)), kivLogAddHintAc);
      if (k == 0) keep_first(n, running, counts);
      for (; n > 0 && selected_[order_[n - 1]] == k + 1; --n) dst[order_[n - 1]] = running[n - 1];
    }
    for (int f = 0; f < frames; ++f) counts[f] += selected_[f];
  }

 private:
  // Lists what each frame has selected and sorts the frames; returns the largest number.
  int sort(int frames, int components, const Kiv8u* table, std::ptrdiff_t columns) {
    int starts[kComponents + 1] = {};
    int most = 0;
    for (int f = 0; f < frames; ++f) {
      const int n = list_bits(lists_[f], table + f * columns, components);
      selected_[f] = n;
      most = std::max(most, n);
      ++starts[n];
    }
    for (int n = most, place = 0; n >= 0; --n) place += std::exchange(starts[n], place);
    for (int f = 0; f < frames; ++f) order_[starts[selected_[f]]++] = f;
    return most;
  }

  // The distances of a frame from the components of its list, then its scores.
  void measure(int place, const typename A::Element* x, std::ptrdiff_t component) {
    const int f = order_[place];
    Measured& measured = measured_[place % 2];
    for (int k = 0; k < selected_[f]; ++k) {
      const std::ptrdiff_t j = component + lists_[f][k];
      means_.set(k, m_, j);
      weights_.set(k, w_, j);
      measured.vals[k] = vals_[j];
    }
    arithmetic_.distances(measured.distances, OneRow{x}, means_.view(), weights_.view(), len_, selected_[f]);
  }
  void score(int place) {
    const int n = selected_[order_[place]];
    Measured& measured = measured_[place % 2];
    for (int k = 0; k < n; k += V::width) {
      const V vals = simd::load<float>(measured.vals + k);
      simd::store(measured.vals + k, arithmetic_.gaussian_score(vals, simd::load<float>(measured.distances + k)));
    }
    for (int k = 0; k < n; ++k) scores_[k][place] = measured.vals[k];
  }

  // The first component of a frame is not added to anything.
  void keep_first(int n, float* running, const std::int32_t* counts) const {
    for (int place = 0; place < n; ++place) {
      if (counts[order_[place]] == 0) running[place] = scores_[0][place];
    }
  }

  const A& arithmetic_;
  X x_;
  M m_;
  W w_;
  int len_;
  const float* vals_;
  RowList<M, kComponents> means_;
  RowList<W, kComponents> weights_;
  Kiv8u lists_[kFrames][kComponents];
  int selected_[kFrames];
  int order_[kFrames];
  struct Measured {
    alignas(32) float vals[kComponents];
    alignas(32) float distances[kComponents];
  };
  Measured measured_[2] = {};
  alignas(32) float scores_[kComponents][kRow];
};

// Components in their order for every frame. The step is tested last.
template <class A, class X, class M, class W>
KivStatus score_selected(const A& arithmetic, X x, M m, W w, int len, const float* vals, const Kiv8u* sign,
                         int components, float* dst, int frames, float none_value) {
  if (const KivStatus s =
          first_failure(all_given(x, m, sign, w, vals, dst), positive(len, components, frames), step_covers(x, len));
      s != kivStatusOk) {
    return s;
  }
  Scratch<std::int32_t> counts(static_cast<std::size_t>(frames));
  if (!counts) return kivStatusNoMemory;
  std::fill_n(counts.data(), frames, 0);
  std::fill_n(dst, frames, static_cast<float>(kivLogZero));
  const std::ptrdiff_t columns = components / 8 + (components % 8 != 0 ? 1 : 0);
  Selection<A, X, M, W> selection(arithmetic, x, m, w, len, vals);
  for (int f = 0; f < frames;) {
    const int some_frames = std::min(kFrames, frames - f);
    for (int j = 0; j < components;) {
      const int some_components = std::min(kComponents, components - j);
      selection.add(f, some_frames, j, some_components, sign + f * columns + j / 8, columns, dst + f,
                    counts.data() + f);
      j += some_components;
    }
    f += some_frames;
  }
  for (int f = 0; f < frames; ++f) {
    if (counts[f] == 0) dst[f] = none_value;
  }
  return kivStatusOk;
}

using Floats = FloatingArithmetic<float, float>;
using Words = WordArithmetic<float>;

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsLogGaussMixture_Select_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                            int len, const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                            int nFrames, Kiv32f noneValue) {
  return score_selected(Floats(), StepRows{pSrc, step}, StepRows{pMean, step}, StepRows{pVar, step}, len, pVal, pSign,
                        nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_Select_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* const* ppMean,
                                             const Kiv32f* const* ppVar, int len, const Kiv32f* pVal,
                                             const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                             Kiv32f noneValue) {
  return score_selected(Floats(), PointerRows{ppSrc}, PointerRows{ppMean}, PointerRows{ppVar}, len, pVal, pSign, nMix,
                        pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int step, int len,
                                                 const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                                 int nFrames, Kiv32f noneValue) {
  return score_selected(Floats(), StepRows{pSrc, step}, StepRows{pMean, step}, UnitRows(), len, pVal, pSign, nMix, pDst,
                        nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* const* ppMean, int len,
                                                  const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                                  int nFrames, Kiv32f noneValue) {
  return score_selected(Floats(), PointerRows{ppSrc}, PointerRows{ppMean}, UnitRows(), len, pVal, pSign, nMix, pDst,
                        nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                     int step, int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                     int nMix, Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                     int scaleFactor) {
  return score_selected(Words(scaleFactor), StepRows{pSrc, step}, StepRows{pMean, step}, StepRows{pVar, step}, len,
                        pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* const* ppMean,
                                                      const Kiv16s* const* ppVar, int len, const Kiv32f* pVal,
                                                      const Kiv8u* pSign, int nMix, Kiv32f* pDst, int nFrames,
                                                      Kiv32f noneValue, int scaleFactor) {
  return score_selected(Words(scaleFactor), PointerRows{ppSrc}, PointerRows{ppMean}, PointerRows{ppVar}, len, pVal,
                        pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int step, int len,
                                                          const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                          Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                          int scaleFactor) {
  return score_selected(Words(scaleFactor), StepRows{pSrc, step}, StepRows{pMean, step}, UnitRows(), len, pVal, pSign,
                        nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Kiv16s* const* ppSrc, const Kiv16s* const* ppMean,
                                                           int len, const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                           Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                           int scaleFactor) {
  return score_selected(Words(scaleFactor), PointerRows{ppSrc}, PointerRows{ppMean}, UnitRows(), len, pVal, pSign, nMix,
                        pDst, nFrames, noneValue);
}
}
