// Gaussian shortlists and sign tables: packed bits, most significant bit of a byte first.
#include <cstddef>
#include <cstring>

#include "frame/status.h"
#include "kivsr/vq/shortlist.h"

namespace kivsr {
namespace {

constexpr std::int64_t bytes_for(std::int64_t bits) { return (bits + 7) / 8; }

// Rows of indices back to back: all of one width, or each of its own length.
struct IndexLists {
  const Kiv32s* indices;
  const int* lengths;  // null: every row has `width`
  int width;
  int length(int row) const { return lengths != nullptr ? lengths[row] : width; }

  KivStatus check_lengths(int height) const {
    for (int r = 0; lengths != nullptr && r < height; ++r) {
      if (lengths[r] < 1) return kivStatusBadSize;
    }
    return kivStatusOk;
  }

  KivStatus check_indices(int height, int limit) const {
    const Kiv32s* next = indices;
    for (int r = 0; r < height; ++r) {
      for (int i = 0; i < length(r); ++i, ++next) {
        if (*next < 0 || *next >= limit) return kivStatusBadArgument;
      }
    }
    return kivStatusOk;
  }
};

void toggle(Kiv8u* row, std::int64_t bit) { row[bit / 8] = static_cast<Kiv8u>(row[bit / 8] ^ (0x80U >> (bit % 8))); }

// Bit rows per frame (a component's bit at offset + g) or per component (a frame's bit at offset + t). The row
// forms check the lengths of the lists before the length of the bit rows, the column forms after it.
enum class Orientation { kRow, kColumn };

template <Orientation kOrientation>
KivStatus fill(const IndexLists& lists, int components, Kiv8u** dst, int height, int dst_bytes, int offset) {
  if (const KivStatus s =
          first_failure(positive(height, components, dst_bytes, lists.width), require(offset >= 0, kivStatusBadSize));
      s != kivStatusOk) {
    return s;
  }
  constexpr bool kRow = kOrientation == Orientation::kRow;
  if (kRow) {
    if (const KivStatus s = lists.check_lengths(height); s != kivStatusOk) return s;
  }
  const std::int64_t bits = std::int64_t{offset} + (kRow ? components : height);
  if (const KivStatus s = step_covers(dst_bytes, bytes_for(bits)); s != kivStatusOk) return s;
  if (!kRow) {
    if (const KivStatus s = lists.check_lengths(height); s != kivStatusOk) return s;
  }
  if (const KivStatus s = lists.check_indices(height, components); s != kivStatusOk) return s;

  const Kiv32s* next = lists.indices;
  for (int t = 0; t < height; ++t) {
    for (int i = 0; i < lists.length(t); ++i, ++next) {
      if (kRow) {
        toggle(dst[t], std::int64_t{offset} + *next);
      } else {
        toggle(dst[*next], std::int64_t{offset} + t);
      }
    }
  }
  return kivStatusOk;
}

// Eight bits of a row from position `bit`, of which `count` exist; the others are zero.
unsigned bits_at(const Kiv8u* row, std::int64_t bit, int count) {
  const Kiv8u* const byte = row + bit / 8;
  const int shift = static_cast<int>(bit % 8);
  unsigned window = static_cast<unsigned>(byte[0]) << 8;
  if (shift + count > 8) window |= byte[1];
  return (window >> (8 - shift)) & 0xFFU & (0xFF00U >> count);
}

KivStatus check_table(const IndexLists& lists, int components, int shortlist_bytes, int offset, int height,
                      int frames) {
  if (const KivStatus s = first_failure(positive(lists.width, components, shortlist_bytes),
                                        require(offset >= 0, kivStatusBadSize), positive(frames, height),
                                        step_covers(shortlist_bytes, bytes_for(std::int64_t{offset} + frames)));
      s != kivStatusOk) {
    return s;
  }
  if (const KivStatus s = lists.check_lengths(height); s != kivStatusOk) return s;
  return lists.check_indices(height, components);
}

void build_table(const IndexLists& lists, const Kiv8u* const* shortlist, int offset, Kiv8u* dst, int height,
                 int frames) {
  const auto row_bytes = static_cast<std::ptrdiff_t>(bytes_for(frames));
  for (int r = 0; r < height; ++r, dst += row_bytes) {
    const Kiv32s* const row = lists.indices + static_cast<std::ptrdiff_t>(r) * lists.width;
    for (std::ptrdiff_t b = 0; b < row_bytes; ++b) {
      const std::int64_t first = b * 8;
      const int count = frames - first < 8 ? static_cast<int>(frames - first) : 8;
      unsigned listed = 0;
      for (int i = 0; i < lists.width; ++i) listed |= bits_at(shortlist[row[i]], offset + first, count);
      dst[b] = static_cast<Kiv8u>(listed);
    }
  }
}

// The variable form counts the indices of every row from the start of the list and records only whether any of them is
// listed at any frame, in the first bit of the row.
void build_variable_table(const IndexLists& lists, const Kiv8u* const* shortlist, int offset, Kiv8u* dst, int height,
                          int frames) {
  const auto row_bytes = static_cast<std::ptrdiff_t>(bytes_for(frames));
  std::memset(dst, 0, static_cast<std::size_t>(row_bytes) * static_cast<std::size_t>(height));
  const auto listed_anywhere = [&](const Kiv8u* bits) {
    for (std::int64_t first = 0; first < frames; first += 8) {
      const int count = frames - first < 8 ? static_cast<int>(frames - first) : 8;
      if (bits_at(bits, offset + first, count) != 0) return true;
    }
    return false;
  };
  for (int r = 0; r < height; ++r) {
    for (int i = 0; i < lists.lengths[r]; ++i) {
      if (listed_anywhere(shortlist[lists.indices[i]])) {
        dst[r * row_bytes] = 0x80;
        break;
      }
    }
  }
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsFillShortlist_Row_1u(const Kiv32s* pSrc, int nGauss, int width, Kiv8u** ppDst, int height, int dstBytes,
                                   int offset) {
  return run(not_null(pSrc, ppDst), [&] {
    return fill<Orientation::kRow>({pSrc, nullptr, width}, nGauss, ppDst, height, dstBytes, offset);
  });
}
KivStatus kivsFillShortlist_RowVar_1u(const Kiv32s* pSrc, const int* pLen, int nGauss, Kiv8u** ppDst, int height,
                                      int dstBytes, int offset) {
  return run(not_null(pSrc, pLen, ppDst), [&] {
    return fill<Orientation::kRow>({pSrc, pLen, 1}, nGauss, ppDst, height, dstBytes, offset);
  });
}
KivStatus kivsFillShortlist_Column_1u(const Kiv32s* pSrc, int width, Kiv8u** ppDst, int nGauss, int dstBytes,
                                      int offset, int height) {
  return run(not_null(pSrc, ppDst), [&] {
    return fill<Orientation::kColumn>({pSrc, nullptr, width}, nGauss, ppDst, height, dstBytes, offset);
  });
}
KivStatus kivsFillShortlist_ColumnVar_1u(const Kiv32s* pSrc, const int* pLen, Kiv8u** ppDst, int nGauss, int dstBytes,
                                         int offset, int height) {
  return run(not_null(pSrc, pLen, ppDst), [&] {
    return fill<Orientation::kColumn>({pSrc, pLen, 1}, nGauss, ppDst, height, dstBytes, offset);
  });
}

KivStatus kivsBuildSignTable_8u1u(const Kiv32s* pIndx, int width, const Kiv8u* const* ppShortlist, int nGauss,
                                  int shortlistBytes, int offset, Kiv8u* pDst, int height, int nFrames) {
  if (const KivStatus s = not_null(pIndx, ppShortlist, pDst); s != kivStatusOk) return s;
  const IndexLists lists = {pIndx, nullptr, width};
  return run(check_table(lists, nGauss, shortlistBytes, offset, height, nFrames),
             [&] { build_table(lists, ppShortlist, offset, pDst, height, nFrames); });
}
KivStatus kivsBuildSignTable_Var_8u1u(const Kiv32s* pIndx, const int* pLen, const Kiv8u* const* ppShortlist, int nGauss,
                                      int shortlistBytes, int offset, Kiv8u* pDst, int height, int nFrames) {
  if (const KivStatus s = not_null(pIndx, pLen, ppShortlist, pDst); s != kivStatusOk) return s;
  const IndexLists lists = {pIndx, pLen, 1};
  return run(check_table(lists, nGauss, shortlistBytes, offset, height, nFrames),
             [&] { build_variable_table(lists, ppShortlist, offset, pDst, height, nFrames); });
}
}
