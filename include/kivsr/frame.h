/* What stands under the families: memory, the block-diagonal matrix object, the version query. */
#ifndef KIVSR_FRAME_H
#define KIVSR_FRAME_H

#include "frame/allocator.h"
#include "frame/block_diagonal.h"
#include "frame/version.h"

#endif
