/* The vector families. */
#ifndef KIVSR_VECTOR_H
#define KIVSR_VECTOR_H

#include "vector/covariance.h"
#include "vector/elementwise.h"
#include "vector/fft.h"
#include "vector/products.h"
#include "vector/reductions.h"
#include "vector/statistics.h"

#endif
