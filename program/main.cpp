// The command-line program: reads the command line, runs the subcommand, turns a fault into one line and exit status 2.
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/output_file.h"
#include "program/configuration.h"
#include "program/help_formatter.h"
#include "program/near_miss.h"
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

void add_subcommands(CLI::App& program) {
  kivsr::program::add_adapt(program);
  kivsr::program::add_align(program);
  kivsr::program::add_enhance(program);
  kivsr::program::add_features(program);
  kivsr::program::add_info(program);
  kivsr::program::add_phones(program);
  kivsr::program::add_pitch(program);
  kivsr::program::add_quantise(program);
  kivsr::program::add_mix(program);
  kivsr::program::add_recognise(program);
  kivsr::program::add_score(program);
  kivsr::program::add_selftest(program);
  kivsr::program::add_show(program);
  kivsr::program::add_spot(program);
  kivsr::program::add_train(program);
  kivsr::program::add_vad(program);
  kivsr::program::add_help(program);
  program.get_subcommand("recognise")->alias("recognize");
  program.get_subcommand("quantise")->alias("quantize");
}

// What CLI11 would take for something else, or refuse without a hint.
void refuse_near_misses(const CLI::App& program, const std::vector<std::string>& arguments) {
  const std::size_t place = kivsr::program::subcommand_place(arguments);
  if (place >= arguments.size() || arguments[place].starts_with('-')) return;
  const CLI::App* const subcommand = kivsr::program::find_subcommand(program, arguments[place]);
  if (subcommand == nullptr) throw kivsr::speech::Fault(kivsr::program::unknown_subcommand(program, arguments[place]));
  kivsr::program::refuse_single_hyphens(*subcommand, arguments);
}

// The first argument that nothing takes.
std::string unexpected(const CLI::App& program) {
  const std::vector<CLI::App*> chosen = program.get_subcommands();
  const CLI::App& command = chosen.empty() ? program : *chosen.front();
  const std::vector<std::string> rest = command.remaining();
  if (rest.empty()) return "";
  return rest[0].starts_with('-') ? kivsr::program::unknown_option(command, rest[0])
                                  : "\"" + rest[0] + "\" is one argument too many";
}

int run(const std::vector<std::string>& arguments) {
  CLI::App program("Speech features and recognition on the kivsr library", "kivsr");
  program.require_subcommand(1);
  program.formatter(std::make_shared<kivsr::program::HelpFormatter>());
  program.option_defaults()->always_capture_default();
  const KivLibraryVersion& version = *kivsrGetLibVersion();
  program.set_version_flag("--version", "kivsr " + std::string(version.version), "Print the version and exit");
  std::string configuration;  // read before the arguments are
  program.add_option("--config", configuration,
                     "File of options for subcommands, which those of the command line override, in place of "
                     "$KIVSR_CONFIG or ~/.config/kivsr/config");
  add_subcommands(program);
  try {
    refuse_near_misses(program, arguments);
    const std::vector<std::string> all = kivsr::program::with_configuration(program, arguments);
    program.parse(std::vector<std::string>(all.rbegin(), all.rend()));  // from the last to the first
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) return report("standard output cannot be written");
    return 0;
  } catch (const CLI::ExtrasError& error) {
    const std::string what = unexpected(program);
    return report(what.empty() ? error.what() : what.c_str());
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return program.exit(error);
    return report((std::string(error.what()) + " (see kivsr --help)").c_str());
  }
}

}  // namespace

int main(int argc, char** argv) {
  watch_signals();
  try {
    return run({argv + (argc > 0 ? 1 : 0), argv + argc});
  } catch (const std::bad_alloc&) {
    return report("out of memory");
  } catch (const kivsr::Error& error) {
    return report(error.status() == kivStatusNoMemory ? "out of memory" : error.what());
  } catch (const std::exception& error) {
    return report(error.what());
  } catch (...) {
    return report("unknown fault");
  }
}
