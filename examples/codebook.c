/* Trains a codebook by k-means and encodes vectors with it: a line for the book, then the index of each vector.
 * Reads vectors of WIDTH numbers from standard input, or makes 2000 around 16 centres when called without arguments.
 *
 *   cc codebook.c $(pkg-config --cflags --libs kivsr) -lm -o codebook && ./mfcc speech.wav | ./codebook 13 64 */
#include <kivsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

static void check(KivStatus status) {
  if (status != kivStatusOk) fprintf(stderr, "codebook: %s\n", kivStatusText(status));
  if (status < 0) exit(2); /* a warning, as of a smaller book, is no error */
}

/* Reproducible numbers around 0. */
static Kiv32f noise(void) {
  static unsigned state = 1;
  state = state * 1664525U + 1013904223U;
  return (Kiv32f)(state >> 8) / 8388608.0F - 1.0F;
}

int main(int argc, char** argv) {
  const int width = argc > 1 ? atoi(argv[1]) : 8, wanted = argc > 2 ? atoi(argv[2]) : 16;
  int height = 0, room = 2048, size, i;
  Kiv32f value, mean = 0, spread = 0, distortion = 0;
  Kiv32f* vectors = (Kiv32f*)malloc(sizeof(Kiv32f) * (size_t)(width > 0 ? width : 1) * (size_t)room);
  KivsCdbkState_32f* book;
  Kiv32s* indices;
  Kiv32f* distances;

  if (argc == 1) {
    for (height = 0; height < 2000; ++height) {
      for (i = 0; i < width; ++i) vectors[height * width + i] = 10 * (Kiv32f)(height % 16 >> i % 4 & 1) + noise();
    }
  } else {
    for (i = 0; width > 0 && scanf("%f", &value) == 1; ++i) {
      if (i == width * room) {
        room *= 2;
        vectors = (Kiv32f*)realloc(vectors, sizeof(Kiv32f) * (size_t)width * (size_t)room);
      }
      vectors[i] = value;
      height = (i + 1) / width;
    }
  }

  check(kivsCdbkInitAlloc_L2_32f(&book, vectors, width, width, height, wanted, kivCdbkSplitWidest));
  check(kivsGetCdbkSize_32f(book, &size));
  indices = kivsMalloc_32s(height);
  distances = kivsMalloc_32f(height);
  check(kivsVQDist_32f(vectors, width, indices, distances, height, book)); /* roots of squared distances */
  for (i = 0; i < width * height; ++i) mean += vectors[i] / (Kiv32f)(width * height);
  for (i = 0; i < width * height; ++i) spread += (vectors[i] - mean) * (vectors[i] - mean) / (Kiv32f)height;
  for (i = 0; i < height; ++i) distortion += distances[i] * distances[i] / (Kiv32f)height;
  printf("%d codewords for %d vectors: mean squared distance %.4f, %.1f dB below the spread\n", size, height,
         distortion, 10 * log10(spread / distortion));
  for (i = 0; i < height; ++i) printf("%d\n", indices[i]);

  kivsFree(distances);
  kivsFree(indices);
  check(kivsCdbkFree_32f(book));
  free(vectors);
  return 0;
}
