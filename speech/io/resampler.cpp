#include "kivsr/speech/io/resampler.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr float kPassBand = 0.925F;  // of the lower Nyquist frequency
constexpr float kStopBand = 130.0F;  // dB

Resampler32f make_state(int from_rate, int to_rate) {
  if (from_rate < 1 || to_rate < 1) throw Fault("a sampling rate must be above 0 Hz");
  try {
    return Resampler32f::make<kivsResamplePolyphaseInitAlloc_32f>(from_rate, to_rate, kPassBand, kStopBand);
  } catch (const Error& error) {
    if (error.status() != kivStatusBadArgument) throw;
    throw Fault("will not resample from " + std::to_string(from_rate) + " to " + std::to_string(to_rate) +
                " Hz: the ratio needs too many filters");
  }
}

// Appends what give(place, number) writes for `count` samples, or for the end of the signal.
template <class Give>
void append(const Resampler32f& state, std::size_t count, std::vector<float>& output, Give give) {
  int room = 0;
  call<kivsResamplePolyphaseGetDstLen_32f>(state, count, &room);
  const std::size_t before = output.size();
  // One more, so that there is a place to point to.
  output.resize(before + static_cast<std::size_t>(room) + 1);
  int given = 0;
  give(output.data() + before, &given);
  output.resize(before + static_cast<std::size_t>(given));
}

}  // namespace

Resampler::Resampler(int from_rate, int to_rate) : state_(make_state(from_rate, to_rate)) {}

void Resampler::push(std::span<const float> samples, std::vector<float>& output) {
  constexpr std::size_t kBlock = 1 << 16;  // bounds the room of a call
  while (!samples.empty()) {
    const auto block = samples.first(std::min(samples.size(), kBlock));
    samples = samples.subspan(block.size());
    append(state_, block.size(), output, [&](float* place, int* given) {
      call<kivsResamplePolyphase_32f>(block.data(), block.size(), place, given, state_);
    });
  }
}

void Resampler::finish(std::vector<float>& output) {
  append(state_, 0, output,
         [&](float* place, int* given) { call<kivsResamplePolyphaseFlush_32f>(place, given, state_); });
}

std::vector<float> resample(std::span<const float> samples, int from_rate, int to_rate) {
  Resampler resampler(from_rate, to_rate);
  std::vector<float> output;
  resampler.push(samples, output);
  resampler.finish(output);
  return output;
}

}  // namespace kivsr::speech
