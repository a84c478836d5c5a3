/* MCRA noise estimation. */
#ifndef KIVSR_NOISE_MCRA_H
#define KIVSR_NOISE_MCRA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup mcra MCRA noise estimation
 *
 * Noise power by minima-controlled recursive averaging (I. Cohen, B. Berdugo: Noise estimation by minima controlled
 * recursive averaging for robust speech enhancement, 2002), without a detector of speech: per bin, speech is taken to
 * be present where the smoothed power exceeds five times its minimum over about a second.
 *
 *   S = as S + (1 - as) pPower;  Smin = min(Smin, S), over windows of L frames
 *   p = ap p + (S > 5 Smin ? 1 - ap : 0);  a = ad + (1 - ad) p;  pNoise = a pNoise + (1 - a) pPower
 *
 * The smoothing factors follow the hop, so that time constants are the same at every frame rate: ad = 0.7^T, ap =
 * 0.2^T, as = 0.8^T, T = 125 hop / sampleRate, the hop in units of 8 ms. Any window and transform will do, powers in
 * any unit; what counts is that every frame is fed, one hop after the other, and that the hop told to Init is the real
 * one:
 *
 * | initialised by | hop          | window L                            | at 16 kHz, fftLen 512 |
 * |----------------|--------------|-------------------------------------|-----------------------|
 * | Init           | fftLen/2     | trunc((sampleRate * 0.008 / P) * 125)   | hop 256, L = 62   |
 * | AltInit        | the caller's | trunc((sampleRate * 0.008 / hop) * 125) | hop 160, L = 100  |
 *
 * P is the largest power of two not above fftLen/2.
 * Transforms that are no power of two want AltInit: with Init their window lasts up to two seconds. A step of the noise
 * is followed after at most two windows.
 *
 * | form | powers          | factors        | arithmetic                                                     |
 * |------|-----------------|----------------|----------------------------------------------------------------|
 * | 32f  | any unit        | single         | single precision, rounded after each operation: exact          |
 * | 32s  | 0 .. 2147483647 | units of 2^-31 | S in 64 bits, shifted by 31; p and noise in double, to nearest |
 *
 * @code{.c}
 * enum { kTransform = 256, kBins = kTransform / 2 + 1, kHop = 80 };
 * static Kiv64f block[600];  // doubles: aligned for pointers
 * KivsMCRAState_32f* tracker = (KivsMCRAState_32f*)block;
 * Kiv32f power[kBins], noise[kBins];
 * int size, frame, k;
 * assert(kivsGetSizeMCRA_32f(kTransform, &size) == kivStatusOk && size <= (int)sizeof block);
 * assert(kivsAltInitMCRA_32f(8000, kTransform, kHop, tracker) == kivStatusOk);
 * for (frame = 0; frame < 300; ++frame) {  // noise of 100 in every bin, a voice in bin 9 for half a second in three
 *   for (k = 0; k < kBins; ++k) power[k] = k == 9 && frame % 150 >= 100 ? 1e6F : 100.0F;
 *   assert(kivsUpdateNoisePSDMCRA_32f_I(power, tracker, noise) == kivStatusOk);
 * }
 * for (k = 0; k < kBins; ++k) assert(k == 9 ? noise[k] < 3e5F : fabs(noise[k] - 100) < 1e-2);
 * @endcode
 * @{ */

/** @name Size
 * @{ */
/** The size of the state, which the caller provides with the alignment of a pointer.
 * @param[in] fftLen points of the transform, 8 .. 8192
 * @param[out] pSize bytes
 * @return kivStatusNullPointer; kivStatusBadSize: fftLen */
KIVSR_API KivStatus kivsGetSizeMCRA_32f(int fftLen, int* pSize);
KIVSR_API KivStatus kivsGetSizeMCRA_32s(int fftLen, int* pSize);
/** @} */

/** @name Initialisation
 * @{ */
/** A tracker for frames that overlap by half: hop fftLen/2.
 * @param[in] sampleRate Hz, 8000 .. 48000
 * @param[in] fftLen points of the transform, 8 .. 8192
 * @param[out] pState GetSize bytes; one state serves one stream and the form that initialised it
 * @return kivStatusNullPointer; kivStatusOutOfRange: sampleRate; kivStatusBadSize: fftLen */
KIVSR_API KivStatus kivsInitMCRA_32f(int sampleRate, int fftLen, KivsMCRAState_32f* pState);
KIVSR_API KivStatus kivsInitMCRA_32s(int sampleRate, int fftLen, KivsMCRAState_32s* pState);
/** @} */

/** @name Initialisation with a hop
 * @{ */
/** A tracker for any frame advance.
 * @param[in] sampleRate Hz, 8000 .. 48000
 * @param[in] fftLen points of the transform, 8 .. 8192
 * @param[in] hop samples from one frame to the next, 1 .. fftLen/2
 * @param[out] pState GetSize bytes; one state serves one stream and the form that initialised it
 * @return kivStatusNullPointer; kivStatusOutOfRange: sampleRate or hop; kivStatusBadSize: fftLen */
KIVSR_API KivStatus kivsAltInitMCRA_32f(int sampleRate, int fftLen, int hop, KivsMCRAState_32f* pState);
KIVSR_API KivStatus kivsAltInitMCRA_32s(int sampleRate, int fftLen, int hop, KivsMCRAState_32s* pState);
/** @} */

/** @name Noise update
 * @{ */
/** Takes one frame. The first one initialises everything with its power: pNoise need not be set before it.
 * @param[in] pPower fftLen/2 + 1 powers, squared magnitudes of bins 0 .. fftLen/2
 * @param[in,out] pState an initialised state
 * @param[in,out] pNoise fftLen/2 + 1 powers: the estimate, kept by the caller from frame to frame; not pPower
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsUpdateNoisePSDMCRA_32f_I(const Kiv32f* pPower, KivsMCRAState_32f* pState, Kiv32f* pNoise);
KIVSR_API KivStatus kivsUpdateNoisePSDMCRA_32s_I(const Kiv32s* pPower, KivsMCRAState_32s* pState, Kiv32s* pNoise);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
