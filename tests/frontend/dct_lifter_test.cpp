// DCT lifters: all four variants of both types against the transform in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <string>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/columns.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"

namespace kivsr::test {
namespace {

constexpr int kLifterLength = 22;
constexpr float kScale = 0.75F;

// One way to a state: sizes and lifter in, state out. `given` holds whole numbers, which every type of lifter can
// carry.
template <class State>
struct Variant {
  const char* name;
  bool sine;
  bool with_c0;
  KivStatus (*get_size)(int, int, int*);
  std::function<KivStatus(State*, int, int, const float*)> init;
  std::function<KivStatus(State**, int, int, const float*)> init_alloc;
};

template <class State>
auto sine(KivStatus (*f)(State, int, int, int, Kiv32f)) {
  return [f](State s, int n, int k, const float*) { return f(s, n, k, kLifterLength, kScale); };
}
template <class State>
auto given(KivStatus (*f)(State, int, const Kiv32f*, int)) {
  return [f](State s, int n, int k, const float* w) { return f(s, n, w, k); };
}
auto given_integers(KivStatus (*f)(KivsDCTLifterState_16s*, int, const Kiv32s*, int)) {
  return [f](KivsDCTLifterState_16s* s, int n, int k, const float* w) {
    if (w == nullptr) return f(s, n, nullptr, k);
    std::vector<Kiv32s> integers(w, w + std::max(k, 0));
    integers.push_back(0);
    return f(s, n, integers.data(), k);
  };
}

using F = KivsDCTLifterState_32f;
using S = KivsDCTLifterState_16s;

const std::vector<Variant<F>> kFloatVariants = {
    {"", true, false, kivsDCTLifterGetSize_32f, sine(kivsDCTLifterInit_32f), sine(kivsDCTLifterInitAlloc_32f)},
    {"C0", true, true, kivsDCTLifterGetSize_C0_32f, sine(kivsDCTLifterInit_C0_32f),
     sine(kivsDCTLifterInitAlloc_C0_32f)},
    {"Mul", false, false, kivsDCTLifterGetSize_Mul_32f, given(kivsDCTLifterInit_Mul_32f),
     given(kivsDCTLifterInitAlloc_Mul_32f)},
    {"MulC0", false, true, kivsDCTLifterGetSize_MulC0_32f, given(kivsDCTLifterInit_MulC0_32f),
     given(kivsDCTLifterInitAlloc_MulC0_32f)}};
const std::vector<Variant<S>> kIntegerVariants = {
    {"", true, false, kivsDCTLifterGetSize_16s, sine(kivsDCTLifterInit_16s), sine(kivsDCTLifterInitAlloc_16s)},
    {"C0", true, true, kivsDCTLifterGetSize_C0_16s, sine(kivsDCTLifterInit_C0_16s),
     sine(kivsDCTLifterInitAlloc_C0_16s)},
    {"Mul", false, false, kivsDCTLifterGetSize_Mul_16s, given(kivsDCTLifterInit_Mul_16s),
     given(kivsDCTLifterInitAlloc_Mul_16s)},
    {"MulC0", false, true, kivsDCTLifterGetSize_MulC0_16s, given_integers(kivsDCTLifterInit_MulC0_16s),
     given(kivsDCTLifterInitAlloc_MulC0_16s)}};

KivStatus free_state(F* s) { return kivsDCTLifterFree_32f(s); }
KivStatus free_state(S* s) { return kivsDCTLifterFree_16s(s); }

std::vector<float> whole_numbers(Random& random, int n) {
  std::vector<float> values(static_cast<std::size_t>(n));
  for (float& x : values) x = static_cast<float>(random.integer(-9, 9));
  return values;
}

// w[k] sum of x[n] cos(pi k (n + 1/2) / N), and the magnitudes that bound its rounding.
struct Truth {
  double value;
  double magnitudes;
};
Truth coefficient(const std::vector<float>& x, const std::vector<float>& lifter, bool sine_lifter, int k) {
  const double pi = std::numbers::pi;
  double w = kScale * (1.0 + kLifterLength / 2.0 * std::sin(pi * k / kLifterLength));
  if (!sine_lifter) w = k > 0 ? lifter[static_cast<std::size_t>(k) - 1] : lifter.back();
  Truth t{0.0, 0.0};
  for (std::size_t n = 0; n < x.size(); ++n) {
    t.value += w * x[n] * std::cos(pi * k * (static_cast<double>(n) + 0.5) / static_cast<double>(x.size()));
    t.magnitudes += std::abs(w * x[n]);
  }
  return t;
}

// A state of `variant` in the caller's memory at a start of the given alignment, with a watch on the bytes behind it.
template <class State>
class PlacedState {
 public:
  PlacedState(const Variant<State>& variant, int n, int k, const float* lifter, std::size_t start) {
    int size = 0;
    EXPECT_EQ(variant.get_size(n, k, &size), kivStatusOk);
    memory_.assign(static_cast<std::size_t>(size) + 128, 0xA5);
    const auto address = reinterpret_cast<std::uintptr_t>(memory_.data());
    begin_ = (32 - address % 32) % 32 + start;
    end_ = begin_ + static_cast<std::size_t>(size);
    EXPECT_EQ(variant.init(get(), n, k, lifter), kivStatusOk);
  }
  State* get() { return reinterpret_cast<State*>(memory_.data() + begin_); }
  bool contained() const {
    for (std::size_t i = 0; i < memory_.size(); ++i) {
      if ((i < begin_ || i >= end_) && memory_[i] != 0xA5) return false;
    }
    return true;
  }

