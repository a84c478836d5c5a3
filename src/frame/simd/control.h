// The state of the floating-point unit, as far as the library sets it: the rounding mode, pinned for the length of a
// calculation, and the sticky flags of undefined operations.
//
//   rounding(), set_rounding(r)    what holds the rounding mode of floats and doubles
//   is_nearest(r), nearest(r)      whether it rounds to nearest, ties to even; r with that mode
//   extended_rounding(), set_extended_rounding(r), extended_nearest(r)   the same of long double
//   start_watch()      the caller's state; from here on rounds to nearest, no flag is set, nothing traps
//   undefined_met()    whether an operation had no defined result since, or a finite number was divided by zero
//   end_watch(state)   the caller's state again, with the flag of undefined operations clear
#pragma once

#if defined(KIVSR_GENERIC)
#include "control_generic.h"
#elif defined(__SSE2__)
#include "control_x86.h"
#elif defined(__aarch64__)
#include "control_arm64.h"
#else
#include "control_generic.h"
#endif
