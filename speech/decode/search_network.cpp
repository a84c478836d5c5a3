#include "kivsr/speech/decode/search_network.h"

#include <algorithm>
#include <map>
#include <set>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr std::size_t kMostEntries = 5'000'000;
constexpr const char* kSilence = "<sil>";

using PhoneSequence = std::vector<int>;

// The pronunciations that the model has all phones of. If there is none, reason says why.
std::vector<PhoneSequence> pronunciations(const std::string& word, const Dictionary& dictionary,
                                          const AcousticModel& model, std::string& reason) {
  const std::vector<Pronunciation>* known = dictionary.find(word);
  if (known == nullptr) {
    reason = "the word \"" + word + "\" is not in the dictionary " + dictionary.file().string();
    return {};
  }
  std::vector<PhoneSequence> result;
  for (const Pronunciation& pronunciation : *known) {
    PhoneSequence phones;
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

std::string place(const WordNetwork& words, const WordArc& arc) {
  if (arc.position.line == 0) return words.source;
  return words.source + ":" + std::to_string(arc.position.line) + ":" + std::to_string(arc.position.column);
}

class SearchBuilder {
 public:
  SearchBuilder(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                const SearchWeights& weights)
      : words_(words), dictionary_(dictionary), model_(model), weights_(weights) {}

  SearchNetwork build() {
    scale_weights();
    for (std::size_t arc = 0; arc < words_.arcs.size(); ++arc) {
      arcs_from_[words_.arcs[arc].from].push_back(static_cast<int>(arc));
    }
    chains_.resize(words_.arcs.size());
    for (const std::string& word : words_.words) network_.labels.push_back({word, false});
    collect_fillers();
    node_of(words_.start);
    for (std::size_t node = 0; node < word_nodes_.size(); ++node) {
      add_words(static_cast<int>(node));
      add_fillers(static_cast<int>(node));
    }
    const bool possible = std::any_of(network_.nodes.begin(), network_.nodes.end(),
                                      [](const SearchNode& node) { return node.final_weight > kLogZero; });
    if (!possible) throw Fault(words_.source + ": no sentence is possible");
    return std::move(network_);
  }

 private:
  struct Filler {
    PhoneSequence phones;
    int label;
    float weight;
  };

  // log weight * language weight, and the insertion penalty where a word begins
  void scale_weights() {
    scaled_.resize(words_.arcs.size());
    if (scaled_.empty()) return;
    std::vector<float> weights;
    for (const WordArc& arc : words_.arcs) weights.push_back(arc.log_weight);
    call<kivsScaleLM_32f>(weights, scaled_, weights.size(), kLogZero, weights_.language_weight, 0.0F);
    for (std::size_t arc = 0; arc < scaled_.size(); ++arc) {
      if (words_.arcs[arc].word >= 0) scaled_[arc] += weights_.insertion_penalty;
    }
  }

  void collect_fillers() {
    std::set<PhoneSequence> seen;
    for (const auto& [word, unused] : model_.fillers.words()) {
      if (word == "<s>" || word == "</s>") continue;
      std::string reason;
      for (PhoneSequence& phones : pronunciations(word, model_.fillers, model_, reason)) {
        if (!seen.insert(phones).second) continue;
        fillers_.push_back({phones, static_cast<int>(network_.labels.size()),
                            word == kSilence ? weights_.silence_penalty : weights_.noise_penalty});
        network_.labels.push_back({word, true});
      }
      if (!reason.empty()) throw Fault(model_.fillers.file().string() + ": " + reason);
    }
  }

  // The search node of a node of the word network, made when it is first reached.
  int node_of(int word_node) {
    const auto [place, added] = indices_.try_emplace(word_node, static_cast<int>(word_nodes_.size()));
    if (added) {
      word_nodes_.push_back(word_node);
      network_.nodes.emplace_back();
    }
    return place->second;
  }

  // The first phone of a new chain of phones.
  int add_chain(const PhoneSequence& phones, int label, int target) {
    const int first = static_cast<int>(network_.phones.size());
    for (const int phone : phones) {
      const int index = static_cast<int>(network_.phones.size());
      network_.phones.push_back({phone, index + 1, -1, -1});
    }
    network_.phones.back().next = -1;
    network_.phones.back().label = label;
    network_.phones.back().target = target;
    return first;
  }

  // The chains of an arc, one for each pronunciation; all ways that lead to the arc share them.
  const std::vector<int>& chains_of(int arc_index) {
    std::vector<int>& chains = chains_[static_cast<std::size_t>(arc_index)];
    if (chains.empty()) {
      const WordArc& arc = words_.arcs[static_cast<std::size_t>(arc_index)];
      std::string reason;
      const int target = node_of(arc.to);
      for (const PhoneSequence& phones :
           pronunciations(words_.words[static_cast<std::size_t>(arc.word)], dictionary_, model_, reason)) {
        chains.push_back(add_chain(phones, arc.word, target));
      }
      if (chains.empty()) throw Fault(place(words_, arc) + ": " + reason);
    }
    return chains;
  }

  // The best weight of every node that can be reached without a word.
  std::map<int, float> reach_silently(int word_node) {
    std::map<int, float> best{{word_node, 0.0F}};
    std::vector<int> open{word_node};
    while (!open.empty()) {
      const int node = open.back();
      open.pop_back();
      const auto arcs = arcs_from_.find(node);
      if (arcs == arcs_from_.end()) continue;
      for (const int index : arcs->second) {
        const WordArc& arc = words_.arcs[static_cast<std::size_t>(index)];
        if (arc.word >= 0) continue;
        const float weight = best[node] + scaled_[static_cast<std::size_t>(index)];
        const auto [place, added] = best.try_emplace(arc.to, weight);
        if (!added && !(weight > place->second)) continue;
        place->second = weight;
        open.push_back(arc.to);
      }
    }
    return best;
  }

  void add_words(int node) {
    for (const auto& [reached, weight] : reach_silently(word_nodes_[static_cast<std::size_t>(node)])) {
      if (reached == words_.final) network_.nodes[static_cast<std::size_t>(node)].final_weight = weight;
      const auto arcs = arcs_from_.find(reached);
      if (arcs == arcs_from_.end()) continue;
      for (const int arc : arcs->second) {
        if (words_.arcs[static_cast<std::size_t>(arc)].word < 0) continue;
        for (const int chain : chains_of(arc)) {
          network_.nodes[static_cast<std::size_t>(node)].entries.push_back(
              {chain, weight + scaled_[static_cast<std::size_t>(arc)]});
          if (++entries_ > kMostEntries) throw Fault(words_.source + ": too many words can follow each other");
        }
      }
    }
  }

  void add_fillers(int node) {
    for (const Filler& filler : fillers_) {
      network_.nodes[static_cast<std::size_t>(node)].entries.push_back(
          {add_chain(filler.phones, filler.label, node), filler.weight});
    }
  }

  const WordNetwork& words_;
  const Dictionary& dictionary_;
  const AcousticModel& model_;
  const SearchWeights& weights_;
  SearchNetwork network_;
  std::vector<float> scaled_;  // weight of each arc
  std::map<int, std::vector<int>> arcs_from_;
  std::vector<std::vector<int>> chains_;  // of each arc
  std::vector<int> word_nodes_;           // word node of each search node
  std::map<int, int> indices_;            // search node of a word node
  std::vector<Filler> fillers_;
  std::size_t entries_ = 0;
};

}  // namespace

SearchNetwork build_search_network(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                                   const SearchWeights& weights) {
  return SearchBuilder(words, dictionary, model, weights).build();
}

std::vector<std::string> remove_unpronounceable(WordNetwork& words, const Dictionary& dictionary,
                                                const AcousticModel& model) {
  std::vector<std::string> removed;
  std::vector<bool> possible;
  for (const std::string& word : words.words) {
    std::string reason;
    possible.push_back(!pronunciations(word, dictionary, model, reason).empty());
    if (!possible.back()) removed.push_back(word);
  }
  std::erase_if(words.arcs,
                [&](const WordArc& arc) { return arc.word >= 0 && !possible[static_cast<std::size_t>(arc.word)]; });
  return removed;
}

}  // namespace kivsr::speech
