// One signal on its way from one rate to another: see resample_design.h for the two ways. The parts of a stream lie
// behind its record in one block of memory.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstring>
#include <limits>

#include "frame/layout.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/transform.h"
#include "resample_design.h"
#include "vector/conversion.h"
#include "vector/dot_product.h"

namespace kivsr::resample {

struct Stream {
  Design design;
  float* pending;  // samples from `first` on; before and behind the signal zeros
  std::int64_t first;
  int count;     // of them
  int capacity;  // of pending
  std::int64_t received;
  std::int64_t emitted;
  std::int64_t marked_end;  // behind the last sample that is not ordinary
  // Taps.
  float* taps;  // of each phase, the first for the sample half - 1 before the output's
  // Blocks. The shorter of the two transforms is in double precision: the rounding of both would add up.
  double* gains;  // of each bin, twice
  float* long_bins;
  double* short_bins;
  float* block;
  void* work;
  dft::Transform<float>* long_transform;
  dft::Transform<double>* short_transform;
};

// Samples beyond it could overflow in the sums of a transform: they count as infinite.
inline constexpr float kLargestOrdinary = 0x1p112F;

struct StreamParts {
  Layout layout;
  Part<Stream> stream;
  Part<float> pending, taps, long_bins, block;
  Part<double> gains, short_bins;
  Part<char> long_transform, short_transform, work;
  int capacity = 0;

