// The program is written in the words of the speech library.
#pragma once

namespace kivsr::speech {}

namespace kivsr::program {

using namespace kivsr::speech;

}  // namespace kivsr::program
