// Elementary functions of the mathematical library that leave errno as they found it: no function of this library
// reports through errno.
#pragma once

#include <cerrno>
#include <cmath>

namespace kivsr {

template <class F, class... A>
inline auto keeping_errno(F f, A... arguments) {
  const int caller = errno;
  const auto result = f(arguments...);
  errno = caller;
  return result;
}

inline double natural_log(double x) {
  return keeping_errno([](double v) { return std::log(v); }, x);
}
inline double binary_log(double x) {
  return keeping_errno([](double v) { return std::log2(v); }, x);
}
inline double exponential(double x) {
  return keeping_errno([](double v) { return std::exp(v); }, x);
}

}  // namespace kivsr
