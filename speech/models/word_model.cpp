#include "kivsr/speech/models/word_model.h"

#include <algorithm>

namespace kivsr::speech {

int WordModel::find_unit(std::string_view name) const {
  const auto found = std::find_if(units.begin(), units.end(), [&](const WordUnit& unit) { return unit.name == name; });
  return found == units.end() ? -1 : static_cast<int>(found - units.begin());
}

int WordModel::silence() const {
  const auto found = std::find_if(units.begin(), units.end(), [](const WordUnit& unit) { return unit.filler; });
  return found == units.end() ? -1 : static_cast<int>(found - units.begin());
}

}  // namespace kivsr::speech
