/* The vq families. */
#ifndef KIVSR_VQ_H
#define KIVSR_VQ_H

#include "vq/shortlist.h"

#endif
