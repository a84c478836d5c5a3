// Deltas of a stream: blocks of frames are appended to a matrix, and the derivatives of earlier rows completed.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "delta_windows.h"
#include "frame/rows.h"
#include "frame/status.h"

namespace kivsr::delta {

// What a frame of the source contributes to the static columns: it is copied, but for a last column of its own.
struct PlainFrames {
  static constexpr bool kCombines = false;
  static constexpr int kExtra = 0;
  static std::ptrdiff_t width(int width) { return width; }
};
// c1 .. c12, c0, log energy: the last two are combined into column 12. ETSI ES 202 050.
struct AuroraFrames {
  static constexpr bool kCombines = true;
  static constexpr int kWidth = 13;
  static constexpr int kExtra = 1;
  static std::integral_constant<std::ptrdiff_t, kWidth> width(int) { return {}; }
  template <class T>
  static Number<T> combined(const T* frame) {
    using N = Number<T>;
    const N c0 = frame[12];
    const N log_energy = frame[13];
    if constexpr (std::is_floating_point_v<T>) {
      return (c0 * 0.6F) / 23.0F + log_energy * 0.4F;
    } else {
      return (3 * c0 + 46 * log_energy) / 115;  // the same with one rounding
    }
  }
};

struct NoWindow {
  static constexpr int kReach = 0;
};

// A streaming form: the window of the deltas, the window of the accelerations and the block of columns (0: statics,
// 1: deltas) that it runs over.
template <class F, class D, class A = NoWindow, int kBlock = 0>
struct Form {
  using Frames = F;
  using Delta = D;
  using Acceleration = A;
  static constexpr bool kAccelerates = !std::is_same_v<A, NoWindow>;
  static constexpr int kBlocks = kAccelerates ? 3 : 2;
  static constexpr int kSourceBlock = kBlock;
  // A row is complete when kLag later frames have arrived, and is looked back to until kHistory have.
  static constexpr int kLag = D::kReach + (kBlock == 1 ? A::kReach : 0);
  static constexpr int kHistory = kLag + D::kReach;
};

// The arguments that every streaming function takes.
template <class T>
struct Block {
  const T* frames;
  int width;
  T* rows;
  int step;
  int height;
  int mode;

  bool begins() const { return (mode & KIV_DELTA_BEGIN) != 0; }
  bool ends() const { return (mode & KIV_DELTA_END) != 0; }

  template <class Form>
  KivStatus check() const {
    return first_failure(require(width >= 1 && height >= 0 && (height > 0 || ends()), kivStatusBadSize),
                         step_covers(step, std::int64_t{Form::kBlocks} * width),
                         require(!begins() || height >= Form::kHistory, kivStatusBadSize));
  }
};

// The rows that a call works on, from the oldest that the caller kept. The frames before the first and behind the last
// are that frame: rows are clamped, which changes nothing in the middle of an utterance.
template <class Form, class T>
class Stream {
 public:
  using Frames = typename Form::Frames;

  explicit Stream(const Block<T>& block)
      : frames_(block.frames),
        rows_{block.rows, block.step},
        width_(Frames::width(block.width)),
        first_(block.begins() ? 0 : Form::kHistory),
        count_(first_ + block.height),
        end_(block.ends() ? count_ + Form::kLag : count_) {
    assert(block.height >= 0 && block.step >= Form::kBlocks * std::ptrdiff_t{block.width});
  }

  // Writes the statics of the new frames and completes the derivatives that they allow. A few rows at a time: they stay
  // in the cache, and are not read back while they are still being stored.
  template <class S, class D, class A>
  void run(S scale_static, D scale_delta, A scale_acceleration) const {
    using Slope = typename Form::Delta;
    using Curvature = typename Form::Acceleration;
    constexpr std::ptrdiff_t kRowsAtATime = 32;
    for (std::ptrdiff_t r = first_; r < end_; r += kRowsAtATime) {
      const std::ptrdiff_t end = std::min(r + kRowsAtATime, end_);
      for (std::ptrdiff_t s = r; s < std::min(end, count_); ++s) put_statics(s, scale_static);
      if constexpr (Form::kAccelerates && Form::kSourceBlock == 0) {
        derive_both<Slope, Curvature>(r - Form::kLag, end - Form::kLag, scale_delta, scale_acceleration);
      } else {
        derive<Slope, 0, 1>(r - Slope::kReach, end - Slope::kReach, scale_delta);
        if constexpr (Form::kAccelerates) {
          derive<Curvature, Form::kSourceBlock, 2>(r - Form::kLag, end - Form::kLag, scale_acceleration);
        }
      }
    }
  }

