// Resampling: the definition summed in double precision, levels and noise of tones, the cut into calls, samples that
// are no numbers, statuses.
#include "kivsr/frontend/resample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "kivsr.h"
#include "support/accuracy.h"
#include "support/failed_allocations.h"
#include "support/guarded.h"
#include "support/random.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

constexpr float kPassBand = 0.925F;
constexpr float kStopBand = 130.0F;

template <class T>
struct Form;
template <>
struct Form<float> {
  using State = KivsResampleState_32f;
  static constexpr auto get_size = kivsResamplePolyphaseGetSize_32f;
  static constexpr auto init = kivsResamplePolyphaseInit_32f;
  static constexpr auto init_alloc = kivsResamplePolyphaseInitAlloc_32f;
  static constexpr auto free = kivsResamplePolyphaseFree_32f;
  static constexpr auto reset = kivsResamplePolyphaseReset_32f;
  static constexpr auto get_delay = kivsResamplePolyphaseGetDelay_32f;
  static constexpr auto get_dst_len = kivsResamplePolyphaseGetDstLen_32f;
  static constexpr auto resample = kivsResamplePolyphase_32f;
  static constexpr auto flush = kivsResamplePolyphaseFlush_32f;
};
template <>
struct Form<Kiv16s> {
  using State = KivsResampleState_16s;
  static constexpr auto get_size = kivsResamplePolyphaseGetSize_16s;
  static constexpr auto init = kivsResamplePolyphaseInit_16s;
  static constexpr auto init_alloc = kivsResamplePolyphaseInitAlloc_16s;
  static constexpr auto free = kivsResamplePolyphaseFree_16s;
  static constexpr auto reset = kivsResamplePolyphaseReset_16s;
  static constexpr auto get_delay = kivsResamplePolyphaseGetDelay_16s;
  static constexpr auto get_dst_len = kivsResamplePolyphaseGetDstLen_16s;
  static constexpr auto resample = kivsResamplePolyphase_16s;
  static constexpr auto flush = kivsResamplePolyphaseFlush_16s;
};

// A state in a block of exactly the reported size before an unreadable page, at the alignment of a pointer.
template <class T>
class Stream {
  using F = Form<T>;

 public:
  Stream(int in, int out, float pass_band = kPassBand, float stop_band = kStopBand)
      : memory_(size_of(in, out, pass_band, stop_band)) {
    EXPECT_EQ(F::init(state(), in, out, pass_band, stop_band), kivStatusOk);
  }
  typename F::State* state() { return reinterpret_cast<typename F::State*>(memory_.data()); }
  int delay() {
    int result = -1;
    EXPECT_EQ(F::get_delay(state(), &result), kivStatusOk);
    return result;
  }
  // The outputs of some samples, written into as much room as GetDstLen asks for.
  std::vector<T> push(const T* samples, int count) {
    const Guarded<T> src(std::vector<T>(samples, samples + count));
    Guarded<T> dst(room(count));
    int given = -1;
    EXPECT_EQ(F::resample(src.data(), count, dst.data(), &given, state()), kivStatusOk);
    EXPECT_LE(given, static_cast<int>(dst.size()));
    return {dst.begin(), dst.begin() + given};
  }
  std::vector<T> flush() {
    Guarded<T> dst(room(0));
    int given = -1;
    EXPECT_EQ(F::flush(dst.data(), &given, state()), kivStatusOk);
    EXPECT_LE(given, static_cast<int>(dst.size()));
    return {dst.begin(), dst.begin() + given};
  }
  std::vector<T> whole(const std::vector<T>& samples) {
    std::vector<T> result = push(samples.data(), static_cast<int>(samples.size()));
    const std::vector<T> rest = flush();
    result.insert(result.end(), rest.begin(), rest.end());
    return result;
  }

 private:
  static std::size_t size_of(int in, int out, float pass_band, float stop_band) {
    int bytes = 0;
    EXPECT_EQ(F::get_size(in, out, pass_band, stop_band, &bytes), kivStatusOk);
    return (static_cast<std::size_t>(bytes) + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*);
  }
  std::size_t room(int count) {
    int most = -1;
    EXPECT_EQ(F::get_dst_len(state(), count, &most), kivStatusOk);
    return static_cast<std::size_t>(most);
  }
  Guarded<Kiv8u> memory_;
};

