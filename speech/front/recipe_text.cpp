#include <algorithm>
#include <array>
#include <utility>

#include "kivsr/speech/front/recipe.h"
#include "kivsr/speech/front/recipe_fields.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/text_parts.h"

namespace kivsr::speech {

namespace {

using Name = std::string_view;
constexpr Name kFirstLine = "kivsr-recipe 2";
constexpr Name kFirstLineBefore = "kivsr-recipe 1";
constexpr Name kUtterance = "utterance";  // of a maximum that is not known before

constexpr std::array<Name, 2> kSources{"audio", "features"};
constexpr std::array<Name, 2> kFrontEndKinds{"general", "etsi-afe"};
constexpr std::array<Name, 4> kFramings{"from-start", "covering", "centred", "half-shift"};
constexpr std::array<Name, 3> kEdges{"zeros", "reflect", "symmetric"};
constexpr std::array<Name, 3> kOffsetRemovals{"none", "after-emphasis", "before-emphasis"};
constexpr std::array<Name, 8> kWindows{"hamming",       "hann",  "rectangular", "hamming-periodic",
                                       "hann-periodic", "povey", "blackman",    "blackman-periodic"};
constexpr std::array<Name, 2> kSpectra{"power", "magnitude"};
constexpr std::array<Name, 4> kFilters{"hertz", "mel", "bins", "whole-bins"};
constexpr std::array<Name, 2> kMelScales{"logarithmic", "slaney"};
constexpr std::array<Name, 5> kLogarithms{"ln", "log10", "db", "whisper", "none"};
constexpr std::array<Name, 4> kTransforms{"dct", "legacy", "htk", "plain"};
constexpr std::array<Name, 2> kLifterForms{"sine", "sine-from-zeroth"};
constexpr std::array<Name, 4> kOutputs{"cepstra", "log-mel", "lpc-cepstra", "plp"};
constexpr std::array<Name, 3> kEnergies{"frame", "windowed", "spectrum"};
constexpr std::array<Name, 3> kZeroths{"first", "last", "none"};
constexpr std::array<Name, 4> kNoiseMethods{"none", "mcra-wiener", "mcra-emns", "auto"};
constexpr std::array<Name, 3> kEqualisations{"none", "from-zero", "from-mean"};
constexpr std::array<Name, 5> kNormalisations{"none", "mean", "mean-variance", "running-mean", "running-mean-variance"};
constexpr std::array<Name, 8> kDynamics{"none",   "win1",        "win2",    "regression",
                                        "aurora", "differences", "streams", "splice"};

// "name = value" without the blanks around both.
std::pair<std::string, std::string> split_line(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  return {std::string(trimmed(line.substr(0, equals))), std::string(trimmed(line.substr(equals + 1)))};
}

struct Given {
  std::string name;
  std::string value;
  std::string line;
  bool used = false;
};

// The lines behind the first.
std::vector<Given> given_values(std::string_view lines, const std::string& origin) {
  std::vector<Given> all;
  std::string_view line;
  for (int number = 2; take_line(lines, line); ++number) {
    if (line.empty() || line.front() == '#') continue;
    const std::string place = "line " + std::to_string(number) + " of the recipe, \"" + std::string(line) + "\", ";
    const auto [name, value] = split_line(line);
    if (name.empty()) throw Fault(origin + ": " + place + "is not like \"name = value\"");
    for (const Given& given : all) {
      if (given.name == name) throw Fault(origin + ": " + place + "is there twice");
    }
    all.push_back({name, value, place});
  }
  return all;
}

// The fields that version 1 does not have; what it computes is what they are by themselves.
constexpr std::array kSinceVersion2 =
    std::to_array<Name>({"input-scale", "dither", "dither-seed", "framing", "edges", "spectrum-scale", "mel-scale",
                         "logarithm", "dynamic-range", "lifter-form", "energy-of", "energy-first", "energy-floor",
                         "normalise-cepstra-only", "derivatives", "drop-energy"});

bool in_version_1(Name field) {
  return std::find(kSinceVersion2.begin(), kSinceVersion2.end(), field) == kSinceVersion2.end();
}

std::string value_of_version_1(Name field, const std::string& value) {
  if (field != "remove-offset") return value;
  return value == "yes" ? "after-emphasis" : value == "no" ? "none" : value;
}

std::string choices_of(auto choice) {
  std::string text;
  for (const Name name : names_of(choice)) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

}  // namespace

std::span<const Name> names_of(Source) { return kSources; }
std::span<const Name> names_of(FrontEndKind) { return kFrontEndKinds; }
std::span<const Name> names_of(Framing) { return kFramings; }
std::span<const Name> names_of(Edges) { return kEdges; }
std::span<const Name> names_of(OffsetRemoval) { return kOffsetRemovals; }
std::span<const Name> names_of(Window) { return kWindows; }
std::span<const Name> names_of(Spectrum) { return kSpectra; }
std::span<const Name> names_of(Filters) { return kFilters; }
std::span<const Name> names_of(MelScale) { return kMelScales; }
std::span<const Name> names_of(Logarithm) { return kLogarithms; }
std::span<const Name> names_of(LifterForm) { return kLifterForms; }
std::span<const Name> names_of(EnergyOf) { return kEnergies; }
std::span<const Name> names_of(Transform) { return kTransforms; }
std::span<const Name> names_of(Output) { return kOutputs; }
std::span<const Name> names_of(ZerothCepstrum) { return kZeroths; }
std::span<const Name> names_of(NoiseMethod) { return kNoiseMethods; }
std::span<const Name> names_of(Equalisation) { return kEqualisations; }
std::span<const Name> names_of(Normalisation) { return kNormalisations; }
std::span<const Name> names_of(Dynamics) { return kDynamics; }

std::string field_text(bool value) { return value ? "yes" : "no"; }
std::string field_text(int value) { return std::to_string(value); }
std::string field_text(float value) { return exact_text(value); }
std::string field_text(const std::optional<float>& value) {
  return value ? exact_text(*value) : std::string(kUtterance);
}
std::string field_text(const std::vector<float>& values) {
  std::string text;
  for (const float value : values) text += (text.empty() ? "" : ",") + exact_text(value);
  return text;
}

std::string_view name_elsewhere(std::string_view text) {
  constexpr std::pair<Name, Name> kElsewhere[] = {{"hanning", "hann"},
                                                  {"hanning-periodic", "hann-periodic"},
                                                  {"boxcar", "rectangular"},
                                                  {"rect", "rectangular"},
                                                  {"log", "ln"},
                                                  {"htk", "logarithmic"},
                                                  {"ortho", "dct"},
                                                  {"mfcc", "cepstra"},
                                                  {"fbank", "log-mel"},
                                                  {"cmn", "mean"},
                                                  {"cmvn", "mean-variance"}};
  for (const auto& [elsewhere, ours] : kElsewhere) {
    if (text == elsewhere) return ours;
  }
  return "";
}

bool read_field(const std::string& text, bool& value) {
  value = text == "yes";
  return value || text == "no";
}
bool read_field(const std::string& text, int& value) { return read_number(text, value); }
bool read_field(const std::string& text, float& value) { return read_number(text, value); }
bool read_field(const std::string& text, std::optional<float>& value) {
  value.reset();
  return text == kUtterance || read_number(text, value.emplace());
}
bool read_field(const std::string& text, std::vector<float>& values) {
  values.clear();
  std::string_view numbers = text;
  for (std::string_view number; take_part(numbers, ',', number);) {
    if (!read_number(number, values.emplace_back())) return false;
  }
  return true;
}

std::string Recipe::text() const {
  std::string text(kFirstLine);
  text += '\n';
  visit_fields(*this, [&](const RecipeField& field, const auto& value) {
    if (field.name == kTransformField && feature_transform.empty()) return;
    text.append(field.name).append(" = ").append(field_text(value)).append("\n");
  });
  return text;
}

std::string Recipe::explained_text() const {
  std::string text(kFirstLine);
  text += '\n';
  std::string_view group;
  visit_fields(*this, [&]<class Value>(const RecipeField& field, const Value& value) {
    if (field.group != group) text.append("\n# ").append(group = field.group).append("\n");
    text.append("\n# ").append(field.help);
    if constexpr (std::is_enum_v<Value>) text.append(": ").append(choices_of(value));
    text.append("\n").append(field.name).append(" = ").append(field_text(value)).append("\n");
  });
  return text;
}

Recipe Recipe::parse(const std::string& text, const std::string& origin) {
  const auto fail = [&](const std::string& what) { throw Fault(origin + ": " + what); };
  std::string_view lines = text;
  std::string_view line;
  take_line(lines, line);
  const bool before = line == kFirstLineBefore;
  if (!before && line != kFirstLine) {
    fail("the recipe starts with \"" + std::string(line) + "\", not with \"" + std::string(kFirstLine) + "\"");
  }
  std::vector<Given> all = given_values(lines, origin);
  Recipe recipe;
  visit_fields(recipe, [&](const RecipeField& field, auto& value) {
    for (Given& given : all) {
      if (given.name != field.name) continue;
      if (before) given.value = value_of_version_1(field.name, given.value);
      if (!read_field(given.value, value)) fail(given.line + "has a value that is none of this field");
      given.used = true;
      return;
    }
    if (field.name == kTransformField) return;
    if (!before || in_version_1(field.name)) fail("the recipe does not say \"" + std::string(field.name) + "\"");
  });
  for (const Given& given : all) {
    if (!given.used) fail(given.line + "is not a field");
  }
  try {
    recipe.validate();
  } catch (const Fault& fault) {
    fail(fault.what());
  }
  return recipe;
}

std::vector<std::string> differences(const Recipe& a, const Recipe& b) {
  std::vector<std::string> values;
  visit_fields(b, [&](const RecipeField&, const auto& value) { values.push_back(field_text(value)); });
  std::vector<std::string> result;
  std::size_t index = 0;
  visit_fields(a, [&](const RecipeField& field, const auto& value) {
    const std::string& other = values[index++];
    if (const std::string text = field_text(value); text != other) {
      result.push_back(std::string(field.name) + ": " + text + ", not " + other);
    }
  });
  return result;
}

void require_same(const Recipe& stored, const Recipe& given, const std::string& what) {
  std::string list;
  for (const std::string& difference : differences(stored, given)) list += (list.empty() ? "" : "; ") + difference;
  if (!list.empty()) throw Fault(what + " was made with another recipe: " + list);
}

}  // namespace kivsr::speech
