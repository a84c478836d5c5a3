// A model of whole words in the form of the search: every state becomes a phone of one state, and a word is pronounced
// as the phones of its states, so that words of any number of states stand side by side.
#ifndef KIVSR_TOOLS_MODELS_WORD_ACOUSTIC_MODEL_H
#define KIVSR_TOOLS_MODELS_WORD_ACOUSTIC_MODEL_H

#include <string>
#include <vector>

#include "models/acoustic_model.h"
#include "models/word_model.h"

namespace kivsr::tools {

struct WordRecogniser {
  AcousticModel acoustic;
  Dictionary dictionary;
  std::vector<std::string> words;
};

// file: for messages. Throws Fault for a plain mixture, which holds no words.
WordRecogniser word_recogniser(const WordModel& model, const std::filesystem::path& file);

}  // namespace kivsr::tools

#endif
