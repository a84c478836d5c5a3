// n-gram models in the packed binary form of Sphinx ("Trie Language Model"): the order and the counts, tables of
// values, unigrams, then for each longer length bit-packed entries that hang on their last words, and the words as
// text.
#pragma once

#include <filesystem>

#include "kivsr/speech/models/ngram_model.h"

namespace kivsr::speech {

bool is_packed_ngram_file(const std::filesystem::path& file);
NgramModel read_packed_ngrams(const std::filesystem::path& file);

// A text in the ARPA form or a packed file. A bare name is looked for among the models that Debian installs.
NgramModel read_ngram_model(const std::string& name);

}  // namespace kivsr::speech
