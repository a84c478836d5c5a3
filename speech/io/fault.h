// What the speech library throws for files and settings that cannot be used, as a message of one line that is complete:
// it names the file or the setting and says what is wrong with it. A library function that refuses a call throws
// kivsr::Error instead: that is a mistake in the program, or no memory.
#pragma once

#include <stdexcept>
#include <string>

namespace kivsr::speech {

class Fault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kivsr::speech
