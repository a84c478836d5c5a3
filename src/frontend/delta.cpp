// Delta and acceleration coefficients: the exports. Next: delta_windows.h.
#include "kivsr/frontend/delta.h"

#include "delta_matrix.h"
#include "delta_stream.h"
#include "frame/status.h"

namespace kivsr::delta {
namespace {

using Delta1 = Form<PlainFrames, Window1>;
using Delta2 = Form<PlainFrames, Window2>;
using DeltaDelta1 = Form<PlainFrames, Window1, Window1, 1>;
using DeltaDelta2 = Form<PlainFrames, Window2, Window2, 1>;
using DeltaDeltaAurora = Form<AuroraFrames, AuroraSlope, AuroraCurvature, 0>;
static_assert(Delta1::kHistory == 2 && Delta2::kHistory == 4 && DeltaDelta1::kHistory == 3 &&
              DeltaDelta2::kHistory == 6 && DeltaDeltaAurora::kHistory == 8);

constexpr int kAuroraWidth = AuroraFrames::kWidth;
constexpr Multipliers<Kiv32f> kUnscaled;

KivStatus check_matrix(KivStatus pointers, int height, int step, int width, int offset, int reach) {
  return first_failure(pointers, positive(height, width, reach),
                       require(offset >= 0 && height >= 2 * std::int64_t{reach}, kivStatusBadSize),
                       step_covers(step, offset + 2 * std::int64_t{width}));
}

template <class T>
KivStatus matrix_constant(T* matrix, int height, int step, int width, int offset, int reach, T val,
                          Multipliers<T> multipliers) {
  return run(check_matrix(not_null(matrix), height, step, width, offset, reach),
             [&] { evaluate_matrix(matrix, height, step, width, offset, reach, multipliers.constant(val)); });
}

template <class T>
KivStatus matrix_columns(T* matrix, int height, int step, const T* val, int width, int offset, int reach,
                         Multipliers<T> multipliers) {
  return run(check_matrix(not_null(matrix, val), height, step, width, offset, reach),
             [&] { evaluate_matrix(matrix, height, step, width, offset, reach, multipliers.columns(val)); });
}

// One multiplier for the deltas and one for the accelerations.
template <class Form, class T>
KivStatus stream_constant(const Block<T>& block, T delta, T acceleration, Multipliers<T> multipliers) {
  return run(first_failure(not_null(block.frames, block.rows), block.template check<Form>()), [&] {
    stream<Form>(block, Unchanged{}, multipliers.constant(delta), multipliers.constant(acceleration));
  });
}

// A multiplier for every column of the statics, the deltas and, in forms that have them, the accelerations.
template <class Form, class T>
KivStatus stream_columns(const Block<T>& block, const T* val, Multipliers<T> multipliers) {
  return run(first_failure(not_null(block.frames, block.rows, val), block.template check<Form>()), [&] {
    const std::ptrdiff_t width = block.width;
    stream<Form>(block, multipliers.columns(val), multipliers.columns(val + width),
                 multipliers.columns(val + 2 * width));
  });
}

// The weights of the nine-frame windows alone.
template <class T>
KivStatus stream_aurora(const Block<T>& block, Multipliers<T> multipliers) {
  return run(first_failure(not_null(block.frames, block.rows), block.template check<DeltaDeltaAurora>()),
             [&] { stream<DeltaDeltaAurora>(block, Unchanged{}, multipliers.one(), multipliers.one()); });
}

}  // namespace
}  // namespace kivsr::delta

