// Questions about the neighbours of a phone, by which its states are told apart: is the phone before or behind it one
// of a set? The sets come from a file or from the data: phones that sound alike, by merging the pair of sets that loses
// least likelihood until one is left (R. Singh, B. Raj, R. Stern, Automatic clustering and generation of contextual
// questions for tied states in hidden Markov models, Proc. ICASSP 1999). Next: state_trees.h.
#pragma once

#include <filesystem>
#include <vector>

#include "kivsr/speech/models/phone_model.h"
#include "kivsr/speech/train/phone_graph.h"

namespace kivsr::speech {

using PhoneSet = std::vector<char>;  // [phone]: whether it belongs to the set

// Lines "name phone phone ..."; a name alone and what follows # are passed over. Throws Fault, which names file and
// line, for a phone that the definition does not have.
std::vector<PhoneSet> read_phone_sets(const std::filesystem::path& file, const ModelDefinition& definition);
// From the states of the phones without context, and each phone alone.
std::vector<PhoneSet> make_phone_sets(const PhoneModel& model);

class Question {
 public:
  static Question about_left(PhoneSet set) { return {kLeft, std::move(set)}; }
  static Question about_right(PhoneSet set) { return {kRight, std::move(set)}; }
  static Question about_position(std::vector<char> positions) { return {kPosition, std::move(positions)}; }

  bool ask(const PhoneInContext& phone) const {
    const int index = about_ == kLeft ? phone.left : about_ == kRight ? phone.right : static_cast<int>(phone.position);
    return set_[static_cast<std::size_t>(index)] != 0;
  }

 private:
  enum About { kLeft, kRight, kPosition };
  Question(About about, std::vector<char> set) : about_(about), set_(std::move(set)) {}

  About about_;
  std::vector<char> set_;
};

// About both neighbours, each set, and about the position in the word.
std::vector<Question> make_questions(const std::vector<PhoneSet>& sets);

}  // namespace kivsr::speech
