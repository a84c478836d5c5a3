// A file without a name in the folder for temporary files. It ends when its descriptor is closed.
#pragma once

namespace kivsr::speech {

// Throws Fault where there is no room.
int open_temporary_file();

}  // namespace kivsr::speech
