// How well scores tell trials of a target from the others: the errors at every threshold, where both kinds are equally
// frequent, and the least cost (A. Martin et al., The DET curve in assessment of detection task performance, Proc.
// Eurospeech 1997).
#pragma once

#include <vector>

namespace kivsr::speech {

struct DetectionTrial {
  double score = 0.0;
  bool target = false;
};

// Both as shares of the trials that can go wrong that way.
struct DetectionPoint {
  double false_alarms = 0.0;
  double misses = 0.0;
};

struct DetectionCost {
  double target_prior = 0.01;
  double miss = 1.0;
  double false_alarm = 1.0;
};

class DetectionErrors {
 public:
  // Throws Fault unless there are trials of both kinds and all scores are numbers.
  explicit DetectionErrors(std::vector<DetectionTrial> trials);

  // One behind every score that occurs, from none accepted to all; trials of equal scores go together.
  const std::vector<DetectionPoint>& curve() const { return curve_; }
  int targets() const { return targets_; }
  int others() const { return others_; }
  // Between two thresholds both errors change in proportion.
  double equal_error_rate() const;
  // Over all thresholds, divided by that of the better of two detectors that do not listen.
  double least_cost(const DetectionCost& cost) const;

 private:
  std::vector<DetectionPoint> curve_;
  int targets_ = 0;
  int others_ = 0;
};

// The x for which a normal variable is below x with this probability, which lies between 0 and 1.
double normal_quantile(double probability);

}  // namespace kivsr::speech
