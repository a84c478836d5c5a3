#include "kivsr/speech/decode/mixture_scorer.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/decode/shortlist.h"
#include "kivsr/speech/decode/stream_gaussians.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

template <class Arithmetic>
class MixtureScorer : public Scorer {
 public:
  MixtureScorer(const AcousticModel& model, int shortlist)
      : model_(model),
        scored_(shortlist > 0 ? std::min(shortlist, model.densities) : model.densities),
        likelihoods_(static_cast<std::size_t>(model.codebooks) * model.streams.size() *
                     static_cast<std::size_t>(scored_)),
        evaluated_(static_cast<std::size_t>(model.codebooks), 0U),
        cells_(model.streams.size()) {
    for (const ModelStream& stream : model.streams) {
      streams_.emplace_back(model, stream);
      if (scored_ < model.densities) shortlists_.emplace_back(model, stream, scored_);
    }
  }

  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override;

 private:
  using Score = typename Arithmetic::Score;

  int codebook_of(int state) const { return model_.codebook_of_state[static_cast<std::size_t>(state)]; }
  Score* likelihoods(int codebook, std::size_t stream) {
    const std::size_t row = static_cast<std::size_t>(codebook) * streams_.size() + stream;
    return likelihoods_.data() + row * static_cast<std::size_t>(scored_);
  }
  void start_frame(std::span<const float> frame);
  void evaluate_codebook(int codebook);
  void sum_all(std::span<const int> states, std::span<float> scores);
  void sum_listed(std::span<const int> states, std::span<float> scores);

  const AcousticModel& model_;
  int scored_;  // Gaussians of each codebook and stream
  std::vector<StreamGaussians<Arithmetic>> streams_;
  std::vector<Shortlist> shortlists_;  // one a stream, none if all Gaussians are scored
  std::vector<Score> likelihoods_;     // [codebook][stream][Gaussian]
  std::vector<unsigned> evaluated_;    // frame in which each codebook was evaluated last
  std::vector<int> cells_;             // of the frame, one a stream
  std::vector<Score> weighted_;        // work area: log weights plus log likelihoods
  std::vector<Score> listed_likelihoods_;
  unsigned frame_ = 0;
};

template <class Arithmetic>
void MixtureScorer<Arithmetic>::start_frame(std::span<const float> frame) {
  for (StreamGaussians<Arithmetic>& stream : streams_) stream.set_frame(frame);
  for (std::size_t stream = 0; stream < shortlists_.size(); ++stream) cells_[stream] = shortlists_[stream].cell(frame);
  if (++frame_ == 0) {
    std::fill(evaluated_.begin(), evaluated_.end(), 0U);
    frame_ = 1;
  }
}

template <class Arithmetic>
void MixtureScorer<Arithmetic>::evaluate_codebook(int codebook) {
  for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
    if (shortlists_.empty()) {
      streams_[stream].score(codebook, likelihoods(codebook, stream));
    } else {
      streams_[stream].score(codebook, shortlists_[stream].list(cells_[stream], codebook),
                             likelihoods(codebook, stream));
    }
  }
}

// Every Gaussian of the codebook: the log-sum of a long row for each state and stream.
template <class Arithmetic>
void MixtureScorer<Arithmetic>::sum_all(std::span<const int> states, std::span<float> scores) {
  weighted_.resize(static_cast<std::size_t>(scored_));
  for (const int state : states) {
    Score total = 0;
    for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
      std::copy_n(streams_[stream].log_weights(state), weighted_.size(), weighted_.data());
      call<Arithmetic::add>(likelihoods(codebook_of(state), stream), weighted_, scored_);
      Score sum = 0;
      call<Arithmetic::log_sum>(weighted_, &sum, scored_);
      total += sum;
    }
    scores[static_cast<std::size_t>(state)] = static_cast<float>(total);
  }
}

// Few Gaussians: log-sums of short rows would cost more to set up than to compute, so the states and streams of the
// frame lie side by side and the listed Gaussians are added to all of them one after the other.
template <class Arithmetic>
void MixtureScorer<Arithmetic>::sum_listed(std::span<const int> states, std::span<float> scores) {
  const std::size_t columns = states.size() * streams_.size();
  const auto rows = static_cast<std::size_t>(scored_);
  weighted_.resize(rows * columns);
  listed_likelihoods_.resize(rows * columns);
  std::size_t column = 0;
  for (const int state : states) {
    for (std::size_t stream = 0; stream < streams_.size(); ++stream, ++column) {
      const Score* weights = streams_[stream].log_weights(state);
      const Score* likelihood = likelihoods(codebook_of(state), stream);
      const std::span<const std::uint16_t> list = shortlists_[stream].list(cells_[stream], codebook_of(state));
      for (std::size_t row = 0; row < rows; ++row) {
        weighted_[row * columns + column] = weights[list[row]];
        listed_likelihoods_[row * columns + column] = likelihood[row];
      }
    }
  }
  call<Arithmetic::add>(listed_likelihoods_, weighted_, length);
  for (std::size_t row = 1; row < rows; ++row) {
    call<Arithmetic::log_add>(&weighted_[row * columns], weighted_, columns, kivLogAddHintSp);
  }
  const Score* sum = weighted_.data();
  for (const int state : states) {
    Score total = 0;
    for (std::size_t stream = 0; stream < streams_.size(); ++stream) total += *sum++;
    scores[static_cast<std::size_t>(state)] = static_cast<float>(total);
  }
}

template <class Arithmetic>
void MixtureScorer<Arithmetic>::score(std::span<const float> frame, std::span<const int> states,
                                      std::span<float> scores) {
  if (static_cast<int>(frame.size()) != model_.dimension) {
    throw Fault("the features have another dimension than the model's Gaussians");
  }
  start_frame(frame);
  if (states.empty()) return;
  for (const int state : states) {
    unsigned& evaluated = evaluated_[static_cast<std::size_t>(codebook_of(state))];
    if (evaluated != frame_) evaluate_codebook(codebook_of(state));
    evaluated = frame_;
  }
  if (shortlists_.empty()) {
    sum_all(states, scores);
  } else {
    sum_listed(states, scores);
  }
}

}  // namespace

std::unique_ptr<Scorer> make_mixture_scorer(const AcousticModel& model, const ScorerOptions& options) {
  switch (options.arithmetic) {
    case ScoreArithmetic::kDoublePrecision:
      return std::make_unique<MixtureScorer<DoubleArithmetic>>(model, options.shortlist);
    case ScoreArithmetic::kSixteenBits:
      return std::make_unique<MixtureScorer<ShortArithmetic>>(model, options.shortlist);
    default: return std::make_unique<MixtureScorer<FloatArithmetic>>(model, options.shortlist);
  }
}

}  // namespace kivsr::speech