struct Rates {
  int in, out;
};
// Blocks of transforms for all but the last two, whose factors 53 and 37 have no passes.
constexpr Rates kRates[] = {{44100, 16000}, {48000, 16000}, {16000, 8000}, {11025, 8000},
                            {16000, 44100}, {16000, 48000}, {8000, 16000}, {11000, 8000},
                            {44100, 48000}, {53, 48},       {16000, 37000}};

int count_after(const Rates& rates, int count) {
  return static_cast<int>((std::int64_t{count} * rates.out + rates.in - 1) / rates.in);
}

// The filter as documented, in double precision.
class Filter {
 public:
  Filter(const Rates& rates, double pass_band, double stop_band) {
    const double nyquist = 0.5 * std::min(1.0, static_cast<double>(rates.out) / rates.in);
    cutoff_ = nyquist * (1 + pass_band) / 2;
    const double attenuation = std::max(stop_band, 60.0) + 1;
    half = static_cast<int>(std::ceil((attenuation - 7.95) / (14.36 * nyquist * (1 - pass_band)) / 2 + 1));
    beta_ = 0.1102 * (attenuation - 8.7);
  }
  double operator()(double t) const {
    if (std::abs(t) >= half) return 0;
    const double angle = 2 * std::numbers::pi * cutoff_ * t;
    const double window =
        std::cyl_bessel_i(0.0, beta_ * std::sqrt(1 - t * t / half / half)) / std::cyl_bessel_i(0.0, beta_);
    return 2 * cutoff_ * (t == 0 ? 1 : std::sin(angle) / angle) * window;
  }
  int half;

 private:
  double cutoff_, beta_;
};

double level(const std::vector<float>& x, std::size_t begin, std::size_t end) {
  double power = 0;
  for (std::size_t i = begin; i < end; ++i) power += static_cast<double>(x[i]) * x[i];
  return 10 * std::log10(power / static_cast<double>(end - begin));
}

TEST(Resample, IsTheSumOfTheDefinition) {
  Random random;
  for (const Rates rates : kRates) {
    for (const auto& [pass_band, stop_band] : {std::pair(kPassBand, kStopBand), std::pair(0.8F, 80.0F)}) {
      SCOPED_TRACE(::testing::Message() << rates.in << " to " << rates.out << ", " << stop_band << " dB");
      const Filter filter(rates, static_cast<double>(pass_band), static_cast<double>(stop_band));
      const int count = 8000 + 7 * filter.half;
      const std::vector<float> samples = random.values<float>(static_cast<std::size_t>(count), -1, 1);
      const std::vector<float> output = Stream<float>(rates.in, rates.out, pass_band, stop_band).whole(samples);
      ASSERT_EQ(output.size(), static_cast<std::size_t>(count_after(rates, count)));
      double worst = 0;
      double gain = 0;
      for (int k = -filter.half; k <= filter.half; ++k) gain += filter(k);
      // Some in each part of the signal, its ends among them.
      for (std::int64_t n = 0; n < static_cast<std::int64_t>(output.size()); n += n < 40 ? 1 : 37) {
        if (n + 80 > static_cast<std::int64_t>(output.size()) &&
            n + 80 - 37 <= static_cast<std::int64_t>(output.size())) {
          n = static_cast<std::int64_t>(output.size()) - 3;
        }
        const std::int64_t at = n * rates.in / rates.out;
        const double fraction = static_cast<double>(n * rates.in % rates.out) / rates.out;
        double sum = 0;
        for (std::int64_t k = std::max<std::int64_t>(at - filter.half, 0); k <= at + filter.half + 1 && k < count;
             ++k) {
          sum += samples[static_cast<std::size_t>(k)] * filter(static_cast<double>(at - k) + fraction) / gain;
        }
        worst = std::max(worst, std::abs(output[static_cast<std::size_t>(n)] - sum));
      }
      EXPECT_LE(worst, 8e-7 + std::pow(10, -static_cast<double>(stop_band) / 20) * 2);
    }
  }
}

