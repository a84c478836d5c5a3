// Normalised cross-correlation, least-squares periodicity and peaks beside plain loops and Eigen.
#include <Eigen/Core>
#include <cmath>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

// As a pitch tracker asks for: a window and all lags of 50 to 500 Hz at 16 kHz and beyond.
void cross_correlation(int len, int lags) {
  const std::string operation = "CrossCorrCoeffLag_32f:" + std::to_string(lags);
  const float* const x = array<float>(len + lags, [](int i) { return noise(i) - 0.5; });
  float* const r = array<float>(lags, [](int) { return 0; });
  measure(operation, "ours", len, [=] { kivsCrossCorrCoeffLag_32f(x, len, 1, lags, r); });
  const auto normalise = [=](auto products) {
    double first = 0;
    double energy = 0;
    for (int n = 0; n < len; ++n) first += double{x[n]} * x[n];
    for (int n = 0; n < len; ++n) energy += double{x[n + 1]} * x[n + 1];
    for (int k = 1; k <= lags; ++k) {
      r[k - 1] = static_cast<float>(products(k) / std::sqrt(first * energy));
      if (k < lags) energy += double{x[k + len]} * x[k + len] - double{x[k]} * x[k];
    }
  };
  measure(operation, "loop", len, [=] {
    normalise([=](int k) {
      float sum = 0;
#pragma omp simd reduction(+ : sum)
      for (int n = 0; n < len; ++n) sum += x[n] * x[n + k];
      return sum;
    });
  });
  measure(operation, "Eigen", len, [=] {
    using Map = Eigen::Map<const Eigen::VectorXf>;
    normalise([=](int k) { return Map(x, len).dot(Map(x + k, len)); });
  });
}

void least_squares(int len, int low, int high) {
  const float* const x = array<float>(len, [](int i) { return noise(i) - 0.5; });
  float* const r = array<float>(1, [](int) { return 0; });
  int* const best = array<int>(1, [](int) { return 0; });
  measure("PeriodicityLSPE_32f", "ours", len, [=] { kivsPeriodicityLSPE_32f(x, len, r, best, low, high); });
  measure("PeriodicityLSPE_32f", "loop", len, [=] {
    double energy = 0;
    for (int n = 0; n < len; ++n) energy += double{x[n]} * x[n];
    double most = -1;
    for (int p = low; p <= high; ++p) {
      double i0 = 0;
      double i1 = 0;
      for (int i = 0; i < p; ++i) {
        double sum = 0;
        double squares = 0;
        int count = 0;
        for (int n = i; n < len; n += p, ++count) {
          sum += x[n];
          squares += double{x[n]} * x[n];
        }
        i0 += sum * sum / count;
        i1 += squares / count;
      }
      const double value = (i0 - i1) / (energy - i1);
      if (value > most) {
        most = value;
        *best = p;
      }
    }
    *r = static_cast<float>(most);
  });
}

void peaks(int len, int reach, int average) {
  const float* const x = array<float>(len, [](int i) { return noise(i); });
  Kiv8u* const flags = array<Kiv8u>(len, [](int) { return 0; });
  measure("FindPeaks_32f8u", "ours", len, [=] { kivsFindPeaks_32f8u(x, flags, len, reach, average); });
  measure("FindPeaks_32f8u", "loop", len, [=] {
    for (int i = 0; i < len; ++i) {
      bool peak = true;
      double sum = 0;
      for (int j = std::max(0, i - reach); j <= std::min(len - 1, i + reach) && peak; ++j) {
        peak = j < i ? x[i] > x[j] : x[i] >= x[j];
      }
      for (int j = std::max(0, i - average); j <= std::min(len - 1, i + average) && peak; ++j) sum += x[j];
      flags[i] = peak && (2 * average + 1) * double{x[i]} > sum ? 1 : 0;
    }
  });
}

void marks(int len, int frames) {
  const Kiv32s* const places = array<Kiv32s>(len, [](int i) { return 140 * i + 20 * noise(i); });
  float* const f0 = array<float>(frames, [](int) { return 0; });
  measure("PitchmarkToF0_32s32f", "ours", frames,
          [=] { kivsPitchmarkToF0_32s32f(places, len, f0, frames, 160, 16000.0F, 400); });
  measure("PitchmarkToF0_32s32f", "loop", frames, [=] {
    for (int t = 0; t < frames; ++t) {
      const Kiv32s* const behind = std::upper_bound(places, places + len, 160 * t);
      const bool between = behind > places && behind < places + len;
      const int period = between ? behind[0] - behind[-1] : 0;
      f0[t] = period > 0 && period <= 400 ? 16000.0F / static_cast<float>(period) : 0.0F;
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kivsr::bench::cross_correlation(120, 268);
  kivsr::bench::cross_correlation(240, 400);
  kivsr::bench::cross_correlation(1600, 1600);
  kivsr::bench::least_squares(320, 20, 160);
  kivsr::bench::peaks(10000, 8, 20);
  kivsr::bench::marks(1000, 850);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
