// Exports of floating-point Gaussian scoring: one shape for each operation and layout, one line for each name.
#include "gaussian.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

#include "frame/allocator.h"
#include "frame/block_diagonal.h"
#include "frame/layout.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "gaussian_arithmetic.h"
#include "kivsr/scoring/gaussian.h"
#include "vector/elementwise.h"

namespace kivsr {
namespace {

// Weights from their argument: rows of inverse variances, or none.
template <class T>
OneRow<T> one_row(const T* p) {
  return {p};
}
UnitRows one_row(std::nullptr_t) { return {}; }
template <class T>
StepRows<const T> step_rows(const T* p, int step) {
  return {p, step};
}
UnitRows step_rows(std::nullptr_t, int) { return {}; }
template <class T>
PointerRows<const T> pointer_rows(const T** p) {
  return {p};
}
UnitRows pointer_rows(std::nullptr_t) { return {}; }

// A missing variance argument passes every null test.
template <class... P>
KivStatus all_given(P... pointers) {
  const auto given = [](auto p) { return std::is_same_v<decltype(p), std::nullptr_t> || p != nullptr; };
  return require((given(pointers) && ...), kivStatusNullPointer);
}

template <Keep kKeep, class E, class W, class R>
KivStatus frames(const E* src, int step, const E* mean, W var, int len, R* dst, int height, R val) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, dst), positive(len, height)), [&] {
    score_frames<kKeep>(FloatingArithmetic<E, R>{}, StepRows(src, step), one_row(mean), one_row(var), len, dst, height,
                        val);
  });
}
template <Keep kKeep, class E, class W, class R>
KivStatus frames(const E** src, const E* mean, W var, int len, R* dst, int height, R val) {
  return run(first_failure(all_given(src, mean, var, dst), positive(len, height)), [&] {
    score_frames<kKeep>(FloatingArithmetic<E, R>{}, PointerRows(src), one_row(mean), one_row(var), len, dst, height,
                        val);
  });
}

template <class E, class W, class R>
KivStatus multi_mix(const E* mean, W var, int step, const E* src, int len, R* src_dst, int height) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, src_dst), positive(len, height)), [&] {
    score_gaussians(FloatingArithmetic<E, R>{}, one_row(src), step_rows(mean, step), step_rows(var, step), len, src_dst,
                    height);
  });
}
template <class E, class W, class R>
KivStatus multi_mix(const E** mean, W var, const E* src, int len, R* src_dst, int height) {
  return run(first_failure(all_given(src, mean, var, src_dst), positive(len, height)), [&] {
    score_gaussians(FloatingArithmetic<E, R>{}, one_row(src), pointer_rows(mean), pointer_rows(var), len, src_dst,
                    height);
  });
}

// Maximum or log-addition of every Gaussian's score and an old value.
template <Keep kKeep, class A, class X, class M, class W, class R>
void merge_gaussians(const A& arithmetic, X x, M m, W w, int len, const R* vals, R* src_dst, int height) {
  if constexpr (kKeep == Keep::kMaximum) {
    maximize_gaussians(arithmetic, x, m, w, len, vals, src_dst, height);
  } else {
    log_add_gaussians(arithmetic, x, m, w, len, vals, src_dst, height);
  }
}
template <Keep kKeep, class E, class W, class R>
KivStatus merged_mix(const E* mean, W var, int step, const E* src, int len, const R* val, R* src_dst, int height) {
  return run(first_failure(step_covers(step, len), all_given(src, mean, var, src_dst, val), positive(len, height)),
             [&] {
               merge_gaussians<kKeep>(FloatingArithmetic<E, R>{}, one_row(src), step_rows(mean, step),
                                      step_rows(var, step), len, val, src_dst, height);
             });
}
template <Keep kKeep, class E, class W, class R>
KivStatus merged_mix(const E** mean, W var, const E* src, int len, const R* val, R* src_dst, int height) {
  return run(first_failure(all_given(src, mean, var, src_dst, val), positive(len, height)), [&] {
    merge_gaussians<kKeep>(FloatingArithmetic<E, R>{}, one_row(src), pointer_rows(mean), pointer_rows(var), len, val,
                           src_dst, height);
  });
}

