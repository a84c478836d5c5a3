// Real DFT of composite lengths beside FFTW, measured plans; sizes are lengths.
#include <fftw3.h>

#include <algorithm>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

void transforms(int n) {
  KivsDFTSpec_R_32f* spec = nullptr;
  int buffer_size = 0;
  kivsDFTInitAlloc_R_32f(&spec, n, kivFftScaleNone, 0);
  kivsDFTGetBufSize_R_32f(spec, &buffer_size);
  Kiv8u* const buffer = array<Kiv8u>(buffer_size, [](int) { return 0; });
  float* const samples = array<float>(n, [](int i) { return noise(i) - 0.5; });
  float* const ccs = array<float>(n + 2, [](int) { return 0; });
  float* const back = array<float>(n, [](int) { return 0; });
  kivsDFTFwd_RToCCS_32f(samples, ccs, spec, buffer);

  auto* const bins = reinterpret_cast<fftwf_complex*>(array<float>(n + 2, [](int) { return 0; }));
  float* const real = array<float>(n, [](int) { return 0; });
  const fftwf_plan forward = fftwf_plan_dft_r2c_1d(n, real, bins, FFTW_MEASURE | FFTW_PRESERVE_INPUT);
  const fftwf_plan inverse = fftwf_plan_dft_c2r_1d(n, bins, real, FFTW_MEASURE | FFTW_DESTROY_INPUT);

  measure("DFTFwd_RToCCS_32f", "ours", n, [=] { kivsDFTFwd_RToCCS_32f(samples, ccs, spec, buffer); });
  measure("DFTFwd_RToCCS_32f", "FFTW", n, [=] { fftwf_execute_dft_r2c(forward, samples, bins); });
  // FFTW's inverse overwrites its input: bins of zero stay zero.
  auto* const silence = reinterpret_cast<fftwf_complex*>(array<float>(n + 2, [](int) { return 0; }));
  measure("DFTInv_CCSToR_32f", "ours", n, [=] { kivsDFTInv_CCSToR_32f(ccs, back, spec, buffer); });
  measure("DFTInv_CCSToR_32f", "FFTW", n, [=] { fftwf_execute_dft_c2r(inverse, silence, real); });
}

// Eight signals side by side; FFTW leaves the power to the caller.
void columns(int n) {
  constexpr int kColumns = 8;
  const int bins = n / 2 + 1;
  KivsDFTColumnsSpec_R_32f* spec = nullptr;
  int buffer_size = 0;
  kivsDFTColumnsInitAlloc_R_32f(&spec, n, kivFftScaleNone);
  kivsDFTColumnsGetBufSize_R_32f(spec, &buffer_size);
  Kiv8u* const buffer = array<Kiv8u>(buffer_size, [](int) { return 0; });
  float* const samples = array<float>(n * kColumns, [](int i) { return noise(i) - 0.5; });
  float* const power = array<float>(bins * kColumns, [](int) { return 0; });
  float* const real = array<float>(n * kColumns, [](int) { return 0; });
  auto* const spectra = reinterpret_cast<fftwf_complex*>(array<float>(2 * bins * kColumns, [](int) { return 0; }));
  const fftwf_plan plan = fftwf_plan_many_dft_r2c(1, &n, kColumns, real, nullptr, kColumns, 1, spectra, nullptr,
                                                  kColumns, 1, FFTW_MEASURE | FFTW_PRESERVE_INPUT);
  measure("DFTColumnsPower_R_32f", "ours", n,
          [=] { kivsDFTColumnsPower_R_32f(samples, power, kColumns, spec, buffer); });
  measure("DFTColumnsPower_R_32f", "FFTW", n, [=] {
    fftwf_execute_dft_r2c(plan, samples, spectra);
    for (int i = 0; i < bins * kColumns; ++i) {
      power[i] = spectra[i][0] * spectra[i][0] + spectra[i][1] * spectra[i][1];
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const int length : {160, 200, 240, 320, 400, 480, 512, 1000, 1024, 1536}) kivsr::bench::transforms(length);
  for (const int length : {200, 256, 400, 512, 1024, 2048}) kivsr::bench::columns(length);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
