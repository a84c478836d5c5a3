// Everything that decides what the front end computes: the first part of a recipe (recipe.h).
// Next: front_end.h, which computes it.
#pragma once

namespace kivsr::speech {

enum class FrontEndKind {
  kGeneral,  // windows, filters and transforms as the parameters say
  kEtsiAfe   // the advanced front end of ES 202 050 (advanced_front_end.h), which its standard fixes
};
enum class Window { kHamming, kHann, kRectangular };
enum class Spectrum { kPower, kMagnitude };
enum class Filters {
  kHertz,  // triangles that are straight lines over frequency
  kMel,    // triangles that are straight lines over mel, weights of at most 1
  kBins    // triangles of whole FFT bins that start and end above zero, weights of at most 1
};
enum class Transform {
  kDct,     // orthonormal DCT-II
  kLegacy,  // first filter halved, c0 = sum / N, ck = sum of cos / N
  kHtk,     // sqrt(2 / N) for every coefficient, c0 included
  kPlain    // DCT-II without a factor
};
enum class Output { kCepstra, kLogMel, kLpcCepstra };
enum class ZerothCepstrum { kFirst, kLast, kNone };

inline constexpr int kLongestFrame = 1 << 20;  // samples, of windows, shifts and transforms

struct FrontEndParameters {
  FrontEndKind kind = FrontEndKind::kGeneral;
  int sample_rate = 16000;      // Hz
  float pre_emphasis = 0.97F;   // y(n) = x(n) - a x(n-1)
  bool frame_emphasis = false;  // each frame by itself: its first sample becomes (1 - a) x
  int window_length = 410;      // samples
  int shift = 160;              // samples
  int fft_length = 512;         // a power of two, at least window_length
  Window window = Window::kHamming;
  bool remove_offset = false;  // subtract the mean of each frame
  bool pad_last_frame = true;  // fill the last, incomplete frame with zeros; otherwise drop it
  Spectrum spectrum = Spectrum::kPower;
  Filters filters = Filters::kHertz;
  bool unit_area = true;      // hertz triangles: height 2 / (upper - lower edge), otherwise height 1
  bool round_filters = true;  // hertz triangles: edges moved to the nearest FFT bin
  int filter_count = 40;
  float low_frequency = 133.33334F;    // Hz, above 0
  float high_frequency = 6855.4976F;   // Hz, at most half the sampling rate
  float mel_multiplier = 1126.99402F;  // mel(f) = multiplier * ln(1 + f / divisor); 2595 / ln 10
  float mel_divisor = 700.0F;
  float log_floor = 0.0F;    // energies below it are raised to it
  float log_offset = 1e-4F;  // added to every energy before the logarithm
  Transform transform = Transform::kLegacy;
  int cepstrum_count = 13;  // c0 counted
  int lifter = 0;           // sine lifter 1 + (L / 2) sin(pi k / L); 0: none
  ZerothCepstrum zeroth = ZerothCepstrum::kFirst;
  Output output = Output::kCepstra;
  int prediction_order = 12;  // of linear prediction, and its cepstra c1, c2, ...
  bool energy = false;        // rows end with the logarithm of the sum of squares of the frame as it came

  bool operator==(const FrontEndParameters&) const = default;

  // Values of one row.
  int row_width() const;
  double frame_seconds() const { return static_cast<double>(shift) / sample_rate; }
  // Throws Fault for values that contradict each other.
  void validate() const;
};

// Cepstra of the advanced front end at 8 kHz (ES 202 050, feature extraction) as the general front end computes them.
FrontEndParameters aurora_front_end();

// The advanced front end itself, at 8000 or 16000 Hz; its other parameters only describe it.
FrontEndParameters etsi_afe_front_end(int sample_rate);

}  // namespace kivsr::speech
