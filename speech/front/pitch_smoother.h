// A contour of pitch as a smooth line: each voiced frame becomes the value there of a parabola through the logarithms
// of the frequencies around it, weighted by how certain they are (W. S. Cleveland, "Robust locally weighted regression
// and smoothing scatterplots", JASA 74, 1979). The frequency of a window of samples is the mean of the contour over it,
// which is lower at a crest than the crest: the bend of the parabola tells by how much.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

namespace kivsr::speech {

struct PitchFrame {
  float frequency;    // Hz; 0: unvoiced
  float correlation;  // normalised, of the path's lag; of the best lag if unvoiced
  float probability;  // of being voiced, by the best lag alone
};

class PitchSmoother {
 public:
  // Seconds from frame to frame, and of the window whose mean a frequency is.
  PitchSmoother(double shift, double window);

  // Frames that a result waits for.
  int delay() const { return reach_; }
  void push(const PitchFrame& frame, std::vector<PitchFrame>& result);
  // The frames that are left; ready for the next contour.
  void finish(std::vector<PitchFrame>& result);

 private:
  struct Point {
    PitchFrame frame;
    double octave;     // logarithm of the frequency to the base 2
    double certainty;  // 0: unvoiced
  };

  PitchFrame smoothed(std::size_t at) const;
  void advance(std::vector<PitchFrame>& result);

  double step_;  // from frame to frame, in units of 10 ms
  double averaged_;
  int reach_;
  std::deque<Point> points_;  // the next result is of points_[before_]
  std::size_t before_ = 0;
};

}  // namespace kivsr::speech
