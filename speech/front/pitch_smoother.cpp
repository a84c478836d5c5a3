#include "kivsr/speech/front/pitch_smoother.h"

#include <algorithm>
#include <cmath>

namespace kivsr::speech {

namespace {

// Times in units of 10 ms, squares of them in its square.
constexpr double kUnit = 0.01;
constexpr double kReach = 5.0;         // of the parabola: what lies farther has no weight
constexpr double kLeastDoubt = 0.01;   // of a frame with correlation 1; of others, the square of what is missing more
constexpr double kLargestStep = 0.25;  // octaves from frame to frame of one contour
// Against slopes and bends that a few frames do not show well, as parts of all weights.
constexpr double kSlopePenalty = 0.05;
constexpr double kBendPenalty = 8.0;

double certainty_of(float correlation) {
  const double missing = std::max(1.0 - static_cast<double>(correlation), 0.0);
  return 1.0 / (missing * missing + kLeastDoubt);
}

// Weighted sums of the powers of the time and of their products with the octaves around a frame.
struct Moments {
  void add(double time, double octave, double weight) {
    double term = weight;
    for (int i = 0; i < 5; ++i) {
      powers[i] += term;
      if (i < 3) products[i] += term * octave;
      term *= time;
    }
  }
  double powers[5] = {};
  double products[3] = {};
};

struct Parabola {
  double value;
  double bend;  // factor of the square of the time
};

// The parabola of the least weighted squares, its slope and bend held by the penalties: two steps of elimination.
Parabola parabola_of(const Moments& m) {
  const double* const s = m.powers;
  const double a = s[1] / s[0];
  const double b = s[2] / s[0];
  const double slope_slope = s[2] + kSlopePenalty * s[0] - a * s[1];
  const double slope_bend = s[3] - a * s[2];
  const double bend_bend = s[4] + kBendPenalty * s[0] - b * s[2];
  const double slope_value = m.products[1] - a * m.products[0];
  const double bend_value = m.products[2] - b * m.products[0];
  const double c = slope_bend / slope_slope;
  const double bend = (bend_value - c * slope_value) / (bend_bend - c * slope_bend);
  const double slope = (slope_value - slope_bend * bend) / slope_slope;
  return {(m.products[0] - s[1] * slope - s[2] * bend) / s[0], bend};
}

}  // namespace

PitchSmoother::PitchSmoother(double shift, double window)
    : step_(shift / kUnit),
      averaged_(window * window / (12.0 * kUnit * kUnit)),
      reach_(static_cast<int>(std::ceil(kReach / step_)) - 1) {}

PitchFrame PitchSmoother::smoothed(std::size_t at) const {
  const Point& centre = points_[at];
  PitchFrame result = centre.frame;
  if (centre.certainty == 0.0 || reach_ == 0) return result;
  Moments moments;
  moments.add(0.0, 0.0, centre.certainty);
  for (const int side : {-1, 1}) {
    const Point* last = &centre;
    for (int d = side; std::abs(d) <= reach_; d += side) {
      const auto place = static_cast<std::ptrdiff_t>(at) + d;
      if (place < 0 || place >= static_cast<std::ptrdiff_t>(points_.size())) break;
      const Point& point = points_[static_cast<std::size_t>(place)];
      if (point.certainty == 0.0 || std::abs(point.octave - last->octave) > kLargestStep) break;
      const double time = d * step_;
      const double kernel = 1.0 - time * time / (kReach * kReach);
      moments.add(time, point.octave - centre.octave, kernel * point.certainty);
      last = &point;
    }
  }
  const Parabola parabola = parabola_of(moments);
  result.frequency *= static_cast<float>(std::exp2(parabola.value - averaged_ * parabola.bend));
  return result;
}

void PitchSmoother::advance(std::vector<PitchFrame>& result) {
  result.push_back(smoothed(before_));
  if (before_ < static_cast<std::size_t>(reach_)) {
    ++before_;
  } else {
    points_.pop_front();
  }
}

void PitchSmoother::push(const PitchFrame& frame, std::vector<PitchFrame>& result) {
  const bool voiced = frame.frequency > 0.0F;
  points_.push_back({frame, voiced ? std::log2(static_cast<double>(frame.frequency)) : 0.0,
                     voiced ? certainty_of(frame.correlation) : 0.0});
  if (points_.size() > before_ + static_cast<std::size_t>(reach_)) advance(result);
}

void PitchSmoother::finish(std::vector<PitchFrame>& result) {
  while (before_ < points_.size()) advance(result);
  points_.clear();
  before_ = 0;
}

}  // namespace kivsr::speech
