#include "kivsr/speech/decode/grammar_language.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <queue>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr std::size_t kMostArcs = 5'000'000;
constexpr std::size_t kMostSlots = 64;

std::string place(const WordNetwork& words, const WordArc& arc) {
  if (arc.position.line == 0) return words.source;
  return words.source + ":" + std::to_string(arc.position.line) + ":" + std::to_string(arc.position.column);
}

}  // namespace

std::vector<std::vector<int>> pronunciations(const std::string& word, const Dictionary& dictionary,
                                             const AcousticModel& model, std::string& reason) {
  const std::vector<Pronunciation>* known = dictionary.find(word);
  if (known == nullptr) {
    reason = "the word \"" + word + "\" is not in the dictionary " + dictionary.file().string();
    return {};
  }
  std::vector<std::vector<int>> result;
  for (const Pronunciation& pronunciation : *known) {
    std::vector<int> phones;
    for (const std::string& name : pronunciation) {
      phones.push_back(model.definition.phone_index(name));
      if (phones.back() >= 0) continue;
      reason = "the word \"" + word + "\" has the phone " + name + ", which the model " + model.folder.string() +
               " does not have";
      break;
    }
    if (phones.back() >= 0) result.push_back(std::move(phones));
  }
  return result;
}

// Which nodes of a network lie in a loop of words or between two: what is left when nodes that nothing leads to, and
// those that lead nowhere, are taken out again and again.
std::vector<char> nodes_in_loops(const WordNetwork& words) {
  std::vector<char> left(static_cast<std::size_t>(words.nodes), 1);
  const auto take_out = [&](int WordArc::*from, int WordArc::*to) {
    std::vector<int> degree(left.size(), 0);
    std::vector<std::vector<int>> targets(left.size());
    for (const WordArc& arc : words.arcs) {
      ++degree[static_cast<std::size_t>(arc.*to)];
      targets[static_cast<std::size_t>(arc.*from)].push_back(arc.*to);
    }
    std::vector<std::size_t> open;
    for (std::size_t node = 0; node < left.size(); ++node) {
      if (degree[node] == 0) open.push_back(node);
    }
    while (!open.empty()) {
      const std::size_t node = open.back();
      open.pop_back();
      left[node] = 0;
      for (const int target : targets[node]) {
        if (--degree[static_cast<std::size_t>(target)] == 0) open.push_back(static_cast<std::size_t>(target));
      }
    }
  };
  take_out(&WordArc::from, &WordArc::to);
  take_out(&WordArc::to, &WordArc::from);
  return left;
}

// Lays the states out from the start on.
class GrammarBuilder {
 public:
  GrammarBuilder(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                 SearchNetwork& network, GrammarLanguage& language)
      : words_(words),
        dictionary_(dictionary),
        model_(model),
        network_(network),
        states_(language.states_),
        arcs_(language.arcs_),
        slots_(language.slots_),
        has_filling_(language.filling_ != nullptr),
        arcs_from_(static_cast<std::size_t>(words.nodes)),
        labels_(words.words.size()) {}

  void build(const SearchWeights& weights) {
    weights_ = weights;
    scale_weights();
    in_loop_ = nodes_in_loops(words_);
    for (std::size_t arc = 0; arc < words_.arcs.size(); ++arc) {
      arcs_from_[static_cast<std::size_t>(words_.arcs[arc].from)].push_back(static_cast<int>(arc));
    }
    state_of(words_.start);
    for (std::size_t state = 0; state < states_.size(); ++state) {
      const Followers followers = followers_of(static_cast<int>(state));
      const int tree = tree_of(followers);
      states_[state].tree = tree;
    }
    const bool possible =
        std::any_of(states_.begin(), states_.end(), [](const auto& state) { return state.final_weight > kLogZero; });
    if (!possible) throw Fault(words_.source + ": no sentence is possible");
  }

 private:
  // Index of a word arc of the network, with the weight of the way to it.
  using Followers = std::vector<std::pair<int, float>>;

  // log weight * language weight, and the insertion penalty where a word begins
  void scale_weights() {
    scaled_.resize(words_.arcs.size());
    if (scaled_.empty()) return;
    std::vector<float> logs;
    for (const WordArc& arc : words_.arcs) logs.push_back(arc.log_weight);
    call<kivsScaleLM_32f>(logs, scaled_, logs.size(), kLogZero, weights_.language_weight, 0.0F);
    for (std::size_t arc = 0; arc < scaled_.size(); ++arc) {
      if (words_.arcs[arc].word >= 0) scaled_[arc] += weights_.insertion_penalty;
    }
  }

