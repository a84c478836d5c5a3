#include "kivsr/speech/decode/detection_errors.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {

DetectionErrors::DetectionErrors(std::vector<DetectionTrial> trials) {
  for (const DetectionTrial& trial : trials) {
    if (std::isnan(trial.score)) throw Fault("the score of a trial is not a number");
    ++(trial.target ? targets_ : others_);
  }
  if (targets_ == 0 || others_ == 0) throw Fault("error rates need trials of the target and of others");
  std::sort(trials.begin(), trials.end(),
            [](const DetectionTrial& a, const DetectionTrial& b) { return a.score > b.score; });
  curve_.push_back({0.0, 1.0});
  int hits = 0;
  int false_alarms = 0;
  for (std::size_t i = 0; i < trials.size(); ++i) {
    ++(trials[i].target ? hits : false_alarms);
    if (i + 1 < trials.size() && trials[i + 1].score == trials[i].score) continue;
    curve_.push_back({static_cast<double>(false_alarms) / others_, 1.0 - static_cast<double>(hits) / targets_});
  }
}

double DetectionErrors::equal_error_rate() const {
  const auto excess = [](const DetectionPoint& point) { return point.false_alarms - point.misses; };
  const auto next = std::find_if(curve_.begin(), curve_.end(), [&](const auto& point) { return excess(point) >= 0.0; });
  const auto last = next - 1;  // the first point has no false alarm and all misses
  const double share = -excess(*last) / (excess(*next) - excess(*last));
  return last->false_alarms + share * (next->false_alarms - last->false_alarms);
}

double DetectionErrors::least_cost(const DetectionCost& cost) const {
  const double all_misses = cost.miss * cost.target_prior;
  const double all_alarms = cost.false_alarm * (1.0 - cost.target_prior);
  const auto cost_at = [&](const DetectionPoint& point) {
    return all_misses * point.misses + all_alarms * point.false_alarms;
  };
  double least = cost_at(curve_.front());
  for (const DetectionPoint& point : curve_) least = std::min(least, cost_at(point));
  return least / std::min(all_misses, all_alarms);
}

// By bisection of the distribution function.
double normal_quantile(double probability) {
  const bool upper = probability > 0.5;
  const double tail = upper ? 1.0 - probability : probability;
  double low = -40.0;
  double high = 0.0;
  for (int i = 0; i < 80; ++i) {
    const double middle = 0.5 * (low + high);
    (0.5 * std::erfc(-middle / std::numbers::sqrt2) < tail ? low : high) = middle;
  }
  return upper ? -low : low;
}

}  // namespace kivsr::speech
