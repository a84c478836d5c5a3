#include "kivsr/speech/io/feature_format.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/byte_source.h"
#include "kivsr/speech/io/extension.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/kaldi_archive.h"

namespace kivsr::speech {

namespace {

// A place in an archive aside.
std::optional<FeatureFormat> format_of(const std::filesystem::path& file) {
  const std::string extension = lower_extension(file);
  const auto format = extension.empty() ? std::nullopt : named_feature_format(extension.substr(1));
  return format == FeatureFormat::kOpenSmile ? std::nullopt : format;
}

bool is_sound(const KaldiPlace& place) {
  std::error_code error;
  const auto type = std::filesystem::status(place.file, error).type();
  using Type = std::filesystem::file_type;
  if (type == Type::not_found || type == Type::directory) return false;  // the fault is the reader's
  BinaryFile file(place.file);
  if (place.byte > file.size()) return false;
  file.skip(place.byte, "the place");
  const auto ahead = file.peek(4);
  return std::string(ahead.begin(), ahead.end()) == "RIFF";
}

std::optional<FeatureFormat> format_of_front(std::string_view front) {
  using namespace std::string_view_literals;
  constexpr std::pair<std::string_view, FeatureFormat> kFronts[] = {
      {"\x93NUMPY"sv, FeatureFormat::kNpy}, {"@relati"sv, FeatureFormat::kArff},  {"time_s,"sv, FeatureFormat::kCsv},
      {"name;fr"sv, FeatureFormat::kCsv},   {"\0BFM "sv, FeatureFormat::kKaldi},  {"\0BDM "sv, FeatureFormat::kKaldi},
      {"\0BCM "sv, FeatureFormat::kKaldi},  {"\0BCM2 "sv, FeatureFormat::kKaldi}, {"\0BCM3 "sv, FeatureFormat::kKaldi}};
  for (const auto& [begin, format] : kFronts) {
    if (front.starts_with(begin)) return format;
  }
  return std::nullopt;
}

// Answers the same of a pipe whose reader has come.
std::optional<FeatureFormat> standard_input_format() {
  static std::mutex one_at_a_time;
  static std::map<std::pair<dev_t, ino_t>, std::optional<FeatureFormat>> known;
  struct stat there {};
  if (fstat(STDIN_FILENO, &there) != 0) return std::nullopt;  // the fault is the reader's
  const std::lock_guard lock(one_at_a_time);
  const auto [place, is_new] = known.try_emplace({there.st_dev, there.st_ino});
  if (is_new) {
    const auto front = ByteSource::standard_front(7);
    place->second = format_of_front({reinterpret_cast<const char*>(front.data()), front.size()});
  }
  return place->second;
}

}  // namespace

std::optional<FeatureFormat> named_feature_format(std::string_view name) {
  const auto found = std::find(kFeatureFormatNames.begin(), kFeatureFormatNames.end(), name);
  if (found == kFeatureFormatNames.end()) return std::nullopt;
  return static_cast<FeatureFormat>(found - kFeatureFormatNames.begin());
}

FeatureFormat feature_format(const std::filesystem::path& file) {
  if (kaldi_place(file)) return FeatureFormat::kKaldi;
  if (const auto format = format_of(file)) return *format;
  throw Fault(file.string() + ": the extension is none of .npy, .htk, .mfc, .csv, .arff and .mat");
}

std::optional<FeatureName> feature_name(const std::filesystem::path& name) {
  const std::string text = name.string();
  const std::size_t colon = text.find(':');
  if (colon != std::string::npos && colon + 1 < text.size()) {
    const auto format = named_feature_format(text.substr(0, colon));
    if (format) return FeatureName{text.substr(colon + 1), *format};
  }
  if (const auto place = kaldi_place(name)) {
    return is_sound(*place) ? std::nullopt : std::optional(FeatureName{name, FeatureFormat::kKaldi});
  }
  const auto format = is_standard_stream(name) ? standard_input_format() : format_of(name);
  return format ? std::optional(FeatureName{name, *format}) : std::nullopt;
}

bool is_feature_file(const std::filesystem::path& name) { return feature_name(name).has_value(); }

}  // namespace kivsr::speech
