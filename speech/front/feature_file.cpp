#include "kivsr/speech/front/feature_file.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

namespace kivsr::speech {

namespace {

// Whether statics and derivatives follow each other in groups of one width.
bool in_groups(const Recipe& recipe) {
  return recipe.dynamics != Dynamics::kStreams && recipe.dynamics != Dynamics::kSplice &&
         recipe.feature_transform.empty();
}

// Kinds of HTK have no place for columns of another nature.
bool is_user_kind(const Recipe& recipe) {
  return recipe.source == Source::kFeatures || recipe.width() != recipe.feature_width() || !in_groups(recipe);
}

unsigned qualifiers_behind_the_front_end(const Recipe& recipe) {
  unsigned kind = 0;
  if (recipe.dynamics != Dynamics::kNone) {
    kind |= kHtkDeltas;
    if (recipe.derivatives >= 2) kind |= kHtkAccelerations;
    if (recipe.derivatives == 3) kind |= kHtkThird;
  }
  if (recipe.normalisation == Normalisation::kMean || recipe.normalisation == Normalisation::kMeanVariance) {
    kind |= kHtkZeroMean;
  }
  return kind;
}

unsigned htk_kind(const Recipe& recipe) {
  const FrontEndParameters& front_end = recipe.front_end;
  if (is_user_kind(recipe)) return kHtkUser;
  unsigned kind = kHtkMfcc;
  if (front_end.output == Output::kLogMel) kind = kHtkFilterBank;
  if (front_end.output == Output::kLpcCepstra) kind = kHtkLpCepstra;
  if (front_end.output == Output::kPlp) kind = kHtkPlp;
  if (front_end.energy) kind |= kHtkEnergy;
  if (recipe.drop_energy) kind |= kHtkWithoutEnergy;
  kind |= qualifiers_behind_the_front_end(recipe);
  // The aurora dynamics put c0 and the log energy into one column, which stands where the energy does.
  if (front_end.has_zeroth() && recipe.dynamics != Dynamics::kAurora) kind |= kHtkZeroth;
  return kind;
}

void put_in_htk_order(const FrontEndParameters& front_end, bool with_energy, std::span<std::size_t> group) {
  if (with_energy && front_end.energy_first) std::rotate(group.begin(), group.begin() + 1, group.end());
  if (!front_end.has_zeroth() || front_end.zeroth != ZerothCepstrum::kFirst) return;
  std::rotate(group.begin(), group.begin() + 1, group.begin() + 1 + front_end.cepstra_behind_zeroth());
}

std::vector<std::size_t> htk_order(const Recipe& recipe) {
  if (is_user_kind(recipe) || recipe.dynamics == Dynamics::kAurora) return {};
  const auto full = static_cast<std::size_t>(recipe.static_width());
  std::vector<std::size_t> order(static_cast<std::size_t>(recipe.width()));
  std::iota(order.begin(), order.end(), std::size_t{0});
  // The statics may be without the log energy that their derivatives have.
  bool with_energy = recipe.front_end.energy && !recipe.drop_energy;
  std::size_t width = full - (recipe.drop_energy ? 1 : 0);
  for (std::size_t begin = 0; begin + width <= order.size();) {
    put_in_htk_order(recipe.front_end, with_energy, std::span(order).subspan(begin, width));
    begin += std::exchange(width, full);
    with_energy = recipe.front_end.energy;
  }
  return order;
}

}  // namespace

FeatureLayout layout_of(const Recipe& recipe) {
  return {.width = recipe.width(),
          .frame_seconds = recipe.frame_seconds(),
          .columns = recipe.column_names(),
          .htk_kind = htk_kind(recipe),
          .htk_order = htk_order(recipe),
          .name = ""};
}

FeatureLayout layout_behind(const FeatureLayout& source, const Recipe& recipe) {
  FeatureLayout layout = layout_of(recipe);
  layout.frame_seconds = source.frame_seconds;
  if (!in_groups(recipe)) return layout;
  // Derivatives follow in groups as wide as the source, "x1_d", "x2_d", ...
  for (std::size_t i = 0; i < layout.columns.size() && !source.columns.empty(); ++i) {
    std::string& name = layout.columns[i];
    name = source.columns[i % source.columns.size()] + name.substr(std::min(name.find('_'), name.size()));
  }
  constexpr unsigned kDerived = kHtkDeltas | kHtkAccelerations | kHtkThird;
  const bool derived = recipe.dynamics != Dynamics::kNone;
  if ((source.htk_kind & kHtkBase) == kHtkUser || (derived && (source.htk_kind & kDerived) != 0)) return layout;
  layout.htk_kind = source.htk_kind & ~(kHtkChecksum | kHtkCompressed | kHtkIndex);
  layout.htk_kind |= qualifiers_behind_the_front_end(recipe);
  return layout;
}

void write_features(OutputFile& file, FeatureFormat format, const FeatureMatrix& rows, const Recipe& recipe) {
  write_features(file, format, rows, layout_of(recipe));
}

}  // namespace kivsr::speech
