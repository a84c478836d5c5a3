// Real FFT beside FFTW; sizes are orders.
#include <fftw3.h>

#include <algorithm>
#include <cmath>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

void transforms(int order) {
  const int n = 1 << order;
  KivsFFTSpec_R_32f* spec = nullptr;
  int buffer_size = 0;
  kivsFFTInitAlloc_R_32f(&spec, order, kivFftScaleNone, 0);
  kivsFFTGetBufSize_R_32f(spec, &buffer_size);
  Kiv8u* const buffer = array<Kiv8u>(buffer_size, [](int) { return 0; });
  float* const samples = array<float>(n, [](int i) { return noise(i) - 0.5; });
  float* const pack = array<float>(n, [](int) { return 0; });
  float* const ccs = array<float>(n + 2, [](int) { return 0; });
  float* const back = array<float>(n, [](int) { return 0; });
  kivsFFTFwd_RToPack_32f(samples, pack, spec, buffer);

  auto* const bins = reinterpret_cast<fftwf_complex*>(array<float>(n + 2, [](int) { return 0; }));
  float* const real = array<float>(n, [](int) { return 0; });
  const unsigned effort = order <= 16 ? FFTW_MEASURE : FFTW_ESTIMATE;
  const fftwf_plan forward = fftwf_plan_dft_r2c_1d(n, real, bins, effort | FFTW_PRESERVE_INPUT);
  const fftwf_plan inverse = fftwf_plan_dft_c2r_1d(n, bins, real, effort | FFTW_DESTROY_INPUT);
  std::copy_n(samples, n, real);

  measure("FFTFwd_RToPack_32f", "ours", order, [=] { kivsFFTFwd_RToPack_32f(samples, pack, spec, buffer); });
  measure("FFTFwd_RToPack_32f", "FFTW", order, [=] { fftwf_execute_dft_r2c(forward, samples, bins); });
  measure("FFTFwd_RToCCS_32f", "ours", order, [=] { kivsFFTFwd_RToCCS_32f(samples, ccs, spec, buffer); });
  measure("FFTFwd_RToCCS_32f", "FFTW", order, [=] { fftwf_execute_dft_r2c(forward, samples, bins); });
  // FFTW's inverse overwrites its input: bins of zero stay zero.
  auto* const silence = reinterpret_cast<fftwf_complex*>(array<float>(n + 2, [](int) { return 0; }));
  measure("FFTInv_PackToR_32f", "ours", order, [=] { kivsFFTInv_PackToR_32f(pack, back, spec, buffer); });
  measure("FFTInv_PackToR_32f", "FFTW", order, [=] { fftwf_execute_dft_c2r(inverse, silence, real); });

  KivsFFTSpec_R_16s32s* integer = nullptr;
  kivsFFTInitAlloc_R_16s32s(&integer, order, kivFftScaleNone, 0);
  int object_size = 0, initialisation_size = 0;
  kivsFFTGetSize_R_16s32s(order, kivFftScaleNone, 0, &object_size, &initialisation_size, &buffer_size);
  Kiv8u* const wide = array<Kiv8u>(buffer_size, [](int) { return 0; });
  const Kiv16s* const words = array<Kiv16s>(n, [](int i) { return 65535 * (noise(i) - 0.5); });
  Kiv32s* const spectrum = array<Kiv32s>(n + 2, [](int) { return 0; });
  measure("FFTFwd_RToCCS_16s32s_Sfs", "ours", order,
          [=] { kivsFFTFwd_RToCCS_16s32s_Sfs(words, spectrum, integer, wide, 0); });
  // Single precision, whose results are no longer the nearest integers.
  measure("FFTFwd_RToCCS_16s32s_Sfs", "FFTW single", order, [=] {
    for (int i = 0; i < n; ++i) real[i] = words[i];
    fftwf_execute_dft_r2c(forward, real, bins);
    const float* const values = &bins[0][0];
    for (int i = 0; i < n + 2; ++i) spectrum[i] = static_cast<Kiv32s>(std::nearbyint(values[i]));
  });

  float* const product = array<float>(n, [](int i) { return noise(i); });
  const float* const unit = array<float>(n, [](int i) { return i % 2 != 0 ? 1 : 0; });
  measure("MulPackConj_32f_I", "ours", order, [=] { kivsMulPackConj_32f_I(unit, product, n); });
  measure("MulPackConj_32f_I", "loop", order, [=] {
    for (int i = 1; i + 1 < n; i += 2) {
      const float re = unit[i] * product[i] + unit[i + 1] * product[i + 1];
      product[i + 1] = unit[i + 1] * product[i] - unit[i] * product[i + 1];
      product[i] = re;
    }
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const int order : {6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 18}) kivsr::bench::transforms(order);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
