#include "program/word_times.h"

#include <cmath>
#include <cstddef>

namespace kivsr::program {
namespace {

AlignedPhone phone_times(const PhoneSegment& segment, const ModelDefinition& definition, double frame_seconds,
                         TimeLevel level) {
  AlignedPhone phone{definition.phones[static_cast<std::size_t>(segment.phone)].name,
                     segment.first_frame * frame_seconds,
                     (segment.last_frame + 1) * frame_seconds,
                     {}};
  if (level != TimeLevel::kStates) return phone;
  for (const StateSegment& state : segment.states) {
    phone.states.push_back({state.place, state.first_frame * frame_seconds, (state.last_frame + 1) * frame_seconds});
  }
  return phone;
}

}  // namespace

std::vector<AlignedWord> word_times(std::span<const HypothesisWord> words, const SearchNetwork& network,
                                    double frame_seconds) {
  std::vector<AlignedWord> result;
  for (const HypothesisWord& word : words) {
    const SearchLabel& label = network.labels[static_cast<std::size_t>(word.label)];
    result.push_back(
        {label.word, word.first_frame * frame_seconds, (word.last_frame + 1) * frame_seconds, label.filler, {}});
  }
  return result;
}

double whole_microseconds(double seconds) { return std::round(seconds * 1e6) / 1e6; }

void move_times(std::vector<AlignedWord>& words, double seconds) {
  const auto move = [seconds](auto& part) {
    part.start = whole_microseconds(part.start + seconds);
    part.end = whole_microseconds(part.end + seconds);
  };
  for (AlignedWord& word : words) {
    move(word);
    for (AlignedPhone& phone : word.phones) {
      move(phone);
      for (AlignedState& state : phone.states) move(state);
    }
  }
}

void add_phone_times(std::vector<AlignedWord>& words, const std::vector<std::vector<PhoneSegment>>& segments,
                     const ModelDefinition& definition, double frame_seconds, TimeLevel level) {
  for (std::size_t index = 0; index < words.size(); ++index) {
    for (const PhoneSegment& segment : segments[index]) {
      words[index].phones.push_back(phone_times(segment, definition, frame_seconds, level));
    }
  }
}

}  // namespace kivsr::program
