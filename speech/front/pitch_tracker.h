// Fundamental frequency and voicing, frame by frame: peaks of the normalised cross-correlation around each frame (D.
// Talkin, "A robust algorithm for pitch tracking (RAPT)", in Speech Coding and Synthesis, 1995), the best path through
// them by the costs of P. Boersma ("Accurate short-term analysis of the fundamental frequency", IFA Proceedings 17,
// 1993), and the probability of voicing of P. Ghahremani et al. ("A pitch extraction algorithm tuned for automatic
// speech recognition", ICASSP 2014).
//
// Peaks are sought in a signal of about 8 kHz below 1.5 kHz, where noise does least, in windows of 30 ms before and
// behind the frame; the peak of the path is then looked for again close by in windows of 50 ms of the samples as they
// came, and the contour is smoothed over 40 ms on either side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "kivsr/speech/front/pitch_smoother.h"

namespace kivsr::speech {

struct PitchParameters {
  int sample_rate = 16000;  // 8000 or more
  int shift = 160;          // samples from frame to frame
  int first = 0;            // sample that frame 0 stands at
  float low_frequency = 60.0F;
  float high_frequency = 500.0F;

  // Costs in units of correlation.
  float voicing_threshold = 0.45F;  // correlation of a frame that is as likely voiced as not
  float silence_threshold = 0.09F;  // frames below so much of the maximum around them tend to be unvoiced
  float octave_cost = 0.09F;        // against lower candidates, an octave
  float jump_cost = 0.8F;           // of a change by an octave from frame to frame (10 ms)
  float transition_cost = 0.35F;    // from voiced to unvoiced or back

  // Throws Fault for values that contradict each other.
  void validate() const;
};

// One signal after the other: push its samples as they come, then finish, which leaves the tracker ready for the next.
// The frames are the same bits however the input is cut. There is one for every shift samples, the last at or before
// the last sample; those that a push completes lie delay() samples and more before its end.
class PitchTracker {
 public:
  explicit PitchTracker(const PitchParameters& parameters);

  int delay() const;
  void push(std::span<const float> samples, std::vector<PitchFrame>& frames);
  void finish(std::vector<PitchFrame>& frames);
  std::vector<PitchFrame> run(std::span<const float> samples);

 private:
  // Moving means over an odd number of samples, one behind the other.
  class LowPass {
   public:
    explicit LowPass(int length) : length_(length) { reset(); }
    int delay() const;
    void reset();
    // Each sample becomes the one that stands delay() before it, smoothed.
    void smooth(std::span<float> samples);

   private:
    int length_;
    std::vector<float> history_;  // the last samples, and behind them those of a call
    std::vector<float> sums_[2];
  };
  // A signal less its centred mean over an odd number of samples.
  class Trend {
   public:
    explicit Trend(int length) : half_(length / 2) { reset(); }
    int delay() const { return half_; }
    void reset();
    // Each sample becomes the one that stands delay() before it, less the mean around that one.
    void remove(std::span<float> samples);

   private:
    int half_;
    double sum_;
    std::vector<float> history_;
  };
  // The end of a signal, of which the front is dropped when it is not needed any more.
  class Tail {
   public:
    void append(float sample) { samples_.push_back(sample); }
    void append(std::span<const float> samples) { samples_.insert(samples_.end(), samples.begin(), samples.end()); }
    std::int64_t end() const { return begin_ + static_cast<std::int64_t>(samples_.size()); }
    void drop_before(std::int64_t position);
    // So many samples, zeros where the signal is not; they may stand in `room`, until the signal changes.
    std::span<const float> span(std::int64_t from, std::size_t count, std::vector<float>& room) const;
    void reset();

   private:
    std::int64_t begin_ = 0;
    std::vector<float> samples_;
  };
  struct Candidate {
    float lag;  // in samples of the search; 0: unvoiced
    float correlation;
    float log_frequency;  // to the base 2
    float strength;
    float cost;  // of the best path that ends here
    int before;  // candidate of the frame before
  };
  struct Frame {
    float peak = 0.0F;  // of the magnitude in the window
    float best = 0.0F;  // correlation of the best lag
    std::vector<Candidate> candidates;
  };

  void take(std::span<const float> samples);
  void advance(std::int64_t frames_in_all, bool last, std::vector<PitchFrame>& result);
  void analyse(std::int64_t frame);
  std::span<const float> correlate(std::int64_t centre);
  void find_candidates(Frame& frame) const;
  void join_multiples(Frame& frame) const;
  float correlation_near(float lag) const;
  void connect(std::size_t index);
  void emit(std::size_t behind, std::vector<PitchFrame>& result);
  PitchFrame result_of(std::int64_t frame, const Candidate& candidate, float best);
  float refined_lag(std::int64_t centre, float lag);
  std::int64_t sample_of(std::int64_t frame) const;

  PitchParameters parameters_;
  int factor_;  // samples to one of the search
  int low_lag_;
  int high_lag_;
  int search_window_;
  int fine_window_;
  LowPass low_pass_;
  Trend trend_;
  PitchSmoother smoother_;

  std::int64_t received_ = 0;  // samples
  std::int64_t smoothed_ = 0;  // of them through the low pass
  std::int64_t thinned_ = 0;   // samples of the search through all filters
  Tail samples_;
  Tail search_;
  std::int64_t first_frame_ = 0;  // number of frames_[0]
  std::deque<Frame> frames_;      // not emitted yet
  std::size_t connected_ = 0;     // of these
  float level_ = 0.0F;            // maximum around the last connected frame
  std::vector<float> block_;
  std::vector<float> thin_block_;
  std::vector<float> span_;
  std::vector<float> reversed_;
  std::vector<float> forward_;  // correlations, then their mean with those backward
  std::vector<float> backward_;
};

}  // namespace kivsr::speech
