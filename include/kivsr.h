/* Numeric primitives for speech recognition: the one header that users include, from C99 or C++.
 *
 * Conventions of every function, unless its documentation says otherwise:
 *  - Sources come first, then destinations, sizes, mode values; the scale factor is last.
 *  - Arguments are checked in the order in which the documentation lists the statuses. The first failure is returned
 * and nothing is written.
 *  - A source and a destination are the same array only where one argument (pSrcDst) stands for both.
 *  - Arrays need the alignment of their element type only; results do not depend on it.
 *  - Functions may run on any thread at once unless they write the same arrays or the same state. */
#ifndef KIVSR_H
#define KIVSR_H

#include "kivsr/types.h"

#include "kivsr/aurora.h"
#include "kivsr/frame.h"
#include "kivsr/frontend.h"
#include "kivsr/noise.h"
#include "kivsr/scoring.h"
#include "kivsr/training.h"
#include "kivsr/vector.h"
#include "kivsr/vq.h"

#endif
