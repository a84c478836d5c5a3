// One frame of log-mel energies and of MFCC beside the same chain of FFTW and Eigen.
#include <fftw3.h>

#include <Eigen/Core>
#include <cmath>
#include <numbers>
#include <vector>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

constexpr int kFrame = 512;
constexpr int kBins = kFrame / 2 + 1;
constexpr int kCepstra = 12;

// What our chain needs, and what the peers take from it: the same filters, the same transform.
struct FrontEnd {
  KivsFFTSpec_R_32f* fft = nullptr;
  Kiv8u* work = nullptr;
  KivsFBankState_32f* filters = nullptr;
  KivsDCTLifterState_32f* lifter = nullptr;
  const float* samples = array<float>(kFrame, [](int i) { return noise(i) - 0.5; });
  float* spectrum = array<float>(kFrame + 2, [](int) { return 0; });
  float* power = array<float>(kBins, [](int i) { return noise(i); });
  float* bands;
  float* cepstra = array<float>(kCepstra + 1, [](int) { return 0; });
  int band_count;

  explicit FrontEnd(int count) : bands(array<float>(count, [](int i) { return noise(i); })), band_count(count) {
    int bytes = 0;
    int order = 0;
    kivsFFTInitAlloc_R_32f(&fft, 9, kivFftScaleNone, 0);
    kivsFFTGetBufSize_R_32f(fft, &bytes);
    work = kivsMalloc_8u(bytes + 1);
    kivsMelFBankInitAlloc_32f(&filters, &order, kFrame, 16000, 64, 8000, count, 1127, 700, KIV_FBANK_MELWEIGHT);
    kivsDCTLifterInitAlloc_C0_32f(&lifter, count, kCepstra, 22, 1.0F);
  }
};

void log_mel(const FrontEnd& f) {
  kivsFFTFwd_RToCCS_32f(f.samples, f.spectrum, f.fft, f.work);
  kivsMagnitude_32fc(reinterpret_cast<const Kiv32fc*>(f.spectrum), f.power, kBins);
  kivsEvalFBank_32f(f.power, f.bands, f.filters);
  kivsLn_32f_I(f.bands, f.band_count);
}

struct PeerFrontEnd {
  fftwf_plan plan;
  float* samples;
  Eigen::Map<Eigen::ArrayXcf> spectrum;
  Eigen::ArrayXf magnitude{kBins};
  std::vector<Eigen::VectorXf> filters;  // each from its first bin
  std::vector<int> first;
  Eigen::VectorXf bands;
  Eigen::MatrixXf transform;
  Eigen::VectorXf cepstra{kCepstra + 1};

  explicit PeerFrontEnd(const FrontEnd& ours)
      : samples(array<float>(kFrame, [&](int i) { return ours.samples[i]; })),
        spectrum(reinterpret_cast<std::complex<float>*>(array<float>(kFrame + 2, [](int) { return 0; })), kBins),
        bands(ours.band_count),
        transform(kCepstra + 1, ours.band_count) {
    plan = fftwf_plan_dft_r2c_1d(kFrame, samples, reinterpret_cast<fftwf_complex*>(spectrum.data()), FFTW_PATIENT);
    std::vector<Kiv32s> c(static_cast<std::size_t>(ours.band_count) + 2);
    kivsFBankGetCenters_32f(ours.filters, c.data());
    for (std::size_t i = 1; i + 1 < c.size(); ++i) {
      Eigen::VectorXf weights(c[i + 1] - c[i - 1] + 1);
      kivsFBankGetCoeffs_32f(ours.filters, static_cast<int>(i), weights.data());
      filters.push_back(weights);
      first.push_back(c[i - 1]);
    }
    for (int k = 0; k <= kCepstra; ++k) {
      const double lifter = 1 + 11 * std::sin(std::numbers::pi * (k + 1) / 22);
      for (int n = 0; n < ours.band_count; ++n) {
        transform(k, n) = static_cast<float>(
            k == kCepstra ? 1.0 : lifter * std::cos(std::numbers::pi * (k + 1) * (n + 0.5) / ours.band_count));
      }
    }
  }

  void log_mel() {
    fftwf_execute(plan);
    magnitude = spectrum.abs2().sqrt();
    for (std::size_t i = 0; i < filters.size(); ++i) {
      bands[static_cast<Eigen::Index>(i)] = magnitude.segment(first[i], filters[i].size()).matrix().dot(filters[i]);
    }
    bands = bands.array().log().matrix();
  }
  void mfcc() {
    log_mel();
    cepstra.noalias() = transform * bands;
  }
};

void frames(int band_count) {
  const auto* const f = new FrontEnd(band_count);
  auto* const peer = new PeerFrontEnd(*f);
  measure("LogMel", "ours", band_count, [=] { log_mel(*f); });
  measure("LogMel", "FFTW+Eigen", band_count, [=] { peer->log_mel(); });
  measure("MFCC", "ours", band_count, [=] {
    log_mel(*f);
    kivsDCTLifter_32f(f->bands, f->cepstra, f->lifter);
  });
  measure("MFCC", "FFTW+Eigen", band_count, [=] { peer->mfcc(); });

  // The stages alone.
  measure("EvalFBank_32f", "ours", band_count, [=] { kivsEvalFBank_32f(f->power, f->bands, f->filters); });
  measure("EvalFBank_32f", "Eigen", band_count, [=] {
    for (std::size_t i = 0; i < peer->filters.size(); ++i) {
      peer->bands[static_cast<Eigen::Index>(i)] =
          peer->magnitude.segment(peer->first[i], peer->filters[i].size()).matrix().dot(peer->filters[i]);
    }
  });
  measure("DCTLifter_32f", "ours", band_count, [=] { kivsDCTLifter_32f(f->bands, f->cepstra, f->lifter); });
  measure("DCTLifter_32f", "Eigen", band_count, [=] { peer->cepstra.noalias() = peer->transform * peer->bands; });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  for (int bands : {23, 40}) kivsr::bench::frames(bands);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
