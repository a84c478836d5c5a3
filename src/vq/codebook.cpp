// Codebooks: made in library memory or in the caller's, read back and freed.
#include "kivsr/vq/codebook.h"

#include <limits>
#include <utility>

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

// What every form is made of; rows are copied or trained.
template <class T>
struct Source {
  const T* rows;
  int width, step, height;
  int size;  // wanted codewords
  KivCdbkHint hint;

  KivStatus check_sizes() const {
    const bool good =
        width >= 1 && step >= 1 && height >= 1 && size >= 1 && width <= step && size <= kLargestBook && size <= height;
    return require(good, kivStatusBadSize);
  }
};

template <class T>
void take_rows(Codebook<T>& book, const Source<T>& source) {
  for (int i = 0; i < book.count; ++i) {
    std::copy_n(source.rows + static_cast<std::ptrdiff_t>(i) * source.step, book.width,
                book.codewords + static_cast<std::ptrdiff_t>(i) * book.stride);
  }
  book.depth = book.count - 1;
}

// --- library memory ---------------------------------------------------------

template <class T>
void free_book(LibraryCodebook<T>* book) {
  if (book->index != nullptr) release(book->index->groups);
  release(book->index);
  release(book->grid);
  release(book->tree);
  release(book->work);
  release(book->weights);
  release(book->codewords);
  release(book);
}

