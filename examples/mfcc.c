/* Mel cepstra of a WAV file, a line of thirteen numbers every 10 ms, C0 last. 16-bit mono files of any sample rate;
 * Hamming windows of 25 ms, 26 mel bands from 64 Hz to half the rate, lifter 22.
 *
 *   cc mfcc.c $(pkg-config --cflags --libs kivsr) -lm -o mfcc && ./mfcc speech.wav > speech.txt */
#include <kivsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kBands = 26, kCepstra = 12 };

static void fail(const char* reason) {
  fprintf(stderr, "mfcc: %s\n", reason);
  exit(2);
}

static void check(KivStatus status) {
  if (status < 0) fail(kivStatusText(status));
}

static unsigned little_endian(const unsigned char* p, int bytes) {
  return bytes == 0 ? 0 : p[0] | little_endian(p + 1, bytes - 1) << 8;
}

/* The samples behind the chunk "data"; walks over all chunks but "fmt ". */
static Kiv16s* read_wav(const char* path, int* count, int* rate) {
  unsigned char head[16];
  FILE* const file = fopen(path, "rb");
  if (file == NULL || fread(head, 1, 12, file) != 12 || memcmp(head, "RIFF", 4) != 0) fail("not a WAV file");
  for (*rate = 0; fread(head, 1, 8, file) == 8;) {
    const unsigned size = little_endian(head + 4, 4);
    if (memcmp(head, "data", 4) == 0 && *rate > 0) {
      Kiv16s* const samples = (Kiv16s*)malloc(size + 2);
      if (samples == NULL) fail("no memory");
      *count = (int)(fread(samples, 2, size / 2, file)); /* little-endian like every x86 */
      fclose(file);
      return samples;
    }
    if (memcmp(head, "fmt ", 4) == 0 && size >= 16) {
      if (fread(head, 1, 16, file) != 16 || little_endian(head, 4) != 0x10001 || little_endian(head + 14, 2) != 16) {
        fail("not 16-bit mono");
      }
      *rate = (int)little_endian(head + 4, 4);
      fseek(file, (long)(size - 16 + size % 2), SEEK_CUR);
    } else {
      fseek(file, (long)(size + size % 2), SEEK_CUR);
    }
  }
  fail("no samples");
  return NULL;
}

int main(int argc, char** argv) {
  static Kiv32f frame[8192], window[8192], bands[kBands], cepstra[kCepstra + 1];
  KivsFBankState_32f* bank;
  KivsDCTLifterState_32f* transform;
  int count, rate, order, start, i;
  Kiv16s* const samples = read_wav(argc > 1 ? argv[1] : "", &count, &rate);
  const int length = rate / 40, hop = rate / 100;
  if (length > 8192) fail("sample rate");

  check(kivsMelFBankInitAlloc_32f(&bank, &order, length, (Kiv32f)rate, 64, (Kiv32f)rate / 2, kBands, 2595, 700,
                                  KIV_FBANK_MELWEIGHT | KIV_FBANK_FFTINPUT));
  check(kivsDCTLifterInitAlloc_C0_32f(&transform, kBands, kCepstra, 22, 1));
  for (i = 0; i < length; ++i) window[i] = (Kiv32f)(0.54 - 0.46 * cos(6.283185307179586 * i / (length - 1)));
  for (start = 0; start + length <= count; start += hop) {
    memset(frame, 0, sizeof(Kiv32f) << order); /* the transform is longer than the window */
    for (i = 0; i < length; ++i) {
      const Kiv32f before = start + i > 0 ? samples[start + i - 1] : 0;
      frame[i] = window[i] * ((Kiv32f)samples[start + i] - 0.97F * before);
    }
    check(kivsEvalFBank_32f(frame, bands, bank));
    for (i = 0; i < kBands; ++i) bands[i] = bands[i] > 1 ? bands[i] : 1; /* silence: a logarithm of 0 */
    check(kivsLn_32f_I(bands, kBands));
    check(kivsDCTLifter_32f(bands, cepstra, transform));
    for (i = 0; i <= kCepstra; ++i) printf("%.4f%c", cepstra[i], i < kCepstra ? ' ' : '\n');
  }
  check(kivsDCTLifterFree_32f(transform));
  check(kivsFBankFree_32f(bank));
  free(samples);
  return 0;
}
