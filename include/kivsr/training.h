/* The training families. */
#ifndef KIVSR_TRAINING_H
#define KIVSR_TRAINING_H

#include "training/clustering.h"
#include "training/reestimation.h"
#include "training/split_merge.h"

#endif
