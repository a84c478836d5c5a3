// The one error type of the tools: thrown where a fault is met, caught in main, which prints its message as one line
// and exits with status 2. The message is complete: it names the file or the option and says what is wrong with it.
#pragma once

#include <stdexcept>
#include <string>

#include "kivsr.h"

namespace kivsr::speech {

class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws a Fault that names the library function if its status is an error; passes warnings on.
inline KivStatus check(KivStatus status, const char* function) {
  if (status == kivStatusNoMemory) throw Fault(std::string(function) + ": out of memory");
  if (status < kivStatusOk) {
    throw Fault(std::string(function) + " refused its arguments with status " + std::to_string(status));
  }
  return status;
}

}  // namespace kivsr::speech
