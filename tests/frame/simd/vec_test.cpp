// The operations of the vector wrapper that act on lanes alone, each against its definition for one element.
#include "frame/simd/vec.h"

#include <tuple>

#include "lanes.h"
#include "support/rounding_modes.h"

namespace kivsr::test {
namespace {

using simd::Mask;
using simd::Vec;
using I = Vec<std::int32_t>;
using Word = std::int32_t;

template <class T>
T fused_where_available(T a, T b, T c) {
#if defined(__FMA__) && !defined(KIVSR_GENERIC)
  return std::fma(a, b, c);
#else
  return a * b + c;
#endif
}

template <class T, class Operation>
T on_bits(Operation operation, T a, T b) {
  using U = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
  return std::bit_cast<T>(static_cast<U>(operation(std::bit_cast<U>(a), std::bit_cast<U>(b))));
}

Word wrapped(std::uint32_t x) { return static_cast<Word>(x); }
std::uint32_t u(Word x) { return static_cast<std::uint32_t>(x); }

template <class T>
class FloatLanes : public ::testing::Test {};
using Floats = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FloatLanes, Floats);

TYPED_TEST(FloatLanes, Arithmetic) {
  using T = TypeParam;
  using V = Vec<T>;
  expect_lanewise<2, T>(
      "+", [](V a, V b) { return a + b; }, [](T a, T b) { return a + b; });
  expect_lanewise<2, T>(
      "-", [](V a, V b) { return a - b; }, [](T a, T b) { return a - b; });
  expect_lanewise<2, T>(
      "*", [](V a, V b) { return a * b; }, [](T a, T b) { return a * b; });
  expect_lanewise<2, T>(
      "/", [](V a, V b) { return a / b; }, [](T a, T b) { return a / b; });
  expect_lanewise<2, T>(
      "max", [](V a, V b) { return max(a, b); }, [](T a, T b) { return a > b ? a : b; });
  expect_lanewise<2, T>(
      "min", [](V a, V b) { return min(a, b); }, [](T a, T b) { return a < b ? a : b; });
  expect_lanewise<1, T>(
      "at_most", [](V a) { return at_most(a, T{1.5}); }, [](T a) { return a > T{1.5} ? T{1.5} : a; });
  expect_lanewise<1, T>(
      "sqrt", [](V a) { return sqrt(a); }, [](T a) { return std::sqrt(a); });
  expect_lanewise<1, T>(
      "abs", [](V a) { return abs(a); }, [](T a) { return std::abs(a); });
  expect_lanewise<3, T>(
      "mul_add", [](V a, V b, V c) { return mul_add(a, b, c); },
      [](T a, T b, T c) { return fused_where_available(a, b, c); });
  expect_lanewise<3, T>(
      "neg_mul_add", [](V a, V b, V c) { return neg_mul_add(a, b, c); },
      [](T a, T b, T c) { return fused_where_available(-a, b, c); });
}

TYPED_TEST(FloatLanes, Bits) {
  using T = TypeParam;
  using V = Vec<T>;
  expect_lanewise<2, T>(
      "&", [](V a, V b) { return a & b; }, [](T a, T b) { return on_bits(std::bit_and(), a, b); });
  expect_lanewise<2, T>(
      "|", [](V a, V b) { return a | b; }, [](T a, T b) { return on_bits(std::bit_or(), a, b); });
  expect_lanewise<2, T>(
      "^", [](V a, V b) { return a ^ b; }, [](T a, T b) { return on_bits(std::bit_xor(), a, b); });
}

TYPED_TEST(FloatLanes, ComparisonAndSelection) {
  using T = TypeParam;
  using V = Vec<T>;
  expect_lanewise<2, T>(
      "<", [](V a, V b) { return a < b; }, [](T a, T b) { return a < b; });
  expect_lanewise<2, T>(
      "<=", [](V a, V b) { return a <= b; }, [](T a, T b) { return a <= b; });
  expect_lanewise<2, T>(
      ">", [](V a, V b) { return a > b; }, [](T a, T b) { return a > b; });
  expect_lanewise<2, T>(
      ">=", [](V a, V b) { return a >= b; }, [](T a, T b) { return a >= b; });
  expect_lanewise<2, T>(
      "==", [](V a, V b) { return a == b; }, [](T a, T b) { return a == b; });
  expect_lanewise<3, T>(
      "& of masks", [](V a, V b, V c) { return (a < b) & (b < c); }, [](T a, T b, T c) { return a < b && b < c; });
  expect_lanewise<3, T>(
      "| of masks", [](V a, V b, V c) { return (a < b) | (b < c); }, [](T a, T b, T c) { return a < b || b < c; });
  expect_lanewise<3, T>(
      "select", [](V a, V b, V c) { return select(a < b, b, c); }, [](T a, T b, T c) { return a < b ? b : c; });
  expect_lanewise<2, T>(
      "keep_where", [](V a, V b) { return keep_where(a < b, b); }, [](T a, T b) { return a < b ? b : T{0}; });
  alignas(4 * sizeof(T)) static constexpr T kThree[4] = {1, -2, 7, 0};
  expect_lanewise<1, T>(
      "choose",
      [](V a) { return choose(simd::one_of_three<T>(a > V::broadcast(T{3}), a > V::broadcast(T{-1})), kThree); },
      [](T a) { return a > 3    ? kThree[0]
                       : a > -1 ? kThree[1]
                                : kThree[2]; });
}

TYPED_TEST(FloatLanes, AnyAndAll) {
  using T = TypeParam;
  using V = Vec<T>;
  for (unsigned set = 0; set < 1U << V::width; ++set) {
    T values[V::width];
    for (unsigned l = 0; l < V::width; ++l) values[l] = static_cast<T>(set >> l & 1U);
    const Mask<T> mask = vector_of<V>(values) > V::zero();
    EXPECT_EQ(bit_mask(mask), set);
    EXPECT_EQ(any(mask), set != 0);
    EXPECT_EQ(all(mask), set + 1 == 1U << V::width);
  }
}

// Exact, but for floats where the estimate of the reciprocal is corrected; then a unit of the smallest subnormal too.
template <class T>
bool is_quotient(T actual, T n, T d) {
#if defined(__SSE2__) && !defined(__AVX2__) && !defined(KIVSR_GENERIC)
  if (sizeof(T) == sizeof(float) && std::isfinite(n / d)) {
    return std::abs(actual - n / d) <= kCorrectedTolerance * std::abs(n / d) + std::numeric_limits<T>::denorm_min();
  }
#endif
  return same_bits(actual, n / d);
}

TYPED_TEST(FloatLanes, QuotientsTellOfZeroDivisors) {
  using T = TypeParam;
  using V = Vec<T>;
  const std::vector<T> values = edge_values<T>();
  for (const T n : values) {
    for (const T d : values) {
      V divisors = V::broadcast(d);
      V q;
      ASSERT_EQ(quotients(V::broadcast(n), divisors, &q), d != 0);
      if (d != 0) {
        ASSERT_TRUE(is_quotient(q.first(), n, d)) << q.first() << " in place of " << n << " / " << d;
      }
      // One zero among the divisors: all of its group are exact.
      T with_zero[V::width];
      store(with_zero, divisors);
      with_zero[1] = 0;
      divisors = simd::load<T>(with_zero);
      ASSERT_FALSE(quotients(V::broadcast(n), divisors, &q));
      if (d != 0) {
        ASSERT_TRUE(same_bits(q.first(), n / d));
      }
    }
  }
}

TEST(Vec, ReciprocalEstimatesHaveTwelveBits) {
  using V = Vec<float>;
  for (const float x : edge_values<float>()) {
    const float reciprocal = reciprocal_estimate(V::broadcast(x)).first();
    const float root = reciprocal_sqrt_estimate(V::broadcast(x)).first();
    if (std::isnan(x)) {
      EXPECT_TRUE(std::isnan(reciprocal) && std::isnan(root));
    } else if (std::isinf(x) || x == 0) {
      EXPECT_EQ(reciprocal, 1 / x);
    } else if (std::isnormal(x) && std::isnormal(1 / x)) {
      EXPECT_TRUE(within_relative(reciprocal, 1 / x, kEstimateTolerance));
      if (x > 0) {
        EXPECT_TRUE(within_relative(root, 1 / std::sqrt(x), kEstimateTolerance));
      }
    }
  }
  EXPECT_EQ(reciprocal_sqrt_estimate(V::zero()).first(), std::numeric_limits<float>::infinity());
}

TEST(Vec, FloorInEveryRoundingMode) {
  using V = Vec<double>;
  std::vector<double> pool = {
      0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 1e-300, -1e-300, 2251799813685247.5, -2251799813685247.5};
  for (const double x : edge_values<double>()) {
    if (std::abs(x) < std::ldexp(1.0, 51)) pool.push_back(x);
  }
  const auto results = under_rounding_modes([&] {
    std::vector<double> floors;
    for (const double x : pool) floors.push_back(floor(V::broadcast(x)).first());
    return floors;
  });
  for (const auto& floors : results) {
    for (std::size_t i = 0; i < pool.size(); ++i) EXPECT_EQ(floors[i], std::floor(pool[i])) << pool[i];
  }
}

TEST(Vec, ProductsShiftedRight) {
  expect_lanewise<2, Word>(
      "23 by 32 bits", [](I a, I b) { return simd::product_shifted<29>(a & I::broadcast(0x7FFFFF), b); },
      [](Word a, Word b) {
        return wrapped(static_cast<std::uint32_t>((std::uint64_t{u(a)} & 0x7FFFFF) * u(b) >> 29));
      });
  expect_lanewise<2, Word>(
      "16 by 16 bits, rounded up",
      [](I a, I b) { return simd::product_shifted<3>(a & I::broadcast(0xFFFF), b & I::broadcast(0xFFFF), 7); },
      [](Word a, Word b) {
        return wrapped(static_cast<std::uint32_t>(((u(a) & 0xFFFFULL) * (u(b) & 0xFFFFULL) + 7) >> 3));
      });
}

TEST(Vec, IntegerLanes) {
  expect_lanewise<2, Word>(
      "+", [](I a, I b) { return a + b; }, [](Word a, Word b) { return wrapped(u(a) + u(b)); });
  expect_lanewise<2, Word>(
      "-", [](I a, I b) { return a - b; }, [](Word a, Word b) { return wrapped(u(a) - u(b)); });
  expect_lanewise<2, Word>(
      "&", [](I a, I b) { return a & b; }, [](Word a, Word b) { return a & b; });
  expect_lanewise<2, Word>(
      "|", [](I a, I b) { return a | b; }, [](Word a, Word b) { return a | b; });
  expect_lanewise<2, Word>(
      "^", [](I a, I b) { return a ^ b; }, [](Word a, Word b) { return a ^ b; });
  expect_lanewise<2, Word>(
      "max", [](I a, I b) { return max(a, b); }, [](Word a, Word b) { return std::max(a, b); });
  expect_lanewise<2, Word>(
      "min", [](I a, I b) { return min(a, b); }, [](Word a, Word b) { return std::min(a, b); });
  expect_lanewise<2, Word>(
      "<", [](I a, I b) { return a < b; }, [](Word a, Word b) { return a < b; });
  expect_lanewise<2, Word>(
      ">", [](I a, I b) { return a > b; }, [](Word a, Word b) { return a > b; });
  expect_lanewise<2, Word>(
      "==", [](I a, I b) { return a == b; }, [](Word a, Word b) { return a == b; });
  expect_lanewise<3, Word>(
      "& of masks", [](I a, I b, I c) { return (a < b) & (b < c); },
      [](Word a, Word b, Word c) { return a < b && b < c; });
  expect_lanewise<3, Word>(
      "| of masks", [](I a, I b, I c) { return (a < b) | (b < c); },
      [](Word a, Word b, Word c) { return a < b || b < c; });
  expect_lanewise<3, Word>(
      "select", [](I a, I b, I c) { return select(a < b, b, c); },
      [](Word a, Word b, Word c) { return a < b ? b : c; });
  expect_lanewise<2, Word>(
      "as_integer", [](I a, I b) { return as_integer(a < b); }, [](Word a, Word b) { return a < b ? -1 : 0; });
  expect_lanewise<2, Word>(
      "multiply_words", [](I a, I b) { return multiply_words(a, b); },
      [](Word a, Word b) { return static_cast<std::int16_t>(a) * static_cast<std::int16_t>(b); });
  for (int n = 0; n < 40; ++n) {
    expect_lanewise<1, Word>(
        "shift_left", [&](I a) { return shift_left(a, n); }, [&](Word a) { return n > 31 ? 0 : wrapped(u(a) << n); });
    expect_lanewise<1, Word>(
        "shift_right", [&](I a) { return shift_right(a, n); }, [&](Word a) { return a >> std::min(n, 31); });
  }
}

TEST(Vec, BitsOfFloats) {
  using V = Vec<float>;
  expect_lanewise<1, float>(
      "bits", [](V a) { return bits(a); }, [](float a) { return std::bit_cast<Word>(a); });
  expect_lanewise<1, Word>(
      "from_bits", [](I a) { return from_bits(a); }, [](Word a) { return std::bit_cast<float>(a); });
  expect_lanewise<2, float>(
      "as_integer", [](V a, V b) { return as_integer(a < b); }, [](float a, float b) { return a < b ? -1 : 0; });
}

// --- conversion: by the mode in force, INT32_MIN for what has no integer ------------------------------------------

Word to_integer(double x, bool truncate) {
  const double y = truncate ? std::trunc(x) : std::nearbyint(x);
  return y >= -2147483648.0 && y < 2147483648.0 ? static_cast<Word>(y) : std::numeric_limits<Word>::min();
}

TEST(Vec, ConversionsUnderEveryRoundingMode) {
  using V = Vec<float>;
  using D = Vec<double>;
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    const RoundingMode in_force(mode);
    expect_lanewise<1, float>(
        "round_to_integer", [](V a) { return round_to_integer(a); }, [](float a) { return to_integer(a, false); });
    expect_lanewise<1, float>(
        "truncate_to_integer", [](V a) { return truncate_to_integer(a); }, [](float a) { return to_integer(a, true); });
    std::vector<double> pool = edge_values<double>();
    while (pool.size() % D::width != 0) pool.push_back(0);
    for (std::size_t i = 0; i < pool.size(); i += D::width) {
      const D values = vector_of<D>(pool.data() + i);
      Word rounded[D::width];
      Word truncated[D::width];
      std::int16_t words[D::width];
      store_rounded(rounded, values);
      store_truncated(truncated, values);
      store_rounded(words, values);
      for (std::size_t l = 0; l < D::width; ++l) {
        const Word integer = to_integer(pool[i + l], false);
        EXPECT_EQ(rounded[l], integer) << pool[i + l];
        EXPECT_EQ(truncated[l], to_integer(pool[i + l], true)) << pool[i + l];
        EXPECT_EQ(words[l], std::min(32767, std::max(-32768, integer))) << pool[i + l];
      }
    }
  }
  expect_lanewise<1, Word>(
      "to_float", [](I a) { return to_float(a); }, [](Word a) { return static_cast<float>(a); });
}

