#include "fuzz/target.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>

#include <unistd.h>

#include "kivsr/speech/io/fault.h"

// Of the sanitizers' allocator; not every compiler has the header.
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* block);
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*taken)(const volatile void*, std::size_t),
                                                         void (*freed)(const volatile void*));

namespace kivsr::fuzz {

namespace {

constexpr std::size_t kMostBytes = 100'000'000;
constexpr double kMostSeconds = 10.0;

std::atomic<std::size_t> live_bytes{0};
std::atomic<bool> counting{false};

[[noreturn]] void finding(const char* target, const char* what) {
  std::fprintf(stderr, "target %s: %s\n", target, what);
  std::abort();
}

std::atomic<const char*> running{""};

void count_taken(const volatile void* block, std::size_t) {
  if (!counting) return;
  live_bytes += __sanitizer_get_allocated_size(block);
  if (live_bytes > kMostBytes && live_bytes < ~std::size_t{0} / 2) {
    counting = false;
    finding(running, "takes more than 100 MB");
  }
}

// Blocks from before the run may be freed in it: the count wraps around and comes back.
void count_freed(const volatile void* block) {
  if (counting && block != nullptr) live_bytes -= __sanitizer_get_allocated_size(block);
}

double processor_seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

// Removed at the end of the process, unless it ends in a finding.
struct Folder {
  Folder() {
    const std::filesystem::path memory = "/dev/shm";
    const auto root = std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    path = root / ("kivsr-fuzz-" + std::to_string(getpid()));
    std::filesystem::create_directories(path);
  }
  ~Folder() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  std::filesystem::path path;
};

}  // namespace

std::vector<Target>& targets() {
  static std::vector<Target> all;
  return all;
}

const Target* find_target(const std::string& name) {
  for (const Target& target : targets()) {
    if (name == target.name) return &target;
  }
  return nullptr;
}

std::filesystem::path file_of(Bytes bytes, const std::string& name) {
  static const Folder folder;
  const auto path = folder.path / name;
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return path;
}

void run_input(const Target& target, Bytes bytes) {
  static const int hooks = __sanitizer_install_malloc_and_free_hooks(count_taken, count_freed);
  (void)hooks;
  running = target.name;
  live_bytes = 0;
  const double start = processor_seconds();
  counting = true;
  try {
    target.run(bytes);
  } catch (const speech::Fault&) {
  } catch (const std::exception& error) {
    counting = false;
    finding(target.name, error.what());
  }
  counting = false;
  if (processor_seconds() - start > kMostSeconds) finding(target.name, "runs longer than a second");
}

}  // namespace kivsr::fuzz
