// Building the search index.
#include "index.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kivsr::vq {

FullIndexLayout::FullIndexLayout(Layout& layout, int width, int count) : has_centred_(count >= kLeastCentred) {
  const auto lanes = static_cast<std::size_t>(tiles_of(count) * kLanes);
  const auto columns = static_cast<std::size_t>(width);
  values_ = layout.add<float>(lanes, columns);
  weights_ = layout.add<float>(columns);
  centred_ = layout.add<float>(has_centred_ ? lanes : 0, columns);
  half_norms_ = layout.add<float>(has_centred_ ? lanes : 0);
  mean_ = layout.add<float>(has_centred_ ? columns : 0);
}

template <class T>
FullIndex FullIndexLayout::fill(void* block, const Codebook<T>& book) const {
  const int width = book.width;
  const int count = book.count;
  const bool weighted = (book.flags & kWeightedFlag) != 0;
  float* const values = values_.in(block);
  float* const weights = weights_.in(block);
  for (int j = 0; j < width; ++j) weights[j] = static_cast<float>(book.weights[j]);
  for (int i = 0; i < count; ++i) set_lane(values, width, i, codeword(book, i));
  clear_lanes(values, weighted ? weights : nullptr, width, count, tiles_of(count) * kLanes);
  FullIndex index{{values, weighted ? weights : nullptr, width, count}, nullptr, nullptr, nullptr, 0.0F};
  if (has_centred_) fill_centred(block, index);
  return index;
}

void FullIndexLayout::fill_centred(void* block, FullIndex& index) const {
  const auto [values, weights, width, count] = index.all;
  float* const centred = centred_.in(block);
  float* const half_norms = half_norms_.in(block);
  float* const mean = mean_.in(block);
  const auto element = [&, from = values, w = width](int i, int j) {
    return lane(from, w, i)[static_cast<std::ptrdiff_t>(j) * kLanes];
  };
  for (int j = 0; j < width; ++j) {
    double sum = 0.0;
    for (int i = 0; i < count; ++i) sum += static_cast<double>(element(i, j));
    const auto m = static_cast<float>(sum / count);
    mean[j] = std::isfinite(m) ? m : 0.0F;
  }
  for (int i = 0; i < count; ++i) {
    float* const p = lane(centred, width, i);
    double norm = 0.0;
    for (int j = 0; j < width; ++j) {
      const float c = element(i, j) - mean[j];
      const float wc = weights != nullptr ? weights[j] * c : c;
      p[static_cast<std::ptrdiff_t>(j) * kLanes] = wc;
      norm += static_cast<double>(wc) * static_cast<double>(c);
    }
    half_norms[i] = static_cast<float>(norm / 2.0);
    // A norm that is not a number makes every search compare distances.
    const auto rounded = static_cast<float>(norm);
    if (!(rounded <= index.largest_norm)) index.largest_norm = std::isfinite(rounded) ? rounded : kInfinity;
  }
  for (std::ptrdiff_t i = count; i < tiles_of(count) * kLanes; ++i) {
    half_norms[i] = kInfinity;
    for (int j = 0; j < width; ++j) lane(centred, width, i)[static_cast<std::ptrdiff_t>(j) * kLanes] = 0.0F;
  }
  index.centred = centred;
  index.half_norms = half_norms;
  index.mean = mean;
}

template FullIndex FullIndexLayout::fill(void*, const Codebook<Kiv32f>&) const;
template FullIndex FullIndexLayout::fill(void*, const Codebook<Kiv16s>&) const;

void CandidateLists::set_sizes(const Kiv32s* list_sizes, std::ptrdiff_t lists) {
  std::copy_n(list_sizes, lists, sizes);
  Kiv32s tile = 0;
  for (std::ptrdiff_t i = 0; i < lists; ++i) {
    first_tile[i] = tile;
    tile += static_cast<Kiv32s>(tiles_of(sizes[i]));
  }
}

void CandidateLists::set(const Tiles& all, std::ptrdiff_t list, int to, Kiv32s index) {
  const std::ptrdiff_t place = slot(list, to);
  assert(to < sizes[list] && index < all.count);
  codewords[place] = index;
  const float* const from = lane(all.values, all.width, index);
  float* const p = lane(values, all.width, place);
  for (std::ptrdiff_t j = 0; j < all.width; ++j) p[j * kLanes] = from[j * kLanes];
}

void CandidateLists::finish(const Tiles& all, std::ptrdiff_t list) {
  const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(first_tile[list]) * kLanes;
  clear_lanes(values, all.weights, all.width, first + sizes[list], first + tiles_of(sizes[list]) * kLanes);
}

CandidateListsLayout::CandidateListsLayout(Layout& layout, std::ptrdiff_t lists, std::ptrdiff_t tiles, int width) {
  const auto lanes = static_cast<std::size_t>(tiles * kLanes);
  const auto columns = static_cast<std::size_t>(width);
  first_tile_ = layout.add<Kiv32s>(static_cast<std::size_t>(lists));
  sizes_ = layout.add<Kiv32s>(static_cast<std::size_t>(lists));
  codewords_ = layout.add<Kiv32s>(lanes);
  values_ = layout.add<float>(lanes, columns);
}

CandidateLists CandidateListsLayout::in(void* block) const {
  return {first_tile_.in(block), sizes_.in(block), codewords_.in(block), values_.in(block)};
}

}  // namespace kivsr::vq
