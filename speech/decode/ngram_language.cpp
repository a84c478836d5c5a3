#include "kivsr/speech/decode/ngram_language.h"

#include <map>
#include <string_view>
#include <utility>

#include "kivsr/kivsr.hpp"
#include "kivsr/speech/io/fault.h"
#include "kivsr/speech/models/dictionary.h"

namespace kivsr::speech {
namespace {

bool is_mark(std::string_view word) {
  return word == "<s>" || word == "</s>" || word == "<UNK>" || word == "<unk>" || word == "<sil>";
}

}  // namespace

NgramLanguage::NgramLanguage(NgramMixture model, const DictionaryVisit& dictionary, const std::string& file,
                             const AcousticModel& acoustic, const SearchWeights& weights, SearchNetwork& network)
    : model_(std::move(model)), weights_(weights) {
  std::map<std::string, int, std::less<>> phones;
  for (std::size_t phone = 0; phone < acoustic.definition.phones.size(); ++phone) {
    phones.try_emplace(acoustic.definition.phones[phone].name, static_cast<int>(phone));
  }
  std::vector<LanguageWord> tree;
  std::vector<char> pronounceable(static_cast<std::size_t>(model_.words()), 0);
  const auto wanted = [this](std::string_view name) { return model_.find_word(name) >= 0 && !is_mark(name); };
  dictionary(wanted, [&](std::string_view name, std::span<const std::string_view> pronunciation) {
    LanguageWord entry;
    for (const std::string_view phone : pronunciation) {
      const auto known = phones.find(phone);
      if (known == phones.end()) return;
      entry.phones.push_back(known->second);
    }
    words_.push_back(model_.find_word(name));
    pronounceable[static_cast<std::size_t>(words_.back())] = 1;
    entry.arc = network.add_label(std::string(name), entry.phones);
    tree.push_back(std::move(entry));
  });
  for (int word = 0; word < model_.words(); ++word) {
    if (pronounceable[static_cast<std::size_t>(word)] == 0 && !is_mark(model_.word(word))) {
      unpronounceable_.push_back(model_.word(word));
    }
  }
  if (tree.empty()) throw Fault(file + ": pronounces no word of the language model");
  const int begin = model_.find_word("<s>");
  start_ = begin < 0 ? 0 : model_.follow(0, begin).next;
  end_ = model_.find_word("</s>");
  model_.forget_names();
  for (LanguageWord& word : tree) word.look_ahead = follow(0, word.arc).weight;
  tree_ = network.forest->add_tree(std::move(tree));
}

SearchLanguage::Step NgramLanguage::follow(int state, int arc) const {
  const NgramModel::Step step = model_.follow(state, words_[static_cast<std::size_t>(arc)]);
  return {step.log_probability * weights_.language_weight + weights_.insertion_penalty, step.next, arc};
}

float NgramLanguage::final_weight(int state) const {
  return end_ < 0 ? 0.0F : model_.follow(state, end_).log_probability * weights_.language_weight;
}

namespace {

SearchNetwork network_of(NgramMixture model, const DictionaryVisit& dictionary, const std::string& file,
                         const AcousticModel& acoustic, const SearchWeights& weights,
                         std::vector<std::string>& unpronounceable) {
  SearchNetwork network;
  network.forest = std::make_unique<LexiconForest>(acoustic.definition);
  auto language = std::make_unique<NgramLanguage>(std::move(model), dictionary, file, acoustic, weights, network);
  unpronounceable = language->unpronounceable();
  network.language = std::move(language);
  add_fillers(network, acoustic, weights);
  return network;
}

}  // namespace

SearchNetwork build_ngram_network(NgramMixture model, const std::filesystem::path& dictionary,
                                  const AcousticModel& acoustic, const SearchWeights& weights,
                                  std::vector<std::string>& unpronounceable) {
  const auto visit = [&dictionary](const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor) {
    Dictionary::visit(dictionary, wanted, visitor);
  };
  return network_of(std::move(model), visit, dictionary.string(), acoustic, weights, unpronounceable);
}

SearchNetwork build_phone_ngram_network(NgramMixture model, const AcousticModel& acoustic,
                                        const SearchWeights& weights) {
  const auto visit = [&acoustic](const Dictionary::Filter& wanted, const Dictionary::Visitor& visitor) {
    for (const PhoneDefinition& phone : acoustic.definition.phones) {
      const std::string_view name = phone.name;
      if (!phone.filler && wanted(name)) visitor(name, {&name, 1});
    }
  };
  std::vector<std::string> others;  // silence and what is no phone of the model
  return network_of(std::move(model), visit, acoustic.folder.string(), acoustic, weights, others);
}

}  // namespace kivsr::speech