// Tones of every kind: level and noise of those that pass, what is left of those that must not.
TEST(Resample, TonesPassOrVanish) {
  for (const Rates rates : kRates) {
    SCOPED_TRACE(::testing::Message() << rates.in << " to " << rates.out);
    const double nyquist = std::min(rates.in, rates.out) / 2.0;
    const int count = std::max(60000, 60000 / rates.out * rates.in);
    const auto tone = [&](double hertz) {
      std::vector<float> x(static_cast<std::size_t>(count));
      for (int i = 0; i < count; ++i) {
        x[static_cast<std::size_t>(i)] =
            static_cast<float>(0.9 * std::sin(2 * std::numbers::pi * hertz / rates.in * i));
      }
      return x;
    };
    Stream<float> stream(rates.in, rates.out);
    for (const double part : {0.011, 0.1237, 0.5, 0.777, 0.9, 0.925}) {
      const std::vector<float> y = stream.whole(tone(part * nyquist));
      const double step = 2 * std::numbers::pi * part * nyquist / rates.out;
      const std::size_t begin = y.size() / 8, end = y.size() / 8 * 7;
      double sum = 0, shift = 0, error = 0;
      for (std::size_t n = begin; n < end; ++n) {
        sum += y[n] * std::sin(step * static_cast<double>(n));
        shift += y[n] * std::cos(step * static_cast<double>(n));
      }
      const double scale = 2 / static_cast<double>(end - begin);
      EXPECT_NEAR(20 * std::log10(sum * scale / 0.9), 0, 0.01) << part;
      EXPECT_NEAR(shift * scale / 0.9, 0, 1e-3) << part;  // no delay
      // What a sine does not explain, by least squares.
      double ss = 0, sc = 0, cc = 0;
      for (std::size_t n = begin; n < end; ++n) {
        const double s = std::sin(step * static_cast<double>(n)), c = std::cos(step * static_cast<double>(n));
        ss += s * s;
        sc += s * c;
        cc += c * c;
      }
      const double det = ss * cc - sc * sc;
      const double a = (sum * cc - shift * sc) / det, b = (shift * ss - sum * sc) / det;
      for (std::size_t n = begin; n < end; ++n) {
        const double d =
            y[n] - a * std::sin(step * static_cast<double>(n)) - b * std::cos(step * static_cast<double>(n));
        error += d * d;
      }
      const double sinad = 10 * std::log10((a * a + b * b) / 2 / (error / static_cast<double>(end - begin)));
      EXPECT_GE(sinad, 136.8) << part;
    }
    for (const double part : {1.0, 1.004, 1.02, 1.1, 1.3, 1.9, 2.7}) {
      if (part * nyquist >= rates.in / 2.0) break;
      const std::vector<float> y = stream.whole(tone(part * nyquist));
      const double left = level(y, y.size() / 8, y.size() / 8 * 7) - 20 * std::log10(0.9) + 3.0103;
      EXPECT_LE(left, -128) << part;
    }
  }
}

TEST(Resample, TheCutIntoCallsDoesNotMatter) {
  Random random(7);
  for (const Rates rates : {kRates[0], kRates[1], kRates[5], kRates[9], kRates[10]}) {
    SCOPED_TRACE(::testing::Message() << rates.in << " to " << rates.out);
    const std::vector<float> samples = random.values<float>(9000, -1, 1);
    Stream<float> stream(rates.in, rates.out);
    const std::vector<float> whole = stream.whole(samples);
    ASSERT_EQ(whole.size(), static_cast<std::size_t>(count_after(rates, 9000)));
    for (const int most : {1, 160, 5000}) {
      std::vector<float> output;
      int position = 0;
      while (position < 9000) {
        const int part = std::min(random.integer(most == 1 ? 1 : 0, most), 9000 - position);
        const std::vector<float> given = stream.push(samples.data() + position, part);
        output.insert(output.end(), given.begin(), given.end());
        position += part;
        // Outputs at the time of sample t are out once sample t + delay is in.
        const std::int64_t settled = position - stream.delay();
        ASSERT_GE(static_cast<std::int64_t>(output.size()) * rates.in, settled > 0 ? (settled - 1) * rates.out : 0);
      }
      const std::vector<float> rest = stream.flush();
      output.insert(output.end(), rest.begin(), rest.end());
      expect_exact(output, whole);
    }
    // Given up in the middle and begun again.
    static_cast<void>(stream.push(samples.data(), 777));
    ASSERT_EQ(kivsResamplePolyphaseReset_32f(stream.state()), kivStatusOk);
    expect_exact(stream.whole(samples), whole);
  }
}

