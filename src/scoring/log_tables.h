// Constants of the log-domain operations: ln(1 + e^d), d <= 0, as one polynomial on each of three intervals. Kernels:
// log_add.h.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

#include "kivsr/types.h"

namespace kivsr {

inline constexpr double kLogZero = kivLogZero;
// A term further than this below the larger one is dropped: ln(1 + e^d) is then below 2.3e-7.
inline constexpr double kLogCutOff = -15.3195879547406;
// A difference of probabilities below this, relative to the larger one, is zero.
inline constexpr double kSmallestDifference = 1.0057e-37;

// One row an interval, coefficients by falling power, then the constant. The intervals are d > centre 1, d > centre 2
// and the rest; the polynomial is in u = d - centre of its interval.
// Degree 10: error below 5e-9. The last word of the third row is the cut-off.
inline constexpr double kCentres10[3] = {0.0, -2.55, -6.8};
inline constexpr double kDegree10[3][12] = {
    {-6.780103715801104e-07, -8.27710395983359e-06, -3.1261214564328406e-05, 2.1955075181092877e-05,
     0.0004062108907165097, 6.910012478334781e-05, -0.005163737400850404, 1.5878560708463796e-05, 0.125002818406354,
     0.5000001923981635, 0.6931471827215062, 0.0},
    {-7.083237702375219e-09, -1.8491608098957698e-07, -2.094649399521823e-06, -1.2793327302109763e-05,
     -3.4842057389070787e-05, 0.00010764583059022215, 0.0016847989052690858, 0.009582361774741538, 0.033592464138937767,
     0.07242669818681209, 0.07518323027822499, 0.0},
    {6.536044962123068e-12, 3.4510675551141127e-10, 8.230386128280675e-09, 1.183290602139997e-07, 1.157908356720776e-06,
     8.25762745567427e-06, 4.458031414389642e-05, 0.00018342101716467817, 0.0005549481290265323, 0.0011123966452324845,
     0.0011131507706311817, kLogCutOff}};

// Degree 21: error below 5e-15.
inline constexpr double kCentres21[3] = {0.0, -3.5, -9.0};
// clang-format off
inline constexpr double kDegree21[3][24] = {
    {2.4223551556971103e-14, 1.2811707930131747e-12, 2.979508062290527e-11, 4.091290155130968e-10,
     3.717428002038248e-09, 2.3532270503994952e-08, 1.055613856863438e-07, 3.320992500314504e-07,
     7.091358966640867e-07, 1.0406444519836742e-06, 1.6353412792505214e-06, 3.844457955118119e-06,
     1.3867656181255913e-06, -2.5487163524155248e-05, 4.065812849423804e-07, 0.0003473626701744988,
     3.4289110129737e-08, -0.005208327741081266, 5.587714108476228e-10, 0.12500000002958675,
     0.5000000000006226, 0.6931471805599475, 0.0, 0.0},
    {1.3708407243051937e-19, 9.601624129865304e-18, 3.191870701452749e-16, 6.702281854356589e-15,
     9.973092519816427e-14, 1.1165229253200852e-12, 9.711578249998531e-12, 6.632489267913665e-11,
     3.487750749690926e-10, 1.277933984587361e-09, 1.6292813548790022e-09, -1.909513758655842e-08,
     -1.8820558187982419e-07, -9.461042535100208e-07, -2.209235331735495e-06, 9.625041106025868e-06,
     0.00014699683220535022, 0.0009831490265710303, 0.004464163447126563, 0.014226511939950807,
     0.0293122307513593, 0.02975041827262059, 0.0, 0.0},
    {1.7034225392923792e-27, 3.0781354635598557e-25, 2.6542272637469554e-23, 1.4576061250276504e-21,
     5.745038767733748e-20, 1.73794899924144e-18, 4.217783891653166e-17, 8.4810302862868775e-16,
     1.4486369363407485e-14, 2.1432698000428128e-13, 2.7867099954008822e-12, 3.2140356172044866e-11,
     3.300948845025808e-10, 3.0140517373824124e-09, 2.4295529030919333e-08, 1.7072955802867207e-07,
     1.0263887628748916e-06, 5.137002703123242e-06, 2.0558151089723745e-05, 6.168967511733263e-05,
     0.00012339457601536868, 0.00012340218972425103, 0.0, 0.0}};
// clang-format on

// The largest number of type T that is not above x < 0, so that d > x and d > largest_not_above<T>(x) agree.
template <class T>
constexpr T largest_not_above(double x) {
  const T rounded = static_cast<T>(x);
  if constexpr (std::is_same_v<T, float>) {
    if (rounded > x) return std::bit_cast<float>(std::bit_cast<std::uint32_t>(rounded) + 1);
  }
  return rounded;
}

// The polynomials for a kernel in T: rows[k] holds the coefficients of one power for the three intervals.
template <class T, int kDegree>
struct CorrectionTable {
  static constexpr int terms = kDegree + 1;
  alignas(32) T rows[terms][4];
  alignas(32) T centres[4];
  T breaks[2];

  template <int N>
  constexpr CorrectionTable(const double (&source)[3][N], const double (&centre)[3])
      : rows{},
        centres{T{0}, static_cast<T>(centre[1]), static_cast<T>(centre[2]), T{0}},
        breaks{largest_not_above<T>(centre[1]), largest_not_above<T>(centre[2])} {
    for (int k = 0; k < terms; ++k) {
      for (int i = 0; i < 3; ++i) rows[k][i] = static_cast<T>(source[i][k]);
    }
  }
};

struct Degree10 {
  template <class T>
  static constexpr CorrectionTable<T, 10> table{kDegree10, kCentres10};
};
struct Degree21 {
  template <class T>
  static constexpr CorrectionTable<T, 21> table{kDegree21, kCentres21};
};

}  // namespace kivsr
