#include "kivsr/speech/decode/forced_alignment.h"

#include <algorithm>

#include "kivsr/speech/decode/phone_alignment.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/decode/word_network.h"

namespace kivsr::speech {

std::vector<int> align_states(const FeatureMatrix& rows, const std::vector<std::string>& words,
                              const Dictionary& dictionary, const AcousticModel& model, Scorer& scorer,
                              const std::string& name) {
  const WordNetwork said = word_sequence(words, name + ": the transcript");
  const SearchNetwork network = build_search_network(said, dictionary, model, kAlignmentWeights);
  ViterbiSearch search(network, model, scorer, kAlignmentBeams);
  for (int frame = 0; frame < rows.height(); ++frame) search.push(rows.row(frame));
  const Hypothesis hypothesis = search.finish();
  if (!hypothesis.complete) return {};
  std::vector<int> states(static_cast<std::size_t>(rows.height()), -1);
  const auto segments = PhoneAligner(network, model, scorer).align(hypothesis.words, rows);
  for (const std::vector<PhoneSegment>& word : segments) {
    for (const PhoneSegment& phone : word) {
      const auto of_phone = model.definition.states_of_hmm(phone.hmm);
      for (const StateSegment& segment : phone.states) {
        std::fill(states.begin() + segment.first_frame, states.begin() + segment.last_frame + 1,
                  of_phone[static_cast<std::size_t>(segment.place)]);
      }
    }
  }
  return states;
}

}  // namespace kivsr::speech