TEST(Resample, ShortSignals) {
  for (const Rates rates : kRates) {
    Stream<float> stream(rates.in, rates.out);
    EXPECT_TRUE(stream.whole({}).empty());
    for (const int count : {1, 2, 3, 50}) {
      EXPECT_EQ(stream.whole(std::vector<float>(static_cast<std::size_t>(count), 1.0F)).size(),
                static_cast<std::size_t>(count_after(rates, count)));
    }
  }
}

TEST(Resample, EqualRatesPassSamplesAsTheyAre) {
  std::vector<float> samples = Random(3).values<float>(1000, -1, 1);
  samples[7] = std::numeric_limits<float>::infinity();
  samples[8] = -0.0F;
  expect_exact(Stream<float>(16000, 16000).whole(samples), samples);
  EXPECT_EQ(Stream<float>(7, 7).delay(), 0);
  const std::vector<Kiv16s> integers = Random(3).values<Kiv16s>(1000, -32768, 32767);
  expect_exact(Stream<Kiv16s>(8000, 8000).whole(integers), integers);
}

TEST(Resample, WhatIsNoNumberLeavesAfterAFilterLength) {
  for (const Rates rates : {kRates[1], kRates[4], kRates[9], kRates[10]}) {
    SCOPED_TRACE(::testing::Message() << rates.in << " to " << rates.out);
    const Filter filter(rates, static_cast<double>(kPassBand), static_cast<double>(kStopBand));
    std::vector<float> samples = Random(5).values<float>(12000, -1, 1);
    Stream<float> stream(rates.in, rates.out);
    const std::vector<float> clean = stream.whole(samples);
    constexpr int kPlace = 5003;
    for (const float value : {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
      samples[kPlace] = value;
      const std::vector<float> output = stream.whole(samples);
      ASSERT_EQ(output.size(), clean.size());
      int lost = 0;
      for (std::size_t n = 0; n < output.size(); ++n) {
        const double distance = std::abs(static_cast<double>(n) * rates.in / rates.out - kPlace);
        if (distance > filter.half + 1) {
          ASSERT_NEAR(output[n], clean[n], 2e-6) << n;
        } else if (distance < filter.half - 1) {
          ASSERT_FALSE(std::isfinite(output[n])) << n;
          ++lost;
        }
      }
      EXPECT_NEAR(lost, 2.0 * filter.half * rates.out / rates.in, 8.0);
    }
  }
}

TEST(Resample, IntegersAreTheRoundedResults) {
  Random random(9);
  for (const Rates rates : {kRates[1], kRates[6], kRates[10]}) {
    std::vector<Kiv16s> samples = random.values<Kiv16s>(5000, -32768, 32767);
    std::fill(samples.begin() + 2000, samples.begin() + 2400, Kiv16s{32767});  // saturates where it rings
    const std::vector<float> exact =
        Stream<float>(rates.in, rates.out).whole(std::vector<float>(samples.begin(), samples.end()));
    std::vector<Kiv16s> expected;
    for (const float x : exact) {
      expected.push_back(static_cast<Kiv16s>(std::clamp(std::nearbyint(x), -32768.0F, 32767.0F)));
    }
    EXPECT_NE(std::count(expected.begin(), expected.end(), 32767), 0);
    for (const auto& result :
         under_rounding_modes([&] { return Stream<Kiv16s>(rates.in, rates.out).whole(samples); })) {
      expect_exact(result, expected);
    }
  }
}

template <class T>
void expect_statuses_of_construction() {
  using F = Form<T>;
  using State = typename F::State;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  struct Arguments {
    int in, out;
    float pass_band, stop_band;
  };
  int size = -5;
  std::vector<Kiv8u> memory(64, 0xA5);
  auto* const untouched = reinterpret_cast<State*>(memory.data());
  State* state = untouched;
  EXPECT_EQ(F::get_size(0, 0, 0, 0, nullptr), kivStatusNullPointer);
  EXPECT_EQ(F::init(nullptr, 0, 0, 0, 0), kivStatusNullPointer);
  EXPECT_EQ(F::init_alloc(nullptr, 0, 0, 0, 0), kivStatusNullPointer);
  for (const Arguments& a : {Arguments{0, 8000, 0.9F, 100},
                             {8000, -1, 0.9F, 100},
                             {8000, 16000, 0.49F, 100},
                             {8000, 16000, 0.981F, 100},
                             {8000, 16000, nan, 100},
                             {8000, 16000, 0.9F, 39.9F},
                             {8000, 16000, 0.9F, 160.1F},
                             {8000, 16000, 0.9F, nan},
                             {767999, 16000, 0.925F, 130},
                             {2147483647, 2147483646, 0.925F, 130},
                             {1, 2147483647, 0.925F, 130},
                             {2147483647, 1, 0.925F, 130}}) {
    EXPECT_EQ(F::get_size(a.in, a.out, a.pass_band, a.stop_band, &size), kivStatusBadArgument) << a.in;
    EXPECT_EQ(F::init(untouched, a.in, a.out, a.pass_band, a.stop_band), kivStatusBadArgument);
    EXPECT_EQ(F::init_alloc(&state, a.in, a.out, a.pass_band, a.stop_band), kivStatusBadArgument);
  }
  EXPECT_EQ(size, -5);
  EXPECT_EQ(state, untouched);
  EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xA5), 64);
  for (const Rates rates : {kRates[1], kRates[9]}) {
    expect_survives_failed_allocations([&] {
      state = untouched;
      const KivStatus status = F::init_alloc(&state, rates.in, rates.out, 0.9F, 100);
      if (status == kivStatusOk) return F::free(state);
      EXPECT_EQ(state, untouched);
      return status;
    });
  }
  EXPECT_EQ(F::free(nullptr), kivStatusNullPointer);
}

