/* Noise reduction of ETSI ES 202 050 (clause 5.1) on a stream: 16-bit samples at 8 kHz on standard input, the same with
 * less noise on standard output, 40 ms late. Two Wiener filters in a row; the second one is gentler where speech is.
 *
 *   cc noise_reduction.c $(pkg-config --cflags --libs kivsr) -lm -o noise_reduction
 *   ./noise_reduction < noisy.raw > clean.raw */
#include <kivsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kFrame = 80, kWindow = 200, kTransform = 256, kBins = 65, kBands = 25, kTaps = 17 };
#define FLOOR 4.54e-5F /* of noise magnitudes: e^-10 in units of 16-bit samples */

struct Stage {
  int t;                      /* frames so far */
  Kiv32f samples[4 * kFrame]; /* the second frame is filtered */
  Kiv32f before[kBins], noise[kBins], clean[kBins];
};
static Kiv32f window[kWindow], cosines[kTaps / 2 + 1][kBands], energies[3];
static KivsFFTSpec_R_32f* fft;
static KivsFBankState_32f* bank;

static void check(KivStatus status) {
  if (status >= 0) return;
  fprintf(stderr, "noise_reduction: %s\n", kivStatusText(status));
  exit(2);
}

/* 1/t at first, so that the mean of what came is followed, then the share that is given. */
static double share(int t, int first, double later) { return t < first ? 1.0 / t : later; }

/* The inverse mel transform with its window (5.1.9): a band acts at its centre of gravity. */
static void prepare(void) {
  const double turn = 6.283185307179586;
  Kiv32f hertz[kBins], centre[kBands];
  int i, n;
  check(kivsFFTInitAlloc_R_32f(&fft, 8, kivFftScaleNone, 0));
  check(kivsMelFBankInitAllocLow_Aurora_32f(&bank));
  for (i = 0; i < kWindow; ++i) window[i] = (Kiv32f)(0.5 - 0.5 * cos(turn * (i + 0.5) / kWindow));
  for (i = 0; i < kBins; ++i) hertz[i] = 62.5F * (Kiv32f)i;
  check(kivsEvalFBank_32f(hertz, centre, bank));
  centre[0] = 0, centre[kBands - 1] = 4000;
  for (i = 0; i < kBands; ++i) {
    const double width = (centre[i < kBands - 1 ? i + 1 : i] - centre[i > 0 ? i - 1 : 0]) / 8000;
    for (n = 0; n <= kTaps / 2; ++n) {
      const double hann = 0.5 - 0.5 * cos(turn * (8 + n + 0.5) / kTaps);
      cosines[n][i] = (Kiv32f)(hann * width * cos(turn * n * centre[i] / 8000));
    }
  }
}

/* Whether a frame is speech to the noise estimate (5.1.6): its energy against a slow mean. */
static int is_speech(const Kiv32f* frame, int t) {
  static double mean = 0;
  static int loud = 0, hangover = 0;
  double energy = 64;
  int i;
  for (i = 0; i < kFrame; ++i) energy += frame[i] * frame[i];
  energy = 0.5 + 16 * log(energy / 64) / log(2.0);
  if (energy - mean < 20 || t < 10) mean = fmax(80, mean + share(t, 10, energy < mean ? 0.03 : 0.01) * (energy - mean));
  if (t > 4 && energy - mean > 15) return ++loud;
  if (loud > 4) hangover = 15;
  loud = 0;
  return hangover > 0 && hangover-- > 0;
}

/* How much of its gains the second stage applies (5.1.8): less where three frames of the first one stand out. */
static Kiv32f gain_share(const Kiv32f* noise, int t) {
  static double low = 0, result = 0.8;
  Kiv32f sum;
  double ratio;
  check(kivsSum_32f(noise, kBins, &sum, 0));
  ratio = energies[0] / sum * (energies[1] / sum) * (energies[2] / sum);
  ratio = ratio > 1e-5 ? 20.0 / 3 * log10(ratio) : -100.0 / 3;
  if (ratio - low < 10 || t < 10) low += share(t, 10, ratio < low ? 0.05 : 0.01) * (ratio - low);
  if (energies[2] > 100) result = ratio < low + 3.5 ? fmin(result + 0.15, 0.8) : fmax(result - 0.3, 0.1);
  return (Kiv32f)result;
}

