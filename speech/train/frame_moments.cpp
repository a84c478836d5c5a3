#include "kivsr/speech/train/frame_moments.h"

namespace kivsr::speech {

// Of the rows by themselves: sums of differences from their first one, which lies among them.
void FrameMoments::add(const FeatureMatrix& rows) {
  if (rows.height() == 0) return;
  const std::size_t columns = width();
  FrameMoments own(columns);
  double* const sums = own.values_.data() + 1;
  double* const squares = sums + columns;
  for (int t = 0; t < rows.height(); ++t) {
    for (std::size_t i = 0; i < columns; ++i) {
      const double difference = static_cast<double>(rows.row(t)[i]) - static_cast<double>(rows.row(0)[i]);
      sums[i] += difference;
      squares[i] += difference * difference;
    }
  }
  const double frames = rows.height();
  own.values_[0] = frames;
  for (std::size_t i = 0; i < columns; ++i) {
    const double offset = sums[i] / frames;
    squares[i] -= sums[i] * offset;
    sums[i] = static_cast<double>(rows.row(0)[i]) + offset;
  }
  add(own.values_);
}

void FrameMoments::add(std::span<const double> other) {
  const std::size_t columns = width();
  const double before = values_[0];
  const double added = other[0];
  if (!(added > 0.0)) return;
  values_[0] = before + added;
  for (std::size_t i = 0; i < columns; ++i) {
    const double difference = other[1 + i] - values_[1 + i];
    values_[1 + i] += difference * added / values_[0];
    values_[1 + columns + i] += other[1 + columns + i] + difference * difference * before * added / values_[0];
  }
}

FrameMoments moments_of(const TrainingUtterances& utterances, std::size_t width) {
  const std::vector<std::size_t> begins = utterances.block_begins();
  FrameMoments total(width);
  TeamSum team(utterances.blocks(), utterances.team(), [&](std::span<const double> values) { total.add(values); });
  for (std::size_t block = 0; block + 1 < begins.size(); ++block) {
    if (!team.own(block)) continue;
    FrameMoments own(width);
    for (std::size_t i = begins[block]; i < begins[block + 1]; ++i) own.add(utterances.rows(utterances.all()[i]));
    team.deliver(block, own.values());
  }
  team.finish(total.values().size());
  return total;
}

}  // namespace kivsr::speech
