/* Aligned memory with replaceable hooks, the block-diagonal matrix object and the version query. */
#ifndef KIVSR_FRAME_H
#define KIVSR_FRAME_H

#include "types.h"

KIVSR_BEGIN_DECLS

/** @defgroup hooks Allocation hooks
 * The functions through which the library obtains and releases all its memory, initially those of the C library.
 * The library calls i_malloc and i_free only; i_calloc and i_realloc are here for the application's symmetry.
 * Replace them before the library allocates anything, and not while blocks from the old ones are alive.
 * @{ */
extern KIVSR_API void* (*i_malloc)(size_t);
extern KIVSR_API void* (*i_calloc)(size_t, size_t);
extern KIVSR_API void* (*i_realloc)(void*, size_t);
extern KIVSR_API void (*i_free)(void*);
/** @} */

/** @defgroup allocator Aligned blocks
 *
 * kivsMalloc_T(len) returns a block of len elements of type T, aligned to 32 bytes, not initialised.
 * It asks i_malloc for len * sizeof(T) + 32 + sizeof(void*) bytes and keeps the raw pointer in the word before the
 * block. Null if len < 1 or the byte count does not fit size_t (the hook is not called), or if the hook returns null.
 *
 * kivsFree(ptr) and Free2d(ptr), the same function under two names, release such a block; null does nothing.
 * @{ */
KIVSR_API Kiv8u* kivsMalloc_8u(int len);
KIVSR_API Kiv16s* kivsMalloc_16s(int len);
KIVSR_API Kiv32s* kivsMalloc_32s(int len);
KIVSR_API Kiv32f* kivsMalloc_32f(int len);
KIVSR_API Kiv64f* kivsMalloc_64f(int len);
KIVSR_API void kivsFree(void* ptr);
KIVSR_API void Free2d(void* ptr);
/** @} */

/** @defgroup blockdiagonal Block-diagonal matrix
 *
 * A symmetric matrix of square blocks on its diagonal, such as the inverse covariance of a Gaussian whose features are
 * correlated in groups. InitAlloc takes N row pointers, N the sum of the block sizes, copies the first b elements of
 * each row (b the size of the block that the row belongs to) and stores a handle in *pMatrix. The handle read as a
 * pointer gives the array of N row pointers, row r holding the elements of its block only. The library only reads the
 * object. Free releases it.
 *
 * Layout, one allocation: at a 16-byte boundary a header (row-pointer array, block sizes, raw block: three pointers;
 * two 16-bit counts, blocks then rows), the block sizes (int), the row pointers from the next 16-byte boundary, the
 * rows from the next, each padded to 16 bytes.
 *
 * Statuses of InitAlloc, in order: -8 a null argument; -6 nBlocks < 1 or a block size < 1; -9 the object would be
 * larger than int can count, or has more than 65535 rows or blocks, or allocation failed (*pMatrix unchanged).
 * Of Free: -8 null.
 * @{ */
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_16s(Kiv16s*** pMatrix, const Kiv16s* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_32f(Kiv32f*** pMatrix, const Kiv32f* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_64f(Kiv64f*** pMatrix, const Kiv64f* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
KIVSR_API KivStatus kivsBlockDMatrixFree_16s(Kiv16s** pMatrix);
KIVSR_API KivStatus kivsBlockDMatrixFree_32f(Kiv32f** pMatrix);
KIVSR_API KivStatus kivsBlockDMatrixFree_64f(Kiv64f** pMatrix);
/** @} */

/** Version of the library. */
typedef struct KivLibraryVersion {
  Kiv32s major;
  Kiv32s minor;
  Kiv32s majorBuild;
  Kiv32s build;
  char targetCpu[4]; /**< two letters of the instruction set, then zeros */
  const char* name;  /**< file name of the library */
  const char* version;
  const char* buildDate;
} KivLibraryVersion;

/** The constant version record: the same address on every call. */
KIVSR_API const KivLibraryVersion* kivsrGetLibVersion(void);

KIVSR_END_DECLS

#endif
