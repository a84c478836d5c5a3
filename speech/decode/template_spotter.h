// Finds spoken examples in recordings by dynamic time warping: no training, any language, any rows of features.
//
//   TemplateSpotter spotter({{"lights", rows_of_one_example}, {"lights", rows_of_another}, {"music", ...}});
//   spotter.push(rows, hits);  // block after block, then
//   spotter.finish(hits);
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/io/feature_matrix.h"

namespace kivsr::speech {

struct SpokenExample {
  std::string label;
  FeatureMatrix rows;
};

// A distance is the mean over the frames of a match, columns divided by their deviation over all examples, in units of
// what two frames that have nothing in common are apart: 0 the same, 1 nothing of it.
struct SpotSettings {
  float threshold = 0.0F;  // largest distance of a hit; 0: each label's own, from its examples and those of the others
  double shortest = 0.5;   // frames of a match, as parts of the example's
  double longest = 2.0;
};

struct SpotHit {
  int example = 0;
  std::int64_t first_frame = 0;
  std::int64_t last_frame = 0;
  float distance = 0.0F;
  float share = 0.0F;  // of the threshold of its label
};

// The largest distance of a hit where the examples tell nothing: one label with one example.
inline constexpr float kUsualThreshold = 0.58F;

class TemplateSpotter {
 public:
  // Throws Fault for no example, an empty one, or rows of different widths.
  explicit TemplateSpotter(std::vector<SpokenExample> examples, const SpotSettings& settings = {});

  const std::vector<SpokenExample>& examples() const { return examples_; }
  float threshold(int example) const { return thresholds_[static_cast<std::size_t>(example)]; }

  // Appends the hits that no later row can change: of overlapping ones the one of the smallest share. Rows are kept for
  // twice the longest example. Hits do not depend on how rows are cut into blocks.
  void push(const FeatureMatrix& rows, std::vector<SpotHit>& hits);
  // The end of a recording; the next one may follow.
  void finish(std::vector<SpotHit>& hits);
  // The best match of a recording that finish() ended, above its threshold or not; none if it was too short for all.
  const std::optional<SpotHit>& best() const { return best_of_last_; }

 private:
  int frames_of(int example) const { return examples_[static_cast<std::size_t>(example)].rows.height(); }
  int longest_match(int example) const;
  void measure_columns();
  void scale(std::span<float> row) const;
  void derive_thresholds();
  float distance_between(int example, const FeatureMatrix& rows) const;
  // Matches of the example that end in rows [from, height) of `rows`; visit(row of the end, row of the start,
  // distance).
  template <class Visit>
  void match(int example, const FeatureMatrix& rows, int from, Visit visit) const;
  void search(std::vector<SpotHit>& hits);
  void consider(const SpotHit& match, std::vector<SpotHit>& hits);

  std::vector<SpokenExample> examples_;
  SpotSettings settings_;
  std::vector<float> factors_;     // of the columns
  float unit_ = 1.0F;              // distance of two frames that have nothing in common
  std::vector<float> thresholds_;  // of the examples
  int overlap_ = 0;                // rows that a match may reach back

  FeatureMatrix rows_;  // of the recording, from frame first_ on
  std::int64_t first_ = 0;
  std::int64_t searched_ = 0;    // frames whose matches were looked at
  std::optional<SpotHit> open_;  // the last hit, which a better one may still replace
  std::optional<SpotHit> best_;
  std::optional<SpotHit> best_of_last_;
};

}  // namespace kivsr::speech
