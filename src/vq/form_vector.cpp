// Vectors rebuilt from plain tables of codewords.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "frame/status.h"
#include "kivsr/vq/form_vector.h"

namespace kivsr::vq {
namespace {

// Of an unsigned index only the upper bound can fail.
template <class I>
bool names_codeword(I index, int size) {
  return static_cast<int>(index) >= 0 && static_cast<int>(index) < size;
}

template <class I, class T>
KivStatus form_vector(const I* indices, const T* const* tables, const int* sizes, const int* widths, const int* steps,
                      int streams, T* dst) {
  const KivStatus checks = first_failure(not_null(indices, tables, sizes, widths, steps, dst), positive(streams));
  if (checks != kivStatusOk) return checks;
  for (int k = 0; k < streams; ++k) {
    const bool good = widths[k] >= 1 && steps[k] >= 1 && names_codeword(indices[k], sizes[k]);
    const KivStatus status = first_failure(require(good, kivStatusBadSize), not_null(tables[k]));
    if (status != kivStatusOk) return status;
  }
  for (int k = 0; k < streams; ++k) {
    dst = std::copy_n(tables[k] + static_cast<std::ptrdiff_t>(indices[k]) * steps[k], widths[k], dst);
  }
  return kivStatusOk;
}

// Codewords of N elements each; elements behind the last whole codeword are left alone.
template <int N, class I, class T>
KivStatus form_vector_of(const I* indices, const T* const* tables, const int* sizes, T* dst, int len) {
  const KivStatus checks = first_failure(not_null(indices, tables, sizes, dst), positive(len));
  if (checks != kivStatusOk) return checks;
  const int streams = len / N;
  for (int k = 0; k < streams; ++k) {
    const KivStatus status =
        first_failure(require(names_codeword(indices[k], sizes[k]), kivStatusBadSize), not_null(tables[k]));
    if (status != kivStatusOk) return status;
  }
  for (std::ptrdiff_t k = 0; k < streams; ++k) {
    std::memcpy(dst + k * N, tables[k] + static_cast<std::ptrdiff_t>(indices[k]) * N, N * sizeof(T));
  }
  return kivStatusOk;
}

}  // namespace
}  // namespace kivsr::vq

extern "C" {
using namespace kivsr::vq;

KivStatus kivsFormVector_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize, const int* pWidth,
                               const int* pStep, int nStreams, Kiv32f* pDst) {
  return form_vector(pInd, ppCdbk, pCdbkSize, pWidth, pStep, nStreams, pDst);
}
KivStatus kivsFormVector_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst) {
  return form_vector(pInd, ppCdbk, pCdbkSize, pWidth, pStep, nStreams, pDst);
}
KivStatus kivsFormVector_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize, const int* pWidth,
                               const int* pStep, int nStreams, Kiv16s* pDst) {
  return form_vector(pInd, ppCdbk, pCdbkSize, pWidth, pStep, nStreams, pDst);
}
KivStatus kivsFormVector_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst) {
  return form_vector(pInd, ppCdbk, pCdbkSize, pWidth, pStep, nStreams, pDst);
}

KivStatus kivsFormVector_2i_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize, Kiv32f* pDst,
                                  int len) {
  return form_vector_of<2>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_2i_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize, Kiv32f* pDst,
                                   int len) {
  return form_vector_of<2>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_2i_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize, Kiv16s* pDst,
                                  int len) {
  return form_vector_of<2>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_2i_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize, Kiv16s* pDst,
                                   int len) {
  return form_vector_of<2>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_4i_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize, Kiv32f* pDst,
                                  int len) {
  return form_vector_of<4>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_4i_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize, Kiv32f* pDst,
                                   int len) {
  return form_vector_of<4>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_4i_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize, Kiv16s* pDst,
                                  int len) {
  return form_vector_of<4>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
KivStatus kivsFormVector_4i_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize, Kiv16s* pDst,
                                   int len) {
  return form_vector_of<4>(pInd, ppCdbk, pCdbkSize, pDst, len);
}
}
