#include "kivsr/speech/decode/mixture_scorer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/decode/likeliest_terms.h"
#include "kivsr/speech/decode/shortlist.h"
#include "kivsr/speech/decode/stream_gaussians.h"
#include "kivsr/speech/decode/tied_weights.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

// The Gaussians of all codebooks in one frame, each codebook scored when it is first asked for.
template <class Arithmetic>
class CodebookScores {
 public:
  using Score = typename Arithmetic::Score;

  CodebookScores(const AcousticModel& model, int shortlist)
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

  void start_frame(std::span<const float> frame) {
    if (static_cast<int>(frame.size()) != model_.dimension) {
      throw Fault("the features have another dimension than the model's Gaussians");
    }
    for (StreamGaussians<Arithmetic>& stream : streams_) stream.set_frame(frame);
    for (std::size_t stream = 0; stream < shortlists_.size(); ++stream) {
      cells_[stream] = shortlists_[stream].cell(frame);
    }
    if (++frame_ == 0) {
      std::fill(evaluated_.begin(), evaluated_.end(), 0U);
      frame_ = 1;
    }
  }

  // False if that was done in this frame before.
  bool evaluate(int codebook) {
    if (std::exchange(evaluated_[static_cast<std::size_t>(codebook)], frame_) == frame_) return false;
    for (std::size_t stream = 0; stream < streams_.size(); ++stream) {
      Score* const scores = row(codebook, stream);
      shortlists_.empty()
          ? streams_[stream].score(codebook, scores)
          : streams_[stream].score(codebook, shortlists_[stream].list(cells_[stream], codebook), scores);
    }
    return true;
  }

  std::size_t streams() const { return streams_.size(); }
  // Log likelihoods of the Gaussians that are scored.
  std::span<const Score> likelihoods(int codebook, std::size_t stream) {
    return {row(codebook, stream), static_cast<std::size_t>(scored_)};
  }
  // Which Gaussian of the codebook has the likelihood of that index.
  int gaussian(int codebook, std::size_t stream, std::size_t index) const {
    return shortlists_.empty() ? static_cast<int>(index) : shortlists_[stream].list(cells_[stream], codebook)[index];
  }
  const Score* log_weights(int state, std::size_t stream) const { return streams_[stream].log_weights(state); }

 private:
  Score* row(int codebook, std::size_t stream) {
    const std::size_t row = static_cast<std::size_t>(codebook) * streams_.size() + stream;
    return likelihoods_.data() + row * static_cast<std::size_t>(scored_);
  }

  const AcousticModel& model_;
  int scored_;  // Gaussians of each codebook and stream
  std::vector<StreamGaussians<Arithmetic>> streams_;
  std::vector<Shortlist> shortlists_;  // one a stream, none if all Gaussians are scored
  std::vector<Score> likelihoods_;     // [codebook][stream][Gaussian]
  std::vector<unsigned> evaluated_;    // frame in which each codebook was evaluated last
  std::vector<int> cells_;             // of the frame, one a stream
  unsigned frame_ = 0;
};

// Each state has a codebook of its own: a log-sum a state and stream.
template <class Arithmetic>
class ContinuousScorer : public Scorer {
 public:
  ContinuousScorer(const AcousticModel& model, int shortlist) : model_(model), codebooks_(model, shortlist) {}

  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override {
    using Score = typename Arithmetic::Score;
    codebooks_.start_frame(frame);
    for (const int state : states) {
      const int codebook = model_.codebook_of_state[static_cast<std::size_t>(state)];
      codebooks_.evaluate(codebook);
      Score total = 0;
      for (std::size_t stream = 0; stream < codebooks_.streams(); ++stream) {
        const auto likelihoods = codebooks_.likelihoods(codebook, stream);
        const Score* weights = codebooks_.log_weights(state, stream);
        weighted_.resize(likelihoods.size());
        for (std::size_t i = 0; i < weighted_.size(); ++i) {
          weighted_[i] = likelihoods[i] + weights[codebooks_.gaussian(codebook, stream, i)];
        }
        Score sum = 0;
        call<Arithmetic::log_sum>(weighted_, &sum, weighted_.size());
        total += sum;
      }
      scores[static_cast<std::size_t>(state)] = static_cast<float>(total);
    }
  }

 private:
  const AcousticModel& model_;
  CodebookScores<Arithmetic> codebooks_;
  std::vector<typename Arithmetic::Score> weighted_;  // work area: log weights plus log likelihoods
};

// States share codebooks: those of one are summed together, over the likeliest Gaussians alone. Their likelihoods are
// taken relative to the best one, so that sums of probabilities stay in range. No Gaussian counts as less likely than a
// floor below the likeliest one of its stream in all codebooks of the frame: far from everything that the model knows,
// likelihoods fall off by hundreds a frame, which says nothing about which state it was.
template <class Arithmetic>
class TiedScorer : public Scorer {
 public:
  TiedScorer(const AcousticModel& model, const ScorerOptions& options)
      : model_(model),
        codebooks_(model, options.shortlist),
        states_(model),
        top_(static_cast<std::size_t>(std::max(options.top, 0))),
        depth_(static_cast<Score>(options.depth)),
        bests_(model.streams.size()),
        terms_(static_cast<std::size_t>(model.codebooks) * model.streams.size()),
        asked_(static_cast<std::size_t>(model.codebooks)) {
    for (const ModelStream& stream : model.streams) weights_.emplace_back(model, stream, states_);
  }

  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override {
    codebooks_.start_frame(frame);
    wanted_.clear();
    std::fill(bests_.begin(), bests_.end(), std::numeric_limits<Score>::lowest());
    for (const int state : states) {
      const int codebook = model_.codebook_of_state[static_cast<std::size_t>(state)];
      std::vector<int>& asked = asked_[static_cast<std::size_t>(codebook)];
      if (codebooks_.evaluate(codebook)) {
        asked.clear();
        wanted_.push_back(codebook);
        for (std::size_t stream = 0; stream < bests_.size(); ++stream) {
          choose_terms(codebook, stream);
          bests_[stream] = std::max(bests_[stream], terms(codebook, stream).front().likelihood);
        }
      }
      asked.push_back(states_.places[static_cast<std::size_t>(state)]);
    }
    for (const int codebook : wanted_) sum_codebook(codebook, scores);
  }

