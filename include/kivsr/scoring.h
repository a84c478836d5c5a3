/* The scoring families. */
#ifndef KIVSR_SCORING_H
#define KIVSR_SCORING_H

#include "scoring/gaussian.h"
#include "scoring/log_domain.h"

#endif
