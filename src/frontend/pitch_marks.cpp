// Fundamental frequency from pitch marks.
#include "kivsr/frontend/pitch_marks.h"

#include <cstdint>
#include <type_traits>

#include "frame/status.h"

namespace kivsr {
namespace {

template <class T>
bool increase(const T* marks, int len) {
  for (int k = 1; k < len; ++k) {
    if (!(marks[k - 1] < marks[k])) return false;
  }
  return true;
}

template <class T>
KivStatus marks_to_f0(const T* marks, int len, float* f0, int frames, int shift, float frequency, int longest) {
  using Wide = std::conditional_t<std::is_integral_v<T>, std::int64_t, double>;
  const KivStatus checks =
      first_failure(not_null(marks, f0), require(len >= 2 && frames >= 1 && shift >= 1, kivStatusBadSize),
                    require(frequency > 0.0F && longest >= 1, kivStatusBadArgument));
  if (checks != kivStatusOk) return checks;
  return run(require(increase(marks, len), kivStatusOutOfRange), [&] {
    int next = 0;  // the first mark behind the frame
    for (int t = 0; t < frames; ++t) {
      const std::int64_t at = std::int64_t{t} * shift;
      while (next < len && static_cast<Wide>(marks[next]) <= static_cast<Wide>(at)) ++next;
      f0[t] = 0.0F;
      if (next == 0 || next == len) continue;
      const Wide period = static_cast<Wide>(marks[next]) - static_cast<Wide>(marks[next - 1]);
      if (period <= static_cast<Wide>(longest)) {
        f0[t] = static_cast<float>(static_cast<double>(frequency) / static_cast<double>(period));
      }
    }
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsPitchmarkToF0_32s32f(const Kiv32s* pSrc, int len, Kiv32f* pDst, int dstLen, int shift, Kiv32f sampFreq,
                                   int maxPeriod) {
  return marks_to_f0(pSrc, len, pDst, dstLen, shift, sampFreq, maxPeriod);
}
KivStatus kivsPitchmarkToF0_32f(const Kiv32f* pSrc, int len, Kiv32f* pDst, int dstLen, int shift, Kiv32f sampFreq,
                                int maxPeriod) {
  return marks_to_f0(pSrc, len, pDst, dstLen, shift, sampFreq, maxPeriod);
}
}
