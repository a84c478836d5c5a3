/* The vector families. */
#ifndef KIVSR_VECTOR_H
#define KIVSR_VECTOR_H

#include "vector/arithmetic.h"
#include "vector/conversion.h"
#include "vector/copy.h"
#include "vector/covariance.h"
#include "vector/dft.h"
#include "vector/dft_columns.h"
#include "vector/division.h"
#include "vector/dot_product.h"
#include "vector/entropy.h"
#include "vector/extrema.h"
#include "vector/fft.h"
#include "vector/logarithm.h"
#include "vector/magnitude.h"
#include "vector/order_statistics.h"
#include "vector/products.h"
#include "vector/roots.h"
#include "vector/statistics.h"
#include "vector/sums.h"
#include "vector/svd.h"

#endif
