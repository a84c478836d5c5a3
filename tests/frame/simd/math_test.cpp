// The elementary functions of the vector wrapper keep the errors that their comments name.
#include "frame/simd/math.h"

#include "lanes.h"

namespace kivsr::test {
namespace {

using simd::Vec;

// The largest error in units of the last place over `count` arguments, one vector of them at a time.
template <class T, class Function, class Truth>
void expect_error_below(double units, Function function, Truth truth, const std::vector<T>& arguments) {
  using V = Vec<T>;
  for (std::size_t i = 0; i + V::width <= arguments.size(); i += V::width) {
    const auto results = lanes(function(vector_of<V>(arguments.data() + i)));
    for (std::size_t l = 0; l < V::width; ++l) {
      const T x = arguments[i + l];
      const double error = std::abs(static_cast<double>(results[l] - truth(static_cast<long double>(x)))) /
                           unit<T>(static_cast<double>(truth(static_cast<long double>(x))));
      ASSERT_LT(error, units) << "at " << x << ": " << results[l];
    }
  }
}

TEST(Math, Logarithm) {
  std::vector<float> arguments = {1, 2, 0.5F, std::numeric_limits<float>::min(), std::numeric_limits<float>::max()};
  for (const float root : {0.70710678F, 1.41421356F, 1.0F}) {  // the ends of the reduced range and its centre
    float below = root;
    float above = root;
    for (int i = 0; i < 400; ++i) {
      arguments.push_back(below = std::nextafter(below, 0.0F));
      arguments.push_back(above = std::nextafter(above, 9.0F));
    }
  }
  Random random(1);
  for (int i = 0; i < 100000; ++i) {
    arguments.push_back(static_cast<float>(std::ldexp(random.uniform(1, 2), random.integer(-126, 127))));
  }
  expect_error_below<float>(
      1.0, [](auto x) { return log_normal(x); }, [](long double x) { return std::log(x); }, arguments);
}

TEST(Math, ArgumentsOfTheLogarithm) {
  using V = Vec<float>;
  for (std::size_t lane = 0; lane < V::width; ++lane) {
    for (const float x : edge_values<float>()) {
      std::array<float, V::width> values;
      values.fill(3.0F);
      values[lane] = x;
      EXPECT_EQ(simd::all_positive_normal(vector_of<V>(values.data())), std::isnormal(x) && x > 0) << x;
    }
  }
}

template <class T>
void expect_exponential(double lowest, double units) {
  using V = Vec<T>;
  std::vector<T> arguments = {0, -T{0}, static_cast<T>(lowest), -std::numeric_limits<T>::denorm_min()};
  Random random(1);
  for (int i = 0; i < 50000; ++i) arguments.push_back(static_cast<T>(random.uniform(lowest, 0)));
  for (int i = 0; i < 50000; ++i) arguments.push_back(static_cast<T>(-std::exp2(random.uniform(-60, 0))));
  const auto exponential = [](V x) { return exp_nonpositive(x); };
  expect_error_below<T>(
      units, exponential, [](long double x) { return std::exp(x); }, arguments);
  using L = std::numeric_limits<T>;
  const T least = exponential(V::broadcast(static_cast<T>(lowest))).first();
  for (const T x : {static_cast<T>(lowest - 1), L::lowest(), -L::infinity(), L::quiet_NaN()}) {
    EXPECT_EQ(exponential(V::broadcast(x)).first(), least) << x;
  }
}

TEST(Math, ExponentialOfFloats) { expect_exponential<float>(-80, 2); }
TEST(Math, ExponentialOfDoubles) { expect_exponential<double>(-700, 2); }

}  // namespace
}  // namespace kivsr::test
