// Pipes (FIFOs, standard input) that are read more than once: all that comes through one is kept in a temporary file
// without a name for as long as the process runs.
#pragma once

#include <filesystem>

namespace kivsr::speech {

// From now on whoever reads it by its name finds all of it. Waits for its end. Of any other file nothing changes.
// Throws Fault where there is no room.
void keep_pipe(const std::filesystem::path& file);

// A descriptor at the start of what was kept, for the caller to close; -1: nothing was.
int open_kept(const std::filesystem::path& file);

class ByteSource;
// A descriptor of a new temporary file with the rest of the source.
int copy_of(ByteSource& source);

}  // namespace kivsr::speech