  // The state of a node of the word network, made when it is first reached.
  int state_of(int node) {
    const auto [known, added] = indices_.try_emplace(node, static_cast<int>(nodes_.size()));
    if (added) {
      nodes_.push_back(node);
      states_.emplace_back();
    }
    return known->second;
  }

  // The best weight of every node that can be reached without a word: no weight is above 0, so that the best of the
  // open nodes is final and each is left once.
  std::map<int, float> reach_silently(int start) const {
    std::map<int, float> best{{start, 0.0F}};
    std::priority_queue<std::pair<float, int>> open;
    open.emplace(0.0F, start);
    while (!open.empty()) {
      const auto [reached, node] = open.top();
      open.pop();
      if (reached < best[node]) continue;
      for (const int index : arcs_from_[static_cast<std::size_t>(node)]) {
        const WordArc& arc = words_.arcs[static_cast<std::size_t>(index)];
        if (arc.word != kNoWord) continue;
        const float weight = reached + scaled_[static_cast<std::size_t>(index)];
        const auto [known, added] = best.try_emplace(arc.to, weight);
        if (!added && !(weight > known->second)) continue;
        known->second = weight;
        open.emplace(weight, arc.to);
      }
    }
    return best;
  }

  Followers followers_of(int state) {
    Followers followers;
    for (const auto& [reached, weight] : reach_silently(nodes_[static_cast<std::size_t>(state)])) {
      if (reached == words_.final) states_[static_cast<std::size_t>(state)].final_weight = weight;
      for (const int arc : arcs_from_[static_cast<std::size_t>(reached)]) {
        const int word = words_.arcs[static_cast<std::size_t>(arc)].word;
        if (word == kNgramSlot) {
          enter_slot(state, words_.arcs[static_cast<std::size_t>(arc)],
                     weight + scaled_[static_cast<std::size_t>(arc)]);
        }
        if (word < 0) continue;
        followers.emplace_back(arc, weight + scaled_[static_cast<std::size_t>(arc)]);
      }
    }
    if (weights_.word_cost > 0.0F && may_repeat(followers)) raise_cost(followers);
    return followers;
  }

  // Slots behind which the same comes are one.
  void enter_slot(int state, const WordArc& arc, float weight) {
    if (!has_filling_) throw Fault(place(words_, arc) + ": <NGRAMS> needs a language model");
    const int behind = state_of(arc.to);
    const auto known = std::find(slots_.begin(), slots_.end(), behind);
    const auto slot = static_cast<int>(known - slots_.begin());
    if (known == slots_.end()) slots_.push_back(behind);
    if (slots_.size() > kMostSlots) throw Fault(place(words_, arc) + ": too many places behind <NGRAMS>");
    states_[static_cast<std::size_t>(state)].entrances.push_back({weight, slot});
  }

  bool may_repeat(const Followers& followers) const {
    return std::any_of(followers.begin(), followers.end(), [this](const auto& follower) {
      const WordArc& arc = words_.arcs[static_cast<std::size_t>(follower.first)];
      return in_loop_[static_cast<std::size_t>(arc.from)] != 0 && in_loop_[static_cast<std::size_t>(arc.to)] != 0;
    });
  }

  // To weights_.word_cost on average instead of the penalty, each word counting as probable as its weight says.
  void raise_cost(Followers& followers) const {
    for (auto& follower : followers) follower.second -= weights_.insertion_penalty;
    const auto weight = [](const auto& follower) { return static_cast<double>(follower.second); };
    const double scale = weights_.language_weight > 0.0F ? 1.0 / static_cast<double>(weights_.language_weight) : 0.0;
    double best = kLogZero;
    for (const auto& follower : followers) best = std::max(best, weight(follower));
    double sum = 0.0;
    double cost = 0.0;
    for (const auto& follower : followers) {
      const double probability = std::exp((weight(follower) - best) * scale);
      sum += probability;
      cost -= probability * weight(follower);
    }
    const auto missing = static_cast<float>(std::max(static_cast<double>(weights_.word_cost) - cost / sum, 0.0));
    for (auto& follower : followers) follower.second -= missing;
  }

  int tree_of(const Followers& followers) {
    const auto [known, added] = trees_.try_emplace(followers, -1);
    if (!added) return known->second;
    std::vector<LanguageWord> tree;
    for (const auto& [index, weight] : followers) {
      const WordArc& arc = words_.arcs[static_cast<std::size_t>(index)];
      const int next = state_of(arc.to);
      for (const int label : labels_of(arc)) {
        const std::span<const int> phones = network_.phones_of(label);
        tree.push_back({static_cast<int>(arcs_.size()), {phones.begin(), phones.end()}, weight});
        arcs_.push_back({weight, next, label});
      }
      if (arcs_.size() > kMostArcs) throw Fault(words_.source + ": too many words can follow each other");
    }
    return known->second = network_.forest->add_tree(std::move(tree));
  }

