#include "kivsr/speech/train/training_settings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <type_traits>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/io/number_text.h"
#include "kivsr/speech/io/record_file.h"

namespace kivsr::speech {

namespace {

// Numbers of components: doubled from the first to the last.
int stages(const TrainingSettings& settings) {
  int count = 1;
  for (int components = settings.start_components; components < settings.components; components *= 2) ++count;
  return count;
}

}  // namespace

int TrainingSettings::passes() const { return stages(*this) * iterations; }

int TrainingSettings::components_of_pass(int pass) const {
  int count = start_components;
  for (int stage = pass / iterations; stage > 0; --stage) count = std::min(2 * count, components);
  return count;
}

void TrainingSettings::validate() const {
  const auto require = [](bool holds, const char* message) {
    if (!holds) throw Fault(std::string("training: ") + message);
  };
  require(states >= 1 && states <= 1000, "a word has 1 to 1000 states");
  require(silence_states >= 0 && silence_states <= 1000, "the silence has 0 to 1000 states");
  require(components >= 1 && components <= 8192, "a state has 1 to 8192 components");
  require(start_components >= 1 && start_components <= components,
          "there are 1 to as many start components as components");
  require(iterations >= 1 && iterations <= 10000, "there are 1 to 10000 iterations");
  require(std::isfinite(variance_floor) && variance_floor >= 1e-12, "the variance floor is at least 1e-12");
  require(variance_floor_share >= 0.0 && variance_floor_share <= 1.0, "the variance floor is a share of 0 to 1");
  require(std::isfinite(variance_prior) && variance_prior >= 0.0, "the variance prior is at least 0 frames");
  require(weight_floor >= 0.0 && weight_floor < 1.0 / components, "the weight floor is 0 to less than 1 / components");
  require(std::isfinite(least_occupation) && least_occupation >= 0.0, "the least occupation is at least 0 frames");
  require(split_distance > 0.0 && split_distance <= 10.0, "the split distance is above 0 and at most 10");
}

void store_settings(const TrainingSettings& settings, int pass, std::map<std::string, std::string>& record) {
  record["pass"] = std::to_string(pass);
  visit_settings(settings, [&](const std::string& name, const auto& value) {
    record[name] = exact_text(static_cast<double>(value));
  });
}

TrainingSettings stored_settings(const std::map<std::string, std::string>& record, const std::string& model,
                                 int& pass) {
  const auto number = [&](const std::string& name) {
    const auto found = record.find(name);
    char* end = nullptr;
    const double value = found == record.end() ? NAN : std::strtod(found->second.c_str(), &end);
    if (!std::isfinite(value) || *end != '\0' || std::abs(value) > 1e10) {
      throw Fault(model + ": the record of its training lacks the value " + name);
    }
    return value;
  };
  TrainingSettings settings;
  visit_settings(settings, [&]<class Value>(const std::string& name, Value& value) {
    const double stored = number(name);
    if constexpr (std::is_same_v<Value, int>) {
      value = static_cast<int>(std::clamp(stored, -2e9, 2e9));
    } else {
      value = static_cast<Value>(stored);
    }
  });
  settings.validate();
  pass = static_cast<int>(std::clamp(number("pass"), 0.0, 1e9));
  if (pass > settings.passes()) throw Fault(model + ": the record of its training has too many passes");
  return settings;
}

}  // namespace kivsr::speech
