#include "kivsr/speech/io/kept_pipe.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/temporary_file.h"

namespace kivsr::speech {

namespace {

using Identity = std::pair<dev_t, ino_t>;

// Of what a name stands for, unless it is a file that can be read again anyway; standard input may stand within one.
std::optional<Identity> identity_of(const std::filesystem::path& file) {
  struct stat there {};
  const bool standard = is_standard_stream(file);
  if ((standard ? fstat(STDIN_FILENO, &there) : stat(file.c_str(), &there)) != 0) return std::nullopt;
  if (S_ISREG(there.st_mode) && !standard) return std::nullopt;
  return Identity{there.st_dev, there.st_ino};
}

// The descriptors of the copies, closed with the process.
class KeptPipes {
 public:
  static int find(const Identity& identity) {
    const std::lock_guard lock(mutex());
    const auto place = descriptors().find(identity);
    return place == descriptors().end() ? -1 : place->second;
  }
  static void add(const Identity& identity, int descriptor) {
    const std::lock_guard lock(mutex());
    descriptors()[identity] = descriptor;
  }

 private:
  static std::mutex& mutex() {
    static std::mutex of_all;
    return of_all;
  }
  static std::map<Identity, int>& descriptors() {
    static std::map<Identity, int> kept;
    return kept;
  }
};

}  // namespace

int copy_of(ByteSource& source) {
  const int kept = open_temporary_file();
  try {
    std::array<unsigned char, 65536> block;
    while (const std::size_t count = source.read(block)) {
      for (std::size_t done = 0; done < count;) {
        const ssize_t part = write(kept, block.data() + done, count - done);
        if (part < 0 && errno == EINTR) continue;
        if (part <= 0) throw Fault(std::string("no room for what comes through the pipe: ") + std::strerror(errno));
        done += static_cast<std::size_t>(part);
      }
    }
  } catch (...) {
    close(kept);
    throw;
  }
  return kept;
}

void keep_pipe(const std::filesystem::path& file) {
  static std::mutex one_at_a_time;
  const auto identity = identity_of(file);
  if (!identity) return;
  const std::lock_guard lock(one_at_a_time);
  if (KeptPipes::find(*identity) >= 0) return;
  ByteSource source(file);
  if (source.is_pipe()) KeptPipes::add(*identity, copy_of(source));
}

int open_kept(const std::filesystem::path& file) {
  const auto identity = identity_of(file);
  const int kept = identity ? KeptPipes::find(*identity) : -1;
  if (kept < 0) return -1;
  return open(("/proc/self/fd/" + std::to_string(kept)).c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace kivsr::speech