/* Takes a frame, writes the frame of two before without its noise. */
static void run_stage(struct Stage* s, int second, const Kiv32f* in, Kiv32f* out) {
  Kiv32f spectrum[kTransform] = {0}, power[kBins], mean[kBins], noise[kBins], gains[kBins], bands[kBands], taps[kTaps];
  int i, n, speech;
  memmove(s->samples, s->samples + kFrame, 3 * kFrame * sizeof(Kiv32f));
  memcpy(s->samples + 3 * kFrame, in, kFrame * sizeof(Kiv32f));
  ++s->t;
  check(kivsMul_32f(s->samples + 60, window, spectrum, kWindow));
  check(kivsFFTFwd_RToPerm_32f(spectrum, spectrum, fft, NULL));
  check(kivsSmoothedPowerSpectrumAurora_32f(spectrum, power, kTransform));
  for (i = 0; i < kBins; ++i) mean[i] = (power[i] + s->before[i]) / 2;
  memcpy(s->before, power, sizeof power);
  /* The second stage follows powers in every frame, the first one magnitudes while nobody speaks (5.1.5). */
  check(kivsMul_32f(s->noise, s->noise, noise, kBins));
  if (second && s->t > 10) check(kivsNoiseSpectrumUpdate_Aurora_32f(mean, noise, noise, kBins));
  if (second && s->t <= 10) {
    for (i = 0; i < kBins; ++i) noise[i] += (mean[i] - noise[i]) / (Kiv32f)s->t;
  }
  speech = !second && is_speech(s->samples + kFrame, s->t);
  for (i = 0; i < kBins; ++i) {
    mean[i] = (Kiv32f)sqrt(mean[i]);
    if (second) s->noise[i] = (Kiv32f)sqrt(noise[i]);
    if (!second && !speech) s->noise[i] += (Kiv32f)share(s->t, 100, 0.01) * (mean[i] - s->noise[i]);
    if (s->noise[i] < FLOOR) s->noise[i] = FLOOR;
  }
  check(kivsWienerFilterDesign_Aurora_32f(mean, s->noise, s->clean, gains, kBins));
  for (i = 0; i < kBins; ++i) s->clean[i] = gains[i] * (Kiv32f)sqrt(power[i]);
  check(kivsEvalFBank_32f(gains, bands, bank));
  if (second) {
    const Kiv32f applied = gain_share(s->noise, s->t);
    for (i = 0; i < kBands; ++i) bands[i] = applied * bands[i] + 1 - applied;
  } else {
    memmove(energies, energies + 1, 2 * sizeof(Kiv32f));
    check(kivsSum_32f(s->clean, kBins, energies + 2, 0));
  }
  for (n = 0; n <= kTaps / 2; ++n) {
    check(kivsDotProd_32f(cosines[n], bands, kBands, taps + 8 + n));
    taps[8 - n] = taps[8 + n];
  }
  check(kivsResidualFilter_Aurora_32f(s->samples + kFrame - 8, out, taps));
}

int main(void) {
  static struct Stage first, second;
  Kiv16s samples[kFrame];
  Kiv32f frame[kFrame], before = 0, level = 0;
  int t, i;
  prepare();
  for (t = 1; fread(samples, sizeof samples, 1, stdin) == 1; ++t) {
    for (i = 0; i < kFrame; ++i) frame[i] = samples[i];
    if (t < 3) {
      memcpy(first.samples + (t + 1) * kFrame, frame, sizeof frame);
      continue;
    }
    run_stage(&first, 0, frame, frame);
    if (t < 5) {
      memcpy(second.samples + (t - 1) * kFrame, frame, sizeof frame);
      continue;
    }
    run_stage(&second, 1, frame, frame);
    for (i = 0; i < kFrame; ++i) { /* a slow high-pass takes the offset away (5.1.11) */
      level = frame[i] - before + 0.9990234375F * level;
      before = frame[i];
      samples[i] = (Kiv16s)fmax(-32768, fmin(32767, floor(level + 0.5)));
    }
    fwrite(samples, sizeof samples, 1, stdout);
  }
  check(kivsFBankFree_32f(bank));
  check(kivsFFTFree_R_32f(fft));
  return 0;
}
