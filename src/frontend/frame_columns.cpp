// Windowed frames of a signal side by side, a lane each: registers of consecutive samples of all frames of a group are
// turned over, so that a register holds one sample of each.
#include "kivsr/frontend/frame_columns.h"

#include <cstddef>

#include "frame/simd/columns.h"
#include "frame/simd/complex_lanes.h"
#include "frame/status.h"
#include "vector/sums.h"

namespace kivsr {
namespace {

using V = simd::ColumnVec;
constexpr int W = V::width;

struct Form {
  const float* window;
  std::ptrdiff_t length;
  float emphasis;
  int mode;

  bool has(int flag) const { return (mode & flag) != 0; }
};

// Per lane: what is taken from each sample, and from each difference.
struct Offsets {
  float sample[W] = {};
  float difference[W] = {};
};

Offsets offsets_of(const float* const (&frames)[W], const Form& form) {
  Offsets offsets;
  if (!form.has(KIV_FRAME_CENTRED | KIV_FRAME_CENTRED_BEHIND)) return offsets;
  const auto length = static_cast<float>(form.length);
  for (int j = 0; j < W; ++j) {
    const float* const x = frames[j];
    const float mean = sum(x, form.length) / length;
    if (form.has(KIV_FRAME_CENTRED)) offsets.sample[j] = mean;
    if (!form.has(KIV_FRAME_CENTRED_BEHIND)) continue;
    // The sum of the samples before is that of the samples less what the frame ends with.
    const float before = form.has(KIV_FRAME_OWN_START) ? x[0] : x[-1];
    const float mean_before = mean + (before - x[form.length - 1]) / length;
    const float centre = form.has(KIV_FRAME_CENTRED) ? mean : 0.0F;
    offsets.difference[j] = (mean - centre) - form.emphasis * (mean_before - centre);
  }
  return offsets;
}

// The frames of one group, sample after sample.
template <class Group>
class Cutter {
 public:
  Cutter(const Form& form, const Offsets& offsets, float* dst, std::ptrdiff_t step, Group group)
      : form_(form),
        emphasis_(V::broadcast(form.emphasis)),
        offset_(simd::load_short<float>(offsets.sample)),
        difference_offset_(simd::load_short<float>(offsets.difference)),
        dst_(dst),
        step_(step),
        group_(group) {}

  void start(V before) { before_ = before - offset_; }

  // The sums of even and odd samples are apart.
  template <bool kOdd>
  [[gnu::always_inline]] void add(V sample, std::ptrdiff_t n) {
    const V x = sample - offset_;
    const V y = simd::neg_mul_add(emphasis_, before_, x) - difference_offset_;
    const V windowed = y * V::broadcast(form_.window[n]);
    const V counted = form_.has(KIV_FRAME_WINDOWED_ENERGY) ? windowed : x;
    V& energy = kOdd ? odd_energy_ : even_energy_;
    energy = simd::mul_add(counted, counted, energy);
    group_.store(dst_ + n * step_, windowed);
    before_ = x;
  }

  void store_energy(float (&energies)[W]) const { simd::store(energies, even_energy_ + odd_energy_); }

 private:
  const Form form_;
  const V emphasis_, offset_, difference_offset_;
  float* const dst_;
  const std::ptrdiff_t step_;
  const Group group_;
  V before_ = V::zero();
  V even_energy_ = V::zero();
  V odd_energy_ = V::zero();
};

template <class Group>
[[gnu::flatten, gnu::noinline]] void cut_group(const float* const (&frames)[W], const Form& form, float* dst,
                                               std::ptrdiff_t step, float (&energies)[W], Group group) {
  Cutter<Group> cutter(form, offsets_of(frames, form), dst, step, group);
  float before[W];
  for (int j = 0; j < W; ++j) before[j] = frames[j][form.has(KIV_FRAME_OWN_START) ? 0 : -1];
  cutter.start(simd::load_short<float>(before));
  V rows[W];
  std::ptrdiff_t n = 0;
  for (; n + W <= form.length; n += W) {
#pragma GCC unroll 8
    for (int j = 0; j < W; ++j) rows[j] = simd::load_short<float>(frames[j] + n);
    simd::transpose(rows);
#pragma GCC unroll 4
    for (int i = 0; i < W; i += 2) {
      cutter.template add<false>(rows[i], n + i);
      cutter.template add<true>(rows[i + 1], n + i + 1);
    }
  }
  if (n < form.length) {
    const int rest = static_cast<int>(form.length - n);
    for (int j = 0; j < W; ++j) rows[j] = simd::load_some_short<float>(frames[j] + n, rest);
    simd::transpose(rows);
    for (int i = 0; i < rest; ++i) cutter.template add<false>(rows[i], n + i);
  }
  cutter.store_energy(energies);
}

// Where the rows have room for a whole group it is written, its last frame again and again.
void cut(const float* src, std::ptrdiff_t shift, int frames, float* dst, int step, const Form& form, float* energy) {
  for (int c = 0; c < frames; c += W) {
    const int count = frames - c < W ? frames - c : W;
    const float* starts[W];
    for (int j = 0; j < W; ++j) starts[j] = src + 1 + (c + (j < count ? j : count - 1)) * shift;
    float energies[W];
    if (c + W <= step) {
      cut_group(starts, form, dst + c, step, energies, simd::WholeGroup{});
    } else {
      cut_group(starts, form, dst + c, step, energies, simd::PartOfGroup{count});
    }
    for (int j = 0; energy != nullptr && j < count; ++j) energy[c + j] = energies[j];
  }
}

constexpr int kAllFlags =
    KIV_FRAME_CENTRED | KIV_FRAME_CENTRED_BEHIND | KIV_FRAME_OWN_START | KIV_FRAME_WINDOWED_ENERGY;

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsFrameColumns_32f(const Kiv32f* pSrc, int shift, int frames, Kiv32f* pDst, int step, const Kiv32f* pWindow,
                               int len, Kiv32f preEmphasis, int mode, Kiv32f* pEnergy) {
  return run(first_failure(not_null(pSrc, pDst, pWindow), positive(shift, frames, len), step_covers(step, frames),
                           require((mode & ~kAllFlags) == 0, kivStatusBadArgument)),
             [&] {
               cut(pSrc, shift, frames, pDst, step, Form{pWindow, len, preEmphasis, mode}, pEnergy);
             });
}
}
