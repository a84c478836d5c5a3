// kivsr help: the help of a subcommand; manual pages and completions, of the same texts.
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/fault.h"
#include "program/completion.h"
#include "program/manual.h"
#include "program/near_miss.h"
#include "program/report_text.h"
#include "program/speech_names.h"
#include "program/subcommands.h"

namespace kivsr::program {

namespace {

struct HelpCommand {
  void run(const CLI::App& program) const;

  std::string subcommand;
  std::string manual_folder;
  std::string completion;
};

void write_manual(const CLI::App& program, const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw Fault(folder.string() + ": cannot be made");
  write_report(folder / "kivsr.1", manual_of_program(program));
  for (const CLI::App* const subcommand : program.get_subcommands({})) {
    write_report(folder / ("kivsr-" + subcommand->get_name() + ".1"), manual_of_subcommand(*subcommand));
  }
}

void HelpCommand::run(const CLI::App& program) const {
  if (!manual_folder.empty()) return write_manual(program, manual_folder);
  if (completion == "bash") return write_report("", bash_completion(program));
  if (completion == "zsh") return write_report("", zsh_completion(program));
  if (completion == "fish") return write_report("", fish_completion(program));
  if (subcommand.empty()) return write_report("", program.help());
  const CLI::App* const chosen = find_subcommand(program, subcommand);
  if (chosen == nullptr) throw Fault(unknown_subcommand(program, subcommand));
  write_report("", chosen->help("kivsr"));
}

}  // namespace

void add_help(Command program) {
  const Command command = program.add_subcommand("help", "Explain a subcommand; write manual pages and completions");
  const auto options = std::make_shared<HelpCommand>();
  command.add_option("subcommand", options->subcommand, "What to explain; nothing: the program");
  command.add_option("--manual", options->manual_folder, "Folder to write manual pages to, one for each subcommand");
  command.add_option("--completion", options->completion, "Print what that shell needs to complete command lines")
      .one_of({"bash", "zsh", "fish"});
  command.callback([options, program] { options->run(program.description()); });
}

}  // namespace kivsr::program
