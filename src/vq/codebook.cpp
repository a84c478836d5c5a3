// Codebooks: made in library memory or in the caller's, read back and freed.
#include "kivsr/vq/codebook.h"

#include <limits>

#include "frame/allocator.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "grid.h"
#include "tree.h"

namespace kivsr::vq {
namespace {

template <class T>
struct StateOf;
template <>
struct StateOf<Kiv32f> {
  using Type = KivsCdbkState_32f;
  static constexpr int kStrideMultiple = 4;
};
template <>
struct StateOf<Kiv16s> {
  using Type = KivsCdbkState_16s;
  static constexpr int kStrideMultiple = 8;
};
template <class T>
using State = typename StateOf<T>::Type;

std::size_t rounded_step(int step, std::size_t multiple) { return round_up(static_cast<std::size_t>(step), multiple); }

KivStatus check_sizes(int width, int step, int height, int size) {
  const bool good =
      width >= 1 && step >= 1 && height >= 1 && size >= 1 && width <= step && size <= kLargestBook && size <= height;
  return require(good, kivStatusBadSize);
}

// --- library memory ---------------------------------------------------------

template <class T>
void free_book(HeapCodebook<T>* book) {
  if (book == nullptr) return;
  if (book->index != nullptr) {
    release(book->index->groups);
    release(book->index);
  }
  release(book->grid);
  release(book->tree);
  release(book->work);
  release(book->weights);
  release(book->codewords);
  release(book);
}

// A block of rows whose byte count may exceed what size_t holds.
template <class T>
T* allocate_rows(std::size_t rows, std::size_t stride) {
  return rows > static_cast<std::size_t>(-1) / stride ? nullptr : allocate<T>(rows * stride);
}

template <class T>
KivStatus make_index(HeapCodebook<T>* book) {
  Layout layout;
  const auto header = layout.add<SearchIndex>(1);
  const FullIndexLayout parts(layout, book->width, book->count);
  void* const block = layout.overflow() ? nullptr : allocate_bytes(layout.bytes());
  if (block == nullptr) return kivStatusNoMemory;
  book->index = header.in(block);
  *book->index = {parts.fill(block, static_cast<const Codebook<T>&>(*book)), nullptr};
  return kivStatusOk;
}

template <class T>
KivStatus take_vectors(HeapCodebook<T>* book, const T* src, std::ptrdiff_t step, int size) {
  for (int i = 0; i < book->count; ++i) {
    std::copy_n(src + i * step, book->width, book->codewords + static_cast<std::ptrdiff_t>(i) * book->stride);
  }
  book->depth = book->count - 1;
  const KivStatus status = make_index(book);
  if (status != kivStatusOk) return status;
  if (!build_grid(book->index->full.all, &book->grid)) return kivStatusNoMemory;
  if (book->grid != nullptr) book->flags ^= kGridFlag;
  return size == book->count ? kivStatusOk : kivStatusCdbkSizeWarning;
}

Kiv32f to_element(float x, Kiv32f /*type*/) { return x; }
Kiv16s to_element(float x, Kiv16s /*type*/) { return round_saturated<Kiv16s>(static_cast<double>(x)); }

template <class T>
KivStatus train(HeapCodebook<T>* book, const T* src, std::ptrdiff_t step, int height, int size) {
  Training training;
  const bool weighted = (book->flags & kWeightedFlag) != 0;
  const KivStatus prepared = training.prepare(src, step, book->width, height, size, book->weights, weighted);
  if (prepared != kivStatusOk) return prepared;
  const KivStatus trained = training.run(book->hint);
  if (trained < kivStatusOk) return trained;
  book->count = training.made();
  book->depth = training.depth();
  const NearestRounding rounding;
  for (int i = 0; i < book->count; ++i) {
    T* const to = book->codewords + static_cast<std::ptrdiff_t>(i) * book->stride;
    for (int j = 0; j < book->width; ++j) to[j] = to_element(training.centroid(i)[j], T{});
  }
  const KivStatus status = make_index(book);
  if (status != kivStatusOk) return status;
  book->tree = build_tree(training);
  if (book->tree == nullptr) return kivStatusNoMemory;
  if (!build_groups(training, book->index->full.all, *book->tree, &book->index->groups)) return kivStatusNoMemory;
  return trained;
}

template <class T>
KivStatus build(HeapCodebook<T>* book, const T* src, const T* weights, int width, int step, int height, int size,
                KivCdbkHint hint) {
  *book = {};
  const bool full = hint == kivCdbkFullSearch;
  const bool narrow = width == 1 || width == 2 || width == 4 || width == 8;
  const std::size_t stride =
      full && narrow ? static_cast<std::size_t>(width) : rounded_step(step, StateOf<T>::kStrideMultiple);
  const int count = full ? height : size;
  if (stride > static_cast<std::size_t>(std::numeric_limits<int>::max())) return kivStatusNoMemory;
  book->count = count;
  book->width = width;
  book->stride = static_cast<Kiv32s>(stride);
  book->hint = hint;
  book->codewords = allocate_rows<T>(static_cast<std::size_t>(count), stride);
  book->weights = allocate<T>(static_cast<std::size_t>(width));
  book->work = allocate<Kiv32f>(static_cast<std::size_t>(count));
  if (book->codewords == nullptr || book->weights == nullptr || book->work == nullptr) return kivStatusNoMemory;
  std::copy_n(weights, width, book->weights);
  book->flags = std::count(weights, weights + width, T{1}) == width ? 0 : kWeightedFlag;

  KivStatus status = kivStatusBadHint;
  if (full) status = take_vectors(book, src, step, size);
  if (hint == kivCdbkSplitWidest || hint == kivCdbkSplitLargest) status = train(book, src, step, height, size);
  book->index_bits = index_bits(book->count);
  return status;
}

template <class T>
bool no_weight_negative(const T* weights, int width) {
  return std::all_of(weights, weights + width, [](T w) { return w >= T{0}; });
}

template <class T>
KivStatus init_alloc_weighted(State<T>** result, const T* src, const T* weights, int width, int step, int height,
                              int size, KivCdbkHint hint) {
  const KivStatus checks = first_failure(not_null(result, src, weights), check_sizes(width, step, height, size));
  if (checks != kivStatusOk) return checks;
  return run(require(no_weight_negative(weights, width), kivStatusBadArgument), [&]() -> KivStatus {
    auto* const book = allocate<HeapCodebook<T>>(1);
    if (book == nullptr) return kivStatusNoMemory;
    const KivStatus status = build(book, src, weights, width, step, height, size, hint);
    if (status < kivStatusOk) {
      free_book(book);
    } else {
      *result = static_cast<State<T>*>(static_cast<Codebook<T>*>(book));
    }
    return status;
  });
}

template <class T>
KivStatus init_alloc(State<T>** result, const T* src, int width, int step, int height, int size, KivCdbkHint hint) {
  return run(positive(width), [&]() -> KivStatus {
    Scratch<T, 1> weights(std::max(static_cast<std::size_t>(width), std::size_t{2}));
    if (!weights) return kivStatusNoMemory;
    std::fill_n(weights.data(), width, T{1});
    return init_alloc_weighted(result, src, static_cast<const T*>(weights.data()), width, step, height, size, hint);
  });
}

template <class T>
KivStatus free_checked(State<T>* state) {
  if (state == nullptr || state->codewords == nullptr) return kivStatusNullPointer;
  if (state->hint < kivCdbkFullSearch || state->hint > kivCdbkSplitLargest) return kivStatusInternalError;
  free_book(static_cast<HeapCodebook<T>*>(static_cast<Codebook<T>*>(state)));
  return kivStatusOk;
}

// --- caller memory ----------------------------------------------------------

std::size_t caller_stride(int width, int step) {
  return width == 1 || width == 2 || width == 4 ? static_cast<std::size_t>(width) : rounded_step(step, 8);
}

// Bytes of a book in caller memory: the elements at four bytes each, the record and three 32-byte boundaries.
template <class T>
std::int64_t caller_bytes(int width, int step, int size) {
  const std::int64_t rows = static_cast<std::int64_t>(caller_stride(width, step)) * size;
  return (rows + width + size) * 4 + static_cast<std::int64_t>(sizeof(Codebook<T>) + 3 * kPartAlignment);
}

template <class T>
KivStatus check_caller_sizes(int width, int step, int height, int size) {
  const KivStatus sizes =
      first_failure(check_sizes(width, step, height, size), require(size == height, kivStatusBadSize));
  if (sizes != kivStatusOk) return sizes;
  return require(caller_bytes<T>(width, step, size) <= std::numeric_limits<int>::max(), kivStatusBadSize);
}

template <class T>
KivStatus get_size(int width, int step, int height, int size, KivCdbkHint hint, int* bytes) {
  return run(first_failure(require(hint == kivCdbkFullSearch, kivStatusBadHint), not_null(bytes),
                           check_caller_sizes<T>(width, step, height, size)),
             [&] { *bytes = static_cast<int>(caller_bytes<T>(width, step, size)); });
}

template <class T>
KivStatus init(State<T>* state, const T* src, int width, int step, int height, int size, KivCdbkHint hint) {
  return run(first_failure(require(hint == kivCdbkFullSearch, kivStatusBadHint), not_null(state, src),
                           check_caller_sizes<T>(width, step, height, size)),
             [&] {
               const std::size_t stride = caller_stride(width, step);
               Layout layout;
               const auto codewords = layout.add<T>(stride * static_cast<std::size_t>(size));
               const auto weights = layout.add<T>(static_cast<std::size_t>(width));
               const auto work = layout.add<Kiv32f>(static_cast<std::size_t>(size));
               void* const behind = align_up(static_cast<Codebook<T>*>(state) + 1);
               *state = {};
               state->depth = size - 1;
               state->count = size;
               state->width = width;
               state->stride = static_cast<Kiv32s>(stride);
               state->hint = hint;
               state->codewords = codewords.in(behind);
               state->weights = weights.in(behind);
               state->index_bits = index_bits(size);
               state->work = work.in(behind);
               for (int i = 0; i < size; ++i) {
                 std::copy_n(src + static_cast<std::ptrdiff_t>(i) * step, width,
                             state->codewords + static_cast<std::ptrdiff_t>(i) * state->stride);
               }
               std::fill_n(state->weights, width, T{1});
             });
}

// --- both -------------------------------------------------------------------

template <class S>
KivStatus get_count(const S* state, int* count) {
  return run(not_null(state, count), [&] { *count = state->count; });
}

template <class S, class T>
KivStatus get_codewords(const S* state, T* dst, int step) {
  const KivStatus null = not_null(state, dst);
  if (null != kivStatusOk) return null;
  return run(require(step >= 1 && step >= state->width, kivStatusBadSize), [&] {
    for (int i = 0; i < state->count; ++i) {
      std::copy_n(codeword(*state, i), state->width, dst + static_cast<std::ptrdiff_t>(i) * step);
    }
  });
}

}  // namespace
}  // namespace kivsr::vq

