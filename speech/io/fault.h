// The one error type of the tools: thrown where a fault is met, caught in main, which prints its message as one line
// and exits with status 2. The message is complete: it names the file or the option and says what is wrong with it.
#pragma once

#include <stdexcept>
#include <string>

namespace kivsr::speech {

class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kivsr::speech
