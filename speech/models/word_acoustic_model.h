// A model of whole words in the form of the search: every state becomes a phone of one state, and a word is pronounced
// as the phones of its states, so that words of any number of states stand side by side.
#pragma once

#include <string>
#include <vector>

#include "kivsr/speech/models/acoustic_model.h"
#include "kivsr/speech/models/word_model.h"

namespace kivsr::speech {

struct WordRecogniser {
  AcousticModel acoustic;
  Dictionary dictionary;
  std::vector<std::string> words;
};

// file: for messages. Throws Fault for a plain mixture, which holds no words.
WordRecogniser word_recogniser(const WordModel& model, const std::filesystem::path& file);

}  // namespace kivsr::speech
