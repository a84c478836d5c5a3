// Owners of the library's state objects: LibraryObject<State, free function> releases the object that an InitAlloc
// made.
#pragma once

#include <memory>

#include "kivsr.h"

namespace kivsr::speech {

template <auto Release>
struct Releaser {
  template <class State>
  void operator()(State* state) const {
    (void)Release(state);
  }
};

template <class State, auto Release>
using LibraryObject = std::unique_ptr<State, Releaser<Release>>;

}  // namespace kivsr::speech