extern "C" {
using namespace kivsr::delta;

KivStatus kivsEvalDelta_32f_D2(Kiv32f* pSrcDst, int height, int step, int width, int offset, int winSize, Kiv32f val) {
  return matrix_constant(pSrcDst, height, step, width, offset, winSize, val, kUnscaled);
}
KivStatus kivsEvalDeltaMul_32f_D2(Kiv32f* pSrcDst, int height, int step, const Kiv32f* pVal, int width, int offset,
                                  int winSize) {
  return matrix_columns(pSrcDst, height, step, pVal, width, offset, winSize, kUnscaled);
}
KivStatus kivsEvalDelta_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, int width, int offset, int winSize, Kiv16s val,
                                  int scaleFactor) {
  return matrix_constant(pSrcDst, height, step, width, offset, winSize, val, Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsEvalDeltaMul_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, const Kiv16s* pVal, int width, int offset,
                                     int winSize, int scaleFactor) {
  return matrix_columns(pSrcDst, height, step, pVal, width, offset, winSize, Multipliers<Kiv16s>(scaleFactor));
}

KivStatus kivsDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f val,
                                int mode) {
  return stream_constant<Delta1>({pSrc, width, pDst, dstStep, height, mode}, val, val, kUnscaled);
}
KivStatus kivsDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f val,
                                int mode) {
  return stream_constant<Delta2>({pSrc, width, pDst, dstStep, height, mode}, val, val, kUnscaled);
}
KivStatus kivsDeltaDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f valD,
                                     Kiv32f valDD, int mode) {
  return stream_constant<DeltaDelta1>({pSrc, width, pDst, dstStep, height, mode}, valD, valDD, kUnscaled);
}
KivStatus kivsDeltaDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f valD,
                                     Kiv32f valDD, int mode) {
  return stream_constant<DeltaDelta2>({pSrc, width, pDst, dstStep, height, mode}, valD, valDD, kUnscaled);
}
KivStatus kivsDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep,
                                   int height, int mode) {
  return stream_columns<Delta1>({pSrc, width, pDst, dstStep, height, mode}, pVal, kUnscaled);
}
KivStatus kivsDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep,
                                   int height, int mode) {
  return stream_columns<Delta2>({pSrc, width, pDst, dstStep, height, mode}, pVal, kUnscaled);
}
KivStatus kivsDeltaDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep,
                                        int height, int mode) {
  return stream_columns<DeltaDelta1>({pSrc, width, pDst, dstStep, height, mode}, pVal, kUnscaled);
}
KivStatus kivsDeltaDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep,
                                        int height, int mode) {
  return stream_columns<DeltaDelta2>({pSrc, width, pDst, dstStep, height, mode}, pVal, kUnscaled);
}

KivStatus kivsDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s val,
                                   int scaleFactor, int mode) {
  return stream_constant<Delta1>({pSrc, width, pDst, dstStep, height, mode}, val, val,
                                 Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s val,
                                   int scaleFactor, int mode) {
  return stream_constant<Delta2>({pSrc, width, pDst, dstStep, height, mode}, val, val,
                                 Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                        Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode) {
  return stream_constant<DeltaDelta1>({pSrc, width, pDst, dstStep, height, mode}, valD, valDD,
                                      Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                        Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode) {
  return stream_constant<DeltaDelta2>({pSrc, width, pDst, dstStep, height, mode}, valD, valDD,
                                      Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep,
                                      int height, int mode, int scaleFactor) {
  return stream_columns<Delta1>({pSrc, width, pDst, dstStep, height, mode}, pVal, Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep,
                                      int height, int mode, int scaleFactor) {
  return stream_columns<Delta2>({pSrc, width, pDst, dstStep, height, mode}, pVal, Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep,
                                           int height, int mode, int scaleFactor) {
  return stream_columns<DeltaDelta1>({pSrc, width, pDst, dstStep, height, mode}, pVal,
                                     Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep,
                                           int height, int mode, int scaleFactor) {
  return stream_columns<DeltaDelta2>({pSrc, width, pDst, dstStep, height, mode}, pVal,
                                     Multipliers<Kiv16s>(scaleFactor));
}

KivStatus kivsDeltaDelta_Aurora_32f_D2(const Kiv32f* pSrc, Kiv32f* pDst, int dstStep, int height, int mode) {
  return stream_aurora<Kiv32f>({pSrc, kAuroraWidth, pDst, dstStep, height, mode}, kUnscaled);
}
KivStatus kivsDeltaDeltaMul_Aurora_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, Kiv32f* pDst, int dstStep, int height,
                                          int mode) {
  return stream_columns<DeltaDeltaAurora>({pSrc, kAuroraWidth, pDst, dstStep, height, mode}, pVal, kUnscaled);
}
KivStatus kivsDeltaDelta_Aurora_16s_D2Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int dstStep, int height, int mode,
                                          int scaleFactor) {
  return stream_aurora<Kiv16s>({pSrc, kAuroraWidth, pDst, dstStep, height, mode}, Multipliers<Kiv16s>(scaleFactor));
}
KivStatus kivsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, Kiv16s* pDst, int dstStep,
                                             int height, int mode, int scaleFactor) {
  return stream_columns<DeltaDeltaAurora>({pSrc, kAuroraWidth, pDst, dstStep, height, mode}, pVal,
                                          Multipliers<Kiv16s>(scaleFactor));
}
}
