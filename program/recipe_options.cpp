#include "program/recipe_options.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "kivsr/speech/front/dependent_fields.h"
#include "kivsr/speech/front/feat_params.h"
#include "kivsr/speech/front/presets.h"
#include "kivsr/speech/front/recipe_fields.h"
#include "kivsr/speech/io/binary_file.h"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/feature_format.h"
#include "program/command.h"
#include "program/recipe_partners.h"
#include "program/report_text.h"

namespace kivsr::program {

namespace {

constexpr const char* kGroup = "Recipe";
// Of a toolkit's own form, Hz; others scale the preset or are refused.
constexpr int kLowestRate = 100;
constexpr int kHighestRate = 1000000;

template <class Enumerator>
std::string list_of_names(Enumerator value, const char* between = ", ") {
  const auto names = names_of(value);
  return joined({names.begin(), names.end()}, between);
}

// What the help calls the values of a field.
template <class Value>
std::string type_name() {
  if constexpr (std::is_enum_v<Value>) return "NAME:{" + list_of_names(Value{}, ",") + "}";
  if constexpr (std::is_same_v<Value, int>) return "INT";
  if constexpr (std::is_same_v<Value, std::vector<float>>) return "FLOAT,...";
  return "FLOAT";
}

template <class Value>
std::string fault_of(const std::string& text) {
  Value value{};
  if (read_field(text, value)) return "";
  if constexpr (std::is_enum_v<Value>) return text + " is none of " + list_of_names(value);
  return text + (std::is_same_v<Value, int> ? " is not a whole number" : " is not a number");
}

// What is given to an option without a value, "--energy=maybe".
std::string switch_fault(const std::string& text) {
  constexpr std::string_view kWords[] = {"true", "false", "yes", "no", "on", "off", "enable", "disable", "1", "0"};
  const bool known = std::find(std::begin(kWords), std::end(kWords), text) != std::end(kWords);
  return known ? "" : text + " is neither yes nor no";
}

template <class Value>
Option add_field(Command command, const RecipeField& field, const Value& value, std::string& text) {
  const std::string name(field.name);
  std::string help(field.help);
  Option option;
  if constexpr (std::is_same_v<Value, bool>) {
    const auto set = [&text](std::int64_t count) { text = field_text(count > 0); };
    option = command.add_flag_function("--" + name + ",!--no-" + name, set, help).check(switch_fault);
  } else {
    if constexpr (std::is_enum_v<Value>) help += ": " + list_of_names(Value{});
    option = command.add_option("--" + name, text, help).type_name(type_name<Value>()).check(fault_of<Value>);
  }
  return option.default_text(field_text(value)).group(std::string(field.group));
}

}  // namespace

RecipeOptions::RecipeOptions(Command command, const std::string& preset) : command_(command), preset_(preset) {
  const Option by_name =
      command.add_option("--preset", preset_,
                         "Recipe to start from, whose values are the defaults of the options below (here those of " +
                             preset + "): " + joined(preset_names(), ", "));
  const Option by_file = command.add_option("--recipe,--config", recipe_file_,
                                            "File of a recipe to start from, as kivsr features --as-config writes it");
  const Option by_model =
      command.add_option("--feat-params", feat_params_, "A model's feat.params to start from: its front end");
  for (const Option option : {by_name, by_file, by_model}) option.group(kGroup);
  by_file.excludes(by_name);
  by_model.excludes(by_name).excludes(by_file);
  Recipe defaults = speech::preset(preset);
  visit_fields(defaults, [&]<class Value>(const RecipeField& field, Value& value) {
    std::string& text = texts_.emplace_back();
    // the files say what the source is, a model has its transform
    const bool option = !field.name.starts_with("source") && field.name != kTransformField;
    options_.push_back(option ? add_field(command, field, value, text) : Option());
  });
}

// The preset; etsi-afe has a form for each of its rates, and a toolkit knows what another rate changes.
Recipe RecipeOptions::named(std::span<const std::string> files, const RawFormat& raw) const {
  int rate = 0;
  if (given("sample-rate")) read_field(command_.option("--sample-rate").text(), rate);
  if (rate >= kLowestRate && rate <= kHighestRate) {
    if (const auto recipe = preset_at(preset_, rate)) return *recipe;
  }
  const Recipe recipe = preset(preset_);
  if (recipe.front_end.kind != FrontEndKind::kEtsiAfe) return recipe;
  if (rate > 0) return preset(preset_, rate);
  const auto audio =
      std::find_if_not(files.begin(), files.end(), [](const auto& file) { return is_feature_file(file); });
  return audio == files.end() ? recipe : preset(preset_, AudioReader::rate_of(*audio, raw));
}

Recipe RecipeOptions::start(std::span<const std::string> files, const RawFormat& raw) const {
  if (!recipe_file_.empty()) {
    const auto bytes = read_whole_file(recipe_file_);
    return Recipe::parse({bytes.begin(), bytes.end()}, recipe_file_);
  }
  if (rows_width_ > 0 && !starts_somewhere()) return Recipe::of_features(rows_width_);
  return feat_params_.empty() ? named(files, raw) : Recipe(read_feat_params(feat_params_).front_end);
}

void RecipeOptions::start_from(const std::string& preset) {
  if (!given("preset")) preset_ = preset;
}

bool RecipeOptions::given(const std::string& name) const { return command_.option("--" + name).is_given(); }

bool RecipeOptions::starts_somewhere() const { return given("preset") || given("recipe") || given("feat-params"); }

bool RecipeOptions::given() const {
  const auto counts = [](Option option) { return option.is_given(); };
  return starts_somewhere() || std::any_of(options_.begin(), options_.end(), counts);
}

Recipe RecipeOptions::recipe(std::span<const std::string> files, const RawFormat& raw) const {
  const Recipe from = start(files, raw);
  Recipe recipe = from;
  std::size_t index = 0;
  visit_fields(recipe, [&]<class Value>(const RecipeField&, Value& value) {
    const Option option = options_[index];
    const std::string& text = texts_[index++];
    if (!option.is_given()) return;
    read_field(text, value);
  });
  const auto is_given = [this](const std::string& option) { return given(option); };
  fit_dependent_fields(from, is_given, recipe);
  require_partners(recipe, is_given);
  if (from.source == Source::kFeatures && recipe.front_end != from.front_end) {
    throw Fault(
        "the files hold rows of features: options of the front end are for sound, or with --preset for rows of it");
  }
  recipe.validate();
  return recipe;
}

}  // namespace kivsr::program
