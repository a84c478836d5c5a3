// kivsr info: which library runs on which processor.
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#if defined(__i386__) || defined(__x86_64__)
#include <cpuid.h>
#endif

#include "kivsr.h"
#include "kivsr/speech/front/presets.h"
#include "program/command.h"
#include "program/library_file.h"
#include "program/selftest/calls.h"
#include "program/speech_names.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

std::string processor_name() {
#if defined(__i386__) || defined(__x86_64__)
  unsigned words[12] = {};
  for (unsigned i = 0; i < 3; ++i) {
    if (__get_cpuid(0x80000002U + i, &words[4 * i], &words[4 * i + 1], &words[4 * i + 2], &words[4 * i + 3]) == 0) {
      return "unknown";
    }
  }
  char text[sizeof words + 1] = {};
  std::memcpy(text, words, sizeof words);
  const std::string name = text;
  const std::size_t first = name.find_first_not_of(' ');
  const std::size_t last = name.find_last_not_of(' ');
  return first == std::string::npos ? "unknown" : name.substr(first, last - first + 1);
#else
  return "unknown";
#endif
}

std::string processor_features() {
  std::string features;
#if defined(__i386__) || defined(__x86_64__)
  __builtin_cpu_init();
  const auto add = [&](bool has, const char* name) {
    if (has) features += (features.empty() ? "" : " ") + std::string(name);
  };
  add(__builtin_cpu_supports("sse2"), "sse2");
  add(__builtin_cpu_supports("sse3"), "sse3");
  add(__builtin_cpu_supports("ssse3"), "ssse3");
  add(__builtin_cpu_supports("sse4.1"), "sse4.1");
  add(__builtin_cpu_supports("sse4.2"), "sse4.2");
  add(__builtin_cpu_supports("avx"), "avx");
  add(__builtin_cpu_supports("avx2"), "avx2");
  add(__builtin_cpu_supports("fma"), "fma");
  add(__builtin_cpu_supports("bmi2"), "bmi2");
  add(__builtin_cpu_supports("avx512f"), "avx512f");
  add(__builtin_cpu_supports("avx512bw"), "avx512bw");
  add(__builtin_cpu_supports("avx512dq"), "avx512dq");
  add(__builtin_cpu_supports("avx512vl"), "avx512vl");
#elif defined(__aarch64__)
  features = "neon";
#endif
  return features.empty() ? "none known" : features;
}

void print_info() {
  const KivLibraryVersion& version = *kivsrGetLibVersion();
  const std::string file = library_file();
  std::printf("library    %s %d.%d build %d.%d, target %.4s\n", version.name, version.major, version.minor,
              version.majorBuild, version.build, version.targetCpu);
  std::printf("version    %s, %s\n", version.version, version.buildDate);
  std::printf("file       %s\n", file.c_str());
  std::printf("backend    %s\n", selftest::backend_name(selftest::backend_of(file.c_str())));
  std::printf("processor  %s\n", processor_name().c_str());
  std::printf("features   %s\n", processor_features().c_str());
}

}  // namespace

void add_info(Command program) {
  const Command command =
      program.add_subcommand("info", "Print the library's version and file and the processor's features");
  const auto preset_name = std::make_shared<std::string>();
  command.add_option("--preset", *preset_name, "Print the recipe of that name instead, for --recipe of other commands");
  command.callback([preset_name] {
    if (preset_name->empty()) return print_info();
    std::fputs(preset(*preset_name).text().c_str(), stdout);
  });
}

}  // namespace kivsr::program
