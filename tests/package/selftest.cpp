// The self-test as a program that needs the C library alone: selftest [--digests]
#include <cstring>

#include <dlfcn.h>

#include "program/selftest/calls.h"

int main(int argc, char** argv) {
  Dl_info where{};
  const bool known = dladdr(kivsrGetLibVersion(), &where) != 0 && where.dli_fname != nullptr;
  const auto backend = kivsr::selftest::backend_of(known ? where.dli_fname : "");
  return kivsr::selftest::print(backend, argc > 1 && std::strcmp(argv[1], "--digests") == 0) ? 0 : 1;
}
