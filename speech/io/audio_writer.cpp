#include "kivsr/speech/io/audio_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <sndfile.h>

#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kIntegerUnit = 32768.0F;

struct CloseSound {
  void operator()(SNDFILE* sound) const { sf_close(sound); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;

int container(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  if (extension == ".wav") return SF_FORMAT_WAV;
  if (extension == ".flac") return SF_FORMAT_FLAC;
  throw Fault(file.string() + ": audio is written to names that end in .wav or .flac");
}

// The distance of neighbouring values of a sample format in units of a 16-bit integer; 0: left to the library.
float step_of(int sample_format) {
  switch (sample_format) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8: return 256.0F;
    case SF_FORMAT_PCM_16: return 1.0F;
    case SF_FORMAT_PCM_24: return 1.0F / 256.0F;
    default: return 0.0F;
  }
}

// libsndfile truncates where it clips: what it gets is rounded to nearest already.
float rounded(float sample, float step) { return step > 0.0F ? std::nearbyint(sample / step) * step : sample; }

}  // namespace

void check_audio_name(const std::filesystem::path& file) { container(file); }

void write_audio(OutputFile& file, const std::filesystem::path& name, const AudioChannels& audio) {
  SF_INFO info{};
  info.samplerate = audio.sample_rate;
  info.channels = static_cast<int>(audio.channels.size());
  for (const int sample_format : {audio.sample_format, static_cast<int>(SF_FORMAT_PCM_24)}) {
    info.format = container(name) | sample_format;
    if (sf_format_check(&info) != 0) break;
  }
  if (sf_format_check(&info) == 0) {
    throw Fault(name.string() + ": this format does not take " + std::to_string(info.channels) + " channels at " +
                std::to_string(info.samplerate) + " Hz");
  }
  const Sound sound(sf_open_fd(file.descriptor(), SFM_WRITE, &info, SF_FALSE));
  if (!sound) throw Fault(name.string() + ": cannot be written: " + sf_strerror(nullptr));
  sf_command(sound.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);

  const std::size_t channels = audio.channels.size();
  const std::size_t length = audio.channels.front().size();
  const float step = step_of(info.format & SF_FORMAT_SUBMASK);
  std::vector<float> block;
  constexpr std::size_t kFrames = 4096;
  for (std::size_t begin = 0; begin < length; begin += kFrames) {
    const std::size_t count = std::min(kFrames, length - begin);
    block.resize(count * channels);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      for (std::size_t i = 0; i < count; ++i) {
        block[i * channels + channel] = rounded(audio.channels[channel][begin + i], step) / kIntegerUnit;
      }
    }
    if (sf_writef_float(sound.get(), block.data(), static_cast<sf_count_t>(count)) != static_cast<sf_count_t>(count)) {
      throw Fault(name.string() + ": cannot be written: " + sf_strerror(sound.get()));
    }
  }
}

}  // namespace kivsr::speech
