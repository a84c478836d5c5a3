/* The aurora families. */
#ifndef KIVSR_AURORA_H
#define KIVSR_AURORA_H

#include "aurora/band_split.h"
#include "aurora/equalisation.h"
#include "aurora/high_band.h"
#include "aurora/vad.h"
#include "aurora/waveform.h"
#include "aurora/wiener.h"

#endif
