// ARM64: the control register holds the rounding mode of every format and what traps, the status register the flags.
// Read control.h first.
#pragma once

#include <cstdint>

namespace kivsr::simd {

inline std::uint64_t rounding() {
  std::uint64_t word;
  asm volatile("mrs %0, fpcr" : "=r"(word));
  return word;
}
inline void set_rounding(std::uint64_t word) { asm volatile("msr fpcr, %0" : : "r"(word) : "memory"); }
inline bool is_nearest(std::uint64_t word) { return (word & 0x00C00000U) == 0; }
inline std::uint64_t nearest(std::uint64_t word) { return word & ~std::uint64_t{0x00C00000}; }

// long double is computed in software by the same mode.
inline std::uint64_t extended_rounding() { return rounding(); }
inline void set_extended_rounding(std::uint64_t word) { set_rounding(word); }
inline std::uint64_t extended_nearest(std::uint64_t word) { return nearest(word); }

inline constexpr std::uint64_t kInvalidFlag = 0x0001;
inline constexpr std::uint64_t kWatchedFlags = kInvalidFlag | 0x0002;  // division by zero
inline constexpr std::uint64_t kTraps = 0x9F00;

inline std::uint64_t flags() {
  std::uint64_t word;
  asm volatile("mrs %0, fpsr" : "=r"(word) : : "memory");
  return word;
}
inline void set_flags(std::uint64_t word) { asm volatile("msr fpsr, %0" : : "r"(word) : "memory"); }

struct CallerState {
  std::uint64_t control, flags;
};
inline CallerState start_watch() {
  const CallerState caller = {rounding(), flags()};
  set_rounding(nearest(caller.control & ~kTraps));
  set_flags(caller.flags & ~kWatchedFlags);
  return caller;
}
inline bool undefined_met() { return (flags() & kWatchedFlags) != 0; }
inline void end_watch(const CallerState& caller) {
  set_rounding(caller.control);
  set_flags(caller.flags & ~kInvalidFlag);
}

}  // namespace kivsr::simd
