// Resampling beside libsoxr, libsamplerate and speexdsp; a call takes a tenth of a second, sizes are the output rates.
#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>

#include <string>

#include "kivsr.h"
#include "side_by_side.h"

namespace kivsr::bench {
namespace {

void rates(int in, int out) {
  const std::string operation = "ResamplePolyphase_32f_from_" + std::to_string(in);
  const int count = in / 10;
  const int room = out / 10 + 20000;
  float* const src = array<float>(count, [](int i) { return noise(i) - 0.5; });
  float* const dst = array<float>(room, [](int) { return 0; });

  KivsResampleState_32f* state = nullptr;
  kivsResamplePolyphaseInitAlloc_32f(&state, in, out, 0.925F, 130.0F);
  measure(operation, "ours", out, [=] {
    int given = 0;
    kivsResamplePolyphase_32f(src, count, dst, &given, state);
  });

  // HQ: pass band 0.91 to 0.95, about 125 dB, as ours is set.
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
  const soxr_io_spec_t format = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
  const soxr_t soxr = soxr_create(in, out, 1, nullptr, &format, &quality, nullptr);
  measure(operation, "soxr HQ", out, [=] {
    std::size_t used = 0, given = 0;
    soxr_process(soxr, src, static_cast<std::size_t>(count), &used, dst, static_cast<std::size_t>(room), &given);
  });

  int error = 0;
  SRC_STATE* const src_state = src_new(SRC_SINC_FASTEST, 1, &error);
  measure(operation, "libsamplerate fastest", out, [=] {
    SRC_DATA data{src, dst, count, room, 0, 0, 0, static_cast<double>(out) / in};
    src_process(src_state, &data);
  });

  SpeexResamplerState* const speex =
      speex_resampler_init(1, static_cast<unsigned>(in), static_cast<unsigned>(out), 5, &error);
  measure(operation, "speexdsp 5", out, [=] {
    unsigned used = static_cast<unsigned>(count), given = static_cast<unsigned>(room);
    speex_resampler_process_float(speex, 0, src, &used, dst, &given);
  });
}

}  // namespace
}  // namespace kivsr::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  constexpr int kRates[][2] = {{44100, 16000}, {48000, 16000}, {16000, 8000}, {11025, 8000},
                               {16000, 44100}, {16000, 48000}, {8000, 16000}};
  for (const auto& [in, out] : kRates) kivsr::bench::rates(in, out);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