  explicit StreamParts(const Design& d) : stream(layout.add<Stream>(1)) {
    if (d.same) return;
    // Room for a row of taps in double precision while they are made.
    capacity = d.blocks ? d.block_in : 2 * std::max(d.taps(), 256);
    pending = layout.add<float>(static_cast<std::size_t>(capacity));
    if (!d.blocks) {
      taps = layout.add<float>(static_cast<std::size_t>(d.up), static_cast<std::size_t>(d.taps()));
      return;
    }
    const auto longer = static_cast<std::size_t>(d.longer());
    const auto shorter = static_cast<std::size_t>(d.shorter());
    gains = layout.add<double>(shorter);
    long_bins = layout.add<float>(longer + 2);
    short_bins = layout.add<double>(shorter + 2);
    block = layout.add<float>(static_cast<std::size_t>(d.block_out));
    long_transform = layout.add<char>(dft::object_bytes<float>(d.longer()));
    short_transform = layout.add<char>(dft::object_bytes<double>(d.shorter()));
    // While the filter is made, a period of a cosine.
    work = layout.add<char>(std::max({dft::work_bytes<float>(d.longer()), dft::work_bytes<double>(d.shorter()),
                                      static_cast<std::size_t>(d.block_in) * sizeof(double) + kPartAlignment}));
  }
};

// --- making --------------------------------------------------------------------------------------------------------

inline void make_taps(const Stream& s, const Filter& filter) {
  const Design& d = s.design;
  double* const exact = reinterpret_cast<double*>(s.pending);
  for (std::int64_t phase = 0; phase < d.up; ++phase) {
    double sum = 0.0;
    for (int tap = 0; tap < d.taps(); ++tap) {
      exact[tap] = filter(static_cast<double>(phase) / static_cast<double>(d.up) + (d.half - 1 - tap));
      sum += exact[tap];
    }
    // Every phase passes a constant unchanged: no ripple at multiples of the output rate.
    float* const row = s.taps + phase * d.taps();
    for (int tap = 0; tap < d.taps(); ++tap) row[tap] = static_cast<float>(exact[tap] / sum);
  }
}

// The response of the filter at the bins of a block, by its samples at whole input samples: between the images there
// is nothing but the stop band.
inline void make_gains(const Stream& s, const Filter& filter) {
  const int period = s.design.block_in;
  const int count = s.design.shorter() / 2;
  double* const cosine = static_cast<double*>(align_up(s.work));
  double* const response = s.short_bins;
  for (int i = 0; i < period; ++i) cosine[i] = std::cos(2.0 * std::numbers::pi * i / period);
  std::fill_n(response, count, filter(0.0));
  for (int n = 1; n <= s.design.half; ++n) {
    const double twice = 2.0 * filter(n);
    for (int k = 0, turn = 0; k < count; ++k, turn += n) {
      if (turn >= period) turn -= period;
      response[k] += twice * cosine[turn];
    }
  }
  const double scale = 1.0 / (response[0] * period);
  for (int k = 0; k < count; ++k) s.gains[2 * k] = s.gains[2 * k + 1] = scale * response[k];
}

inline void reset(Stream& s) {
  const Design& d = s.design;
  s.first = d.blocks ? -d.pad_in : 1 - d.half;
  s.count = static_cast<int>(-s.first);
  s.received = s.emitted = 0;
  s.marked_end = s.first;
  if (!d.same) std::fill_n(s.pending, s.capacity, 0.0F);
}

inline Stream* make_stream(void* memory, const Design& design, const Rates& rates) {
  const NearestRounding nearest;  // filters are the same whatever the caller's rounding mode
  const StreamParts parts(design);
  void* const block = align_up(memory);
  Stream* const s = parts.stream.in(block);
  std::memset(static_cast<void*>(s), 0, sizeof *s);
  s->design = design;
  s->capacity = parts.capacity;
  if (!design.same) {
    s->pending = parts.pending.in(block);
    const Filter filter(static_cast<double>(design.down) / static_cast<double>(design.up), rates.pass_band,
                        rates.stop_band);
    if (design.blocks) {
      s->gains = parts.gains.in(block);
      s->long_bins = parts.long_bins.in(block);
      s->short_bins = parts.short_bins.in(block);
      s->block = parts.block.in(block);
      s->work = parts.work.in(block);
      s->long_transform = dft::construct<float>(parts.long_transform.in(block), design.longer());
      s->short_transform = dft::construct<double>(parts.short_transform.in(block), design.shorter());
      make_gains(*s, filter);
    } else {
      s->taps = parts.taps.in(block);
      make_taps(*s, filter);
    }
  }
  reset(*s);
  return s;
}

// --- running -------------------------------------------------------------------------------------------------------

inline bool all_ordinary(const float* samples, int count) {
  using V = simd::Vec<float>;
  const V limit = V::broadcast(kLargestOrdinary);
  int i = 0;
  for (; i + V::width <= count; i += V::width) {
    if (!all(abs(simd::load<float>(samples + i)) < limit)) return false;
  }
  while (i < count && std::abs(samples[i]) < kLargestOrdinary) ++i;
  return i == count;
}

// The outputs of a full block, in s.block.
inline void transform_block(const Stream& s, const float* samples) {
  const Design& d = s.design;
  const int count = d.shorter();  // bins below the lower Nyquist frequency, which itself is in the stop band
  const auto filter = [](auto x, auto gain) { return x * gain; };
  if (d.block_in >= d.block_out) {
    dft::forward(samples, s.long_bins, *s.long_transform, s.work);
    transform<double>(count, filter, s.short_bins, s.long_bins, s.gains);
    std::fill_n(s.short_bins + count, 2, 0.0);
    dft::inverse(s.short_bins, s.short_bins, *s.short_transform, s.work);
    transform<double>(
        d.block_out, [](auto x) { return x; }, s.block, s.short_bins);
  } else {
    dft::forward(samples, s.short_bins, *s.short_transform, s.work);
    transform<double>(count, filter, s.long_bins, s.short_bins, s.gains);
    std::fill(s.long_bins + count, s.long_bins + d.longer() + 2, 0.0F);
    dft::inverse(s.long_bins, s.block, *s.long_transform, s.work);
  }
}

// The same of a block with samples that are not ordinary: no output whose filter reaches one is a number, and the
// others do not know of them.
inline void transform_marked_block(const Stream& s, const float* samples) {
  const Design& d = s.design;
  const auto ordinary = [](float x) { return std::abs(x) < kLargestOrdinary; };
  std::transform(samples, samples + d.block_in, s.long_bins, [=](float x) { return ordinary(x) ? x : 0.0F; });
  transform_block(s, s.long_bins);
  for (std::int64_t i = 0; i < d.block_in; ++i) {
    if (ordinary(samples[i])) continue;
    const std::int64_t begin = std::max<std::int64_t>((i - d.half) * d.up / d.down, 0);
    const std::int64_t end = std::min<std::int64_t>((i + d.half) * d.up / d.down + 1, d.block_out);
    std::fill(s.block + begin, s.block + end, std::numeric_limits<float>::quiet_NaN());
  }
}

inline void copy_results(const float* from, int count, Kiv32f* to) { std::copy_n(from, count, to); }
inline void copy_results(const float* from, int count, Kiv16s* to) { convert_to_integer(to, from, count, 1, 0); }

// Drops `dropped` samples in front of the pending ones.
inline void move_on(Stream& s, int dropped) {
  s.count -= dropped;
  s.first += dropped;
  std::memmove(s.pending, s.pending + dropped, static_cast<std::size_t>(s.count) * sizeof *s.pending);
}

// The outputs below `end` that the pending samples allow. Returns their number.
template <class T>
int emit_products(Stream& s, std::int64_t end, T* dst) {
  constexpr int kAtOnce = 64;
  const Design& d = s.design;
  const std::int64_t emitted = s.emitted;
  float results[kAtOnce];
  int filled = 0;
  const auto begin_of = [&](std::int64_t output) { return output * d.down / d.up - d.half + 1; };
  const auto empty = [&] {
    copy_results(results, filled, dst + (s.emitted - emitted));
    s.emitted += filled;
    filled = 0;
  };
  for (std::int64_t output = emitted; output < end; ++output) {
    const std::int64_t begin = begin_of(output);
    if (begin + d.taps() > s.first + s.count) break;
    results[filled++] =
        dot_product<float>(s.pending + (begin - s.first), s.taps + output * d.down % d.up * d.taps(), d.taps());
    if (filled == kAtOnce) empty();
  }
  empty();
  move_on(s, static_cast<int>(std::clamp<std::int64_t>(begin_of(s.emitted) - s.first, 0, s.count)));
  return static_cast<int>(s.emitted - emitted);
}

// The same of a block, once it is full.
template <class T>
int emit_block(Stream& s, std::int64_t end, T* dst) {
  const Design& d = s.design;
  if (s.count < d.block_in) return 0;
  s.first < s.marked_end ? transform_marked_block(s, s.pending) : transform_block(s, s.pending);
  const int count = static_cast<int>(std::min<std::int64_t>(d.hop_out, end - s.emitted));
  copy_results(s.block + d.pad_out, count, dst);
  s.emitted += count;
  move_on(s, d.hop_in);
  return count;
}

template <class T>
int emit(Stream& s, std::int64_t end, T* dst) {
  return s.design.blocks ? emit_block(s, end, dst) : emit_products(s, end, dst);
}

// Appends samples to the pending ones.
template <class T>
void append(Stream& s, const T* src, int count) {
  std::copy_n(src, count, s.pending + s.count);
  s.count += count;
  if (s.design.blocks && !all_ordinary(s.pending + s.count - count, count)) s.marked_end = s.first + s.count;
}

inline constexpr std::int64_t kNoEnd = std::numeric_limits<std::int64_t>::max();

// Takes `count` samples, gives what they complete. Returns the number of outputs.
template <class T>
int push(Stream& s, const T* src, int count, T* dst) {
  if (s.design.same) {
    std::copy_n(src, count, dst);
    return count;
  }
  int given = 0;
  s.received += count;
  for (int position = 0; position < count;) {
    const int part = std::min(count - position, s.capacity - s.count);
    append(s, src + position, part);
    position += part;
    given += emit(s, kNoEnd, dst + given);
  }
  return given;
}

// Zeros behind the signal until its last output is out; then the stream is as it was made.
template <class T>
int flush(Stream& s, T* dst) {
  if (s.design.same) return 0;
  const std::int64_t end = (s.received * s.design.up + s.design.down - 1) / s.design.down;
  int given = 0;
  while (s.emitted < end) {
    std::fill(s.pending + s.count, s.pending + s.capacity, 0.0F);
    s.count = s.capacity;
    given += emit(s, end, dst + given);
  }
  reset(s);
  return given;
}

// The most outputs of a call with so many samples, or of a flush (0), whatever came before.
inline std::int64_t most_outputs(const Design& d, std::int64_t count) {
  if (d.same) return count;
  if (count == 0) return (std::int64_t{d.delay()} * d.up + d.down - 1) / d.down + 1;
  if (d.blocks) return (count + d.hop_in - 1) / d.hop_in * d.hop_out;
  return count * d.up / d.down + 1;
}

}  // namespace kivsr::resample
