#include "program/trials.h"

#include <filesystem>
#include <sstream>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::program {

namespace {

std::vector<std::string> fields_of(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> fields;
  if (line.find('\t') == std::string::npos) {
    for (std::string field; stream >> field;) fields.push_back(field);
  } else {
    for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
  }
  return fields;
}

}  // namespace

std::vector<Trial> read_trials(const std::string& file, const std::string& folder) {
  const std::vector<std::uint8_t> bytes = read_whole_file(file);
  std::istringstream lines(std::string(bytes.begin(), bytes.end()));
  std::vector<Trial> trials;
  int number = 0;
  for (std::string line; std::getline(lines, line);) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
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
