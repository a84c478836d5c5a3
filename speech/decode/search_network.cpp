#include "kivsr/speech/decode/search_network.h"

#include <set>
#include <utility>

#include "kivsr/speech/decode/grammar_language.h"
#include "kivsr/speech/io/fault.h"

namespace kivsr::speech {
namespace {

constexpr const char* kSilence = "<sil>";

}  // namespace

int SearchNetwork::add_label(std::string word, std::span<const int> pronunciation, bool filler) {
  labels.push_back({std::move(word), filler, static_cast<int>(phones.size()), static_cast<int>(pronunciation.size())});
  phones.insert(phones.end(), pronunciation.begin(), pronunciation.end());
  return static_cast<int>(labels.size()) - 1;
}

void add_fillers(SearchNetwork& network, const AcousticModel& model, const SearchWeights& weights) {
  std::set<std::vector<int>> seen;
  std::vector<LanguageWord> tree;
  for (const auto& [word, unused] : model.fillers.words()) {
    if (word == "<s>" || word == "</s>") continue;
    std::string reason;
    for (const std::vector<int>& phones : pronunciations(word, model.fillers, model, reason)) {
      if (!seen.insert(phones).second) continue;
      const float weight = word == kSilence ? weights.silence_penalty : weights.noise_penalty;
      tree.push_back({static_cast<int>(network.fillers.size()), phones, weight});
      network.fillers.push_back({network.add_label(word, phones, true), weight});
    }
    if (!reason.empty()) throw Fault(model.fillers.file().string() + ": " + reason);
  }
  network.filler_tree = network.forest->add_tree(std::move(tree));
}

SearchNetwork build_search_network(const WordNetwork& words, const Dictionary& dictionary, const AcousticModel& model,
                                   const SearchWeights& weights) {
  SearchNetwork network;
  network.forest = std::make_unique<LexiconForest>(model.definition);
  network.language = std::make_unique<GrammarLanguage>(words, dictionary, model, weights, network);
  add_fillers(network, model, weights);
  return network;
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
