// Argument checks. The order of the arguments of first_failure is the order of the checks:
//
//   return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { kernel(pSrc, pDst, len); });
//
// Predicates that read through a pointer come in a second first_failure after the null test.
#pragma once

#include <cstdint>
#include <type_traits>

#include "kivsr/types.h"

namespace kivsr {

template <class... P>
constexpr KivStatus not_null(const P*... pointers) {
  return ((pointers != nullptr) && ...) ? kivStatusOk : kivStatusNullPointer;
}

constexpr KivStatus require(bool condition, KivStatus otherwise) { return condition ? kivStatusOk : otherwise; }

template <class... N>
constexpr KivStatus positive(N... sizes) {
  return require(((sizes >= 1) && ...), kivStatusBadSize);
}

// The row step reaches over `needed` elements (64 bits wide, so that 3 * width cannot overflow).
constexpr KivStatus step_covers(std::int64_t step, std::int64_t needed) {
  return require(step >= needed, kivStatusBadStep);
}

template <class... S>
constexpr KivStatus first_failure(S... statuses) {
  KivStatus first = kivStatusOk;
  static_cast<void>(((first = statuses, first != kivStatusOk) || ...));
  return first;
}

// The failed check, or else the result of the computation: a KivStatus of its own, or kivStatusOk.
template <class Body>
inline KivStatus run(KivStatus checks, Body&& body) {
  if (checks != kivStatusOk) return checks;
  if constexpr (std::is_void_v<decltype(body())>) {
    body();
    return kivStatusOk;
  } else {
    return body();
  }
}

}  // namespace kivsr
