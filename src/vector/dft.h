// Real DFT of composite lengths for other families, in single and in double precision. Nothing is checked and nothing
// is allocated; all memory is the caller's:
//
//   // blocks of object_bytes<T>(length) and work_bytes<T>(length) bytes, at any address
//   auto* transform = dft::construct<T>(object, length);
//   dft::forward(samples, spectrum, *transform, work);   // any number of times
//
// `work` belongs to one transform at a time and keeps nothing between two. The object must stay where it was built.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "dft_plan.h"
#include "fft.h"
#include "kivsr/types.h"

namespace kivsr::dft {

// The longest transform: its parts can be counted in 32 bits.
inline constexpr int kMaximumLength = 1 << 28;

// Whether the prime factors of the length have passes: 2, 3, 5, 7, 11 and 13.
constexpr bool has_passes(int length) {
  if (length < 1 || length > kMaximumLength) return false;
  for (const int prime : {2, 3, 5, 7, 11, 13}) {
    while (length % prime == 0) length /= prime;
  }
  return length == 1;
}

struct Root {
  double re, im;
};
// exp(-2 pi i e / n), correct to the last bits.
Root root_of_unity(std::int64_t e, std::int64_t n);
// The factors of all passes but the first, pass_table_count(plan) elements.
template <class T>
void build_pass_table(const Plan& plan, T* p);

// Exported objects take the factors 2, 3 and 5.
constexpr bool is_exported_length(int length) {
  return has_passes(length) && length % 7 != 0 && length % 11 != 0 && length % 13 != 0;
}

template <class T>
struct Factors {
  const T* passes;
  const T* lanes;
  const T* real;
};

template <class T>
struct Transform {
  Plan plan;
  int length;
  T forward_factor, inverse_factor;
  Factors<T> factors;
};

// T: float or double. Of a length with has_passes(length), 3 or more.
template <class T>
std::size_t object_bytes(int length);
template <class T>
std::size_t work_bytes(int length);
// The object stands at the first 32-byte boundary in `object`.
template <class T>
Transform<T>* construct(void* object, int length, double forward_factor = 1.0, double inverse_factor = 1.0);

// N samples to a CCS spectrum: N + 2 values, N + 1 for odd N. dst may be src. S: float or T.
template <class S, class T>
void forward(const S* src, T* dst, const Transform<T>& transform, void* work);
// A CCS spectrum to N samples. dst may be src. S: float or T.
template <class S, class T>
void inverse(const S* src, T* dst, const Transform<T>& transform, void* work);

// The object of the exports: lengths of is_exported_length, powers of two by the FFT.
fft::Sizes row_sizes(int length);
KivsDFTSpec_R_32f* construct_row(void* object, void* construction, int length, int flag, int hint);
void forward_row(const float* src, float* dst, const KivsDFTSpec_R_32f& spec, void* work);

}  // namespace kivsr::dft
