// kivsr selftest: a digest of every family's results, beside the one that this backend is expected to give.
#include <cstdio>
#include <memory>

#include "kivsr/speech/io/fault.h"
#include "program/command.h"
#include "program/library_file.h"
#include "program/selftest/calls.h"
#include "program/subcommands.h"

namespace kivsr::program {

void add_selftest(Command program) {
  const Command command = program.add_subcommand(
      "selftest", "Run fixed inputs through every family of the library and compare digests of the results");
  const auto digests = std::make_shared<bool>(false);
  command.add_flag("--digests", *digests, "Print a digest a function instead");
  command.callback([digests] {
    const std::string file = library_file();
    const selftest::Backend backend = selftest::backend_of(file.c_str());
    if (!*digests) {
      std::printf("backend    %s\nfile       %s\n\n", selftest::backend_name(backend), file.c_str());
      std::printf("%-28s %-8s %-8s\n", "family", "digest", "expected");
    }
    if (!selftest::print(backend, *digests)) throw Fault("selftest: results differ from those expected (see above)");
  });
}

}  // namespace kivsr::program
