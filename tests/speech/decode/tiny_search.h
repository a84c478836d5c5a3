// A model, a dictionary and grammars so small that all paths of a search can be written out one by one.
#pragma once

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "kivsr/speech/decode/scorer.h"
#include "kivsr/speech/decode/search_network.h"
#include "kivsr/speech/models/phone_contexts.h"
#include "speech/models/model_bytes.h"

namespace kivsr::speech::test {

// Scores that come with the frame itself: one feature a state.
class TableScorer : public Scorer {
 public:
  void score(std::span<const float> frame, std::span<const int> states, std::span<float> scores) override {
    for (const int state : states) scores[static_cast<std::size_t>(state)] = frame[static_cast<std::size_t>(state)];
  }
};

// Three phones of two states, with loops, steps and skips; the third is silence. With contexts, most neighbours of the
// first two have one of eight further models, drawn at random.
inline AcousticModel tiny_model(bool with_contexts) {
  AcousticModel model;
  ModelDefinition& definition = model.definition;
  definition.states_per_phone = 2;
  definition.independent_states = 6;
  definition.states = with_contexts ? 22 : 6;
  definition.transition_matrices = 1;
  for (int phone = 0; phone < 3; ++phone) {
    definition.phones.push_back(
        {std::string(1, static_cast<char>('A' + phone)), phone == 2, 0, {2 * phone, 2 * phone + 1}});
  }
  definition.silence = 2;
  add_independent_hmms(definition);
  if (with_contexts) {
    std::mt19937 generator(5);
    PhoneContexts contexts(definition);
    for (int place = 0; place < 2 * 3 * 3 * 4; ++place) {
      if (generator() % 4 == 0) continue;
      const int state = 6 + 2 * (place % 2 + 2 * static_cast<int>(generator() % 4));
      contexts.add({place % 2, place / 2 % 3, place / 6 % 3, static_cast<WordPosition>(place / 18), 0},
                   {state, state + 1});
    }
  }
  model.log_transitions = {std::log(0.5F), std::log(0.4F), std::log(0.1F), kLogZero, std::log(0.7F), std::log(0.3F)};
  const TemporaryFolder folder;
  model.fillers = Dictionary::read(folder.write("noisedict", "<s> C\n</s> C\n<sil> C\n"));
  return model;
}

using Frames = std::vector<std::vector<float>>;

struct Path {
  double score = -1e30;
  std::vector<std::string> words;
  std::vector<int> ends;        // their last frames
  std::vector<int> phone_ends;  // the last frames of all phones
};

// Writes out every sentence that fits into the frames, puts the model of each phone together from its neighbours, and
// aligns the frames with the whole chain.
class Exhaustive {
 public:
  Exhaustive(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
             const SearchWeights& weights, const Frames& frames)
      : words_(words), dictionary_(dictionary), model_(model), weights_(weights), frames_(frames) {
    visit(words.start, 0.0, true);
  }
  const Path& best() const { return best_; }

 private:
  struct Word {
    std::string name;
    std::vector<int> phones;
  };

  // after_word: not by an arc without a word, so that silence is tried once in each place.
  void visit(int node, double weight, bool after_word) {
    if (node == words_.final) align(weight);
    for (const WordArc& arc : words_.arcs) {
      if (arc.from != node) continue;
      const double more = weight + static_cast<double>(weights_.language_weight) * static_cast<double>(arc.log_weight);
      if (arc.word < 0) {
        visit(arc.to, more, false);
        continue;
      }
      const std::string& name = words_.words[static_cast<std::size_t>(arc.word)];
      for (const Pronunciation& pronunciation : *dictionary_.find(name)) {
        say(name, pronunciation, arc.to, more + static_cast<double>(weights_.insertion_penalty));
      }
    }
    if (after_word) say("<sil>", {"C"}, node, weight + static_cast<double>(weights_.silence_penalty));
  }

  void say(const std::string& name, const Pronunciation& pronunciation, int node, double weight) {
    if (phones_ + pronunciation.size() > frames_.size()) return;
    Word word{name, {}};
    for (const std::string& phone : pronunciation) word.phones.push_back(phone[0] - 'A');
    phones_ += pronunciation.size();
    sentence_.push_back(std::move(word));
    visit(node, weight, true);
    sentence_.pop_back();
    phones_ -= pronunciation.size();
  }