template <class E, class W, class R>
KivStatus mixture(const E* src, const E* mean, W var, int height, int step, int len, const R* val, R* result) {
  return run(first_failure(all_given(src, mean, var, result, val), step_covers(step, len), positive(height, len)), [&] {
    *result = score_mixture(FloatingArithmetic<E, R>{}, one_row(src), step_rows(mean, step), step_rows(var, step), len,
                            val, height);
  });
}
template <class E, class W, class R>
KivStatus mixture(const E* src, const E** mean, W var, int height, int len, const R* val, R* result) {
  return run(first_failure(all_given(src, mean, var, result, val), positive(height, len)), [&] {
    *result = score_mixture(FloatingArithmetic<E, R>{}, one_row(src), pointer_rows(mean), pointer_rows(var), len, val,
                            height);
  });
}

template <class E, class W, class R>
KivStatus single(const E* src, const E* mean, W var, int len, R* result, R val) {
  return run(first_failure(all_given(src, mean, var, result), positive(len)), [&] {
    const FloatingArithmetic<E, R> arithmetic;
    *result = arithmetic.gaussian_score(val, arithmetic.distance(src, mean, var, len));
  });
}

// A block of the library's allocator for the length of a call.
template <class T>
class Allocated {
 public:
  explicit Allocated(std::size_t count) : data_(allocate<T>(count)) {}
  ~Allocated() { release(data_); }
  Allocated(const Allocated&) = delete;
  Allocated& operator=(const Allocated&) = delete;
  T* data() const { return data_; }

 private:
  T* data_;
};

// Variances as they are: inverted in the type of the result, a zero variance is the division's warning.
template <class E, class R>
KivStatus single_direct(const E* src, const E* mean, const E* var, int len, R* result, R val) {
  return run(first_failure(all_given(src, mean, var, result), positive(len)), [&]() -> KivStatus {
    constexpr bool kWidened = !std::is_same_v<E, R>;
    const std::size_t padded = round_up(static_cast<std::size_t>(len), 32);
    const Allocated<R> block(kWidened ? 2 * padded : padded);
    if (block.data() == nullptr) return kivStatusNoMemory;
    R* const inverse = block.data();
    std::fill_n(inverse, len, R{1});
    KivStatus division;
    if constexpr (kWidened) {
      std::copy_n(var, len, inverse + padded);
      division = divide(inverse, inverse, inverse + padded, len);
    } else {
      division = divide(inverse, inverse, var, len);
    }
    const FloatingArithmetic<E, R> arithmetic;
    *result = arithmetic.gaussian_score(val, arithmetic.distance(src, mean, inverse, len));
    return division;
  });
}

// d^T B d, B block-diagonal.
template <class E>
double quadratic_form(const BlockDiagonal<E>& matrix, const double* d) {
  using V = simd::Vec<double>;
  double form = 0.0;
  int first = 0;
  for (int k = 0; k < matrix.blocks; ++k) {
    const int size = matrix.block_sizes[k];
    for (int r = first; r < first + size; ++r) {
      const double product = reduce_sum<double>(
          size, [](V sum, V b, V x) { return simd::mul_add(b, x, sum); }, matrix.rows[r], d + first);
      form += d[r] * product;
    }
    first += size;
  }
  return form;
}

