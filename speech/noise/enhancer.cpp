#include "kivsr/speech/noise/enhancer.h"

#include <iterator>

#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/noise/aurora_enhancer.h"
#include "kivsr/speech/noise/mcra_enhancer.h"

namespace kivsr::speech {

namespace {

struct Method {
  const char* name;
  std::unique_ptr<Enhancer> (*make)(int sample_rate);
};

std::unique_ptr<Enhancer> make_mcra_wiener(int sample_rate) {
  return std::make_unique<McraEnhancer>(sample_rate, GainSettings{.rule = GainRule::kWiener});
}

std::unique_ptr<Enhancer> make_mcra_emns(int sample_rate) {
  return std::make_unique<McraEnhancer>(sample_rate, GainSettings{.rule = GainRule::kEmns});
}

std::unique_ptr<Enhancer> make_aurora(int sample_rate) { return std::make_unique<AuroraEnhancer>(sample_rate); }

constexpr Method kMethods[] = {
    {"mcra-wiener", make_mcra_wiener},
    {"mcra-emns", make_mcra_emns},
    {"aurora", make_aurora},
};

}  // namespace

std::unique_ptr<Enhancer> make_enhancer(const std::string& method, int sample_rate) {
  for (const Method& candidate : kMethods) {
    if (method == candidate.name) return candidate.make(sample_rate);
  }
  throw Fault("no method '" + method + "' of enhancement");
}

std::vector<std::string> enhancement_methods() {
  std::vector<std::string> names;
  for (const Method& method : kMethods) names.emplace_back(method.name);
  return names;
}

}  // namespace kivsr::speech
