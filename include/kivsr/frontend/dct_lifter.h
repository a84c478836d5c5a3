/* DCT lifter. */
#ifndef KIVSR_FRONTEND_DCT_LIFTER_H
#define KIVSR_FRONTEND_DCT_LIFTER_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsDCTLifterGetSize_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterInit_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_32f(KivsDCTLifterState_32f* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_Mul_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_32f(KivsDCTLifterState_32f* pState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_32f(KivsDCTLifterState_32f** ppState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterFree_32f(KivsDCTLifterState_32f* pState);
KIVSR_API KivStatus kivsDCTLifterGetSize_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_C0_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCep, int* pSize);
KIVSR_API KivStatus kivsDCTLifterInit_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_C0_16s(KivsDCTLifterState_16s* pState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_C0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, int lenCep, int nLifter, Kiv32f scale);
KIVSR_API KivStatus kivsDCTLifterInit_Mul_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_Mul_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInit_MulC0_16s(KivsDCTLifterState_16s* pState, int lenDCT, const Kiv32s* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterInitAlloc_MulC0_16s(KivsDCTLifterState_16s** ppState, int lenDCT, const Kiv32f* pLifter, int lenCep);
KIVSR_API KivStatus kivsDCTLifterFree_16s(KivsDCTLifterState_16s* pState);
KIVSR_API KivStatus kivsDCTLifter_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDCTLifterState_32f* pState);
KIVSR_API KivStatus kivsDCTLifter_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState, int scaleFactor);
KIVSR_API KivStatus kivsDCTLifter_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, const KivsDCTLifterState_16s* pState, int scaleFactor);

KIVSR_END_DECLS

#endif
