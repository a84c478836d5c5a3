/* The noise families. */
#ifndef KIVSR_NOISE_H
#define KIVSR_NOISE_H

#include "noise/mcra.h"
#include "noise/spectral_gain.h"

#endif