// A book until it is complete.
template <class T>
class Unfinished {
 public:
  Unfinished() : book_(allocate<LibraryCodebook<T>>(1)) {
    if (book_ != nullptr) *book_ = {};
  }
  ~Unfinished() {
    if (book_ != nullptr) free_book(book_);
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  explicit operator bool() const { return book_ != nullptr; }
  LibraryCodebook<T>& operator*() { return *book_; }
  LibraryCodebook<T>* take() { return std::exchange(book_, nullptr); }

 private:
  LibraryCodebook<T>* book_;
};

template <class T>
KivStatus make_index(LibraryCodebook<T>& book) {
  Layout layout;
  const auto header = layout.add<SearchIndex>(1);
  const FullIndexLayout parts(layout, book.width, book.count);
  void* const block = layout.overflow() ? nullptr : allocate_bytes(layout.bytes());
  if (block == nullptr) return kivStatusNoMemory;
  book.index = header.in(block);
  *book.index = {parts.fill(block, static_cast<const Codebook<T>&>(book)), nullptr};
  return kivStatusOk;
}

template <class T>
KivStatus take_vectors(LibraryCodebook<T>& book, const Source<T>& source) {
  take_rows(book, source);
  if (const KivStatus status = make_index(book); status != kivStatusOk) return status;
  if (!build_grid(book.index->full.all, &book.grid)) return kivStatusNoMemory;
  if (book.grid != nullptr) book.flags |= kGridFlag;
  return source.size == book.count ? kivStatusOk : kivStatusCdbkSizeWarning;
}

Kiv32f to_element(float x, Kiv32f /*type*/) { return x; }
Kiv16s to_element(float x, Kiv16s /*type*/) { return round_saturated<Kiv16s>(static_cast<double>(x)); }

template <class T>
KivStatus train(LibraryCodebook<T>& book, const Source<T>& source) {
  Training training;
  const T* const weights = (book.flags & kWeightedFlag) != 0 ? book.weights : nullptr;
  if (!training.prepare(source.rows, source.step, source.width, source.height, source.size, weights))
    return kivStatusNoMemory;
  const KivStatus trained = training.run(book.hint);
  if (trained < kivStatusOk) return trained;
  book.count = training.made();
  book.depth = training.depth();
  const NearestRounding rounding;
  for (int i = 0; i < book.count; ++i) {
    T* const to = book.codewords + static_cast<std::ptrdiff_t>(i) * book.stride;
    for (int j = 0; j < book.width; ++j) to[j] = to_element(training.centroid(i)[j], T{});
  }
  if (const KivStatus status = make_index(book); status != kivStatusOk) return status;
  book.tree = build_tree(training);
  if (book.tree == nullptr) return kivStatusNoMemory;
  if (!build_groups(training, book.index->full.all, *book.tree, &book.index->groups)) return kivStatusNoMemory;
  return trained;
}

// Takes the weights.
template <class T>
KivStatus build(LibraryCodebook<T>& book, const Source<T>& source, Scratch<T>& weights, bool weighted) {
  const int width = source.width;
  const bool full = source.hint == kivCdbkFullSearch;
  const bool narrow = width == 1 || width == 2 || width == 4 || width == 8;
  const std::size_t stride =
      full && narrow ? static_cast<std::size_t>(width) : rounded_step(source.step, StateOf<T>::kStrideMultiple);
  if (stride > static_cast<std::size_t>(std::numeric_limits<int>::max())) return kivStatusNoMemory;
  book.count = full ? source.height : source.size;
  book.width = width;
  book.stride = static_cast<Kiv32s>(stride);
  book.hint = source.hint;
  book.flags = kLibraryFlag | (weighted ? kWeightedFlag : 0);
  book.weights = weights.take();
  const auto count = static_cast<std::size_t>(book.count);
  if (count > static_cast<std::size_t>(-1) / stride) return kivStatusNoMemory;
  book.codewords = allocate<T>(count * stride);
  book.work = allocate<Kiv32f>(count);
  if (book.codewords == nullptr || book.work == nullptr) return kivStatusNoMemory;

  KivStatus status = kivStatusBadHint;
  if (full) status = take_vectors(book, source);
  if (source.hint == kivCdbkSplitWidest || source.hint == kivCdbkSplitLargest) status = train(book, source);
  book.index_bits = index_bits(book.count);
  return status;
}

template <class T>
KivStatus make_book(State<T>** result, const Source<T>& source, Scratch<T>& weights, bool weighted) {
  Unfinished<T> book;
  if (!book) return kivStatusNoMemory;
  const KivStatus status = build(*book, source, weights, weighted);
  if (status >= kivStatusOk) *result = static_cast<State<T>*>(static_cast<Codebook<T>*>(book.take()));
  return status;
}

template <class T>
KivStatus init_alloc_weighted(State<T>** result, const Source<T>& source, const T* weights) {
  if (const KivStatus s = first_failure(not_null(result, source.rows, weights), source.check_sizes());
      s != kivStatusOk) {
    return s;
  }
  const T* const end = weights + source.width;
  if (!std::all_of(weights, end, [](T w) { return w >= T{0}; })) return kivStatusBadArgument;
  Scratch<T> copy(static_cast<std::size_t>(source.width));
  if (!copy) return kivStatusNoMemory;
  for (int i = 0; i < source.width; ++i) copy[i] = weights[i];
  return make_book(result, source, copy, !std::all_of(weights, end, [](T w) { return w == T{1}; }));
}

template <class T>
KivStatus init_alloc(State<T>** result, const Source<T>& source) {
  if (const KivStatus s = positive(source.width); s != kivStatusOk) return s;
  Scratch<T> weights(static_cast<std::size_t>(source.width));
  if (!weights) return kivStatusNoMemory;
  if (const KivStatus s = first_failure(not_null(result, source.rows), source.check_sizes()); s != kivStatusOk) {
    return s;
  }
  std::fill_n(weights.data(), source.width, T{1});
  return make_book(result, source, weights, false);
}

template <class T>
KivStatus free_checked(State<T>* state) {
  if (state == nullptr || state->codewords == nullptr) return kivStatusNullPointer;
  if (state->hint < kivCdbkFullSearch || state->hint > kivCdbkSplitLargest) return kivStatusInternalError;
  free_book(static_cast<LibraryCodebook<T>*>(static_cast<Codebook<T>*>(state)));
  return kivStatusOk;
}

// --- caller memory ----------------------------------------------------------

// The parts of a book in caller memory. They start at the first boundary behind the record, and every element has room
// for four bytes.
template <class T>
class CallerParts {
 public:
  CallerParts(int width, int step, int size)
      : stride_(width == 1 || width == 2 || width == 4 ? static_cast<std::size_t>(width) : rounded_step(step, 8)),
        codewords_(layout_.add<Kiv32f>(static_cast<std::size_t>(size), stride_)),
        weights_(layout_.add<Kiv32f>(static_cast<std::size_t>(width))),
        work_(layout_.add<Kiv32f>(static_cast<std::size_t>(size))) {}

