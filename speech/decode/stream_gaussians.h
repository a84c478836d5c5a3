// The Gaussians of one stream of an acoustic model in the arithmetic that scores them. Next: mixture_scorer.h.
//
//   FloatArithmetic   single precision, the model's numbers as they are and where they are
//   DoubleArithmetic  double precision, the model's numbers widened
//   ShortArithmetic   features, means and inverse variances in 16 bits, scores in single precision
//
// 16 bits: feature i is multiplied by 2^p[i], the power of two that brings its standard deviation over the whole model
// (between and within Gaussians) into [1024, 2048), rounded and saturated; its range is then 16 to 32 standard
// deviations to either side. Means likewise. Inverse variances belong to features of that scale, so they are multiplied
// by 4^-p[i], and then by 2^q, one q for the stream, which brings the median of all into [256, 512); they are rounded
// and kept within 1 .. 32767. The scale factor q undoes 2^q in the score. Normalisers are computed from the rounded
// inverse variances, so that each density still has an integral of one. Rows are padded with zeros to whole groups of
// eight elements, the unit in which 16-bit scores are computed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "kivsr.h"
#include "kivsr/kivsr.hpp"
#include "kivsr/speech/models/acoustic_model.h"

namespace kivsr::speech {

struct FloatArithmetic {
  using Element = float;
  using Score = float;
  static constexpr auto rows = kivsLogGaussMaxMultiMix_32f_D2;
  static constexpr auto listed_rows = kivsLogGaussMaxMultiMix_32f_D2L;
  static constexpr auto log_sum = kivsLogSum_32f;
};
struct DoubleArithmetic {
  using Element = double;
  using Score = double;
  static constexpr auto rows = kivsLogGaussMaxMultiMix_64f_D2;
  static constexpr auto listed_rows = kivsLogGaussMaxMultiMix_64f_D2L;
  static constexpr auto log_sum = kivsLogSum_64f;
};
struct ShortArithmetic {
  using Element = std::int16_t;
  using Score = float;
  static constexpr auto rows = kivsLogGaussMaxMultiMix_Scaled_16s32f_D2;
  static constexpr auto listed_rows = kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L;
  static constexpr auto log_sum = kivsLogSum_32f;
};

// Log likelihoods below this are raised to it. It is far below any that matters, and high enough that with a log weight
// added it stays above the log zero of the library's log-sums, which are several times faster above it.
constexpr float kLowestLikelihood = -4.0e6F;
constexpr float kLowestLogWeight = -4.0e5F;
static_assert(kLowestLikelihood + kLowestLogWeight > static_cast<float>(kivLogZero));

template <class Arithmetic>
class StreamGaussians {
 public:
  using Element = typename Arithmetic::Element;
  using Score = typename Arithmetic::Score;

  // The model has to outlive them.
  StreamGaussians(const AcousticModel& model, const ModelStream& stream);
  StreamGaussians(StreamGaussians&&) noexcept = default;

  // Takes this stream's slice of a feature vector; the scores that follow are of it.
  void set_frame(std::span<const float> frame);
  // Log likelihoods under all Gaussians of a codebook, or under those of a list.
  void score(int codebook, Score* scores) const;
  void score(int codebook, std::span<const std::uint16_t> list, Score* scores);

  // Log weights of the Gaussians for a state.
  const Score* log_weights(int state) const {
    return numbers_.log_weights.data() + static_cast<std::size_t>(state) * count_;
  }

 private:
  // Numbers of the model, or a copy of them in another type.
  struct Numbers {
    std::span<const Element> means;
    std::span<const Element> inverse_variances;
    std::span<const Score> normalisers;
    std::span<const Score> log_weights;
  };
  struct Copies {
    std::vector<Element> means;
    std::vector<Element> inverse_variances;
    std::vector<Score> normalisers;
    std::vector<Score> log_weights;
  };

  void load(const ModelStream& stream);
  void load_log_weights(const std::vector<float>& log_weights);
  template <auto kFunction, class... Arguments>
  void run(Arguments... arguments) const {
    if constexpr (std::is_same_v<Element, std::int16_t>) {
      call<kFunction>(arguments..., scale_factor_);
    } else {
      call<kFunction>(arguments...);
    }
  }

  int offset_;
  int length_;         // of the slice
  int step_;           // elements of a row, padding included
  std::size_t count_;  // Gaussians of a codebook
  Numbers numbers_;
  Copies copies_;  // what numbers_ points to and the model does not have
  std::vector<Element> frame_;
  std::vector<float> feature_scales_;  // 16 bits: 2^p[i]
  std::vector<float> scaled_frame_;
  int scale_factor_ = 0;
  std::vector<const Element*> mean_rows_;  // of a list
  std::vector<const Element*> inverse_variance_rows_;
  std::vector<Score> listed_normalisers_;
};

}  // namespace kivsr::speech
