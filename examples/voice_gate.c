/* A voice gate on a stream: 16-bit samples at 8 kHz on standard input, "from to" in seconds of every stretch of speech
 * on standard output, six frames of 10 ms late. First stage of the Wiener filter and detector of ETSI ES 202 050.
 *
 *   cc voice_gate.c $(pkg-config --cflags --libs kivsr) -lm -o voice_gate
 *   arecord -t raw -f S16_LE -r 8000 | ./voice_gate */
#include <kivsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kFrame = 80, kWindow = 200, kTransform = 256, kBins = 65, kBands = 25 };

static void check(KivStatus status) {
  if (status < 0) {
    fprintf(stderr, "voice_gate: %s\n", kivStatusText(status));
    exit(2);
  }
}

/* The detector of the noise estimate, clause 5.1.6: frame energy against its slow mean. Returns whether the frame is
 * speech; *loud counts the frames in a row that are above the threshold. */
static int energy_gate(const Kiv32f* frame, int t, int* loud) {
  static double mean = 0;
  static int hangover = 0;
  double sum = 64, energy;
  int i;
  for (i = 0; i < kFrame; ++i) sum += frame[i] * frame[i];
  energy = 0.5 + 16 * log(sum / 64) / log(2.0);
  if (energy - mean < 20 || t < 10) {
    mean += (t < 10 ? 1.0 / t : energy < mean ? 0.03 : 0.01) * (energy - mean);
    if (mean < 80) mean = 80;
  }
  if (t > 4 && energy - mean > 15) return ++*loud;
  if (*loud > 4) hangover = 15;
  *loud = 0;
  return hangover > 0 && hangover-- > 0;
}

/* Prints where speech begins and ends; the decision about `frame` begins at its first sample. */
static void report(int result, int frame) {
  static int speech = 0;
  if ((result == kivVadSpeech) != speech) printf(speech ? "%.2f\n" : "%.2f ", (frame - 1) * 0.01);
  speech = result == kivVadSpeech;
}

int main(void) {
  static Kiv32f samples[4 * kFrame], window[kWindow], spectrum[kTransform], power[kBins], before[kBins], mean[kBins];
  static Kiv32f noise[kBins], clean[kBins], gains[kBins], bands[kBands];
  static Kiv32s block[16];
  KivsVADState_Aurora* const vad = (KivsVADState_Aurora*)block;
  KivsFFTSpec_R_32f* fft;
  KivsFBankState_32f* bank;
  Kiv16s input[kFrame];
  int frame, t, i, result, loud = 0;

  check(kivsVADInit_Aurora_32f(vad));
  check(kivsFFTInitAlloc_R_32f(&fft, 8, kivFftScaleNone, 0));
  check(kivsMelFBankInitAllocLow_Aurora_32f(&bank));
  for (i = 0; i < kWindow; ++i) window[i] = (Kiv32f)(0.5 - 0.5 * cos(6.283185307179586 * (i + 0.5) / kWindow));
  for (i = 0; i < kBins; ++i) noise[i] = 4.54e-5F; /* e^-10 */

  for (frame = 1; fread(input, sizeof input, 1, stdin) == 1; ++frame) {
    memmove(samples, samples + kFrame, 3 * kFrame * sizeof *samples);
    for (i = 0; i < kFrame; ++i) samples[3 * kFrame + i] = input[i];
    t = frame - 2; /* the frame that is judged: the second of the four */
    if (t < 1) continue;
    memset(spectrum, 0, sizeof spectrum);
    check(kivsMul_32f(samples + 60, window, spectrum, kWindow));
    check(kivsFFTFwd_RToPerm_32f(spectrum, spectrum, fft, NULL));
    check(kivsSmoothedPowerSpectrumAurora_32f(spectrum, power, kTransform));
    for (i = 0; i < kBins; ++i) mean[i] = (Kiv32f)sqrt((power[i] + before[i]) / 2);
    memcpy(before, power, sizeof power);
    if (!energy_gate(samples + kFrame, t, &loud)) {
      const Kiv32f keep = t < 100 ? 1 - 1.0F / (Kiv32f)t : 0.99F;
      for (i = 0; i < kBins; ++i) noise[i] = (Kiv32f)fmax(keep * noise[i] + (1 - keep) * mean[i], 4.54e-5);
    }
    check(kivsWienerFilterDesign_Aurora_32f(mean, noise, clean, gains, kBins));
    for (i = 0; i < kBins; ++i) clean[i] = gains[i] * (Kiv32f)sqrt(power[i]);
    check(kivsEvalFBank_32f(gains, bands, bank));
    check(kivsVADDecision_Aurora_32f(bands, gains, loud, &result, vad));
    report(result, t - 6);
  }
  for (t = frame - 2; t < frame + 4; ++t) { /* the last six decisions */
    check(kivsVADFlush_Aurora_32f(&result, vad));
    report(result, t - 6);
  }
  report(kivVadNoSpeech, t - 6); /* the end of the input ends speech */
  check(kivsFBankFree_32f(bank));
  check(kivsFFTFree_R_32f(fft));
  return 0;
}
