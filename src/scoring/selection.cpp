// Mixture scores of selected components.
#include "kivsr/scoring/selection.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "frame/allocated.h"
#include "gaussian_arithmetic.h"
#include "gaussian_arithmetic_16s.h"
#include "gaussian_calls.h"
#include "log_add.h"

namespace kivsr {
namespace {

constexpr int kBlock = 64;

// The frames of one block and what is known of them so far.
struct FrameBlock {
  int first;
  int frames;
  float* running;        // log-sum of the components added to each frame
  std::int32_t* counts;  // how many those are
};

// Adds a component to the frames of the block that its bit selects.
template <class A, class X>
class Selection {
 public:
  Selection(const A& arithmetic, X x, int len) : arithmetic_(arithmetic), x_(x), len_(len) {}

  template <class W>
  void add(const FrameBlock& block, const Kiv8u* bytes, Kiv8u bit, const typename A::Element* m, W w, float val) const {
    int selected[kBlock];
    int n = 0;
    for (int f = 0; f < block.frames; ++f) {
      selected[n] = f;
      n += (bytes[f] & bit) != 0 ? 1 : 0;
    }
    if (n == 0) return;
    alignas(32) float scores[kBlock];
    alignas(32) float sums[kBlock];
    for (int k = 0; k < n; ++k) {
      scores[k] = arithmetic_.distance(x_.row(block.first + selected[k]), m, w, len_);
      sums[k] = block.running[selected[k]];
    }
    const auto constant = simd::Vec<float>::broadcast(val);
    transform<float>(
        n, [&](auto d) { return arithmetic_.gaussian_score(constant, d); }, scores, scores);
    log_add(sums, scores, n, kivLogAddHintAc);
    for (int k = 0; k < n; ++k) {
      const int f = selected[k];
      block.running[f] = block.counts[f]++ == 0 ? scores[k] : sums[k];
    }
  }

 private:
  const A& arithmetic_;
  X x_;
  int len_;
};

// Components in their order for every frame; a column of the table, eight components, at a time.
template <class A, class X, class M, class W>
KivStatus score_selected(const A& arithmetic, X x, M m, W w, int len, const float* vals, const Kiv8u* sign,
                         int components, float* dst, int frames, float none_value) {
  const Allocated<std::int32_t> counts(static_cast<std::size_t>(frames));
  if (counts.data() == nullptr) return kivStatusNoMemory;
  std::fill_n(counts.data(), frames, 0);
  std::fill_n(dst, frames, static_cast<float>(kLogZero));
  const Selection<A, X> selection(arithmetic, x, len);
  const std::ptrdiff_t columns = components / 8 + (components % 8 != 0 ? 1 : 0);
  for (int first = 0; first < frames;) {
    const FrameBlock block{first, std::min(kBlock, frames - first), dst + first, counts.data() + first};
    const Kiv8u* const table = sign + first * columns;
    for (std::ptrdiff_t column = 0; column < columns; ++column) {
      Kiv8u bytes[kBlock];
      unsigned any = 0;
      for (int f = 0; f < block.frames; ++f) any |= bytes[f] = table[f * columns + column];
      const int j = static_cast<int>(column) * 8;
      for (int k = 0; any != 0 && k < std::min(8, components - j); ++k) {
        selection.add(block, bytes, static_cast<Kiv8u>(0x80 >> k), m.row(j + k), w.row(j + k), vals[j + k]);
      }
    }
    first += block.frames;
  }
  for (int f = 0; f < frames; ++f) {
    if (counts.data()[f] == 0) dst[f] = none_value;
  }
  return kivStatusOk;
}

// The step is tested last.
template <class A, class E, class W>
KivStatus select(const A& arithmetic, const E* src, const E* mean, W var, int step, int len, const float* val,
                 const Kiv8u* sign, int components, float* dst, int frames, float none_value) {
  return run(first_failure(all_given(src, mean, sign, var, val, dst), positive(len, components, frames),
                           step_covers(step, len)),
             [&] {
               return score_selected(arithmetic, step_rows(src, step), step_rows(mean, step), step_rows(var, step), len,
                                     val, sign, components, dst, frames, none_value);
             });
}
template <class A, class E, class W>
KivStatus select(const A& arithmetic, const E** src, const E** mean, W var, int len, const float* val,
                 const Kiv8u* sign, int components, float* dst, int frames, float none_value) {
  return run(first_failure(all_given(src, mean, sign, var, val, dst), positive(len, components, frames)), [&] {
    return score_selected(arithmetic, pointer_rows(src), pointer_rows(mean), pointer_rows(var), len, val, sign,
                          components, dst, frames, none_value);
  });
}

using Floats = FloatingArithmetic<float, float>;
using Scaled = ScaledArithmetic<float>;

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsLogGaussMixture_Select_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int step,
                                            int len, const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                            int nFrames, Kiv32f noneValue) {
  return select(Floats(), pSrc, pMean, pVar, step, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_Select_32f_D2L(const Kiv32f** ppSrc, const Kiv32f** ppMean, const Kiv32f** ppVar, int len,
                                             const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                             int nFrames, Kiv32f noneValue) {
  return select(Floats(), ppSrc, ppMean, ppVar, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int step, int len,
                                                 const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                                 int nFrames, Kiv32f noneValue) {
  return select(Floats(), pSrc, pMean, nullptr, step, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f** ppMean, int len,
                                                  const Kiv32f* pVal, const Kiv8u* pSign, int nMix, Kiv32f* pDst,
                                                  int nFrames, Kiv32f noneValue) {
  return select(Floats(), ppSrc, ppMean, nullptr, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                     int step, int len, const Kiv32f* pVal, const Kiv8u* pSign,
                                                     int nMix, Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                     int scaleFactor) {
  return select(Scaled(scaleFactor), pSrc, pMean, pVar, step, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s** ppMean, const Kiv16s** ppVar,
                                                      int len, const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                      Kiv32f* pDst, int nFrames, Kiv32f noneValue, int scaleFactor) {
  return select(Scaled(scaleFactor), ppSrc, ppMean, ppVar, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int step, int len,
                                                          const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                          Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                          int scaleFactor) {
  return select(Scaled(scaleFactor), pSrc, pMean, nullptr, step, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
KivStatus kivsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Kiv16s** ppSrc, const Kiv16s** ppMean, int len,
                                                           const Kiv32f* pVal, const Kiv8u* pSign, int nMix,
                                                           Kiv32f* pDst, int nFrames, Kiv32f noneValue,
                                                           int scaleFactor) {
  return select(Scaled(scaleFactor), ppSrc, ppMean, nullptr, len, pVal, pSign, nMix, pDst, nFrames, noneValue);
}
}
