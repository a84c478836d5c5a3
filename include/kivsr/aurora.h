/* The aurora families. */
#ifndef KIVSR_AURORA_H
#define KIVSR_AURORA_H

#include "aurora/equalisation.h"
#include "aurora/vad.h"
#include "aurora/wiener.h"

#endif
