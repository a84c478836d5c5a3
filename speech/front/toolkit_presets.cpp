#include "kivsr/speech/front/toolkit_presets.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

constexpr float kUnitRange = 1.0F / 32768.0F;  // samples from -1 to 1
constexpr float kSmallestDecibel = 1e-10F;     // energy

// Windows of 25 ms every 10 ms, the transform as long as the next power of two, filters up to half the rate.
FrontEndParameters usual_frames(int rate, double rounding = 0.0) {
  FrontEndParameters parameters;
  parameters.sample_rate = rate;
  parameters.window_length = static_cast<int>(rate * 0.025 + rounding);
  parameters.shift = static_cast<int>(rate * 0.01 + rounding);
  parameters.fft_length = static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(parameters.window_length, 2))));
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kMel;
  parameters.high_frequency = 0.5F * static_cast<float>(rate);
  parameters.log_offset = 0.0F;
  parameters.lifter = 22;
  return parameters;
}

// Options of compute-mfcc-feats and its kin as they are by themselves, but without dither.
FrontEndParameters kaldi_frames(int rate) {
  FrontEndParameters parameters = usual_frames(rate);
  parameters.remove_offset = OffsetRemoval::kBeforeEmphasis;
  parameters.frame_emphasis = true;
  parameters.window = Window::kPovey;
  parameters.filter_count = 23;
  parameters.low_frequency = 20.0F;
  parameters.log_floor = std::numeric_limits<float>::epsilon();
  parameters.energy_floor = std::numeric_limits<float>::epsilon();
  parameters.energy_first = true;
  return parameters;
}

Recipe kaldi_mfcc(int rate) {
  FrontEndParameters parameters = kaldi_frames(rate);
  parameters.transform = Transform::kDct;
  parameters.zeroth = ZerothCepstrum::kNone;
  parameters.energy = true;
  return parameters;
}

Recipe kaldi_fbank(int rate) {
  FrontEndParameters parameters = kaldi_frames(rate);
  parameters.output = Output::kLogMel;
  return parameters;
}

Recipe kaldi_plp(int rate) {
  FrontEndParameters parameters = kaldi_frames(rate);
  parameters.output = Output::kPlp;
  parameters.zeroth = ZerothCepstrum::kNone;
  parameters.energy = true;
  parameters.log_floor = 0.0F;
  return parameters;
}

// Frames of torch.stft and of librosa.stft: centred, a periodic Hann window, no emphasis.
FrontEndParameters short_time_transform(int rate, int length, int shift, Edges edges) {
  FrontEndParameters parameters;
  parameters.sample_rate = rate;
  parameters.input_scale = kUnitRange;
  parameters.pre_emphasis = 0.0F;
  parameters.window_length = length;
  parameters.shift = shift;
  parameters.fft_length = length;
  parameters.window = Window::kHannPeriodic;
  parameters.framing = Framing::kCentred;
  parameters.edges = edges;
  parameters.round_filters = false;
  parameters.filter_count = 128;
  parameters.low_frequency = 0.0F;
  parameters.high_frequency = 0.5F * static_cast<float>(rate);
  parameters.log_offset = 0.0F;
  parameters.logarithm = Logarithm::kNone;
  parameters.output = Output::kLogMel;
  return parameters;
}

// Slaney's scale and triangles of equal area, as librosa has them by itself.
FrontEndParameters slaney_filters(FrontEndParameters parameters) {
  parameters.mel_scale = MelScale::kSlaney;
  parameters.unit_area = true;
  return parameters;
}

FrontEndParameters torchaudio_melspectrogram(int rate) {
  FrontEndParameters parameters = short_time_transform(rate, 400, 200, Edges::kReflect);
  parameters.unit_area = false;
  return parameters;
}

FrontEndParameters librosa_melspectrogram(int rate) {
  return slaney_filters(short_time_transform(rate, 2048, 512, Edges::kZeros));
}

Recipe cepstra_of_decibels(FrontEndParameters parameters, int count) {
  parameters.logarithm = Logarithm::kDecibel;
  parameters.log_floor = kSmallestDecibel;
  parameters.dynamic_range = 80.0F;
  parameters.output = Output::kCepstra;
  parameters.transform = Transform::kDct;
  parameters.cepstrum_count = count;
  return parameters;
}

Recipe whisper(int rate, int bands) {
  FrontEndParameters parameters = slaney_filters(short_time_transform(rate, 400, 160, Edges::kReflect));
  parameters.pad_last_frame = false;
  parameters.filter_count = bands;
  parameters.logarithm = Logarithm::kWhisper;
  parameters.log_floor = kSmallestDecibel;
  parameters.dynamic_range = 80.0F;
  return parameters;
}

// c1 .. c12 of 26 channels.
FrontEndParameters htk_frames(int rate) {
  FrontEndParameters parameters = usual_frames(rate);
  parameters.frame_emphasis = true;
  parameters.spectrum = Spectrum::kMagnitude;
  parameters.filter_count = 26;
  parameters.low_frequency = 0.0F;
  parameters.log_floor = 1.0F;
  parameters.transform = Transform::kHtk;
  parameters.zeroth = ZerothCepstrum::kNone;
  return parameters;
}

