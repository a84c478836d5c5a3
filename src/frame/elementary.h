// Elementary functions of the mathematical library that leave errno as they found it: no function of this library
// reports through errno.
#pragma once

#include <cerrno>
#include <cmath>

namespace kivsr {

// A value that exists at this point of the program, neither earlier nor later.
template <class T>
inline T in_order(T x) {
  asm volatile("" : "+m"(x) : : "memory");
  return x;
}

// Elementary functions count as free of side effects here (no math errno), so the compiler may move their calls across
// accesses to errno: what must happen in order is pinned.
template <class F, class... A>
inline auto keeping_errno(F f, A... arguments) {
  const int caller = in_order(errno);
  const auto result = in_order(f(in_order(arguments)...));
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
