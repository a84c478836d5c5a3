#include "kivsr/speech/front/front_end_parameters.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <utility>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

namespace {

constexpr int kLongestFrame = 1 << 20;

FrontEndParameters sphinx_en_us() {
  FrontEndParameters parameters;
  parameters.filter_count = 25;
  parameters.low_frequency = 130.0F;
  parameters.high_frequency = 6800.0F;
  parameters.transform = Transform::kDct;
  parameters.lifter = 22;
  return parameters;
}

FrontEndParameters usual_mfcc() {
  FrontEndParameters parameters;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kMel;
  parameters.filter_count = 23;
  parameters.low_frequency = 20.0F;
  parameters.high_frequency = 8000.0F;
  parameters.transform = Transform::kDct;
  parameters.lifter = 22;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 1.0F;  // the energy of a signal far below one unit of a 16-bit sample
  return parameters;
}

// HTK's defaults with 26 filters: c1 .. c12 and log energy.
FrontEndParameters htk_like() {
  FrontEndParameters parameters;
  parameters.frame_emphasis = true;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.spectrum = Spectrum::kMagnitude;
  parameters.filters = Filters::kMel;
  parameters.filter_count = 26;
  parameters.low_frequency = 1e-3F;  // stands for 0 Hz
  parameters.high_frequency = 8000.0F;
  parameters.transform = Transform::kHtk;
  parameters.lifter = 22;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 1.0F;
  parameters.zeroth = ZerothCepstrum::kNone;
  parameters.energy = true;
  return parameters;
}

FrontEndParameters lpc_cepstrum() {
  FrontEndParameters parameters;
  parameters.window_length = 400;
  parameters.pad_last_frame = false;
  parameters.output = Output::kLpcCepstra;
  parameters.lifter = 22;
  return parameters;
}

// Cepstra of the ETSI advanced front end at 8 kHz (ES 202 050, feature extraction), without its noise reduction.
FrontEndParameters aurora() {
  FrontEndParameters parameters;
  parameters.sample_rate = 8000;
  parameters.pre_emphasis = 0.9F;
  parameters.window_length = 200;
  parameters.shift = 80;
  parameters.fft_length = 256;
  parameters.pad_last_frame = false;
  parameters.filters = Filters::kBins;
  parameters.filter_count = 23;
  parameters.low_frequency = 64.0F;
  parameters.high_frequency = 4000.0F;
  parameters.log_offset = 0.0F;
  parameters.log_floor = 4.539993e-5F;  // e^-10
  parameters.transform = Transform::kPlain;
  parameters.zeroth = ZerothCepstrum::kLast;
  parameters.energy = true;
  return parameters;
}

const std::vector<std::pair<std::string, std::function<FrontEndParameters()>>>& presets() {
  static const std::vector<std::pair<std::string, std::function<FrontEndParameters()>>> all = {
      {"sphinx-en-us", sphinx_en_us}, {"sphinx", [] { return FrontEndParameters(); }},
      {"mfcc", usual_mfcc},           {"htk-like", htk_like},
      {"lpc-cepstrum", lpc_cepstrum}, {"aurora", aurora}};
  return all;
}

// One entry of a feat.params file, with the fault that names it.
class Entry {
 public:
  Entry(const std::filesystem::path& file, const std::string& name, const std::string& value)
      : file_(file), name_(name), value_(value) {}

  double number() const {
    char* end = nullptr;
    const double result = std::strtod(value_.c_str(), &end);
    if (value_.empty() || *end != '\0' || !std::isfinite(result) || std::abs(result) > 1e9) fail("is not a number");
    return result;
  }
  int integer() const {
    const double result = number();
    if (result != std::floor(result)) fail("is not a whole number");
    return static_cast<int>(result);
  }
  bool yes() const {
    const char first = value_.empty() ? ' ' : value_[0];
    if (std::strchr("yYtT1", first) != nullptr) return true;
    if (std::strchr("nNfF0", first) != nullptr) return false;
    fail("is neither yes nor no");
  }
  Transform transform() const {
    if (value_ == "dct") return Transform::kDct;
    if (value_ == "legacy") return Transform::kLegacy;
    if (value_ == "htk") return Transform::kHtk;
    fail("is not dct, legacy or htk");
  }
  void accept_only(const std::string& offered) const {
    if (value_ != offered) fail("is not offered, only " + offered);
  }
  [[noreturn]] void fail(const std::string& what) const {
    throw Fault(file_.string() + ": -" + name_ + " " + value_ + ": " + what);
  }

 private:
  const std::filesystem::path& file_;
  const std::string& name_;
  const std::string& value_;
};

int next_power_of_two(int length) {
  int power = 1;
  while (power < length && power < kLongestFrame) power *= 2;
  return power;
}

}  // namespace

int FrontEndParameters::row_width() const {
  const int end = energy ? 1 : 0;
  if (output == Output::kLogMel) return filter_count + end;
  if (output == Output::kLpcCepstra) return prediction_order + end;
  return (zeroth == ZerothCepstrum::kNone ? cepstrum_count - 1 : cepstrum_count) + end;
}

