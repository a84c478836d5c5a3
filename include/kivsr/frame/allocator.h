/* Aligned memory with replaceable hooks. */
#ifndef KIVSR_FRAME_ALLOCATOR_H
#define KIVSR_FRAME_ALLOCATOR_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup allocator Aligned blocks
 *
 * @code{.c}
 * Kiv32f* row = kivsMalloc_32f(1000);
 * assert(row != NULL && (size_t)row % 32 == 0);
 * assert(kivsMalloc_32f(0) == NULL);
 * kivsFree(row);
 * @endcode
 * @{ */

/** @name Hooks
 * @{ */
/** The functions through which the library obtains and releases all its memory, initially those of the C library.
 * The library calls i_malloc and i_free only; i_calloc and i_realloc are here for the application's symmetry.
 * Replace them before the library allocates anything, and not while blocks from the old ones are alive or other threads
 * are inside the library. Several threads may call them at once. */
extern KIVSR_API void* (*i_malloc)(size_t);
extern KIVSR_API void* (*i_calloc)(size_t, size_t);
extern KIVSR_API void* (*i_realloc)(void*, size_t);
extern KIVSR_API void (*i_free)(void*);
/** @} */

/** @name Allocation
 * @{ */
/** A block of len elements, aligned to 32 bytes, not initialised. Asks i_malloc for len * sizeof(element) + 32 +
 * sizeof(void*) bytes and keeps the raw pointer in the word before the block.
 * @param[in] len number of elements
 * @return the block, to be released by kivsFree; null if len < 1 or size_t cannot hold the byte count (the hook is not
 * called), or if the hook returns null */
KIVSR_API Kiv8u* kivsMalloc_8u(int len);
KIVSR_API Kiv16s* kivsMalloc_16s(int len);
KIVSR_API Kiv32s* kivsMalloc_32s(int len);
KIVSR_API Kiv32f* kivsMalloc_32f(int len);
KIVSR_API Kiv64f* kivsMalloc_64f(int len);
/** @} */

/** @name Release
 * @{ */
/** One function under two names.
 * @param[in] ptr a block of this allocator, or null, which does nothing */
KIVSR_API void kivsFree(void* ptr);
KIVSR_API void Free2d(void* ptr);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