 private:
  using Score = typename Arithmetic::Score;
  using Term = typename TiedWeights<Score>::Term;

  std::vector<Term>& terms(int codebook, std::size_t stream) {
    return terms_[static_cast<std::size_t>(codebook) * bests_.size() + stream];
  }

  // The likeliest Gaussians with their log likelihoods, the best one first.
  void choose_terms(int codebook, std::size_t stream) {
    std::vector<Term>& terms = this->terms(codebook, stream);
    const std::span<const Score> likelihoods = codebooks_.likelihoods(codebook, stream);
    if (top_ == 0 || top_ >= likelihoods.size()) {
      terms.clear();
      for (std::size_t i = 0; i < likelihoods.size(); ++i) {
        terms.push_back({codebooks_.gaussian(codebook, stream, i), likelihoods[i]});
        if (likelihoods[i] > terms.front().likelihood) std::swap(terms.front(), terms.back());
      }
      return;
    }
    terms.resize(top_);
    find_likeliest<Score>(likelihoods, terms);
    for (Term& term : terms) {
      term.gaussian = codebooks_.gaussian(codebook, stream, static_cast<std::size_t>(term.gaussian));
    }
  }

  static void take_logarithms(std::span<float> values) { call<kivsLn_32f_I>(values, values.size()); }
  static void take_logarithms(std::span<double> values) {
    for (double& value : values) value = std::log(value);
  }

  // A few states are summed one by one, many together with those beside them that nobody asked for.
  void sum_codebook(int codebook, std::span<float> scores) {
    constexpr std::size_t kSideBySide = 4;  // states that cost as much as one by itself
    const std::vector<int>& asked = asked_[static_cast<std::size_t>(codebook)];
    const std::size_t count = states_.count(codebook);
    const bool all = asked.size() * kSideBySide >= count;
    const int* const states = states_.states.data() + states_.starts[static_cast<std::size_t>(codebook)];
    sums_.resize(all ? count : asked.size());
    totals_.assign(asked.size(), 0.0F);
    for (std::size_t stream = 0; stream < weights_.size(); ++stream) {
      std::vector<Term>& terms = this->terms(codebook, stream);
      const Score least = depth_ > 0 ? bests_[stream] - depth_ : std::numeric_limits<Score>::lowest();
      const Score best = std::max(terms.front().likelihood, least);
      for (Term& term : terms) term.likelihood = std::exp(std::max(term.likelihood, least) - best);
      if (all) {
        weights_[stream].sum(codebook, terms, sums_);
      } else {
        weights_[stream].sum(codebook, terms, asked, sums_);
      }
      for (Score& sum : sums_) sum = std::max(sum, std::numeric_limits<Score>::min());
      take_logarithms(std::span(sums_));
      for (std::size_t i = 0; i < asked.size(); ++i) {
        const Score sum = sums_[all ? static_cast<std::size_t>(asked[i]) : i];
        totals_[i] += static_cast<float>(sum + best);
      }
    }
    for (std::size_t i = 0; i < asked.size(); ++i) {
      scores[static_cast<std::size_t>(states[asked[i]])] = totals_[i];
    }
  }

  const AcousticModel& model_;
  CodebookScores<Arithmetic> codebooks_;
  CodebookStates states_;
  std::size_t top_;
  Score depth_;
  std::vector<TiedWeights<Score>> weights_;  // [stream]
  std::vector<int> wanted_;                  // codebooks of the frame
  std::vector<Score> bests_;                 // [stream]: likeliest Gaussian of these codebooks
  std::vector<std::vector<Term>> terms_;     // [codebook][stream]
  std::vector<std::vector<int>> asked_;      // [codebook]: places of the states of the frame
  std::vector<Score> sums_;
  std::vector<float> totals_;  // work areas: sums of a codebook, of one stream and of all
};

template <class Arithmetic>
std::unique_ptr<Scorer> make_scorer(const AcousticModel& model, const ScorerOptions& options) {
  if (model.codebooks == static_cast<int>(model.codebook_of_state.size())) {
    return std::make_unique<ContinuousScorer<Arithmetic>>(model, options.shortlist);
  }
  return std::make_unique<TiedScorer<Arithmetic>>(model, options);
}

}  // namespace

std::unique_ptr<Scorer> make_mixture_scorer(const AcousticModel& model, const ScorerOptions& options) {
  switch (options.arithmetic) {
    case ScoreArithmetic::kDoublePrecision: return make_scorer<DoubleArithmetic>(model, options);
    case ScoreArithmetic::kSixteenBits: return make_scorer<ShortArithmetic>(model, options);
    default: return make_scorer<FloatArithmetic>(model, options);
  }
}

}  // namespace kivsr::speech
