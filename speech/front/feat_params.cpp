#include "kivsr/speech/front/feat_params.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

constexpr const char* kDifferencesName = "1s_c_d_dd";

// One entry of a feat.params file, with the fault that names it.
class Entry {
 public:
  Entry(const std::filesystem::path& file, const std::string& name, const std::string& value)
      : file_(file), name_(name), value_(value) {}

  double number() const {
    char* end = nullptr;
    const double result = std::strtod(value_.c_str(), &end);
    if (value_.empty() || *end != '\0' || !std::isfinite(result) || std::abs(result) > 1e9) fail("is not a number");
    return result;
  }
  int integer() const {
    const double result = number();
    if (result != std::floor(result)) fail("is not a whole number");
    return static_cast<int>(result);
  }
  bool yes() const {
    const char first = value_.empty() ? ' ' : value_[0];
    if (std::strchr("yYtT1", first) != nullptr) return true;
    if (std::strchr("nNfF0", first) != nullptr) return false;
    fail("is neither yes nor no");
  }
  OffsetRemoval offset_removal() const { return yes() ? OffsetRemoval::kAfterEmphasis : OffsetRemoval::kNone; }
  Transform transform() const {
    if (value_ == "dct") return Transform::kDct;
    if (value_ == "legacy") return Transform::kLegacy;
    if (value_ == "htk") return Transform::kHtk;
    fail("is not dct, legacy or htk");
  }
  void accept_only(const std::string& offered) const {
    if (value_ != offered) fail("is not offered, only " + offered);
  }
  [[noreturn]] void fail(const std::string& what) const {
    throw Fault(file_.string() + ": -" + name_ + " " + value_ + ": " + what);
  }

 private:
  const std::filesystem::path& file_;
  const std::string& name_;
  const std::string& value_;
};

// What the entries say in units that the front end does not have.
struct Durations {
  double window_seconds = 0.025625;
  double frames_a_second = 100.0;
  int fft_length = 0;  // 0: as long as the window needs
};

struct EntryRule {
  const char* name;
  void (*apply)(const Entry& entry, FrontEndParameters& to, Durations& durations);
};

constexpr EntryRule kRules[] = {
    {"samprate", [](const Entry& e, auto& to, auto&) { to.sample_rate = static_cast<int>(std::lround(e.number())); }},
    {"alpha", [](const Entry& e, auto& to, auto&) { to.pre_emphasis = static_cast<float>(e.number()); }},
    {"wlen", [](const Entry& e, auto&, auto& durations) { durations.window_seconds = e.number(); }},
    {"frate", [](const Entry& e, auto&, auto& durations) { durations.frames_a_second = e.number(); }},
    {"nfft", [](const Entry& e, auto&, auto& durations) { durations.fft_length = e.integer(); }},
    {"nfilt", [](const Entry& e, auto& to, auto&) { to.filter_count = e.integer(); }},
    {"lowerf", [](const Entry& e, auto& to, auto&) { to.low_frequency = static_cast<float>(e.number()); }},
    {"upperf", [](const Entry& e, auto& to, auto&) { to.high_frequency = static_cast<float>(e.number()); }},
    {"ncep", [](const Entry& e, auto& to, auto&) { to.cepstrum_count = e.integer(); }},
    {"lifter", [](const Entry& e, auto& to, auto&) { to.lifter = e.integer(); }},
    {"transform", [](const Entry& e, auto& to, auto&) { to.transform = e.transform(); }},
    {"round_filters", [](const Entry& e, auto& to, auto&) { to.round_filters = e.yes(); }},
    {"unit_area", [](const Entry& e, auto& to, auto&) { to.unit_area = e.yes(); }},
    {"remove_dc", [](const Entry& e, auto& to, auto&) { to.remove_offset = e.offset_removal(); }},
    {"doublebw", [](const Entry& e, auto&, auto&) { e.accept_only("no"); }},
    {"varnorm", [](const Entry& e, auto&, auto&) { e.accept_only("no"); }},
    {"agc", [](const Entry& e, auto&, auto&) { e.accept_only("none"); }},
    {"warp_params", [](const Entry& e, auto&, auto&) { e.fail("frequency warping is not offered"); }},
};

std::map<std::string, std::string> read_entries(const std::filesystem::path& file, std::string_view text) {
  std::map<std::string, std::string> entries;
  std::string_view value;
  for (std::string_view word; take_word(text, word);) {
    const std::string name(word);
    if (name.size() < 2 || name[0] != '-') throw Fault(file.string() + ": '" + name + "' is not the name of an entry");
    if (!take_word(text, value)) throw Fault(file.string() + ": truncated: " + name + " has no value");
    entries[name.substr(1)] = value;
  }
  if (entries.empty()) throw Fault(file.string() + ": holds no entries");
  return entries;
}

void set_lengths(const Durations& durations, const std::filesystem::path& file, FrontEndParameters& to) {
  constexpr int kShortestTransform = 512;
  const double shift = to.sample_rate / durations.frames_a_second + 0.5;
  const double window = durations.window_seconds * to.sample_rate + 0.5;
  if (!(shift >= 1.0 && shift < kLongestFrame && window >= 1.0 && window < kLongestFrame)) {
    throw Fault(file.string() + ": -wlen and -frate give no frames of a sensible length");
  }
  to.shift = static_cast<int>(shift);
  to.window_length = static_cast<int>(window);
  to.fft_length =
      durations.fft_length > 0
          ? durations.fft_length
          : std::max(kShortestTransform, static_cast<int>(std::bit_ceil(static_cast<unsigned>(to.window_length))));
}

}  // namespace