extern "C" {
using namespace kivsr::vq;

KivStatus kivsCdbkInitAlloc_L2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, int width, int step, int height,
                                   int cdbkSize, KivCdbkHint hint) {
  return init_alloc(ppCdbk, pSrc, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkInitAlloc_L2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, int width, int step, int height,
                                   int cdbkSize, KivCdbkHint hint) {
  return init_alloc(ppCdbk, pSrc, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkInitAlloc_WgtL2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, const Kiv32f* pWeight, int width,
                                      int step, int height, int cdbkSize, KivCdbkHint hint) {
  return init_alloc_weighted(ppCdbk, pSrc, pWeight, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkInitAlloc_WgtL2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, const Kiv16s* pWeight, int width,
                                      int step, int height, int cdbkSize, KivCdbkHint hint) {
  return init_alloc_weighted(ppCdbk, pSrc, pWeight, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkFree_32f(KivsCdbkState_32f* pCdbk) { return free_checked<Kiv32f>(pCdbk); }
KivStatus kivsCdbkFree_16s(KivsCdbkState_16s* pCdbk) { return free_checked<Kiv16s>(pCdbk); }

KivStatus kivsCdbkInit_L2_32f(KivsCdbkState_32f* pCdbk, const Kiv32f* pSrc, int width, int step, int height,
                              int cdbkSize, KivCdbkHint hint) {
  return init(pCdbk, pSrc, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkInit_L2_16s(KivsCdbkState_16s* pCdbk, const Kiv16s* pSrc, int width, int step, int height,
                              int cdbkSize, KivCdbkHint hint) {
  return init(pCdbk, pSrc, width, step, height, cdbkSize, hint);
}
KivStatus kivsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize) {
  return get_size<Kiv32f>(width, step, height, cdbkSize, hint, pSize);
}
KivStatus kivsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize) {
  return get_size<Kiv16s>(width, step, height, cdbkSize, hint, pSize);
}

KivStatus kivsGetCdbkSize_32f(const KivsCdbkState_32f* pCdbk, int* pCount) { return get_count(pCdbk, pCount); }
KivStatus kivsGetCdbkSize_16s(const KivsCdbkState_16s* pCdbk, int* pCount) { return get_count(pCdbk, pCount); }
KivStatus kivsGetCodebook_32f(const KivsCdbkState_32f* pCdbk, Kiv32f* pDst, int step) {
  return get_codewords(pCdbk, pDst, step);
}
KivStatus kivsGetCodebook_16s(const KivsCdbkState_16s* pCdbk, Kiv16s* pDst, int step) {
  return get_codewords(pCdbk, pDst, step);
}
}