// The qualifiers of a kind, MFCC_0_D_A: "0DA".
std::string qualifiers_of(const std::string& kind) {
  std::string_view parts = kind;
  std::string_view part;
  take_part(parts, '_', part);
  if (part != "MFCC") throw Fault("target kind " + kind + ": only kinds of MFCC are mel cepstra");
  std::string qualifiers;
  while (take_part(parts, '_', part)) {
    if (part.size() != 1 || std::string_view("0EDATNZ").find(part) == std::string_view::npos) {
      throw Fault("target kind " + kind + ": '" + std::string(part) +
                  "' is none of the qualifiers 0, E, D, A, T, N and Z");
    }
    if (qualifiers.find(part) != std::string::npos) {
      throw Fault("target kind " + kind + ": " + std::string(part) + " is there twice");
    }
    qualifiers += part;
  }
  return qualifiers;
}

Recipe htk_mfcc(int rate, const std::string& kind) {
  const std::string qualifiers = qualifiers_of(kind);
  const auto has = [&](char qualifier) { return qualifiers.find(qualifier) != std::string::npos; };
  const auto need = [&](char qualifier, char other) {
    if (has(qualifier) && !has(other)) {
      throw Fault("target kind " + kind + ": there is no " + std::string(1, qualifier) + " without " + other);
    }
  };
  need('A', 'D');
  need('T', 'A');
  need('N', 'E');
  need('N', 'D');
  Recipe recipe = htk_frames(rate);
  if (has('0')) recipe.front_end.zeroth = ZerothCepstrum::kLast;
  recipe.front_end.energy = recipe.normalise_energy = has('E');
  if (has('D')) recipe.dynamics = Dynamics::kWin2;
  if (has('D')) recipe.derivatives = has('T') ? 3 : has('A') ? 2 : 1;
  recipe.drop_energy = has('N');
  if (has('Z')) recipe.normalisation = Normalisation::kMean;
  recipe.normalise_cepstra_only = has('Z') && has('E');
  return recipe;
}

Recipe python_speech_features(int rate) {
  FrontEndParameters parameters = usual_frames(rate, 0.5);
  parameters.window = Window::kRectangular;
  parameters.framing = Framing::kCovering;
  parameters.pad_last_frame = true;
  parameters.spectrum_scale = 1.0F / static_cast<float>(parameters.fft_length);
  parameters.filters = Filters::kWholeBins;
  parameters.filter_count = 26;
  parameters.low_frequency = 0.0F;
  parameters.log_floor = static_cast<float>(std::numeric_limits<double>::epsilon());
  parameters.transform = Transform::kDct;
  parameters.zeroth = ZerothCepstrum::kNone;
  parameters.energy = true;
  parameters.energy_of = EnergyOf::kSpectrum;
  parameters.energy_first = true;
  parameters.energy_floor = static_cast<float>(std::numeric_limits<double>::epsilon());
  return parameters;
}

// The configuration MFCC12_0_D_A.
Recipe opensmile_mfcc(int rate) {
  Recipe recipe = htk_frames(rate);
  recipe.front_end.spectrum = Spectrum::kPower;
  recipe.front_end.zeroth = ZerothCepstrum::kLast;
  recipe.dynamics = Dynamics::kWin2;
  return recipe;
}

struct Toolkit {
  const char* name;
  int rate;  // where the toolkit leaves the choice, 16 kHz
  Recipe (*make)(int rate);
};
constexpr int kUsualRate = 16000;
constexpr const char* kHtk = "htk-mfcc";
constexpr Toolkit kToolkits[] = {
    {"kaldi-mfcc", kUsualRate, kaldi_mfcc},
    {"kaldi-fbank", kUsualRate, kaldi_fbank},
    {"kaldi-plp", kUsualRate, kaldi_plp},
    {"torchaudio-mfcc", kUsualRate, [](int rate) { return cepstra_of_decibels(torchaudio_melspectrogram(rate), 40); }},
    {"torchaudio-melspectrogram", kUsualRate, [](int rate) { return Recipe(torchaudio_melspectrogram(rate)); }},
    {"librosa-mfcc", 22050, [](int rate) { return cepstra_of_decibels(librosa_melspectrogram(rate), 20); }},
    {"librosa-melspectrogram", 22050, [](int rate) { return Recipe(librosa_melspectrogram(rate)); }},
    {"whisper", kUsualRate, [](int rate) { return whisper(rate, 80); }},
    {"whisper-128", kUsualRate, [](int rate) { return whisper(rate, 128); }},
    {kHtk, kUsualRate, [](int rate) { return htk_mfcc(rate, "MFCC_0_D_A_Z"); }},
    {"python-speech-features", kUsualRate, python_speech_features},
    {"opensmile-mfcc", kUsualRate, opensmile_mfcc},
};

}  // namespace

std::optional<Recipe> toolkit_preset(const std::string& name, int sample_rate) {
  for (const Toolkit& toolkit : kToolkits) {
    if (name == toolkit.name) return toolkit.make(sample_rate > 0 ? sample_rate : toolkit.rate);
  }
  const std::string of_kind = std::string(kHtk) + ":";
  if (!name.starts_with(of_kind)) return std::nullopt;
  return htk_mfcc(sample_rate > 0 ? sample_rate : kUsualRate, name.substr(of_kind.size()));
}

std::vector<std::string> toolkit_preset_names() {
  std::vector<std::string> names;
  for (const Toolkit& toolkit : kToolkits) names.emplace_back(toolkit.name);
  return names;
}

}  // namespace kivsr::speech