Recipe FeatParams::recipe(const std::filesystem::path& file) const {
  const auto entry = entries.find("feat");
  const std::string kind = entry == entries.end() ? kDifferencesName : entry->second;
  Recipe recipe = front_end;
  recipe.normalisation = Normalisation::kMean;
  recipe.dynamics = kind == "s2_4x" ? Dynamics::kStreams : Dynamics::kDifferences;
  if (recipe.dynamics == Dynamics::kStreams || kind == kDifferencesName) return recipe;
  const std::string width = std::to_string(front_end.row_width()) + ":";
  if (!kind.starts_with(width) || !read_number(kind.substr(width.size()), recipe.regression_window)) {
    throw Fault(file.string() + ": features " + kind + " are not supported, only 1s_c_d_dd, s2_4x and " + width +
                "frames on either side");
  }
  recipe.dynamics = Dynamics::kSplice;
  try {
    recipe.validate();
  } catch (const Fault& fault) {
    throw Fault(file.string() + ": -feat " + kind + ": " + fault.what());
  }
  return recipe;
}

int FeatParams::transform_rows(const std::filesystem::path& file) const {
  const auto entry = entries.find("ldadim");
  if (entry == entries.end()) return 0;
  const Entry rows(file, entry->first, entry->second);
  const int count = rows.integer();
  if (count < 0) rows.fail("is negative");
  return count;
}

std::vector<float> FeatParams::static_mean(const std::filesystem::path& file) const {
  const auto entry = entries.find("cmninit");
  if (entry == entries.end()) return {};
  std::vector<float> mean;
  std::string_view values = entry->second;
  for (std::string_view value; take_part(values, ',', value);) {
    const std::string text(value);
    mean.push_back(static_cast<float>(Entry(file, entry->first, text).number()));
  }
  const auto width = static_cast<std::size_t>(front_end.row_width());
  if (mean.size() > width) Entry(file, entry->first, entry->second).fail("has more values than there are cepstra");
  mean.resize(width);
  return mean;
}

namespace {

FeatParams parse(const std::filesystem::path& file, std::string_view text) {
  FeatParams result;
  result.entries = read_entries(file, text);
  Durations durations;
  for (const auto& [name, value] : result.entries) {
    for (const EntryRule& rule : kRules) {
      if (name == rule.name) rule.apply(Entry(file, name, value), result.front_end, durations);
    }
  }
  set_lengths(durations, file, result.front_end);
  try {
    result.front_end.validate();
  } catch (const Fault& fault) {
    throw Fault(file.string() + ": " + fault.what());
  }
  return result;
}

const char* transform_name(Transform transform) {
  switch (transform) {
    case Transform::kLegacy: return "legacy";
    case Transform::kHtk: return "htk";
    default: return "dct";
  }
}

}  // namespace

FeatParams read_feat_params(const std::filesystem::path& file) { return parse(file, read_text_file(file)); }

std::string feat_params_text(const Recipe& recipe) {
  const FrontEndParameters& from = recipe.front_end;
  const std::string kind = recipe.dynamics == Dynamics::kSplice
                               ? std::to_string(from.row_width()) + ":" + std::to_string(recipe.regression_window)
                               : kDifferencesName;
  const auto yes_or_no = [](bool value) { return std::string(value ? "yes" : "no"); };
  const std::pair<const char*, std::string> entries[] = {
      {"samprate", std::to_string(from.sample_rate)},
      {"alpha", exact_text(from.pre_emphasis)},
      {"wlen", number_text(static_cast<double>(from.window_length) / from.sample_rate, 9)},
      {"frate", number_text(static_cast<double>(from.sample_rate) / from.shift, 9)},
      {"nfft", std::to_string(from.fft_length)},
      {"nfilt", std::to_string(from.filter_count)},
      {"lowerf", exact_text(from.low_frequency)},
      {"upperf", exact_text(from.high_frequency)},
      {"ncep", std::to_string(from.cepstrum_count)},
      {"lifter", std::to_string(from.lifter)},
      {"transform", transform_name(from.transform)},
      {"round_filters", yes_or_no(from.round_filters)},
      {"unit_area", yes_or_no(from.unit_area)},
      {"remove_dc", yes_or_no(from.remove_offset != OffsetRemoval::kNone)},
      {"remove_noise", "no"},  // which the decoder would else do
      {"remove_silence", "no"},
      {"feat", kind},
      {"agc", "none"},
      {"cmn", "batch"},
      {"varnorm", "no"},
  };
  std::string text;
  for (const auto& [name, value] : entries) text += "-" + std::string(name) + " " + value + "\n";
  const std::filesystem::path name = "feat.params";
  Recipe described = parse(name, text).recipe(name);
  described.feature_transform = recipe.feature_transform;
  const std::vector<std::string> others = differences(recipe, described);
  if (!others.empty()) throw Fault("a model in Sphinx layout cannot have these features: " + others.front());
  return text;
}

}  // namespace kivsr::speech