  // Models of the sentence's phones; silence stands before and after it.
  std::vector<int> chain() const {
    std::vector<int> phones{2};
    for (const Word& word : sentence_) phones.insert(phones.end(), word.phones.begin(), word.phones.end());
    phones.push_back(2);
    std::vector<int> models;
    for (const Word& word : sentence_) {
      const std::size_t count = word.phones.size();
      for (std::size_t i = 0; i < count; ++i) {
        const WordPosition position = count == 1       ? WordPosition::kSingle
                                      : i == 0         ? WordPosition::kBegin
                                      : i == count - 1 ? WordPosition::kEnd
                                                       : WordPosition::kInternal;
        const std::size_t place = models.size();
        models.push_back(model_.definition.hmm_of(word.phones[i], phones[place], phones[place + 2], position));
      }
    }
    return models;
  }

  struct Place {
    double score = -1e30;
    std::vector<int> ends;  // of the phones that were left
  };

  void align(double weight) {
    const std::vector<int> models = chain();
    if (models.empty()) return;
    std::vector<Place> before(2 * models.size());  // two states a phone
    for (std::size_t t = 0; t < frames_.size(); ++t) {
      std::vector<Place> after(before.size());
      for (std::size_t phone = 0; phone < models.size(); ++phone) {
        const float* transitions = model_.transitions(models[phone]);
        Place entering;
        if (phone > 0) entering = leave(before, models, phone - 1, static_cast<int>(t) - 1);
        if (phone == 0 && t == 0) entering.score = weight;
        for (std::size_t to = 0; to < 2; ++to) {
          Place place = to == 0 ? entering : Place();
          for (std::size_t from = 0; from <= to; ++from) {
            const double score = before[2 * phone + from].score + static_cast<double>(transitions[3 * from + to]);
            if (score > place.score) place = {score, before[2 * phone + from].ends};
          }
          place.score += static_cast<double>(
              frames_[t][static_cast<std::size_t>(model_.definition.states_of_hmm(models[phone])[to])]);
          after[2 * phone + to] = place;
        }
      }
      before = after;
    }
    keep(leave(before, models, models.size() - 1, static_cast<int>(frames_.size()) - 1));
  }

  Place leave(const std::vector<Place>& places, const std::vector<int>& models, std::size_t phone, int frame) const {
    Place best;
    for (std::size_t from = 0; from < 2; ++from) {
      const Place& place = places[2 * phone + from];
      const double score = place.score + static_cast<double>(model_.transitions(models[phone])[3 * from + 2]);
      if (score > best.score) best = {score, place.ends};
    }
    best.ends.push_back(frame);
    return best;
  }

  void keep(const Place& end) {
    if (!(end.score > best_.score)) return;
    best_ = {end.score, {}, {}, end.ends};
    std::size_t phone = 0;
    for (const Word& word : sentence_) {
      phone += word.phones.size();
      best_.words.push_back(word.name);
      best_.ends.push_back(end.ends[phone - 1]);
    }
  }

  const WordNetwork& words_;
  const Dictionary& dictionary_;
  const AcousticModel& model_;
  const SearchWeights& weights_;
  const Frames& frames_;
  std::vector<Word> sentence_;
  std::size_t phones_ = 0;
  Path best_;
};

inline WordNetwork tiny_grammar(const std::string& rules) {
  return grammar_network(parse_grammar("#JSGF V1.0; grammar g; " + rules, "g"));
}

inline Dictionary tiny_dictionary() {
  const TemporaryFolder folder;
  return Dictionary::read(folder.write("dict", "a A\nb B\nab A B\nba B A\nba(2) B B A\nabab A B A B\n"));
}

inline SearchNetwork tiny_network(const AcousticModel& model, const std::string& rules,
                                  const SearchWeights& weights = {}) {
  return build_search_network(tiny_grammar(rules), tiny_dictionary(), model, weights);
}

inline Frames random_frames(std::mt19937& generator, std::size_t count, float deviation, const AcousticModel& model) {
  std::normal_distribution<float> normal(-5.0F, deviation);
  Frames frames(count, std::vector<float>(static_cast<std::size_t>(model.definition.states)));
  for (auto& frame : frames) {
    for (float& value : frame) value = normal(generator);
  }
  return frames;
}

}  // namespace kivsr::speech::test
