// Everything that decides what the front end computes: the first part of a recipe (recipe.h).
// Next: front_end.h, which computes it.
#pragma once

#include <cstddef>

namespace kivsr::speech {

enum class FrontEndKind {
  kGeneral,  // windows, filters and transforms as the parameters say
  kEtsiAfe   // the advanced front end of ES 202 050 (advanced_front_end.h), which its standard fixes
};
// Where frames begin, and how many there are.
enum class Framing {
  kFromStart,  // at the first sample; an incomplete last one is filled with zeros or dropped
  kCovering,   // at the first sample, as many as it takes for the last sample to be in one
  kCentred,    // frame t around sample t shift
  kHalfShift   // frame t around sample (t + 1/2) shift
};
// What centred frames find beyond the first and the last sample.
enum class Edges {
  kZeros,
  kReflect,   // x(-n) = x(n)
  kSymmetric  // x(-n) = x(n - 1)
};
enum class OffsetRemoval { kNone, kAfterEmphasis, kBeforeEmphasis };
// Periodic: a period is as long as the window, not one sample less.
enum class Window {
  kHamming,
  kHann,
  kRectangular,
  kHammingPeriodic,
  kHannPeriodic,
  kPovey,  // Hann to the power 0.85
  kBlackman,
  kBlackmanPeriodic
};
enum class Spectrum { kPower, kMagnitude };
enum class Filters {
  kHertz,     // triangles that are straight lines over frequency
  kMel,       // triangles that are straight lines over mel, weights of at most 1
  kBins,      // triangles of whole FFT bins that start and end above zero, weights of at most 1
  kWholeBins  // straight lines between edges at the bins floor((N + 1) f / rate), weights of at most 1
};
enum class MelScale {
  kLogarithmic,  // multiplier * ln(1 + f / divisor)
  kSlaney        // linear below 1000 Hz, logarithmic above
};
enum class Logarithm {
  kNatural,
  kDecimal,
  kDecibel,  // 10 log10 of powers, 20 log10 of magnitudes
  kWhisper,  // (log10 + 4) / 4
  kNone
};
enum class Transform {
  kDct,     // orthonormal DCT-II
  kLegacy,  // first filter halved, c0 = sum / N, ck = sum of cos / N
  kHtk,     // sqrt(2 / N) for every coefficient, c0 included
  kPlain    // DCT-II without a factor
};
enum class LifterForm {
  kSine,           // 1 + (L / 2) sin(pi k / L) of ck
  kSineFromZeroth  // 1 + (L / 2) sin(pi (k + 1) / L), which c0 has part in
};
enum class Output {
  kCepstra,
  kLogMel,
  kLpcCepstra,
  kPlp  // cepstra of perceptual linear prediction (perceptual_prediction.h)
};
enum class ZerothCepstrum { kFirst, kLast, kNone };
// Whose energy the row holds.
enum class EnergyOf {
  kFrame,     // before pre-emphasis, without its offset where that is removed before
  kWindowed,  // as the transform gets it
  kSpectrum   // the sum of the power spectrum from 0 to half the rate
};

inline constexpr int kLongestFrame = 1 << 20;  // samples, of windows, shifts and transforms

struct FrontEndParameters {
  FrontEndKind kind = FrontEndKind::kGeneral;
  int sample_rate = 16000;   // Hz
  float input_scale = 1.0F;  // factor of samples in units of a 16-bit integer; 1 / 32768: the range -1 .. 1
  float dither = 0.0F;       // standard deviation of Gaussian noise that is added, in the unit of the scaled samples
  int dither_seed = 0;
  float pre_emphasis = 0.97F;   // y(n) = x(n) - a x(n-1)
  bool frame_emphasis = false;  // each frame by itself: its first sample becomes (1 - a) x
  int window_length = 410;      // samples
  int shift = 160;              // samples
  int fft_length = 512;         // at least window_length, without prime factors above 5
  Window window = Window::kHamming;
  OffsetRemoval remove_offset = OffsetRemoval::kNone;  // subtract the mean of each frame
  Framing framing = Framing::kFromStart;
  Edges edges = Edges::kZeros;
  bool pad_last_frame = true;  // keep the last frame where a shift (centred) or a window is incomplete
  Spectrum spectrum = Spectrum::kPower;
  float spectrum_scale = 1.0F;  // its factor
  Filters filters = Filters::kHertz;
  bool unit_area = true;      // hertz triangles: height 2 / (upper - lower edge), otherwise height 1
  bool round_filters = true;  // hertz triangles: edges moved to the nearest FFT bin
  int filter_count = 40;
  MelScale mel_scale = MelScale::kLogarithmic;
  float low_frequency = 133.33334F;    // Hz, not below 0
  float high_frequency = 6855.4976F;   // Hz, at most half the sampling rate
  float mel_multiplier = 1126.99402F;  // mel(f) = multiplier * ln(1 + f / divisor); 2595 / ln 10
  float mel_divisor = 700.0F;
  float log_floor = 0.0F;    // energies below it are raised to it
  float log_offset = 1e-4F;  // added to every energy before the logarithm
  Logarithm logarithm = Logarithm::kNatural;
  float dynamic_range = 0.0F;  // decibels below the largest value of the utterance, where values end; 0: nowhere
  Transform transform = Transform::kLegacy;
  int cepstrum_count = 13;  // c0 counted
  int lifter = 0;           // L of the sine lifter; 0: none
  LifterForm lifter_form = LifterForm::kSine;
  ZerothCepstrum zeroth = ZerothCepstrum::kFirst;
  Output output = Output::kCepstra;
  int prediction_order = 12;  // of linear prediction, and its cepstra c1, c2, ...
  bool energy = false;        // rows hold the natural logarithm of a sum of squares
  EnergyOf energy_of = EnergyOf::kFrame;
  bool energy_first = false;  // at their start, otherwise at their end
  float energy_floor = 0.0F;  // smaller sums are raised to it

  bool operator==(const FrontEndParameters&) const = default;

  // Values of one row.
  int row_width() const;
  int energy_column() const { return energy_first ? 0 : row_width() - 1; }
  // Whether rows hold c1, c2, ...; whether they hold c0 as well, and the columns of both.
  bool cepstral() const { return output != Output::kLogMel; }
  bool has_zeroth() const;
  int zeroth_column() const;
  int first_cepstrum_column() const;
  int cepstra_behind_zeroth() const;
  // Whether frames reach beyond the first and the last sample, and for those that do: how many samples the first one
  // reads before the first sample (below 0: it starts behind), and the frames of so many samples.
  bool beyond_edges() const { return framing == Framing::kCentred || framing == Framing::kHalfShift; }
  std::ptrdiff_t samples_before_first() const;
  std::ptrdiff_t frames_of(std::ptrdiff_t samples) const;
  double frame_seconds() const { return static_cast<double>(shift) / sample_rate; }
  // Throws Fault for values that contradict each other.
  void validate() const;
};

// Cepstra of the advanced front end at 8 kHz (ES 202 050, feature extraction) as the general front end computes them.
FrontEndParameters aurora_front_end();

// The advanced front end itself, at 8000 or 16000 Hz; its other parameters only describe it.
FrontEndParameters etsi_afe_front_end(int sample_rate);

}  // namespace kivsr::speech
