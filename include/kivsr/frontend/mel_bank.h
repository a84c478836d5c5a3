/* Mel filter bank. */
#ifndef KIVSR_FRONTEND_MEL_BANK_H
#define KIVSR_FRONTEND_MEL_BANK_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsLinearToMel_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);
KIVSR_API KivStatus kivsMelToLinear_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f melMul, Kiv32f melDiv);
KIVSR_API KivStatus kivsMelFBankGetSize_32f(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankInit_32f(KivsFBankState_32f* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, int nFilter, Kiv32s mode);
KIVSR_API KivStatus kivsFBankFree_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsFBankGetCenters_32f(const KivsFBankState_32f* pFBank, Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankSetCenters_32f(KivsFBankState_32f* pFBank, const Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankGetCoeffs_32f(const KivsFBankState_32f* pFBank, int filter, Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankSetCoeffs_32f(KivsFBankState_32f* pFBank, int filter, const Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsMelFBankGetSize_16s(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankInit_16s(KivsFBankState_16s* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, int nFilter, Kiv32s mode);
KIVSR_API KivStatus kivsFBankFree_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsFBankGetCenters_16s(const KivsFBankState_16s* pFBank, Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankSetCenters_16s(KivsFBankState_16s* pFBank, const Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankGetCoeffs_16s(const KivsFBankState_16s* pFBank, int filter, Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankSetCoeffs_16s(KivsFBankState_16s* pFBank, int filter, const Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsEvalFBank_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsEvalFBank_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsFBankState_16s* pFBank, int scaleFactor);
KIVSR_API KivStatus kivsEvalFBank_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFBankState_16s* pFBank, int scaleFactor);
KIVSR_API KivStatus kivsMelFBankGetSize_32s(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankInit_32s(KivsFBankState_32s* pFBank, int* pFFTOrder, int winLen, Kiv32s sampFreq, Kiv32s lowFreq, Kiv32s highFreq, int nFilter, Kiv32s melMul, Kiv32s melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsEvalFBank_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, const KivsFBankState_32s* pFBank, int scaleFactor);
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_16s(KivsFBankState_16s** ppFBank);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_16s(KivsFBankState_16s** ppFBank);
KIVSR_API KivStatus kivsCopyWithPadding_32f(const Kiv32f* pSrc, int lenSrc, Kiv32f* pDst, int lenDst);
KIVSR_API KivStatus kivsCopyWithPadding_16s(const Kiv16s* pSrc, int lenSrc, Kiv16s* pDst, int lenDst);

KIVSR_END_DECLS

#endif