void FrontEndParameters::validate() const {
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("front end: ") + message);
  };
  require(sample_rate > 0, "the sampling rate must be above 0 Hz");
  require(std::isfinite(pre_emphasis) && std::abs(pre_emphasis) <= 1.0F, "the pre-emphasis must lie between -1 and 1");
  require(window_length >= 1 && window_length <= kLongestFrame,
          "the window must be at least one sample and at most 2^20");
  require(shift >= 1 && shift <= kLongestFrame, "the shift must be at least one sample and at most 2^20");
  require(fft_length >= 2 && fft_length <= kLongestFrame && (fft_length & (fft_length - 1)) == 0,
          "the FFT length must be a power of two");
  require(fft_length >= window_length, "the FFT must be at least as long as the window");
  require(filter_count >= 1 && filter_count <= fft_length / 2,
          "the filters must be at least one and at most half the FFT length");
  require(low_frequency > 0.0F, "the lowest frequency must be above 0 Hz");
  require(high_frequency > low_frequency, "the highest frequency must be above the lowest");
  require(high_frequency <= 0.5F * static_cast<float>(sample_rate),
          "the highest frequency must be at most half the sampling rate");
  require(mel_multiplier > 0.0F && mel_divisor > 0.0F, "the constants of the mel scale must be above 0");
  require(log_floor >= 0.0F && std::isfinite(log_floor), "the floor of the logarithm must not be negative");
  require(log_offset >= 0.0F && std::isfinite(log_offset), "the offset of the logarithm must not be negative");
  require(cepstrum_count >= 1 && cepstrum_count <= filter_count,
          "the cepstra must be at least one and at most the filters");
  require(zeroth != ZerothCepstrum::kNone || cepstrum_count >= 2, "no cepstrum is left without the zeroth");
  require(lifter >= 0, "the lifter must not be negative");
  require(prediction_order >= 1 && prediction_order <= window_length,
          "the prediction order must be at least one and at most the window");
}

FrontEndParameters front_end_preset(const std::string& name) {
  std::string known;
  for (const auto& [preset, parameters] : presets()) {
    if (preset == name) return parameters();
    known += (known.empty() ? "" : ", ") + preset;
  }
  throw Fault("no preset '" + name + "' (there are " + known + ")");
}

std::vector<std::string> front_end_preset_names() {
  std::vector<std::string> names;
  for (const auto& preset : presets()) names.push_back(preset.first);
  return names;
}

ModelFeatureParameters read_feature_parameters(const std::filesystem::path& file) {
  std::ifstream stream(file);
  if (!stream || std::filesystem::is_directory(file)) {
    throw Fault(file.string() + ": cannot be read: " + std::strerror(errno));
  }
  ModelFeatureParameters result;
  std::string name;
  std::string value;
  while (stream >> name) {
    if (name.size() < 2 || name[0] != '-') throw Fault(file.string() + ": '" + name + "' is not the name of an entry");
    if (!(stream >> value)) throw Fault(file.string() + ": truncated: " + name + " has no value");
    result.entries[name.substr(1)] = value;
  }
  if (result.entries.empty()) throw Fault(file.string() + ": holds no entries");

  FrontEndParameters& to = result.front_end;
  double window_seconds = 0.025625;
  double frames_a_second = 100.0;
  int fft_length = 0;
  for (const auto& [key, text] : result.entries) {
    const Entry entry(file, key, text);
    if (key == "samprate") {
      to.sample_rate = static_cast<int>(std::lround(entry.number()));
    } else if (key == "alpha") {
      to.pre_emphasis = static_cast<float>(entry.number());
    } else if (key == "wlen") {
      window_seconds = entry.number();
    } else if (key == "frate") {
      frames_a_second = entry.number();
    } else if (key == "nfft") {
      fft_length = entry.integer();
    } else if (key == "nfilt") {
      to.filter_count = entry.integer();
    } else if (key == "lowerf") {
      to.low_frequency = static_cast<float>(entry.number());
    } else if (key == "upperf") {
      to.high_frequency = static_cast<float>(entry.number());
    } else if (key == "ncep") {
      to.cepstrum_count = entry.integer();
    } else if (key == "lifter") {
      to.lifter = entry.integer();
    } else if (key == "transform") {
      to.transform = entry.transform();
    } else if (key == "round_filters") {
      to.round_filters = entry.yes();
    } else if (key == "unit_area") {
      to.unit_area = entry.yes();
    } else if (key == "remove_dc") {
      to.remove_offset = entry.yes();
    } else if (key == "doublebw" || key == "varnorm") {
      entry.accept_only("no");
    } else if (key == "agc") {
      entry.accept_only("none");
    } else if (key == "warp_params") {
      entry.fail("frequency warping is not offered");
    }
  }
  const double shift = to.sample_rate / frames_a_second + 0.5;
  const double window = window_seconds * to.sample_rate + 0.5;
  if (!(shift >= 1.0 && shift < kLongestFrame && window >= 1.0 && window < kLongestFrame)) {
    throw Fault(file.string() + ": -wlen and -frate give no frames of a sensible length");
  }
  to.shift = static_cast<int>(shift);
  to.window_length = static_cast<int>(window);
  to.fft_length = fft_length > 0 ? fft_length : std::max(512, next_power_of_two(to.window_length));
  try {
    to.validate();
  } catch (const Fault& fault) {
    throw Fault(file.string() + ": " + fault.what());
  }
  return result;
}

}  // namespace kivsr::speech