  // One for each pronunciation of its word.
  const std::vector<int>& labels_of(const WordArc& arc) {
    std::vector<int>& labels = labels_[static_cast<std::size_t>(arc.word)];
    if (!labels.empty()) return labels;
    const std::string& word = words_.words[static_cast<std::size_t>(arc.word)];
    std::string reason;
    for (const std::vector<int>& phones : pronunciations(word, dictionary_, model_, reason)) {
      labels.push_back(network_.add_label(word, phones));
    }
    if (labels.empty()) throw Fault(place(words_, arc) + ": " + reason);
    return labels;
  }

  const WordNetwork& words_;
  const Dictionary& dictionary_;
  const AcousticModel& model_;
  SearchNetwork& network_;
  std::vector<GrammarLanguage::State>& states_;
  std::vector<SearchLanguage::Step>& arcs_;
  std::vector<int>& slots_;
  bool has_filling_;
  SearchWeights weights_;
  std::vector<char> in_loop_;                // [node of the network]
  std::vector<float> scaled_;                // weight of each arc of the network
  std::vector<std::vector<int>> arcs_from_;  // [node of the network]
  std::map<int, int> indices_;               // state of a node of the network
  std::vector<int> nodes_;                   // node of each state
  std::vector<std::vector<int>> labels_;     // [word of the network]
  std::map<Followers, int> trees_;           // states with the same words and weights share a tree
};

GrammarLanguage::GrammarLanguage(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                                 const SearchWeights& weights, SearchNetwork& network,
                                 std::unique_ptr<NgramLanguage> filling)
    : filling_(std::move(filling)) {
  GrammarBuilder(words, dictionary, model, network, *this).build(weights);
}

int GrammarLanguage::states() const { return state_in(static_cast<int>(slots_.size()), kEntry); }

GrammarLanguage::Filled GrammarLanguage::filled(int state) const {
  const int behind = state - static_cast<int>(states_.size());
  if (behind < 0) return {};
  const int count = filling_->states() + 1;
  return {behind / count, behind % count - 1};
}

int GrammarLanguage::state_in(int slot, int state) const {
  const int own = static_cast<int>(states_.size());
  return filling_ == nullptr ? own : own + slot * (filling_->states() + 1) + state + 1;
}

int GrammarLanguage::tree(int state) const {
  const Filled known = filled(state);
  return known.slot == kNoSlot ? states_[static_cast<std::size_t>(state)].tree
                               : filling_->tree(filling_state(known.state));
}

SearchLanguage::Step GrammarLanguage::follow(int state, int arc) const {
  const Filled known = filled(state);
  if (known.slot == kNoSlot) return arcs_[static_cast<std::size_t>(arc)];
  Step step = filling_->follow(filling_state(known.state), arc);
  step.next = state_in(known.slot, step.next);
  return step;
}

void GrammarLanguage::jumps(int state, std::vector<Jump>& jumps) const {
  const Filled known = filled(state);
  float weight = 0.0F;
  int place = state;
  if (known.slot != kNoSlot) {
    if (known.state == kEntry) return;
    weight = filling_->final_weight(known.state);
    place = slots_[static_cast<std::size_t>(known.slot)];
    jumps.push_back({weight, place});
  }
  for (const Entrance& entrance : states_[static_cast<std::size_t>(place)].entrances) {
    jumps.push_back({weight + entrance.weight, state_in(entrance.slot, kEntry)});
  }
}

float GrammarLanguage::final_weight(int state) const {
  const Filled known = filled(state);
  if (known.slot == kNoSlot) return states_[static_cast<std::size_t>(state)].final_weight;
  if (known.state == kEntry) return kLogZero;
  return filling_->final_weight(known.state) + final_weight(slots_[static_cast<std::size_t>(known.slot)]);
}

SearchNetwork build_mixed_network(const WordNetwork& words, const Dictionary& dictionary, NgramMixture ngrams,
                                  const WordClasses& classes, const std::filesystem::path& file,
                                  const AcousticModel& model, const SearchWeights& weights,
                                  std::vector<std::string>& unpronounceable) {
  const auto visit = [&file](const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor) {
    Dictionary::visit(file, wanted, visitor);
  };
  SearchNetwork network;
  network.forest = std::make_unique<LexiconForest>(model.definition);
  auto filling =
      std::make_unique<NgramLanguage>(std::move(ngrams), classes, visit, file.string(), model, weights, network);
  unpronounceable = filling->unpronounceable();
  network.language = std::make_unique<GrammarLanguage>(words, dictionary, model, weights, network, std::move(filling));
  add_fillers(network, model, weights);
  return network;
}

}  // namespace kivsr::speech