template <class E, class R>
KivStatus single_block(const E* src, const E* mean, const E** block, int len, R* result, R val) {
  if (const KivStatus s = first_failure(not_null(src, mean, block, result), positive(len)); s != kivStatusOk) return s;
  const auto& matrix = BlockDiagonal<E>::of(block);
  return run(require(matrix.dimension == len, kivStatusBadSize), [&]() -> KivStatus {
    constexpr int kOnStack = 111;
    Scratch<double, kOnStack> d(static_cast<std::size_t>(len));
    if (!d) return kivStatusNoMemory;
    transform<double>(
        len, [](auto x, auto m) { return x - m; }, d.data(), src, mean);
    *result = static_cast<R>(val - 0.5 * quadratic_form(matrix, d.data()));
    return kivStatusOk;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

#define FRAMES_D2(name, E, R, keep)                                                                                \
  KivStatus name(const E* pSrc, int step, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(pSrc, step, pMean, pVar, len, pSrcDst, height, val);                                       \
  }
#define FRAMES_D2L(name, E, R, keep)                                                                       \
  KivStatus name(const E** ppSrc, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(ppSrc, pMean, pVar, len, pSrcDst, height, val);                                    \
  }
#define FRAMES_IDVAR_D2(name, E, R, keep)                                                           \
  KivStatus name(const E* pSrc, int step, const E* pMean, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(pSrc, step, pMean, nullptr, len, pSrcDst, height, val);                     \
  }
#define FRAMES_IDVAR_D2L(name, E, R, keep)                                                  \
  KivStatus name(const E** ppSrc, const E* pMean, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(ppSrc, pMean, nullptr, len, pSrcDst, height, val);                  \
  }
#define MULTI_MIX_D2(name, E, R)                                                                            \
  KivStatus name(const E* pMean, const E* pVar, int step, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(pMean, pVar, step, pSrc, len, pSrcDst, height);                                        \
  }
#define MULTI_MIX_D2L(name, E, R)                                                                     \
  KivStatus name(const E** ppMean, const E** ppVar, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(ppMean, ppVar, pSrc, len, pSrcDst, height);                                      \
  }
#define MULTI_MIX_IDVAR_D2(name, E, R)                                                       \
  KivStatus name(const E* pMean, int step, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(pMean, nullptr, step, pSrc, len, pSrcDst, height);                      \
  }
#define MULTI_MIX_IDVAR_D2L(name, E, R)                                              \
  KivStatus name(const E** ppMean, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(ppMean, nullptr, pSrc, len, pSrcDst, height);                   \
  }
#define MERGED_MIX_D2(name, E, R, keep)                                                                      \
  KivStatus name(const E* pMean, const E* pVar, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst, \
                 int height) {                                                                               \
    return merged_mix<keep>(pMean, pVar, step, pSrc, len, pVal, pSrcDst, height);                            \
  }
#define MERGED_MIX_D2L(name, E, R, keep)                                                                             \
  KivStatus name(const E** ppMean, const E** ppVar, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) { \
    return merged_mix<keep>(ppMean, ppVar, pSrc, len, pVal, pSrcDst, height);                                        \
  }
#define MERGED_MIX_IDVAR_D2(name, E, R, keep)                                                               \
  KivStatus name(const E* pMean, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) { \
    return merged_mix<keep>(pMean, nullptr, step, pSrc, len, pVal, pSrcDst, height);                        \
  }
#define MERGED_MIX_IDVAR_D2L(name, E, R, keep)                                                      \
  KivStatus name(const E** ppMean, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) { \
    return merged_mix<keep>(ppMean, nullptr, pSrc, len, pVal, pSrcDst, height);                     \
  }
#define MIXTURE_D2(name, E, R)                                                                               \
  KivStatus name(const E* pSrc, const E* pMean, const E* pVar, int height, int step, int len, const R* pVal, \
                 R* pResult) {                                                                               \
    return mixture(pSrc, pMean, pVar, height, step, len, pVal, pResult);                                     \
  }
#define MIXTURE_D2L(name, E, R)                                                                                      \
  KivStatus name(const E* pSrc, const E** ppMean, const E** ppVar, int height, int len, const R* pVal, R* pResult) { \
    return mixture(pSrc, ppMean, ppVar, height, len, pVal, pResult);                                                 \
  }
#define MIXTURE_IDVAR_D2(name, E, R)                                                                        \
  KivStatus name(const E* pSrc, const E* pMean, int height, int step, int len, const R* pVal, R* pResult) { \
    return mixture(pSrc, pMean, nullptr, height, step, len, pVal, pResult);                                 \
  }
#define MIXTURE_IDVAR_D2L(name, E, R)                                                               \
  KivStatus name(const E* pSrc, const E** ppMean, int height, int len, const R* pVal, R* pResult) { \
    return mixture(pSrc, ppMean, nullptr, height, len, pVal, pResult);                              \
  }
#define SINGLE(name, E, R, driver)                                                           \
  KivStatus name(const E* pSrc, const E* pMean, const E* pVar, int len, R* pResult, R val) { \
    return driver(pSrc, pMean, pVar, len, pResult, val);                                     \
  }
#define SINGLE_IDVAR(name, E, R)                                              \
  KivStatus name(const E* pSrc, const E* pMean, int len, R* pResult, R val) { \
    return single(pSrc, pMean, nullptr, len, pResult, val);                   \
  }
#define SINGLE_BLOCK(name, E, R)                                                                    \
  KivStatus name(const E* pSrc, const E* pMean, const E** pBlockDVar, int len, R* pResult, R val) { \
    return single_block(pSrc, pMean, pBlockDVar, len, pResult, val);                                \
  }

FRAMES_D2(kivsLogGauss_32f_D2, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_32f_D2L, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
MULTI_MIX_D2(kivsLogGaussMultiMix_32f_D2, Kiv32f, Kiv32f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_32f_D2L, Kiv32f, Kiv32f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_32f_D2, Kiv32f, Kiv32f)
MIXTURE_D2L(kivsLogGaussMixture_32f_D2L, Kiv32f, Kiv32f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_32f_D2, Kiv32f, Kiv32f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_32f_D2L, Kiv32f, Kiv32f)
SINGLE(kivsLogGaussSingle_32f, Kiv32f, Kiv32f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_32f, Kiv32f, Kiv32f)
SINGLE(kivsLogGaussSingle_DirectVar_32f, Kiv32f, Kiv32f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_32f, Kiv32f, Kiv32f)

FRAMES_D2(kivsLogGauss_64f_D2, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_64f_D2L, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
MULTI_MIX_D2(kivsLogGaussMultiMix_64f_D2, Kiv64f, Kiv64f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_64f_D2L, Kiv64f, Kiv64f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_64f_D2, Kiv64f, Kiv64f)
MIXTURE_D2L(kivsLogGaussMixture_64f_D2L, Kiv64f, Kiv64f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_64f_D2, Kiv64f, Kiv64f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_64f_D2L, Kiv64f, Kiv64f)
SINGLE(kivsLogGaussSingle_64f, Kiv64f, Kiv64f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_64f, Kiv64f, Kiv64f)
SINGLE(kivsLogGaussSingle_DirectVar_64f, Kiv64f, Kiv64f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_64f, Kiv64f, Kiv64f)

FRAMES_D2(kivsLogGauss_32f64f_D2, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_32f64f_D2L, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
MULTI_MIX_D2(kivsLogGaussMultiMix_32f64f_D2, Kiv32f, Kiv64f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_32f64f_D2L, Kiv32f, Kiv64f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_32f64f_D2, Kiv32f, Kiv64f)
MIXTURE_D2L(kivsLogGaussMixture_32f64f_D2L, Kiv32f, Kiv64f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_32f64f_D2, Kiv32f, Kiv64f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_32f64f_D2L, Kiv32f, Kiv64f)
SINGLE(kivsLogGaussSingle_32f64f, Kiv32f, Kiv64f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_32f64f, Kiv32f, Kiv64f)
SINGLE(kivsLogGaussSingle_DirectVar_32f64f, Kiv32f, Kiv64f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_32f64f, Kiv32f, Kiv64f)

#undef FRAMES_D2
#undef FRAMES_D2L
#undef FRAMES_IDVAR_D2
#undef FRAMES_IDVAR_D2L
#undef MULTI_MIX_D2
#undef MULTI_MIX_D2L
#undef MULTI_MIX_IDVAR_D2
#undef MULTI_MIX_IDVAR_D2L
#undef MERGED_MIX_D2
#undef MERGED_MIX_D2L
#undef MERGED_MIX_IDVAR_D2
#undef MERGED_MIX_IDVAR_D2L
#undef MIXTURE_D2
#undef MIXTURE_D2L
#undef MIXTURE_IDVAR_D2
#undef MIXTURE_IDVAR_D2L
#undef SINGLE
#undef SINGLE_IDVAR
#undef SINGLE_BLOCK
}
