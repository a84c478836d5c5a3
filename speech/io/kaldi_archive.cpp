#include "kivsr/speech/io/kaldi_archive.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_matrix.h"

namespace kivsr::speech {

namespace {

constexpr const char* kSpaces = " \t\r\n";
constexpr std::size_t kLongestKey = 4096;

bool is_space(std::uint8_t byte) {
  return std::string_view(kSpaces).find(static_cast<char>(byte)) != std::string::npos;
}

std::filesystem::path input_file(const std::filesystem::path& name) { return name == "-" ? "/dev/stdin" : name; }

// The options between the commas: what is written "ark" and "scp", and how.
void read_option(const std::string& option, const std::string& name, KaldiSpecifier& specifier) {
  static constexpr std::array<std::string_view, 10> kWithoutMeaningHere{"b", "f",  "nf", "o",   "no",
                                                                        "s", "ns", "cs", "ncs", "bg"};
  if (option == "t") {
    specifier.text = true;
  } else if (option == "p") {
    specifier.permissive = true;
  } else if (std::find(kWithoutMeaningHere.begin(), kWithoutMeaningHere.end(), option) == kWithoutMeaningHere.end()) {
    throw Fault(name + ": '" + option + "' is no option of an archive");
  }
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

// What stands in front of the first space, and what follows the spaces; false for an empty line.
bool read_pair(const std::string& line, std::string& key, std::string& value) {
  const std::size_t begin = line.find_first_not_of(kSpaces);
  if (begin == std::string::npos) return false;
  const std::size_t end = std::min(line.find_first_of(kSpaces, begin), line.size());
  const std::size_t rest = line.find_first_not_of(kSpaces, end);
  key = line.substr(begin, end - begin);
  value = rest == std::string::npos ? "" : line.substr(rest, line.find_last_not_of(kSpaces) + 1 - rest);
  return true;
}

// take(key, value) for every line that is not empty. The last one may lack its end.
template <class Take>
void each_pair(const std::filesystem::path& file, Take take) {
  const auto bytes = read_whole_file(file);
  std::int64_t number = 0;
  for (auto begin = bytes.begin(); begin < bytes.end();) {
    const auto end = std::find(begin, bytes.end(), std::uint8_t{'\n'});
    std::string key, value;
    ++number;
    if (read_pair({begin, end}, key, value)) {
      if (value.empty()) throw Fault(file.string() + ": line " + std::to_string(number) + " has a key alone: " + key);
      take(key, value);
    }
    begin = end == bytes.end() ? end : end + 1;
  }
}

std::vector<ArchiveEntry> script_entries(const std::filesystem::path& file, bool permissive) {
  std::vector<ArchiveEntry> entries;
  each_pair(file, [&](const std::string& key, const std::string& value) {
    if (value.ends_with('|') || value.starts_with('|')) {
      throw Fault(file.string() + ": the entry of " + key +
                  " is a command, which is not run: write what it gives to a file and name that");
    }
    const auto place = kaldi_place(value);
    std::error_code error;
    if (permissive && !std::filesystem::exists(place ? place->file : std::filesystem::path(value), error)) return;
    entries.push_back({key, value});
  });
  return entries;
}

// Empty at the end of the file.
std::string read_key(BinaryFile& file) {
  std::string key;
  while (true) {
    const auto next = file.peek(1);
    if (next.empty()) break;
    const std::uint8_t byte = next[0];
    if (is_space(byte) && !key.empty()) break;
    file.skip(1, "a key");
    if (!is_space(byte)) key.push_back(static_cast<char>(byte));
    if (byte == 0 || key.size() > kLongestKey) file.fail("byte " + std::to_string(file.position()) + ": no key");
  }
  if (!key.empty()) {
    if (file.peek(1).empty()) file.fail("truncated: the key " + key + " has nothing behind it");
    file.skip(1, "a space");
  }
  return key;
}

void skip_sound(BinaryFile& file, const std::string& key) {
  constexpr std::uint32_t kUnknown = 0x7FFF0000U;  // what programs write that do not know the length yet
  file.skip(4, "a WAV file");
  const std::uint32_t size = file.read_word("the size of a WAV file");
  if (size == 0 || size >= kUnknown) file.fail("the WAV file of " + key + " does not say how long it is");
  file.skip(size, "the WAV file of " + key);
}

std::vector<ArchiveEntry> entries_of(const std::filesystem::path& archive) {
  const std::filesystem::path name = input_file(archive);
  BinaryFile file(name);
  std::vector<ArchiveEntry> entries;
  for (std::string key = read_key(file); !key.empty(); key = read_key(file)) {
    const auto ahead = file.peek(4);
    const bool sound = std::string(ahead.begin(), ahead.end()) == "RIFF";
    entries.push_back({key, name.string() + ":" + std::to_string(file.position())});
    sound ? skip_sound(file, key) : KaldiMatrixReader(file).skip();
  }
  return entries;
}

// "first:last", or ":" or nothing for all.
bool read_range(const std::string& text, std::int64_t& first, std::int64_t& last) {
  if (text.empty() || text == ":") return true;
  const auto number = [](std::string_view digits, std::int64_t& value) {
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc() && stop == digits.data() + digits.size() && value >= 0;
  };
  const std::size_t colon = std::min(text.find(':'), text.size());
  return colon < text.size() && number(std::string_view(text).substr(0, colon), first) &&
         number(std::string_view(text).substr(colon + 1), last) && first <= last;
}

KaldiSpecifier checked(const KaldiSpecifier& specifier) {
  if (specifier.archive.empty()) {
    throw Fault("scp:" + specifier.script.string() + ": a list alone is not written, ark,scp:ARCHIVE," +
                specifier.script.string() + " writes an archive and its list");
  }
  return specifier;
}

}  // namespace

std::optional<KaldiSpecifier> kaldi_specifier(const std::string& name) {
  KaldiSpecifier specifier;
  const std::size_t colon = name.find(':');
  const auto words = split(name.substr(0, std::min(colon, name.size())), ',');
  const auto is_kind = [](const std::string& word) { return word == "ark" || word == "scp"; };
  // "t,ark:" is allowed too
  if (colon == std::string::npos || std::none_of(words.begin(), words.end(), is_kind)) {
    const std::string extension = lower_extension(name);
    if (extension == ".ark") specifier.archive = name;
    if (extension == ".scp") specifier.script = name;
    return extension == ".ark" || extension == ".scp" ? std::optional(specifier) : std::nullopt;
  }
  for (const std::string& word : words) {
    if (!is_kind(word)) read_option(word, name, specifier);
  }
  const std::string files = name.substr(colon + 1);
  const auto archive = std::find(words.begin(), words.end(), "ark");
  const auto script = std::find(words.begin(), words.end(), "scp");
  if (archive == words.end()) {
    specifier.script = files;
  } else if (script == words.end()) {
    specifier.archive = files;
  } else {
    const std::size_t comma = files.find(',');
    if (archive > script || comma == std::string::npos) throw Fault(name + ": ark,scp:ARCHIVE,LIST is the form");
    specifier.archive = files.substr(0, comma);
    specifier.script = files.substr(comma + 1);
    if (specifier.archive.empty() || specifier.script.empty()) throw Fault(name + ": a file's name is missing");
  }
  if (specifier.archive.empty() && specifier.script.empty()) throw Fault(name + ": a file's name is missing");
  return specifier;
}

std::vector<ArchiveEntry> archive_entries(const KaldiSpecifier& specifier) {
  if (!specifier.archive.empty() && !specifier.script.empty()) {
    throw Fault(specifier.archive.string() + ": an archive is read by itself or by its list, not by both");
  }
  return specifier.archive.empty() ? script_entries(input_file(specifier.script), specifier.permissive)
                                   : entries_of(specifier.archive);
}

std::optional<KaldiPlace> kaldi_place(const std::filesystem::path& name) {
  std::string text = name.string();
  KaldiPlace place;
  const bool ranged = text.ends_with(']') && text.find('[') != std::string::npos;
  if (ranged) {
    const std::size_t bracket = text.rfind('[');
    const auto ranges = split(text.substr(bracket + 1, text.size() - bracket - 2), ',');
    if (ranges.size() > 2 || !read_range(ranges[0], place.first_row, place.last_row)) return std::nullopt;
    if (ranges.size() == 2 && !read_range(ranges[1], place.first_column, place.last_column)) return std::nullopt;
    text.resize(bracket);
  }
  const std::size_t colon = text.rfind(':');
  bool placed = false;
  if (colon != std::string::npos && colon > 0 && colon + 1 < text.size()) {
    const auto [stop, error] = std::from_chars(text.data() + colon + 1, text.data() + text.size(), place.byte);
    placed = error == std::errc() && stop == text.data() + text.size() && place.byte >= 0;
  }
  std::error_code unknown;
  if ((!ranged && !placed) || std::filesystem::exists(name, unknown)) return std::nullopt;
  if (!placed) place.byte = 0;
  place.file = placed ? text.substr(0, colon) : text;
  return place;
}

std::map<std::string, std::string> read_key_table(const std::filesystem::path& file) {
  std::map<std::string, std::string> table;
  each_pair(file, [&](const std::string& key, const std::string& value) {
    if (!table.emplace(key, value).second) throw Fault(file.string() + ": " + key + " comes twice");
  });
  return table;
}

ArchiveWriter::ArchiveWriter(const KaldiSpecifier& specifier)
    : specifier_(checked(specifier)), archive_(specifier.archive) {
  if (!specifier.script.empty()) script_.emplace(specifier.script);
}

template <class T>
void ArchiveWriter::append_values(const std::string& key, std::span<const T> values, int width) {
  if (key.empty() || key.size() > kLongestKey || key.find_first_of(std::string(kSpaces) + '\0') != std::string::npos) {
    throw Fault(specifier_.archive.string() + ": '" + key + "' cannot be a key");
  }
  const std::string bytes = kaldi_bytes(values, width, specifier_.text);
  position_ += static_cast<std::int64_t>(key.size()) + 1;
  if (script_) script_->write(key + ' ' + specifier_.archive.string() + ':' + std::to_string(position_) + '\n');
  archive_.write(key + ' ');
  archive_.write(bytes);
  position_ += static_cast<std::int64_t>(bytes.size());
}

template void ArchiveWriter::append_values(const std::string& key, std::span<const float> values, int width);
template void ArchiveWriter::append_values(const std::string& key, std::span<const double> values, int width);

void ArchiveWriter::commit() {
  archive_.commit();
  if (script_) script_->commit();
}

}  // namespace kivsr::speech
