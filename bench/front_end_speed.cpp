// The time of a frame of 10 ms: the advanced front end whole (preset etsi-afe) at 8 and 16 kHz, what of it enhances
// alone, and the noise suppression of speexdsp, in turns in one process, the least of many rounds.
//   front_end_speed
#include <speex/speex_preprocess.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/noise/aurora_enhancer.h"

namespace kivsr::speech {
namespace {

constexpr int kFrames = 200;
constexpr int kRounds = 500;

// Pulses of a voice that comes and goes, and noise.
std::vector<float> voice(int rate) {
  std::vector<float> samples;
  unsigned state = 1;
  for (int n = 0; n < kFrames * rate / 100; ++n) {
    state = state * 1664525U + 1013904223U;
    const double seconds = static_cast<double>(n) / rate;
    const double phase = std::fmod(seconds * 120.0, 1.0);
    const double pulse = std::exp(-30.0 * phase) * std::sin(2.0 * M_PI * 6.0 * phase);
    const double loudness = std::max(0.0, std::sin(2.0 * M_PI * 0.7 * seconds));
    samples.push_back(
        static_cast<float>(std::round(9000.0 * loudness * pulse + (state >> 8U) * 0x1p-24 * 200.0 - 100.0)));
  }
  return samples;
}

struct Contender {
  std::string name;
  std::function<void()> run;
  double nanoseconds = std::numeric_limits<double>::max();
};

void run() {
  const std::vector<float> narrow = voice(8000), wide = voice(16000);
  FeatureChain chain_8(preset("etsi-afe", 8000)), chain_16(preset("etsi-afe", 16000)), cepstra(preset("aurora"));
  AuroraEnhancer enhancer(8000);
  SpeexPreprocessState* const speex_8 = speex_preprocess_state_init(80, 8000);
  SpeexPreprocessState* const speex_16 = speex_preprocess_state_init(160, 16000);
  std::vector<spx_int16_t> block(160);
  const auto speex = [&](SpeexPreprocessState* state, const std::vector<float>& samples, std::size_t length) {
    for (std::size_t n = 0; n + length <= samples.size(); n += length) {
      for (std::size_t i = 0; i < length; ++i) block[i] = static_cast<spx_int16_t>(samples[n + i]);
      speex_preprocess_run(state, block.data());
    }
  };
  std::vector<Contender> contenders = {
      {"etsi-afe, 8 kHz", [&] { (void)chain_8.run(narrow); }},
      {"etsi-afe, 16 kHz", [&] { (void)chain_16.run(wide); }},
      {"enhance --method aurora, 8 kHz", [&] { (void)enhancer.run(narrow); }},
      {"aurora (cepstra alone), 8 kHz", [&] { (void)cepstra.run(narrow); }},
      {"speexdsp preprocess, 8 kHz", [&] { speex(speex_8, narrow, 80); }},
      {"speexdsp preprocess, 16 kHz", [&] { speex(speex_16, wide, 160); }},
  };
  for (int round = 0; round < kRounds; ++round) {
    for (Contender& contender : contenders) {
      const auto start = std::chrono::steady_clock::now();
      contender.run();
      const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
      contender.nanoseconds = std::min(contender.nanoseconds, time.count() / kFrames);
    }
  }
  speex_preprocess_state_destroy(speex_8);
  speex_preprocess_state_destroy(speex_16);
  const double peer = contenders[4].nanoseconds;
  for (const Contender& contender : contenders) {
    std::printf("%-32s %8.0f ns a frame  %5.2f of speexdsp at 8 kHz\n", contender.name.c_str(), contender.nanoseconds,
                contender.nanoseconds / peer);
  }
}

}  // namespace
}  // namespace kivsr::speech

int main() {
  try {
    kivsr::speech::run();
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "front_end_speed: %s\n", fault.what());
    return 2;
  }
  return 0;
}
