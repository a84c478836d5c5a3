// Real DFT of composite lengths in single precision: the object and the exports. Powers of two are transforms of the
// FFT family. Other families: dft.h.
#include "dft.h"

#include <cmath>
#include <cstring>

#include "fft_object.h"
#include "kivsr/vector/dft.h"

// Placed at a 32-byte boundary, one of the two transforms behind it.
struct KivsDFTSpec_R_32f {
  static constexpr Kiv32s kIdentifier = 0x52544644;
  Kiv32s identifier;
  Kiv32s length;
  Kiv32s hint;
  KivsFFTSpec_R_32f* power_of_two;
  kivsr::dft::Transform<float>* composite;
};

namespace kivsr::dft {
namespace {

using Spec = KivsDFTSpec_R_32f;
using PowerOfTwo = KivsFFTSpec_R_32f;

constexpr bool is_power_of_two(int length) { return (length & (length - 1)) == 0; }

int order_of(int length) {
  int order = 0;
  for (; length > 1; length /= 2) ++order;
  return order;
}

struct SpecParts {
  Layout layout;
  Part<Spec> spec;
  Part<char> transform;

  explicit SpecParts(int length) : spec(layout.add<Spec>(1)) {
    transform = layout.add<char>(is_power_of_two(length) ? fft::sizes<PowerOfTwo>(order_of(length)).object
                                                         : object_bytes<float>(length));
  }
};

}  // namespace

fft::Sizes row_sizes(int length) {
  const std::size_t object = fft::bytes_with_slack(SpecParts(length).layout, fft::kAlignmentSlack);
  if (!is_power_of_two(length)) return {object, 0, work_bytes<float>(length)};
  const fft::Sizes bytes = fft::sizes<PowerOfTwo>(order_of(length));
  return {object, bytes.construction, bytes.work};
}

Spec* construct_row(void* object, void* construction, int length, int flag, int hint) {
  const SpecParts parts(length);
  void* const block = align_up(object);
  Spec* const spec = parts.spec.in(block);
  *spec = {Spec::kIdentifier, length, hint, nullptr, nullptr};
  if (is_power_of_two(length)) {
    spec->power_of_two =
        fft::construct<PowerOfTwo>(parts.transform.in(block), construction, order_of(length), flag, hint);
    return spec;
  }
  const NearestRounding nearest;
  const double factor = flag == kivFftScaleSqrt ? std::sqrt(1.0 / length) : 1.0 / length;
  spec->composite = dft::construct<float>(parts.transform.in(block), length, fft::scales_forward(flag) ? factor : 1.0,
                                          fft::scales_inverse(flag) ? factor : 1.0);
  return spec;
}

void forward_row(const float* src, float* dst, const Spec& spec, void* work) {
  if (spec.composite != nullptr) return forward(src, dst, *spec.composite, work);
  fft::forward(src, dst, *spec.power_of_two, work, fft::Spectrum::kCcs);
}

namespace {

void run_inverse(const Kiv32f* src, Kiv32f* dst, const Spec& spec, void* work) {
  if (spec.composite != nullptr) return inverse(src, dst, *spec.composite, work);
  dst[0] = src[0];
  std::memmove(dst + 1, src + 2, (static_cast<std::size_t>(spec.length) - 1) * sizeof *dst);
  fft::inverse(dst, dst, *spec.power_of_two, work);
}

constexpr KivStatus known_length(int length) { return require(is_exported_length(length), kivStatusBadSize); }

KivStatus get_size(int length, int flag, int* object, int* construction, int* work) {
  const KivStatus checks =
      first_failure(known_length(length), not_null(object, construction, work), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return fft::report(row_sizes(length), object, construction, work);
}

KivStatus init(Spec** spec, int length, int flag, int hint, void* object, void* construction) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), not_null(object), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return run(require(construction != nullptr || row_sizes(length).construction == 0, kivStatusNullPointer),
             [&] { *spec = construct_row(object, construction, length, flag, hint); });
}

KivStatus init_alloc(Spec** spec, int length, int flag, int hint) {
  const KivStatus checks = first_failure(not_null(spec), known_length(length), fft::known_flag(flag));
  if (checks != kivStatusOk) return checks;
  return fft::allocate_object(spec, row_sizes(length), [=](void* object, void* construction) {
    return construct_row(object, construction, length, flag, hint);
  });
}

KivStatus buffer_size(const Spec* spec, int* size) {
  const KivStatus checks = first_failure(not_null(spec, size), fft::identified(spec));
  if (checks != kivStatusOk) return checks;
  const fft::Sizes bytes = row_sizes(spec->length);
  return run(fft::sizes_fit_int({0, 0, bytes.work}), [&] { *size = static_cast<int>(bytes.work); });
}

template <class Apply>
KivStatus transform(const void* src, const void* dst, const Spec* spec, Kiv8u* buffer, Apply apply) {
  return fft::transform(
      src, dst, spec, buffer, [](const Spec& of) { return row_sizes(of.length).work; }, apply);
}

}  // namespace
}  // namespace kivsr::dft

extern "C" {
using namespace kivsr;

KivStatus kivsDFTGetSize_R_32f(int length, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return dft::get_size(length, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsDFTInit_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint, Kiv8u* pMemSpec,
                            Kiv8u* pMemInit) {
  return dft::init(ppSpec, length, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsDFTInitAlloc_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint) {
  return dft::init_alloc(ppSpec, length, flag, hint);
}
KivStatus kivsDFTFree_R_32f(KivsDFTSpec_R_32f* pSpec) { return fft::free_object(pSpec); }
KivStatus kivsDFTGetBufSize_R_32f(const KivsDFTSpec_R_32f* pSpec, int* pBufferSize) {
  return dft::buffer_size(pSpec, pBufferSize);
}
KivStatus kivsDFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform(pSrc, pDst, pSpec, pBuffer, [&](void* work) { dft::forward_row(pSrc, pDst, *pSpec, work); });
}
KivStatus kivsDFTInv_CCSToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return dft::transform(pSrc, pDst, pSpec, pBuffer, [&](void* work) { dft::run_inverse(pSrc, pDst, *pSpec, work); });
}
}