 private:
  template <class S>
  void put_statics(std::ptrdiff_t r, S scale) const {
    const T* const frame = frames_ + (r - first_) * (width_ + Frames::kExtra);
    const auto copied = [&](auto at) { return scale(at(frame), at); };
    if constexpr (Frames::kCombines) {
      const std::ptrdiff_t last = width_ - 1;
      for_columns(last, rows_.row(r), copied);
      const auto combined = Lanes<T>::broadcast(Frames::combined(frame));
      for_column(last, rows_.row(r), [&](auto at) { return scale(combined, at); });
    } else {
      for_columns(width_, rows_.row(r), copied);
    }
  }

  // visit(t, row) for the rows t = begin .. end - 1 of those that exist, where row(k) is block kFrom of the row k rows
  // later.
  template <int kReach, int kFrom, class Visit>
  void for_rows(std::ptrdiff_t begin, std::ptrdiff_t end, Visit visit) const {
    end = std::min(end, count_);
    for (std::ptrdiff_t t = std::max<std::ptrdiff_t>(begin, 0); t < end; ++t) {
      if (t >= kReach && t + kReach < count_) {
        const StepRows<const T> around{rows_.row(t) + kFrom * width_, rows_.step};
        visit(t, [=](int k) { return around.row(k); });
      } else {
        visit(t, [&](int k) -> const T* {
          return rows_.row(std::clamp<std::ptrdiff_t>(t + k, 0, count_ - 1)) + kFrom * width_;
        });
      }
    }
  }

  // The window over one block of columns, the result into another.
  template <class Window, int kFrom, int kTo, class Multiplier>
  void derive(std::ptrdiff_t begin, std::ptrdiff_t end, Multiplier multiply) const {
    for_rows<Window::kReach, kFrom>(begin, end, [&](std::ptrdiff_t t, auto row) {
      for_columns(width_, rows_.row(t) + kTo * width_,
                  [&](auto at) { return multiply(Window::evaluate([&](int k) { return at(row(k)); }), at); });
    });
  }

  // Both windows over the statics, which are then read once.
  template <class Slope, class Curvature, class D, class A>
  void derive_both(std::ptrdiff_t begin, std::ptrdiff_t end, D scale_delta, A scale_acceleration) const {
    static_assert(Slope::kReach == Curvature::kReach);
    for_rows<Slope::kReach, 0>(begin, end, [&](std::ptrdiff_t t, auto row) {
      for_columns<T>(width_, [&](auto at, auto put_columns) {
        const auto x = [&](int k) { return at(row(k)); };
        const auto delta = scale_delta(Slope::evaluate(x), at);
        const auto acceleration = scale_acceleration(Curvature::evaluate(x), at);
        put_columns(rows_.row(t) + width_, delta);
        put_columns(rows_.row(t) + 2 * width_, acceleration);
      });
    });
  }

  const T* frames_;
  StepRows<T> rows_;
  decltype(Frames::width(0)) width_;
  std::ptrdiff_t first_;  // row of the first new frame
  std::ptrdiff_t count_;  // rows that have statics
  std::ptrdiff_t end_;    // one behind the last row whose arrival is handled, rows of the end among them
};

template <class Form, class T, class S, class D, class A>
void stream(const Block<T>& block, S scale_static, D scale_delta, A scale_acceleration) {
  [[maybe_unused]] const RoundingOf<T> rounding;
  Stream<Form, T>(block).run(scale_static, scale_delta, scale_acceleration);
}

}  // namespace kivsr::delta
