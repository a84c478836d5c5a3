/* The training families. */
#ifndef KIVSR_TRAINING_H
#define KIVSR_TRAINING_H

#include "training/language_model.h"

#endif
