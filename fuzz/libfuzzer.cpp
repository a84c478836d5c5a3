// The targets under libFuzzer: kivsr_fuzz --target=NAME [options of libFuzzer] [folders].
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fuzz/target.h"

namespace {

const kivsr::fuzz::Target* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  constexpr const char* kOption = "--target=";
  for (int i = 1; i < *argc; ++i) {
    const char* const text = (*argv)[i];
    if (std::strncmp(text, kOption, std::strlen(kOption)) == 0) {
      chosen = kivsr::fuzz::find_target(text + std::strlen(kOption));
    }
  }
  if (chosen != nullptr) return 0;
  std::fprintf(stderr, "give --target=NAME, one of\n");
  for (const auto& target : kivsr::fuzz::targets()) std::fprintf(stderr, "  %s\n", target.name);
  std::exit(2);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kivsr::fuzz::run_input(*chosen, {data, size});
  return 0;
}
