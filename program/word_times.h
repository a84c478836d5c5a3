// Words with their times, in seconds, and if they are wanted their phones and states.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kivsr/speech/decode/phone_alignment.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_confidence.h"
#include "kivsr/speech/decode/word_history.h"
#include "kivsr/speech/models/model_definition.h"
#include "program/speech_names.h"

namespace kivsr::program {

struct AlignedState {
  int place = 0;  // in its phone, from 0
  double start = 0.0;
  double end = 0.0;
};

struct AlignedPhone {
  std::string phone;
  double start = 0.0;
  double end = 0.0;
  std::vector<AlignedState> states;  // empty where they are not wanted
};

struct WordCertainty {
  double confidence = 0.0;  // from 0 to 1
  WordEvidence evidence;    // that it is made of
};

struct AlignedWord {
  std::string word;
  double start = 0.0;
  double end = 0.0;
  bool filler = false;
  std::vector<AlignedPhone> phones = {};        // empty where they are not wanted
  std::optional<WordCertainty> certainty = {};  // if it is known
};

enum class TimeLevel { kWords, kPhones, kStates };

std::vector<AlignedWord> word_times(std::span<const HypothesisWord> words, const SearchNetwork& network,
                                    double frame_seconds);
// A sum of times without what rounding left of it, which would be printed.
double whole_microseconds(double seconds);
// By so many seconds, phones and states too.
void move_times(std::vector<AlignedWord>& words, double seconds);
// segments: of each word.
void add_phone_times(std::vector<AlignedWord>& words, const std::vector<std::vector<PhoneSegment>>& segments,
                     const ModelDefinition& definition, double frame_seconds, TimeLevel level);

}  // namespace kivsr::program
