// Replays inputs without libFuzzer: kivsr_replay FOLDER runs the files of each folder of it that has a target's name.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/target.h"

namespace {

namespace files = std::filesystem;

std::vector<std::uint8_t> bytes_of(const files::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<files::path> sorted_entries(const files::path& folder) {
  std::vector<files::path> entries;
  for (const auto& entry : files::directory_iterator(folder)) entries.push_back(entry.path());
  std::sort(entries.begin(), entries.end());
  return entries;
}

}  // namespace

int main(int argc, char** argv) {
  int failures = 0;
  for (int i = 1; i < argc; ++i) {
    for (const files::path& folder : sorted_entries(argv[i])) {
      const kivsr::fuzz::Target* const target = kivsr::fuzz::find_target(folder.filename());
      if (target == nullptr) {
        std::fprintf(stderr, "%s: no target of that name\n", folder.c_str());
        ++failures;
        continue;
      }
      const auto inputs = sorted_entries(folder);
      for (const files::path& input : inputs) {
        std::fprintf(stderr, "%s\n", input.c_str());  // the last one is the one that broke it
        kivsr::fuzz::run_input(*target, bytes_of(input));
      }
      std::printf("%s: %zu inputs\n", target->name, inputs.size());
    }
  }
  return failures == 0 && argc > 1 ? 0 : 1;
}
