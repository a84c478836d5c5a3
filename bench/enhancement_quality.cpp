// How close noise suppression brings noisy speech at 8 kHz to the clean recording: the methods of `kivsr enhance`
// beside the preprocessor of speexdsp, by segmental signal-to-noise ratio and log-spectral distance.
//   enhancement_quality RECORDING...
#include <speex/speex_preprocess.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/audio_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/noise_mixer.h"
#include "kivsr/speech/noise/enhancer.h"
#include "kivsr/speech/noise/segmental_snr.h"

namespace kivsr::speech {
namespace {

constexpr int kRate = 8000;
constexpr std::size_t kFrame = 256;  // of the log spectra, half overlapping
constexpr double kSpeech = 1e-4;     // of the loudest frame's energy: quieter frames do not count
const std::filesystem::path kNoise = "/usr/share/sounds/alsa/Noise.wav";

using Samples = std::vector<float>;

double energy(std::span<const float> samples) {
  double sum = 0.0;
  call<kivsDotProd_32f64f>(samples, samples, length, &sum);
  return sum;
}

// Power spectra in dB, bins 1 .. 127, over a floor far below audible noise.
class LogSpectrum {
 public:
  LogSpectrum() {
    for (std::size_t n = 0; n < kFrame; ++n)
      window_.push_back(static_cast<float>(0.5 - 0.5 * std::cos(2 * M_PI * (static_cast<double>(n) + 0.5) / kFrame)));
  }

  std::vector<double> of(const float* samples) const {
    Samples frame(kFrame);
    call<kivsMul_32f>(samples, window_, frame, kFrame);
    call<kivsFFTFwd_RToPack_32f>(frame, frame, fft_, nullptr);
    std::vector<double> decibels;
    for (std::size_t k = 1; k + 1 < kFrame; k += 2)
      decibels.push_back(10 * std::log10(double{frame[k]} * frame[k] + double{frame[k + 1]} * frame[k + 1] + 1e3));
    return decibels;
  }

 private:
  Fft32f fft_ = Fft32f::make<kivsFFTInitAlloc_R_32f>(8, kivFftScaleNone, 0);
  Samples window_;
};

// The mean over frames with speech of the root mean square difference of the log spectra.
double log_spectral_distance(const Samples& clean, const Samples& signal, const LogSpectrum& spectrum) {
  double loudest = 0.0;
  for (std::size_t n = 0; n + kFrame <= clean.size(); n += kFrame / 2)
    loudest = std::max(loudest, energy(std::span(clean).subspan(n, kFrame)));
  double sum = 0.0;
  int count = 0;
  for (std::size_t n = 0; n + kFrame <= clean.size(); n += kFrame / 2) {
    if (energy(std::span(clean).subspan(n, kFrame)) < kSpeech * loudest) continue;
    const auto a = spectrum.of(clean.data() + n);
    const auto b = spectrum.of(signal.data() + n);
    double square = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k) square += (a[k] - b[k]) * (a[k] - b[k]);
    sum += std::sqrt(square / static_cast<double>(a.size()));
    ++count;
  }
  return count == 0 ? NAN : sum / count;
}

// Blocks of 20 ms with the settings that it starts with; its output is one block late.
Samples speex_preprocessor(const Samples& noisy) {
  constexpr std::size_t kBlock = 160;
  SpeexPreprocessState* const state = speex_preprocess_state_init(kBlock, kRate);
  std::vector<spx_int16_t> block(kBlock);
  Samples result;
  for (std::size_t n = 0; n < noisy.size() + kBlock; n += kBlock) {
    for (std::size_t i = 0; i < kBlock; ++i)
      block[i] = n + i < noisy.size()
                     ? static_cast<spx_int16_t>(std::clamp(std::nearbyint(noisy[n + i]), -32768.0F, 32767.0F))
                     : spx_int16_t{0};
    speex_preprocess_run(state, block.data());
    if (n > 0) result.insert(result.end(), block.begin(), block.end());
  }
  speex_preprocess_state_destroy(state);
  result.resize(noisy.size());
  return result;
}

Samples processed(const std::string& method, const Samples& noisy) {
  if (method == "none") return noisy;
  if (method == "speexdsp") return speex_preprocessor(noisy);
  return make_enhancer(method, kRate)->run(noisy);
}

Samples mixed(const Audio& clean, const Samples& noise, double decibels, std::uint32_t seed) {
  AudioChannels audio;
  audio.channels = {clean.samples};
  audio.sample_rate = kRate;
  const std::size_t count = clean.samples.size();
  mix_noise(audio, noise.empty() ? white_noise(count, seed) : repeated_noise(noise, count, seed), decibels);
  return audio.channels[0];
}

void run(const std::vector<std::string>& files) {
  std::vector<Audio> recordings;
  for (const std::string& file : files) recordings.push_back(read_audio_at(file, kRate));
  std::vector<std::string> methods = {"none", "speexdsp"};
  const auto ours = enhancement_methods();
  methods.insert(methods.end(), ours.begin(), ours.end());
  std::printf("segmental SNR in dB / log-spectral distance in dB\n%-10s%5s", "noise", "SNR");
  for (const std::string& method : methods) std::printf("%16s", method.c_str());
  const LogSpectrum spectrum;
  for (const bool white : {true, false}) {
    const Samples noise = white ? Samples() : read_audio_at(kNoise, kRate).samples;
    for (const double decibels : {30.0, 20.0, 15.0, 10.0, 5.0, 0.0}) {
      std::printf("\n%-10s%5.0f", white ? "white" : "Noise.wav", decibels);
      for (const std::string& method : methods) {
        double ratio = 0.0;
        double distance = 0.0;
        for (std::size_t i = 0; i < recordings.size(); ++i) {
          const Samples& clean = recordings[i].samples;
          const Samples result =
              processed(method, mixed(recordings[i], noise, decibels, static_cast<std::uint32_t>(i + 1)));
          ratio += segmental_snr(clean, result, kRate);
          distance += log_spectral_distance(clean, result, spectrum);
        }
        const auto count = static_cast<double>(recordings.size());
        std::printf("   %6.2f /%6.2f", ratio / count, distance / count);
      }
    }
  }
  std::printf("\n");
}

}  // namespace
}  // namespace kivsr::speech

int main(int argc, char** argv) {
  try {
    kivsr::speech::run({argv + 1, argv + argc});
  } catch (const std::exception& fault) {
    std::fprintf(stderr, "enhancement_quality: %s\n", fault.what());
    return 2;
  }
  return 0;
}
