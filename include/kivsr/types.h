/* Element types and the few constants that every family shares. */
#ifndef KIVSR_TYPES_H
#define KIVSR_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "status.h"

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

/** @defgroup types Element types and constants
 *
 * Type codes in function names: 8u, 16s, 16u, 32s, 32u, 64s, 32f, 64f, 32fc, 32sc and 1u, a packed array of bits.
 * One code names source and destination, several name sources first, then the destination.
 * D2 after the codes is a matrix given by a base pointer and a row step counted in elements,
 * D2L one given by an array of row pointers. A matrix that is only read comes as const T* const*: C++ takes any T**,
 * C a const T** (a T** with a cast, as for every pointer to a pointer to const). Sfs is an integer result multiplied by
 * 2^-scaleFactor, I an operation in place.
 * @{ */

typedef uint8_t Kiv8u;   /**< code 8u */
typedef int16_t Kiv16s;  /**< code 16s */
typedef uint16_t Kiv16u; /**< code 16u */
typedef int32_t Kiv32s;  /**< code 32s */
typedef uint32_t Kiv32u; /**< code 32u */
typedef int64_t Kiv64s;  /**< code 64s */
typedef float Kiv32f;    /**< code 32f */
typedef double Kiv64f;   /**< code 64f */

/** A complex number, code 32fc. */
typedef struct Kiv32fc {
  Kiv32f re; /**< real part */
  Kiv32f im; /**< imaginary part */
} Kiv32fc;

/** A complex integer, code 32sc. */
typedef struct Kiv32sc {
  Kiv32s re; /**< real part */
  Kiv32s im; /**< imaginary part */
} Kiv32sc;

/** Rounding of float-to-integer conversions: 0 truncates, any other value rounds to nearest, ties to even. */
enum { kivRndZero = 0, kivRndNear = 1 };

/** How log-addition evaluates ln(1 + e^d). Other values are accepted and leave the data alone. */
typedef int KivLogAddHint;
enum {
  kivLogAddHintAc = 0, /**< double precision */
  kivLogAddHintSp = 1, /**< single precision */
  kivLogAddHintFpu = 2 /**< extended precision */
};

/** The logarithm that stands for probability zero, in every type of the log-domain functions. */
enum { kivLogZero = -4500000 };

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

/** Mode word of frames cut out of a signal: any of these, or 0. */
enum {
  KIV_FRAME_CENTRED = 1,        /**< the mean of a frame is taken out before the pre-emphasis */
  KIV_FRAME_CENTRED_BEHIND = 2, /**< the mean of a frame is taken out behind the pre-emphasis */
  KIV_FRAME_OWN_START = 4,      /**< the first sample of a frame is pre-emphasised with itself */
  KIV_FRAME_WINDOWED_ENERGY = 8 /**< the energy is that behind the window */
};

/** Mode word of the streaming delta functions. */
enum {
  KIV_DELTA_BEGIN = 1, /**< the block starts the utterance */
  KIV_DELTA_END = 2    /**< the block ends the utterance */
};

/** Result of a voice-activity decision. */
enum {
  kivVadSpeech = 1,   /**< somebody speaks */
  kivVadNoSpeech = 2, /**< nobody speaks */
  kivVadUndecided = 4 /**< no decision yet, or none left after the end of the input */
};

/** How a codebook is built and searched. */
typedef int KivCdbkHint;
enum {
  kivCdbkFullSearch = 1,  /**< the training vectors themselves, searched exhaustively */
  kivCdbkSplitWidest = 2, /**< trained; the cluster of the greatest spread is split next */
  kivCdbkSplitLargest = 3 /**< trained; the cluster of the most members is split next */
};

/** @name State objects
 * @{ */
/** The record of a state object; its size is a number of bytes that a function of its family reports. */
typedef struct KivsDFTColumnsSpec_R_32f KivsDFTColumnsSpec_R_32f;
typedef struct KivsDFTSpec_R_32f KivsDFTSpec_R_32f;
typedef struct KivsFFTSpec_R_32f KivsFFTSpec_R_32f;
typedef struct KivsFFTSpec_R_16s32s KivsFFTSpec_R_16s32s;
typedef struct KivsResampleState_32f KivsResampleState_32f;
typedef struct KivsResampleState_16s KivsResampleState_16s;
typedef struct KivsFBankState_32f KivsFBankState_32f;
typedef struct KivsFBankState_16s KivsFBankState_16s;
typedef struct KivsFBankState_32s KivsFBankState_32s;
typedef struct KivsDCTLifterState_32f KivsDCTLifterState_32f;
typedef struct KivsDCTLifterState_16s KivsDCTLifterState_16s;
typedef struct KivsCdbkState_32f KivsCdbkState_32f;
typedef struct KivsCdbkState_16s KivsCdbkState_16s;
typedef struct KivsVADState_Aurora KivsVADState_Aurora;
typedef struct KivsHighBandState_Aurora KivsHighBandState_Aurora;
typedef struct KivsMCRAState_32f KivsMCRAState_32f;
typedef struct KivsMCRAState_32s KivsMCRAState_32s;
/** @} */

KIVSR_BEGIN_DECLS

/** @name Special results
 * @{ */
/** Infinities and quiet NaN, written as the special results of warnings. From libkivcore. */
extern KIVSR_API const Kiv32f kivConstantOfINF_32f;
extern KIVSR_API const Kiv32f kivConstantOfINF_NEG_32f;
extern KIVSR_API const Kiv32f kivConstantOfNAN_32f;
extern KIVSR_API const Kiv64f kivConstantOfINF_64f;
extern KIVSR_API const Kiv64f kivConstantOfINF_NEG_64f;
extern KIVSR_API const Kiv64f kivConstantOfNAN_64f;
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