// --- parts of doubles -----------------------------------------------------------------------------------------------

std::vector<double> normal_doubles(int least, int most, double low) {
  Random random(3);
  std::vector<double> values = {1.0, 1.5, std::nextafter(2.0, 0.0)};
  for (int i = 0; i < 61; ++i) values.push_back(std::ldexp(random.uniform(low, 2), random.integer(least, most)));
  return values;
}

TEST(Vec, PartsOfDoubles) {
  using D = Vec<double>;
  const std::vector<double> normal = normal_doubles(-1020, 1020, 1);
  expect_lanewise<1, double>(
      "mantissa", [](D a) { return mantissa(a); }, [](double a) { return std::ldexp(a, -std::ilogb(a)); }, normal);
  for (std::size_t i = 0; i + D::width <= normal.size(); i += D::width) {
    const auto fields = exponent_field(vector_of<D>(normal.data() + i));
    std::int64_t exponents[D::width];
    std::memcpy(exponents, &fields, sizeof exponents);
    for (std::size_t l = 0; l < D::width; ++l) EXPECT_EQ(exponents[l], 1023 + std::ilogb(normal[i + l]));
  }
  for (int n = -300; n <= 300; n += 25) {
    expect_lanewise<1, double>(
        "scale_by_power_of_two", [&](D a) { return scale_by_power_of_two(a, D::broadcast(n + 6755399441055744.0)); },
        [&](double a) { return std::ldexp(a, n); }, normal_doubles(-600, 600, -2));
  }
  expect_lanewise<2, double>(
      "product_error", [](D a, D b) { return product_error(a, b, a * b); },
      [](double a, double b) { return std::fma(a, b, -(a * b)); }, normal_doubles(-200, 200, -2));
}

}  // namespace
}  // namespace kivsr::test
