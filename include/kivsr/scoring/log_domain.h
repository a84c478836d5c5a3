/* Log-domain arithmetic. */
#ifndef KIVSR_SCORING_LOG_DOMAIN_H
#define KIVSR_SCORING_LOG_DOMAIN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsLogAdd_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogSum_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsLogSub_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogAdd_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogSum_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsLogSub_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogAdd_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogSum_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSub_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogAdd_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogSum_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSub_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor);
KIVSR_API void GetLogAddConst(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);
KIVSR_API void GetLogAddConst_F(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);

KIVSR_END_DECLS

#endif
