/* The scoring families. */
#ifndef KIVSR_SCORING_H
#define KIVSR_SCORING_H

#include "scoring/distances.h"
#include "scoring/gaussian.h"
#include "scoring/gaussian_16s.h"
#include "scoring/language_model.h"
#include "scoring/log_domain.h"
#include "scoring/selection.h"

#endif
