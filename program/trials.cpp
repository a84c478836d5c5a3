#include "program/trials.h"

#include <filesystem>
#include <string_view>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::program {

namespace {

std::vector<std::string> fields_of(std::string_view line) {
  if (line.find('\t') == std::string_view::npos) return words_of(line);
  std::vector<std::string> fields;
  for (std::string_view field; take_part(line, '\t', field);) fields.emplace_back(field);
  return fields;
}

}  // namespace

std::vector<Trial> read_trials(const std::string& file, const std::string& folder) {
  const std::string text = read_text_file(file);
  std::vector<Trial> trials;
  int number = 0;
  std::string_view lines = text;
  for (std::string_view line; take_line(lines, line);) {
    ++number;
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::vector<std::string> fields = fields_of(line);
    if (fields.empty() || line.front() == '#') continue;
    const bool labelled = fields.size() == 3 && (fields[2] == "target" || fields[2] == "nontarget");
    if (fields.size() != 2 && !labelled) {
      throw Fault(file + ":" + std::to_string(number) + ": is not \"model recording target\" or ... nontarget");
    }
    const auto place = [&](const std::string& name) { return (std::filesystem::path(folder) / name).string(); };
    Trial& trial = trials.emplace_back(Trial{place(fields[0]), place(fields[1]), std::nullopt});
    if (labelled) trial.target = fields[2] == "target";
  }
  if (trials.empty()) throw Fault(file + ": lists no trials");
  return trials;
}

}  // namespace kivsr::program