  std::size_t bytes() const { return sizeof(Codebook<T>) + layout_.bytes_apart(); }
  bool fit_int() const { return !layout_.overflow() && bytes() <= std::size_t{std::numeric_limits<int>::max()}; }
  void place(Codebook<T>& book) const {
    void* const behind = align_up(&book + 1);
    book.stride = static_cast<Kiv32s>(stride_);
    book.codewords = reinterpret_cast<T*>(codewords_.in(behind));
    book.weights = reinterpret_cast<T*>(weights_.in(behind));
    book.work = work_.in(behind);
  }

 private:
  Layout layout_;
  std::size_t stride_;
  Part<Kiv32f> codewords_, weights_, work_;
};

template <class T>
KivStatus check_caller_sizes(const Source<T>& source) {
  if (const KivStatus s = first_failure(source.check_sizes(), require(source.size == source.height, kivStatusBadSize));
      s != kivStatusOk) {
    return s;
  }
  return require(CallerParts<T>(source.width, source.step, source.size).fit_int(), kivStatusBadSize);
}

template <class T>
KivStatus get_size(const Source<T>& source, int* bytes) {
  return run(first_failure(require(source.hint == kivCdbkFullSearch, kivStatusBadHint), not_null(bytes),
                           check_caller_sizes(source)),
             [&] { *bytes = static_cast<int>(CallerParts<T>(source.width, source.step, source.size).bytes()); });
}

template <class T>
KivStatus init(State<T>* state, const Source<T>& source) {
  return run(first_failure(require(source.hint == kivCdbkFullSearch, kivStatusBadHint), not_null(state, source.rows),
                           check_caller_sizes(source)),
             [&] {
               *state = {};
               CallerParts<T>(source.width, source.step, source.size).place(*state);
               state->count = source.size;
               state->width = source.width;
               state->hint = source.hint;
               state->index_bits = index_bits(source.size);
               take_rows(*state, source);
               std::fill_n(state->weights, source.width, T{1});
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
  return init_alloc<Kiv32f>(ppCdbk, {pSrc, width, step, height, cdbkSize, hint});
}
KivStatus kivsCdbkInitAlloc_L2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, int width, int step, int height,
                                   int cdbkSize, KivCdbkHint hint) {
  return init_alloc<Kiv16s>(ppCdbk, {pSrc, width, step, height, cdbkSize, hint});
}
KivStatus kivsCdbkInitAlloc_WgtL2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, const Kiv32f* pWeight, int width,
                                      int step, int height, int cdbkSize, KivCdbkHint hint) {
  return init_alloc_weighted<Kiv32f>(ppCdbk, {pSrc, width, step, height, cdbkSize, hint}, pWeight);
}
KivStatus kivsCdbkInitAlloc_WgtL2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, const Kiv16s* pWeight, int width,
                                      int step, int height, int cdbkSize, KivCdbkHint hint) {
  return init_alloc_weighted<Kiv16s>(ppCdbk, {pSrc, width, step, height, cdbkSize, hint}, pWeight);
}
KivStatus kivsCdbkFree_32f(KivsCdbkState_32f* pCdbk) { return free_checked<Kiv32f>(pCdbk); }
KivStatus kivsCdbkFree_16s(KivsCdbkState_16s* pCdbk) { return free_checked<Kiv16s>(pCdbk); }

KivStatus kivsCdbkInit_L2_32f(KivsCdbkState_32f* pCdbk, const Kiv32f* pSrc, int width, int step, int height,
                              int cdbkSize, KivCdbkHint hint) {
  return init<Kiv32f>(pCdbk, {pSrc, width, step, height, cdbkSize, hint});
}
KivStatus kivsCdbkInit_L2_16s(KivsCdbkState_16s* pCdbk, const Kiv16s* pSrc, int width, int step, int height,
                              int cdbkSize, KivCdbkHint hint) {
  return init<Kiv16s>(pCdbk, {pSrc, width, step, height, cdbkSize, hint});
}
KivStatus kivsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize) {
  return get_size<Kiv32f>({nullptr, width, step, height, cdbkSize, hint}, pSize);
}
KivStatus kivsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize) {
  return get_size<Kiv16s>({nullptr, width, step, height, cdbkSize, hint}, pSize);
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
