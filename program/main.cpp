// The command-line program: reads the command line, runs the subcommand, turns a fault into one line and exit status 2.
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/output_file.h"
#include "program/subcommands.h"

namespace {

constexpr int kExitFault = 2;

// One line, whatever the message holds.
int report(const char* message) noexcept {
  std::fputs("kivsr: ", stderr);
  while (true) {
    const std::size_t length = std::strcspn(message, "\r\n");
    const bool last = message[length] == '\0';
    std::fprintf(stderr, "%.*s%c", static_cast<int>(length), message, last ? '\n' : ' ');
    if (last) return kExitFault;
    message += length + 1;
  }
}

// Told to end, the program leaves no half-written file behind.
extern "C" void end_by(int signal) {
  kivsr::speech::remove_partial_files();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void watch_signals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXCPU}) {
    if (std::signal(signal, end_by) == SIG_IGN) std::signal(signal, SIG_IGN);  // as under nohup
  }
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a fault like any other, not the end
}

int run(int argc, char** argv) {
  CLI::App program("Speech features and recognition on the kivsr library", "kivsr");
  program.require_subcommand(1);
  try {
    kivsr::program::add_enhance(program);
    kivsr::program::add_features(program);
    kivsr::program::add_info(program);
    kivsr::program::add_pitch(program);
    kivsr::program::add_quantise(program);
    kivsr::program::add_mix(program);
    kivsr::program::add_recognise(program);
    kivsr::program::add_selftest(program);
    kivsr::program::add_spot(program);
    kivsr::program::add_train(program);
    kivsr::program::add_vad(program);
    const auto is_first_word = [&](CLI::App* subcommand) { return subcommand->get_name() == argv[1]; };
    if (argc > 1 && argv[1][0] != '-' && program.get_subcommands(is_first_word).empty()) {
      return report(("no subcommand '" + std::string(argv[1]) + "' (see kivsr --help)").c_str());
    }
    program.parse(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) return report("standard output cannot be written");
    return 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return program.exit(error);
    return report((std::string(error.what()) + " (see kivsr --help)").c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  watch_signals();
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    return report("out of memory");
  } catch (const std::exception& error) {
    return report(error.what());
  } catch (...) {
    return report("unknown fault");
  }
}
