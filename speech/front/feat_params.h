// feat.params, the file beside a Sphinx model that says what features it was trained from.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "kivsr/speech/front/recipe.h"

namespace kivsr::speech {

struct FeatParams {
  FrontEndParameters front_end;
  std::map<std::string, std::string> entries;  // all, by name without the dash ("feat", "svspec", "cmn", ...)

  // The static cepstra less their mean over the utterance, and differences, or for "13:4" the 13 cepstra of four frames
  // on either side. Throws Fault, which names the file, for features other than 1s_c_d_dd, s2_4x and such.
  Recipe recipe(const std::filesystem::path& file) const;
  // -cmninit: where a mean that is known only in part may begin, a value a cepstrum (zeros behind the last that is
  // given); empty if the entry is absent. Throws Fault, which names the file, for what is no such list.
  std::vector<float> static_mean(const std::filesystem::path& file) const;
  // -ldadim: how many rows of the model's feature transform are used; 0: all. Throws Fault, which names the file, for
  // what is no such number.
  int transform_rows(const std::filesystem::path& file) const;
};

// Entries that are absent keep the values of Sphinx. Throws Fault for a file that cannot be read and for an entry
// that changes the signal in a way that the front end does not offer.
FeatParams read_feat_params(const std::filesystem::path& file);

// The file for a recipe but for its transform, which is another file. Throws Fault, which names the first field that
// differs, for a recipe that it cannot describe.
std::string feat_params_text(const Recipe& recipe);

}  // namespace kivsr::speech
