#include "program/near_miss.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>

#include "kivsr/speech/io/fault.h"
#include "program/option_help.h"
#include "program/speech_names.h"

namespace kivsr::program {

namespace {

// Names that widespread tools use, and ours. A name may stand for several of ours, of which a command has one.
constexpr std::array<std::pair<std::string_view, std::string_view>, 48> kElsewhere = {{
    {"hmm", "model"},
    {"jsgf", "grammar"},
    {"fsg", "grammar"},
    {"dictionary", "dict"},
    {"lexicon", "dict"},
    {"lw", "language-weight"},
    {"wip", "insertion-penalty"},
    {"wbeam", "word-beam"},
    {"toprule", "rule"},
    {"hyp", "output"},
    {"out", "output"},
    {"ctl", "list"},
    {"samprate", "raw-rate"},
    {"sample-frequency", "raw-rate"},
    {"sample-rate", "raw-rate"},
    {"sr", "raw-rate"},
    {"ncep", "cepstrum-count"},
    {"num-ceps", "cepstrum-count"},
    {"numcep", "cepstrum-count"},
    {"n-mfcc", "cepstrum-count"},
    {"nfilt", "filter-count"},
    {"n-mels", "filter-count"},
    {"num-mel-bins", "filter-count"},
    {"lowerf", "low-frequency"},
    {"low-freq", "low-frequency"},
    {"fmin", "low-frequency"},
    {"upperf", "high-frequency"},
    {"high-freq", "high-frequency"},
    {"fmax", "high-frequency"},
    {"nfft", "fft-length"},
    {"n-fft", "fft-length"},
    {"alpha", "pre-emphasis"},
    {"preemph", "pre-emphasis"},
    {"hop-length", "shift"},
    {"win-length", "window-length"},
    {"cmn", "normalise"},
    {"window-type", "window"},
    {"frame-length", "window-length"},
    {"frame-shift", "shift"},
    {"num-filters", "filter-count"},
    {"use-energy", "energy"},
    {"cepstral-lifter", "lifter"},
    {"ceplifter", "lifter"},
    {"remove-dc-offset", "remove-offset"},
    {"snip-edges", "framing"},
    {"center", "framing"},
    {"n-jobs", "jobs"},
    {"threads", "jobs"},
}};

// Without hyphens in front and a value behind, in our spelling, with hyphens for underscores.
std::string bare_name(const std::string& option) {
  std::string name = option.substr(std::min(option.find_first_not_of('-'), option.size()));
  name = name.substr(0, name.find('='));
  std::replace(name.begin(), name.end(), '_', '-');
  for (std::size_t at = name.find("ize"); at != std::string::npos; at = name.find("ize", at + 1)) name[at + 1] = 's';
  return name;
}

std::size_t changes(const std::string& a, const std::string& b) {
  std::vector<std::size_t> before(b.size() + 1);
  std::vector<std::size_t> row(b.size() + 1);
  std::vector<std::size_t> next(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    next[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] != b[j - 1] ? 1U : 0U)});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) next[j] = std::min(next[j], before[j - 2] + 1);
    }
    std::swap(before, row);
    std::swap(row, next);
  }
  return row[b.size()];
}

std::vector<std::string> long_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const OptionHelp& option : options_of(command)) {
    for (const std::string& name : option.names) {
      if (name.starts_with("--")) names.push_back(name.substr(2));
    }
  }
  return names;
}

// The known name that a bare one is, or stands for elsewhere; empty if there is none.
std::string known_name(const std::vector<std::string>& known, const std::string& name) {
  const auto is_known = [&](std::string_view text) {
    return std::find(known.begin(), known.end(), text) != known.end();
  };
  if (is_known(name)) return name;
  for (const auto& [elsewhere, ours] : kElsewhere) {
    if (name == elsewhere && is_known(ours)) return std::string(ours);
  }
  return "";
}

}  // namespace

std::string nearest(const std::string& word, const std::vector<std::string>& known) {
  std::string best;
  std::size_t least = word.size() / 3 + 1;
  for (const std::string& name : known) {
    const std::size_t distance = changes(word, name);
    if (distance < least) {
      best = name;
      least = distance;
    }
  }
  return best;
}

const CLI::App* find_subcommand(const CLI::App& program, const std::string& name) {
  const auto has_name = [&](const CLI::App* subcommand) { return subcommand->check_name(name); };
  const std::vector<const CLI::App*> found = program.get_subcommands(has_name);
  return found.empty() ? nullptr : found.front();
}

std::string unknown_subcommand(const CLI::App& program, const std::string& name) {
  std::vector<std::string> names;
  for (const CLI::App* const subcommand : program.get_subcommands({})) names.push_back(subcommand->get_name());
  const std::string close = nearest(name, names);
  return "no subcommand '" + name + "'" + (close.empty() ? "" : ", did you mean " + close + "?") +
         " (see kivsr --help)";
}

std::string unknown_option(const CLI::App& command, const std::string& option) {
  const std::vector<std::string> known = long_names(command);
  std::string meant = known_name(known, bare_name(option));
  if (meant.empty()) meant = nearest(bare_name(option), known);
  return "no option " + option.substr(0, option.find('=')) + (meant.empty() ? "" : ", did you mean --" + meant + "?") +
         " (see kivsr " + command.get_name() + " --help)";
}

void refuse_single_hyphens(const CLI::App& command, const std::vector<std::string>& arguments) {
  const std::vector<std::string> known = long_names(command);
  for (const std::string& argument : arguments) {
    if (argument == "--") return;
    if (argument.size() < 3 || argument[0] != '-' || argument[1] == '-') continue;
    if (!known_name(known, bare_name(argument)).empty()) throw Fault(unknown_option(command, argument));
  }
}

}  // namespace kivsr::program
