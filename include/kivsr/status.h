/* Status values: what every function but the allocators and the version query returns. */
#ifndef KIVSR_STATUS_H
#define KIVSR_STATUS_H

#include <stdint.h>

/** @defgroup status Status values
 *
 * Negative: an error, no output was written. Zero: success. Positive: a warning, all outputs were written and some hold
 * a documented special value. A function returns the first check that fails, in the order of its documentation.
 *
 * @code{.c}
 * const Kiv32f numbers[2] = {1, -1};
 * Kiv32f root[2];
 * KivStatus status = kivsSqrt_32f(numbers, root, 2);
 * assert(status == kivStatusSqrtNegArg && root[0] == 1 && isnan(root[1]));
 * puts(kivStatusText(status));  // kivStatusSqrtNegArg: square root of a negative number
 * @endcode
 * @{ */

/** One of the values below. */
typedef int32_t KivStatus;

/** Values of KivStatus. */
enum {
  kivStatusOk = 0, /**< success */

  kivStatusError = -2,              /**< an inner step of a composite operation failed */
  kivStatusBadArgument = -5,        /**< a scalar argument outside its range */
  kivStatusBadSize = -6,            /**< a length, width, height, count or order outside its range */
  kivStatusOutOfRange = -7,         /**< a value outside the domain of the function */
  kivStatusNullPointer = -8,        /**< a required pointer is null */
  kivStatusNoMemory = -9,           /**< the allocator returned null */
  kivStatusDivByZeroErr = -10,      /**< division by a constant that is zero */
  kivStatusFftOrderError = -15,     /**< FFT order outside 0..30 */
  kivStatusFftFlagError = -16,      /**< unknown FFT normalisation flag */
  kivStatusContextMismatch = -17,   /**< a state object of another kind */
  kivStatusBadStep = -37,           /**< a row step smaller than the row needs */
  kivStatusNoConvergence = -65,     /**< an iteration reached its limit */
  kivStatusBadHint = -66,           /**< a codebook hint that the function does not accept */
  kivStatusNegOccupation = -67,     /**< a negative or NaN occupation count or floor */
  kivStatusFBankNotReady = -69,     /**< filter centres missing or out of order */
  kivStatusBadMelMode = -70,        /**< unknown filter-bank mode */
  kivStatusBadFreqRange = -71,      /**< filter-bank frequencies out of order or range */
  kivStatusLspRootsNotFound = -114, /**< fewer line spectral pairs than the order */
  kivStatusBadLsp = -115,           /**< line spectral pairs out of order */
  kivStatusUnitReflection = -116,   /**< a reflection coefficient of magnitude 1 */
  kivStatusNonPositiveError = -117, /**< a prediction error that is not positive */
  kivStatusBadLength = -119,        /**< a length outside a fixed range */
  kivStatusInternalError = -9999,   /**< a state object holds an inconsistent value */

  kivStatusSqrtNegArg = 3,      /**< square root of a negative number */
  kivStatusNoOperation = 4,     /**< nothing to compute, a fixed result was written */
  kivStatusDivByZero = 6,       /**< a zero divisor among the elements */
  kivStatusInfResult = 7,       /**< logarithm of zero */
  kivStatusNanResult = 8,       /**< logarithm of a negative number */
  kivStatusFloored = 11,        /**< a variance or weight was raised to its floor */
  kivStatusZeroOccupation = 16, /**< an occupation count of zero, nothing was computed */
  kivStatusCdbkSizeWarning = 31 /**< a codebook of another size than the one asked for */
};

/** The name of a status and what it means in one sentence, for messages and logs.
 * @param[in] status any value
 * @return a constant text "name: sentence", never null */
static inline const char* kivStatusText(KivStatus status) {
  switch (status) {
    case kivStatusOk: return "kivStatusOk: success";
    case kivStatusError: return "kivStatusError: an inner step of a composite operation failed";
    case kivStatusBadArgument: return "kivStatusBadArgument: a scalar argument outside its range";
    case kivStatusBadSize: return "kivStatusBadSize: a length, width, height, count or order outside its range";
    case kivStatusOutOfRange: return "kivStatusOutOfRange: a value outside the domain of the function";
    case kivStatusNullPointer: return "kivStatusNullPointer: a required pointer is null";
    case kivStatusNoMemory: return "kivStatusNoMemory: the allocator returned null";
    case kivStatusDivByZeroErr: return "kivStatusDivByZeroErr: division by a constant that is zero";
    case kivStatusFftOrderError: return "kivStatusFftOrderError: FFT order outside 0..30";
    case kivStatusFftFlagError: return "kivStatusFftFlagError: unknown FFT normalisation flag";
    case kivStatusContextMismatch: return "kivStatusContextMismatch: a state object of another kind";
    case kivStatusBadStep: return "kivStatusBadStep: a row step smaller than the row needs";
    case kivStatusNoConvergence: return "kivStatusNoConvergence: an iteration reached its limit";
    case kivStatusBadHint: return "kivStatusBadHint: a codebook hint that the function does not accept";
    case kivStatusNegOccupation: return "kivStatusNegOccupation: a negative or NaN occupation count or floor";
    case kivStatusFBankNotReady: return "kivStatusFBankNotReady: filter centres missing or out of order";
    case kivStatusBadMelMode: return "kivStatusBadMelMode: unknown filter-bank mode";
    case kivStatusBadFreqRange: return "kivStatusBadFreqRange: filter-bank frequencies out of order or range";
    case kivStatusLspRootsNotFound: return "kivStatusLspRootsNotFound: fewer line spectral pairs than the order";
    case kivStatusBadLsp: return "kivStatusBadLsp: line spectral pairs out of order";
    case kivStatusUnitReflection: return "kivStatusUnitReflection: a reflection coefficient of magnitude 1";
    case kivStatusNonPositiveError: return "kivStatusNonPositiveError: a prediction error that is not positive";
    case kivStatusBadLength: return "kivStatusBadLength: a length outside a fixed range";
    case kivStatusInternalError: return "kivStatusInternalError: a state object holds an inconsistent value";
    case kivStatusSqrtNegArg: return "kivStatusSqrtNegArg: square root of a negative number";
    case kivStatusNoOperation: return "kivStatusNoOperation: nothing to compute, a fixed result was written";
    case kivStatusDivByZero: return "kivStatusDivByZero: a zero divisor among the elements";
    case kivStatusInfResult: return "kivStatusInfResult: logarithm of zero";
    case kivStatusNanResult: return "kivStatusNanResult: logarithm of a negative number";
    case kivStatusFloored: return "kivStatusFloored: a variance or weight was raised to its floor";
    case kivStatusZeroOccupation: return "kivStatusZeroOccupation: an occupation count of zero, nothing was computed";
    case kivStatusCdbkSizeWarning: return "kivStatusCdbkSizeWarning: a codebook of another size than the one asked for";
    default: return "not a status of this library";
  }
}

/** @} */

#endif
