// Split VQ, and vectors rebuilt from rows of indices through codebook states.
#include <limits>

#include "frame/status.h"
#include "index_rows.h"
#include "kivsr/vq/split_vector.h"
#include "nearest.h"

namespace kivsr::vq {
namespace {

// Sums over the codebooks of the streams.
struct Streams {
  std::int64_t width = 0;
  std::int64_t bits = 0;
};

// Stream by stream: a book, and the sums so far not above what rows hold. elements, bits: the room of a row;
// most: codewords that an index of the format can name.
template <class State>
KivStatus check_streams(const State* const* books, int streams, std::int64_t elements, std::int64_t bits, int most) {
  Streams sums;
  bool fits = true;
  for (int k = 0; k < streams; ++k) {
    if (books[k] == nullptr) return kivStatusNullPointer;
    sums.width += books[k]->width;
    sums.bits += books[k]->index_bits;
    fits = fits && books[k]->count <= most;
  }
  return require(fits && sums.width <= elements && sums.bits <= bits, kivStatusBadSize);
}

constexpr int kAnyCount = std::numeric_limits<int>::max();
template <class I>
constexpr int most_codewords() {
  return std::numeric_limits<I>::max() + 1;
}

template <class T, class State, class Rows>
KivStatus split_quantise(const T* src, int src_step, Rows dst, int dst_step, int height, const State* const* books,
                         int streams, int most) {
  const KivStatus checks = first_failure(not_null(books, src, dst.base), positive(src_step, dst_step, height, streams),
                                         require(streams <= dst_step, kivStatusBadSize));
  if (checks != kivStatusOk) return checks;
  const std::int64_t row_bits = Rows::packed ? dst_step : std::numeric_limits<std::int64_t>::max();
  return run(check_streams(books, streams, src_step, row_bits, most), [&] {
    // For the largest of the books, so that an allocation fails before the first index is written.
    SearchMemory::Needs needs;
    for (int k = 0; k < streams; ++k) needs.cover(static_cast<const Codebook<T>&>(*books[k]));
    SearchMemory memory(needs);
    if (!memory) return kivStatusNoMemory;
    std::int64_t offset = 0;
    std::int64_t element = 0;
    for (int k = 0; k < streams; ++k) {
      const State& book = *books[k];
      Searcher<T> searcher(book, memory);
      searcher.each_row(src + element, src_step, height, [&](int r, int index, const float*) {
        dst.put(dst.start(r) + offset, book.index_bits, index);
      });
      element += book.width;
      offset = Rows::next(offset, book.index_bits);
    }
    return kivStatusOk;
  });
}

template <class T, class State, class Rows>
KivStatus form_vectors(Rows src, int src_step, T* dst, int dst_step, int height, const State* const* books,
                       int streams) {
  const KivStatus checks = first_failure(not_null(books, src.base, dst), positive(streams, src_step, dst_step, height),
                                         require(Rows::packed || streams <= src_step, kivStatusBadSize));
  if (checks != kivStatusOk) return checks;
  const std::int64_t row_bits = Rows::packed ? src_step : std::numeric_limits<std::int64_t>::max();
  const KivStatus fit = check_streams(books, streams, dst_step, row_bits, kAnyCount);
  if (fit != kivStatusOk) return fit;
  const auto each_index = [&](auto visit) {
    for (int r = 0; r < height; ++r) {
      std::int64_t place = src.start(r);
      for (int k = 0; k < streams; ++k) {
        const int bits = books[k]->index_bits;
        visit(r, *books[k], src.get(place, bits));
        place = Rows::next(place, bits);
      }
    }
  };
  bool valid = true;
  each_index([&](int, const State& book, int index) { valid = valid && index >= 0 && index < book.count; });
  return run(require(valid, kivStatusBadSize), [&] {
    int row = -1;
    T* to = dst;
    each_index([&](int r, const State& book, int index) {
      if (r != row) to = dst + static_cast<std::ptrdiff_t>(r) * dst_step;
      row = r;
      to = std::copy_n(codeword(book, index), book.width, to);
    });
  });
}

}  // namespace
}  // namespace kivsr::vq

extern "C" {
using namespace kivsr::vq;

KivStatus kivsSplitVQ_32f16s(const Kiv32f* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                             const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, ElementRows<Kiv16s>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams,
                        most_codewords<Kiv16s>());
}
KivStatus kivsSplitVQ_32f8u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                            const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, ElementRows<Kiv8u>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams,
                        most_codewords<Kiv8u>());
}
KivStatus kivsSplitVQ_32f1u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                            const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, PackedRows<Kiv8u>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams, kAnyCount);
}
KivStatus kivsSplitVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                             const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, ElementRows<Kiv16s>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams,
                        most_codewords<Kiv16s>());
}
KivStatus kivsSplitVQ_16s8u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                            const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, ElementRows<Kiv8u>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams,
                        most_codewords<Kiv8u>());
}
KivStatus kivsSplitVQ_16s1u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                            const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return split_quantise(pSrc, srcStep, PackedRows<Kiv8u>{pDst, dstStep}, dstStep, height, ppCdbks, nStreams, kAnyCount);
}

KivStatus kivsFormVectorVQ_16s32f(const Kiv16s* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                  const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return form_vectors(ElementRows<const Kiv16s>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
KivStatus kivsFormVectorVQ_8u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                 const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return form_vectors(ElementRows<const Kiv8u>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
KivStatus kivsFormVectorVQ_1u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                 const KivsCdbkState_32f* const* ppCdbks, int nStreams) {
  return form_vectors(PackedRows<const Kiv8u>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
KivStatus kivsFormVectorVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                  const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return form_vectors(ElementRows<const Kiv16s>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
KivStatus kivsFormVectorVQ_8u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                 const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return form_vectors(ElementRows<const Kiv8u>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
KivStatus kivsFormVectorVQ_1u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                 const KivsCdbkState_16s* const* ppCdbks, int nStreams) {
  return form_vectors(PackedRows<const Kiv8u>{pSrc, srcStep}, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
}