template <class T>
void expect_statuses_of_streams() {
  using F = Form<T>;
  Stream<T> stream(1, 1000);
  T sample = 1;
  std::vector<T> output(2000, T{7});
  int length = -5;
  EXPECT_EQ(F::reset(nullptr), kivStatusNullPointer);
  EXPECT_EQ(F::get_delay(nullptr, &length), kivStatusNullPointer);
  EXPECT_EQ(F::get_delay(stream.state(), nullptr), kivStatusNullPointer);
  EXPECT_EQ(F::get_dst_len(nullptr, -1, &length), kivStatusNullPointer);
  EXPECT_EQ(F::get_dst_len(stream.state(), -1, nullptr), kivStatusNullPointer);
  EXPECT_EQ(F::get_dst_len(stream.state(), -1, &length), kivStatusBadSize);
  EXPECT_EQ(F::get_dst_len(stream.state(), 2147483647, &length), kivStatusBadSize);
  EXPECT_EQ(F::resample(nullptr, -1, output.data(), &length, stream.state()), kivStatusNullPointer);
  EXPECT_EQ(F::resample(&sample, -1, nullptr, &length, stream.state()), kivStatusNullPointer);
  EXPECT_EQ(F::resample(&sample, -1, output.data(), nullptr, stream.state()), kivStatusNullPointer);
  EXPECT_EQ(F::resample(&sample, -1, output.data(), &length, nullptr), kivStatusNullPointer);
  EXPECT_EQ(F::resample(&sample, -1, output.data(), &length, stream.state()), kivStatusBadSize);
  EXPECT_EQ(F::resample(&sample, 2147483647, output.data(), &length, stream.state()), kivStatusBadSize);
  EXPECT_EQ(F::flush(nullptr, &length, stream.state()), kivStatusNullPointer);
  EXPECT_EQ(F::flush(output.data(), nullptr, stream.state()), kivStatusNullPointer);
  EXPECT_EQ(F::flush(output.data(), &length, nullptr), kivStatusNullPointer);
  EXPECT_EQ(length, -5);
  EXPECT_EQ(std::count(output.begin(), output.end(), T{7}), 2000);
}

TEST(Resample, Statuses) {
  expect_statuses_of_construction<float>();
  expect_statuses_of_construction<Kiv16s>();
  expect_statuses_of_streams<float>();
  expect_statuses_of_streams<Kiv16s>();
}

}  // namespace
}  // namespace kivsr::test
