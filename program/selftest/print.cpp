// What kivsr selftest prints.
#include <cstdio>
#include <string>
#include <string_view>

#include "program/selftest/table.h"

namespace kivsr::selftest {

Backend backend_of(const char* library_file) {
  const std::string file = library_file;
  if (file.find("glibc-hwcaps/x86-64-v4") != std::string::npos) return kV4;
  if (file.find("glibc-hwcaps/x86-64-v3") != std::string::npos) return kV3;
#if (defined(__i386__) || defined(__x86_64__)) && !defined(KIVSR_GENERIC)
  return kBaseline;
#else
  return kGeneric;
#endif
}

const char* backend_name(Backend backend) {
  switch (backend) {
    case kV4: return "x86-64-v4 (AVX-512)";
    case kV3: return "x86-64-v3 (AVX2, FMA)";
    case kBaseline: return sizeof(void*) == 4 ? "i386 (SSE2)" : "x86-64 (SSE2)";
    default: break;
  }
#if defined(__aarch64__) && !defined(KIVSR_GENERIC)
  return "ARM64 (NEON)";
#else
  return "generic (vector extensions)";
#endif
}

namespace {

// Why a function may differ between machines that run the same backend.
const char* reason_to_differ(const Row& row, Backend backend) {
  const bool exact_elsewhere = row.expected[kBaseline] != row.expected[kGeneric];
  if (exact_elsewhere && backend != kGeneric) return "estimate";
  const bool by_c_library = std::string_view(row.function) == "kivsLogSum_64f";
  if (by_c_library && sizeof(void*) == 4) return "logarithm of the C library";
  return nullptr;
}

struct Family {
  Digest actual, expected;
  std::string by_design, faults;
};

void print_family(const char* name, const Family& family) {
  const bool same = family.actual.value() == family.expected.value();
  std::printf("%-28s %08x %08x %s", name, family.actual.value(), family.expected.value(),
              same                    ? "as expected"
              : family.faults.empty() ? "differs by design:"
                                      : "DIFFERS:");
  std::printf("%s%s\n", family.faults.c_str(), family.by_design.c_str());
}

}  // namespace

bool print(Backend backend, bool digests) {
  bool good = true;
  Family family;
  const Row* const end = kRows + sizeof kRows / sizeof *kRows;
  for (const Row* row = kRows; row != end; ++row) {
    const std::uint32_t digest = row->digest(row->letters);
    if (digests) {
      std::printf("%s %08x\n", row->function, digest);
      continue;
    }
    family.actual.add(digest, 4);
    family.expected.add(row->expected[backend], 4);
    if (digest != row->expected[backend]) {
      const char* const reason = reason_to_differ(*row, backend);
      if (reason != nullptr) {
        family.by_design += ' ' + std::string(row->function) + " (" + reason + ")";
      } else {
        family.faults += ' ' + std::string(row->function);
        good = false;
      }
    }
    if (row + 1 == end || std::string(row[1].family) != row->family) {
      print_family(row->family, family);
      family = {};
    }
  }
  return good;
}

}  // namespace kivsr::selftest
