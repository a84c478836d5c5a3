/* Element types, status values and the few constants that every family shares. */
#ifndef KIVSR_TYPES_H
#define KIVSR_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define KIVSR_BEGIN_DECLS extern "C" {
#define KIVSR_END_DECLS }
#else
#define KIVSR_BEGIN_DECLS
#define KIVSR_END_DECLS
#endif

#if defined(__GNUC__)
#define KIVSR_API __attribute__((visibility("default")))
#else
#define KIVSR_API
#endif

/** @defgroup types Types and status values
 *
 * Type codes in function names: 8u, 16s, 16u, 32s, 32u, 64s, 32f, 64f, 32fc, 32sc and 1u, a packed array of bits.
 * One code names source and destination, several name sources first, then the destination.
 * D2 after the codes is a matrix given by a base pointer and a row step counted in elements,
 * D2L one given by an array of row pointers. Sfs is an integer result multiplied by 2^-scaleFactor,
 * I an operation in place.
 * @{ */

typedef uint8_t Kiv8u;
typedef int16_t Kiv16s;
typedef uint16_t Kiv16u;
typedef int32_t Kiv32s;
typedef uint32_t Kiv32u;
typedef int64_t Kiv64s;
typedef float Kiv32f;
typedef double Kiv64f;

/** A complex number: real part, then imaginary part. */
typedef struct Kiv32fc {
  Kiv32f re;
  Kiv32f im;
} Kiv32fc;

/** A complex integer: real part, then imaginary part. */
typedef struct Kiv32sc {
  Kiv32s re;
  Kiv32s im;
} Kiv32sc;

/** Result of every function but the allocators and the version query. Negative: an error, no output was written.
 * Zero: success. Positive: a warning, all outputs were written and some hold a documented special value. */
typedef Kiv32s KivStatus;

enum {
  kivStatusOk = 0,

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

/** Rounding of float-to-integer conversions: 0 truncates, any other value rounds to nearest, ties to even. */
enum { kivRndZero = 0, kivRndNear = 1 };

/** How log-addition evaluates ln(1 + e^d). Other values are accepted and leave the data alone. */
typedef int KivLogAddHint;
enum {
  kivLogAddHintAc = 0, /**< double precision */
  kivLogAddHintSp = 1, /**< single precision */
  kivLogAddHintFpu = 2 /**< extended precision */
};

/** Normalisation of the FFT. */
enum {
  kivFftScaleForward = 1, /**< forward result times 1/N */
  kivFftScaleInverse = 2, /**< inverse result times 1/N */
  kivFftScaleSqrt = 4,    /**< both times 1/sqrt(N) */
  kivFftScaleNone = 8     /**< no scaling */
};

/** Filter-bank mode word: one of the two weight rules, and KIV_FBANK_FFTINPUT if the bank transforms samples itself. */
enum {
  KIV_FBANK_MELWEIGHT = 1, /**< weights from exact mel values, centres truncated to bins */
  KIV_FBANK_BINWEIGHT = 2, /**< weights linear in bins, centres rounded to bins */
  KIV_FBANK_FFTINPUT = 4   /**< evaluation takes samples */
};

/** Mode word of the streaming delta functions. */
enum {
  KIV_DELTA_BEGIN = 1, /**< the block starts the utterance */
  KIV_DELTA_END = 2    /**< the block ends the utterance */
};

/** How a codebook is built and searched. */
typedef int KivCdbkHint;
enum {
  kivCdbkFullSearch = 1,  /**< the training vectors themselves, searched exhaustively */
  kivCdbkSplitWidest = 2, /**< trained; the cluster of the greatest spread is split next */
  kivCdbkSplitLargest = 3 /**< trained; the cluster of the most members is split next */
};

typedef struct KivsFFTSpec_R_32f KivsFFTSpec_R_32f;
typedef struct KivsFFTSpec_R_16s32s KivsFFTSpec_R_16s32s;
typedef struct KivsFBankState_32f KivsFBankState_32f;
typedef struct KivsFBankState_16s KivsFBankState_16s;
typedef struct KivsFBankState_32s KivsFBankState_32s;
typedef struct KivsDCTLifterState_32f KivsDCTLifterState_32f;
typedef struct KivsDCTLifterState_16s KivsDCTLifterState_16s;
typedef struct KivsCdbkState_32f KivsCdbkState_32f;
typedef struct KivsCdbkState_16s KivsCdbkState_16s;
typedef struct KivsVADState_Aurora KivsVADState_Aurora;
typedef struct KivsMCRAState_32f KivsMCRAState_32f;
typedef struct KivsMCRAState_32s KivsMCRAState_32s;

/** @} */

KIVSR_BEGIN_DECLS

/** Infinities and quiet NaN, written as the special results of warnings. From libkivcore. */
extern KIVSR_API const Kiv32f kivConstantOfINF_32f;
extern KIVSR_API const Kiv32f kivConstantOfINF_NEG_32f;
extern KIVSR_API const Kiv32f kivConstantOfNAN_32f;
extern KIVSR_API const Kiv64f kivConstantOfINF_64f;
extern KIVSR_API const Kiv64f kivConstantOfINF_NEG_64f;
extern KIVSR_API const Kiv64f kivConstantOfNAN_64f;

KIVSR_END_DECLS

#endif