 private:
  std::vector<Kiv8u> memory_;
  std::size_t begin_, end_;
};

const std::vector<std::pair<int, int>> kShapes = {{1, 1},   {2, 1},   {5, 5},   {8, 7},    {9, 2},    {13, 12},
                                                  {23, 13}, {24, 24}, {40, 13}, {100, 31}, {300, 260}};

TEST(DctLifter, FloatsMatchTheTransformFromEveryState) {
  Random random(3);
  for (const auto& variant : kFloatVariants) {
    for (const auto& [n, k] : kShapes) {
      SCOPED_TRACE(std::string(variant.name) + " " + std::to_string(n) + " " + std::to_string(k));
      const auto lifter = whole_numbers(random, k);
      const auto x = random.values<float>(static_cast<std::size_t>(n), -20, 20);
      const Guarded<float> src(x);
      const auto results = static_cast<std::size_t>(k + (variant.with_c0 ? 1 : 0));
      Guarded<float> dst(results);
      F* state = nullptr;
      ASSERT_EQ(variant.init_alloc(&state, n, k, lifter.data()), kivStatusOk);
      ASSERT_EQ(kivsDCTLifter_32f(src.data(), dst.data(), state), kivStatusOk);
      ASSERT_EQ(free_state(state), kivStatusOk);
      for (int i = 1; i <= static_cast<int>(results); ++i) {
        const Truth truth = coefficient(x, lifter, variant.sine, i > k ? 0 : i);
        // The cosines and the lifter are rounded too.
        ASSERT_TRUE(within_reduction<float>(dst[static_cast<std::size_t>(i) - 1], truth.value, truth.magnitudes,
                                            static_cast<std::size_t>(n) + 4))
            << i;
      }
      for (std::size_t start = 0; start < 32; start += sizeof(void*)) {
        PlacedState<F> placed(variant, n, k, lifter.data(), start);
        Guarded<float> again(results);
        ASSERT_EQ(kivsDCTLifter_32f(src.data(), again.data(), placed.get()), kivStatusOk);
        ASSERT_TRUE(placed.contained()) << start;
        expect_exact(again, dst.values());
      }
    }
  }
}

// The integer forms are the float form between two conversions.
TEST(DctLifter, FloatsOfColumnsMatchTheTransform) {
  Random random(4);
  for (const auto& variant : kFloatVariants) {
    for (const auto& [n, k] : kShapes) {
      SCOPED_TRACE(std::string(variant.name) + " " + std::to_string(n) + " " + std::to_string(k));
      const auto lifter = whole_numbers(random, k);
      const auto results = static_cast<std::size_t>(k + (variant.with_c0 ? 1 : 0));
      F* state = nullptr;
      ASSERT_EQ(variant.init_alloc(&state, n, k, lifter.data()), kivStatusOk);
      std::vector<std::vector<float>> energies;
      for (int c = random.integer(1, 19); c > 0; --c) {
        energies.push_back(random.values<float>(static_cast<std::size_t>(n), -20, 20));
      }
      const auto cepstra = results_side_by_side(energies, results, [&](const float* src, float* dst, int columns) {
        return kivsDCTLifterColumns_32f(src, dst, columns, state);
      });
      for (std::size_t c = 0; c < energies.size(); ++c) {
        for (int i = 1; i <= static_cast<int>(results); ++i) {
          const Truth truth = coefficient(energies[c], lifter, variant.sine, i > k ? 0 : i);
          ASSERT_TRUE(within_reduction<float>(cepstra[c][static_cast<std::size_t>(i) - 1], truth.value,
                                              truth.magnitudes, static_cast<std::size_t>(n) + 4))
              << i;
        }
      }
      float value = 7;
      EXPECT_EQ(kivsDCTLifterColumns_32f(nullptr, &value, 0, state), kivStatusNullPointer);
      EXPECT_EQ(kivsDCTLifterColumns_32f(&value, nullptr, 0, state), kivStatusNullPointer);
      EXPECT_EQ(kivsDCTLifterColumns_32f(&value, &value, 0, nullptr), kivStatusNullPointer);
      EXPECT_EQ(kivsDCTLifterColumns_32f(&value, &value, 0, state), kivStatusBadSize);
      ASSERT_EQ(free_state(state), kivStatusOk);
    }
  }
}

TEST(DctLifter, IntegersAreRoundedFloats) {
  Random random(4);
  for (std::size_t v = 0; v < kIntegerVariants.size(); ++v) {
    for (const auto& [n, k] : kShapes) {
      const auto& variant = kIntegerVariants[v];
      SCOPED_TRACE(std::string(variant.name) + " " + std::to_string(n) + " " + std::to_string(k));
      const auto lifter = whole_numbers(random, k);
      const Guarded<Kiv16s> words(random.values<Kiv16s>(static_cast<std::size_t>(n), -3000, 3000));
      const Guarded<Kiv32s> longs(random.values<Kiv32s>(static_cast<std::size_t>(n), -2e9, 2e9));
      const std::vector<float> from_words(words.data(), words.data() + n);
      const std::vector<float> from_longs(longs.data(), longs.data() + n);
      const int results = k + (variant.with_c0 ? 1 : 0);
      const auto count = static_cast<std::size_t>(results);
      F* reference = nullptr;
      S* allocated = nullptr;
      ASSERT_EQ(kFloatVariants[v].init_alloc(&reference, n, k, lifter.data()), kivStatusOk);
      ASSERT_EQ(variant.init_alloc(&allocated, n, k, lifter.data()), kivStatusOk);
      std::vector<float> c(count);
      std::vector<Kiv16s> expected(count);
      Guarded<Kiv16s> dst(count);
      for (int scale_factor : {-130, -127, -3, 0, 1, 5, 18, 27, 200}) {
        const auto expect = [&](const std::vector<float>& x) {
          kivsDCTLifter_32f(x.data(), c.data(), reference);
          if (scale_factor < -127) {
            for (std::size_t i = 0; i < count; ++i) expected[i] = c[i] > 0 ? 32767 : c[i] < 0 ? -32768 : 0;
          } else {
            kivsConvert_32f16s_Sfs(c.data(), expected.data(), results, kivRndNear, scale_factor);
          }
        };
        expect(from_words);
        ASSERT_EQ(kivsDCTLifter_16s_Sfs(words.data(), dst.data(), allocated, scale_factor), kivStatusOk);
        expect_exact(dst, expected);
        PlacedState<S> placed(variant, n, k, lifter.data(),
                              static_cast<std::size_t>(8 * (n + scale_factor + 130)) % 32);
        expect(from_longs);
        ASSERT_EQ(kivsDCTLifter_32s16s_Sfs(longs.data(), dst.data(), placed.get(), scale_factor), kivStatusOk);
        ASSERT_TRUE(placed.contained());
        expect_exact(dst, expected);
      }
      free_state(reference);
      free_state(allocated);
    }
  }
  S* state = nullptr;
  ASSERT_EQ(kivsDCTLifterInitAlloc_C0_16s(&state, 5, 3, 22, 1.0F), kivStatusOk);
  const Guarded<Kiv16s> silence(std::vector<Kiv16s>(5, 0));
  Guarded<Kiv16s> dst(4);
  ASSERT_EQ(kivsDCTLifter_16s_Sfs(silence.data(), dst.data(), state, -1000), kivStatusOk);
  expect_exact(dst, std::vector<Kiv16s>(4, 0));
  free_state(state);
}

TEST(DctLifter, ConstantInputHasOnlyAZerothCoefficientAndItIsTheLast) {
  const float given_weights[] = {2, 3, 5};
  F* sine_state = nullptr;
  F* given_state = nullptr;
  ASSERT_EQ(kivsDCTLifterInitAlloc_C0_32f(&sine_state, 24, 3, 22, 0.5F), kivStatusOk);
  ASSERT_EQ(kivsDCTLifterInitAlloc_MulC0_32f(&given_state, 24, given_weights, 3), kivStatusOk);
  const std::vector<float> x(24, 1.0F);
  float c[4];
  kivsDCTLifter_32f(x.data(), c, sine_state);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(c[k], 0, 1e-4);
  EXPECT_EQ(c[3], 12.0F);
  kivsDCTLifter_32f(x.data(), c, given_state);
  EXPECT_EQ(c[3], 120.0F);
  free_state(sine_state);
  free_state(given_state);
}

TEST(DctLifter, OfLengthOneWeighsEveryCoefficientAlike) {
  constexpr int kCoefficients = 40;
  const std::vector<float> ones(kCoefficients, 2.5F);
  F* sine_state = nullptr;
  F* given_state = nullptr;
  ASSERT_EQ(kivsDCTLifterInitAlloc_C0_32f(&sine_state, kCoefficients, kCoefficients, 1, 2.5F), kivStatusOk);
  ASSERT_EQ(kivsDCTLifterInitAlloc_MulC0_32f(&given_state, kCoefficients, ones.data(), kCoefficients), kivStatusOk);
  const auto x = Random(3).values<float>(kCoefficients, -5, 5);
  std::vector<float> sine(kCoefficients + 1);
  std::vector<float> given(kCoefficients + 1);
  kivsDCTLifter_32f(x.data(), sine.data(), sine_state);
  kivsDCTLifter_32f(x.data(), given.data(), given_state);
  expect_exact(sine, given);
  free_state(sine_state);
  free_state(given_state);
}

template <class State>
void check_construction(const std::vector<Variant<State>>& variants) {
  const std::vector<float> lifter(16, 1.0F);
  std::vector<Kiv8u> memory(1 << 14);
  auto* const block = reinterpret_cast<State*>(memory.data());
  for (const auto& variant : variants) {
    SCOPED_TRACE(variant.name);
    int size = -1;
    State* state = nullptr;
    const auto all = [&](int n, int k, KivStatus expected) {
      EXPECT_EQ(variant.get_size(n, k, &size), expected);
      EXPECT_EQ(variant.init(block, n, k, lifter.data()), expected);
      EXPECT_EQ(variant.init_alloc(&state, n, k, lifter.data()), expected);
    };
    for (const auto& [n, k] : std::vector<std::pair<int, int>>{{0, 1}, {1, 0}, {-1, -1}, {12, 13}}) {
      all(n, k, kivStatusBadSize);
    }
    EXPECT_EQ(variant.get_size(0, 1, nullptr), kivStatusNullPointer);
    EXPECT_EQ(variant.init(nullptr, 0, 1, lifter.data()), kivStatusNullPointer);
    EXPECT_EQ(variant.init_alloc(nullptr, 0, 1, lifter.data()), kivStatusNullPointer);
    if (!variant.sine) {
      EXPECT_EQ(variant.init(block, 0, 1, nullptr), kivStatusNullPointer);
      EXPECT_EQ(variant.init_alloc(&state, 0, 1, nullptr), kivStatusNullPointer);
    }
    EXPECT_EQ(variant.get_size(1 << 30, 1 << 20, &size), kivStatusBadSize) << "more than int holds";
    EXPECT_EQ(size, -1);
    if (variant.sine) {
      EXPECT_EQ(variant.init_alloc(&state, 1 << 20, 1 << 20, nullptr), kivStatusNoMemory);
    }
    EXPECT_EQ(state, nullptr);
    expect_survives_failed_allocations(
        [&] {
          State* made = nullptr;
          const KivStatus status = variant.init_alloc(&made, 12, 12, lifter.data());
          if (status == kivStatusOk) return free_state(made);
          EXPECT_EQ(made, nullptr);
          return status;
        },
        3);
  }
  EXPECT_EQ(free_state(static_cast<State*>(nullptr)), kivStatusNullPointer);
}

TEST(DctLifter, RefusesWhatItCannotBuild) {
  check_construction(kFloatVariants);
  check_construction(kIntegerVariants);
  F* f = nullptr;
  S* s = nullptr;
  EXPECT_EQ(kivsDCTLifterInitAlloc_32f(&f, 12, 12, 0, 1.0F), kivStatusBadSize);
  EXPECT_EQ(kivsDCTLifterInitAlloc_C0_16s(&s, 12, 12, 0, 1.0F), kivStatusBadSize);
  int size = 0;
  EXPECT_EQ(kivsDCTLifterGetSize_MulC0_16s(8193, 2, &size), kivStatusBadSize);
  EXPECT_EQ(kivsDCTLifterGetSize_16s(8193, 2, &size), kivStatusOk);
  Kiv16s word = 0;
  Kiv32s number = 0;
  float x = 0;
  ASSERT_EQ(kivsDCTLifterInitAlloc_32f(&f, 1, 1, 1, 1.0F), kivStatusOk);
  ASSERT_EQ(kivsDCTLifterInitAlloc_16s(&s, 1, 1, 1, 1.0F), kivStatusOk);
  EXPECT_EQ(kivsDCTLifter_32f(nullptr, &x, f), kivStatusNullPointer);
  EXPECT_EQ(kivsDCTLifter_32f(&x, nullptr, f), kivStatusNullPointer);
  EXPECT_EQ(kivsDCTLifter_32f(&x, &x, nullptr), kivStatusNullPointer);
  EXPECT_EQ(kivsDCTLifter_16s_Sfs(&word, &word, nullptr, 0), kivStatusNullPointer);
  EXPECT_EQ(kivsDCTLifter_32s16s_Sfs(&number, nullptr, s, 0), kivStatusNullPointer);
  free_state(f);
  free_state(s);
}

// Sizes are part of the interface on 32-bit systems; elsewhere pointers count with their own size.
TEST(DctLifter, SizesCountEveryWord) {
  const long words = static_cast<long>(sizeof(void*)) - 4;
  for (const auto& [n, k] : kShapes) {
    const long rows = k + 1;
    const long padded = (n + 7) / 8 * 8;
    const long matrix = 4 * (k * padded + k + padded + 8);
    int size;
    for (const auto& variant : kFloatVariants) {
      variant.get_size(n, k, &size);
      EXPECT_EQ(size, 4 * k + 92 + matrix + words * (2 + rows));
    }
    for (const auto& variant : kIntegerVariants) {
      variant.get_size(n, k, &size);
      const bool roomy = variant.sine == false && variant.with_c0;
      const long bytes = roomy ? 8 * k + 100 + (4 * k + 4) + 32 * rows + 4 * n * rows + 32 : 8 * k + 132 + matrix;
      EXPECT_EQ(size, bytes + words * (3 + rows));
    }
  }
}

}  // namespace
}  // namespace kivsr::test
