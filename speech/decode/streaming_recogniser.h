// Speech to words while it is said: push the samples of a signal as they come, and take the words of one stretch of
// speech after the other, each as soon as the pause behind it is long enough; the best guess is there at any time.
//
//   StreamingRecogniser recogniser(network, model, make_mixture_scorer(model), default_beams(model));
//   recogniser.on_partial = [&](const std::vector<HypothesisWord>& words) { ... };  // the best guess has changed
//   recogniser.on_final = [&](const FinalWords& words) { ... };
//   while (...) recogniser.push(block);
//   recogniser.finish();
//
// Memory does not grow with the signal. What comes out, and behind which sample, is the same however the signal is cut
// into blocks. Next: speech_gate.h for what is searched at all, running_normaliser.h for the mean, which runs along.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/viterbi_search.h"
#include "kivsr/speech/front/feature_chain.h"
#include "kivsr/speech/front/running_normaliser.h"
#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/noise/speech_gate.h"

namespace kivsr::speech {

struct StreamingRules {
  double pause = 0.15;         // s of silence behind words that end them, where the sentence may end
  double longest_pause = 1.0;  // s, the same where it may not
  double new_sentence = 0.5;   // s of silence behind which nothing depends on the words before
  double longest = 30.0;       // s of speech that go without an end; from the half on a shorter pause will do
  bool running_mean = true;    // instead of that of each stretch of speech
  int mean_frames = 500;       // its memory
  bool keep_rows = false;      // FinalWords has the rows
};

// Words between two pauses, and maybe what else the search knows of them.
struct FinalWords {
  Hypothesis hypothesis;  // frames from 0; silence and noise included
  double start = 0.0;     // s from the start of the signal, of frame 0
  FeatureMatrix rows;     // of the features, if they are kept
};

class StreamingRecogniser {
 public:
  // The network and the model have to outlive it. recipe: that of the model, or one like it; where it takes the mean of
  // an utterance out, a mean that runs along is taken out instead, from one utterance to the next. What else in it
  // needs the whole utterance (Recipe::needs_whole_utterance) makes everything wait until the detector hears no
  // speech; then there are no partial results.
  StreamingRecogniser(const SearchNetwork& network, const AcousticModel& model, std::unique_ptr<Scorer> scorer,
                      const Beams& beams, const Recipe& recipe, const StreamingRules& rules = {});
  StreamingRecogniser(const SearchNetwork& network, const AcousticModel& model, std::unique_ptr<Scorer> scorer,
                      const Beams& beams)
      : StreamingRecogniser(network, model, std::move(scorer), beams, model.recipe) {}
  StreamingRecogniser(const StreamingRecogniser&) = delete;
  StreamingRecogniser& operator=(const StreamingRecogniser&) = delete;

  // ViterbiSearch::record_lattice.
  void record_lattice(float beam) { search_.record_lattice(beam); }

  std::function<void(const std::vector<HypothesisWord>& words)> on_partial;
  std::function<void(FinalWords&& words)> on_final;

  // Samples at the recipe's rate.
  void push(std::span<const float> samples);
  // The best guess about what was said since the last final words; silence and noise included.
  std::vector<HypothesisWord> partial() const { return search_.best_path().words; }
  // The signal ends, what was heard becomes final, and a new signal may begin; the running mean goes on.
  void finish();
  // Forgets the signal and the mean.
  void reset();

  const Recipe& recipe() const { return chain_.recipe(); }
  Scorer& scorer() { return *scorer_; }
  // s from the start of the signal to what was heard last, and to the frame that partial() begins with.
  double heard() const { return static_cast<double>(gate_.heard()) / rate_; }
  double start() const;

 private:
  void act(SpeechGate::Event event, std::span<const float> samples);
  GateRules gate_rules() const;
  void follow_statics();
  void normalise(FeatureMatrix& statics);
  void follow(const FeatureMatrix& rows);
  bool has_words(std::span<const HypothesisWord> words) const;
  bool ends_here(const BestPath& path, bool words) const;
  void tell_partial(const BestPath& path);
  void push_row(std::span<const float> row);
  void drop_faint(FinalWords& words) const;
  void end();
  void start_segment();
  void start_segment_with(int frames);

  const SearchNetwork& network_;
  std::unique_ptr<Scorer> scorer_;
  StreamingRules rules_;
  RunningNormalisation normalisation_;
  FeatureChain chain_;
  ViterbiSearch search_;
  SpeechGate gate_;
  SpeechGate::Taker taker_;
  RowTaker row_taker_;
  double rate_;
  double frame_seconds_;
  std::int64_t gate_frames_ = 0;  // since the gate opened
  std::int64_t first_frame_ = 0;  // of them, of the segment
  double shut_at_ = 0.0;          // s heard when the gate shut last
  std::vector<int> told_;         // labels of the words that were told last
  FeatureMatrix rows_;            // of the segment, if they are kept
  FeatureMatrix recent_;          // the last ones
};

}  // namespace kivsr::speech
