/* The vq families: codebooks, their search, vectors rebuilt from indices, shortlists. */
#ifndef KIVSR_VQ_H
#define KIVSR_VQ_H

#include "vq/codebook.h"
#include "vq/search.h"
#include "vq/shortlist.h"

#endif
