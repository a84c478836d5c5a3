/* The vq families: codebooks, quantisation of vectors and of split vectors, vectors rebuilt from tables, shortlists,
 * time warping. */
#ifndef KIVSR_VQ_H
#define KIVSR_VQ_H

#include "vq/codebook.h"
#include "vq/dtw.h"
#include "vq/form_vector.h"
#include "vq/quantise.h"
#include "vq/shortlist.h"
#include "vq/split_vector.h"

#endif
