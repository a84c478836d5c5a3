/* Who speaks: scores vectors under the Gaussian mixtures of two speakers and names the likelier one, frame by frame and
 * over all. The models stand in the program, as a trainer would write them; the vectors are drawn from the first one.
 *
 *   cc mixture_scores.c $(pkg-config --cflags --libs kivsr) -lm -o mixture_scores && ./mixture_scores 200 */
#include <kivsr.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

enum { kWidth = 4, kGaussians = 3 };

struct Mixture {
  Kiv32f weight[kGaussians];
  Kiv32f mean[kGaussians][kWidth];
  Kiv32f variance[kGaussians][kWidth];
  Kiv32f inverse[kGaussians][kWidth]; /* what scoring reads: 1 / variance, */
  Kiv32f constant[kGaussians];        /* and ln weight - (sum of ln(2 pi variance)) / 2 */
};

static struct Mixture anna = {{0.5F, 0.3F, 0.2F},
                              {{1, 0, -2, 3}, {4, 1, 0, -1}, {-3, 2, 2, 0}},
                              {{1, 2, 1, 1}, {0.5F, 1, 1, 2}, {2, 1, 1, 1}},
                              {{0}},
                              {0}};
static struct Mixture otto = {{0.4F, 0.4F, 0.2F},
                              {{0, 1, -1, 2}, {3, 2, 1, -2}, {-2, 0, 3, 1}},
                              {{2, 1, 1, 1}, {1, 1, 0.5F, 2}, {1, 2, 1, 1}},
                              {{0}},
                              {0}};

static void check(KivStatus status) {
  if (status < 0) {
    fprintf(stderr, "mixture_scores: %s\n", kivStatusText(status));
    exit(2);
  }
}

static void prepare(struct Mixture* m) {
  int j, i;
  for (j = 0; j < kGaussians; ++j) {
    double constant = log(m->weight[j]);
    for (i = 0; i < kWidth; ++i) {
      m->inverse[j][i] = 1 / m->variance[j][i];
      constant -= 0.5 * log(6.283185307179586 * m->variance[j][i]);
    }
    m->constant[j] = (Kiv32f)constant;
  }
}

static double uniform(void) {
  static unsigned state = 1;
  state = state * 1664525U + 1013904223U;
  return ((state >> 8) + 0.5) / 16777216.0;
}

static Kiv32f score(const struct Mixture* m, const Kiv32f* x) {
  Kiv32f result;
  check(kivsLogGaussMixture_32f_D2(x, m->mean[0], m->inverse[0], kGaussians, kWidth, kWidth, m->constant, &result));
  return result;
}

int main(int argc, char** argv) {
  const int frames = argc > 1 ? atoi(argv[1]) : 100;
  double total[2] = {0, 0};
  int t, i, right = 0;
  prepare(&anna);
  prepare(&otto);
  for (t = 0; t < frames; ++t) {
    const double u = uniform();
    const int j = u < anna.weight[0] ? 0 : u < anna.weight[0] + anna.weight[1] ? 1 : 2;
    Kiv32f x[kWidth], a, o;
    for (i = 0; i < kWidth; ++i) { /* Box and Muller's normal deviate */
      const double deviate = sqrt(-2 * log(uniform())) * cos(6.283185307179586 * uniform());
      x[i] = (Kiv32f)(anna.mean[j][i] + sqrt(anna.variance[j][i]) * deviate);
    }
    a = score(&anna, x);
    o = score(&otto, x);
    printf("%d %.4f %.4f %s\n", t, a, o, a > o ? "anna" : "otto");
    total[0] += a;
    total[1] += o;
    right += a > o;
  }
  printf("anna %.4f, otto %.4f a frame: %s; %d of %d frames\n", total[0] / frames, total[1] / frames,
         total[0] > total[1] ? "anna" : "otto", right, frames);
  return 0;
}
